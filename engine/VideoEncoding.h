#pragma once

namespace vemo::janus {

/// How pictures are sent: their size, rate and bit rate (kbit/s), turned by quarter turns clockwise
/// and then mirrored; and how far they may give way on a poor network.
struct VideoEncoding {
  unsigned width = 640;
  unsigned height = 360;
  unsigned fps = 15;
  unsigned bitrate = 500;
  int rotation = 0;
  bool mirror = false;
  unsigned minBitrate = 0;  ///< kbit/s; 0: a tenth of `bitrate`
  bool mayShrink = false;   ///< whether the size may be changed

  bool operator==(const VideoEncoding&) const = default;
};

}  // namespace vemo::janus
