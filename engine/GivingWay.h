#pragma once

#include "engine/VideoEncoding.h"

namespace vemo::janus {

/// How much of what was asked for is sent: less when the server tells of much loss, more again when
/// there is hardly any.
class GivingWay {
 public:
  /// Takes what part of the packets was lost lately (0 to 1), at equal intervals: where it is more
  /// than a tenth, half of that part is given up; where it is less than a fiftieth, a seventh comes
  /// back. True when the share has changed.
  bool look(double lost);
  /// 1 for all.
  double share() const { return share_; }

 private:
  double share_ = 1;
};

/// `asked` with `share` of its bit rate, but for what it may not go below. Less than half of the
/// bit rate lets it halve its sides, if it may. `keepsSharp` gives up pictures a second, down to 5,
/// with the bit rate; else each has fewer bits.
VideoEncoding givenWay(VideoEncoding asked, double share, bool keepsSharp);

}  // namespace vemo::janus
