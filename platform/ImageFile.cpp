#include "platform/ImageFile.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>

namespace vemo {
namespace {

/// Walks over bytes. What is read beyond the end is zero or empty; short() tells.
class Reader {
 public:
  explicit Reader(std::string_view bytes) : rest_(bytes) {}

  bool atEnd() const { return rest_.empty(); }
  bool isShort() const { return short_; }

  std::string_view take(std::size_t count) {
    if (count > rest_.size()) short_ = true;
    const auto taken = rest_.substr(0, count);
    rest_.remove_prefix(taken.size());
    return taken;
  }
  std::uint32_t byte() { return bigEndian(1); }
  std::uint32_t bigEndian(std::size_t count) {
    std::uint32_t number = 0;
    for (const auto c : take(count)) number = number << 8U | static_cast<unsigned char>(c);
    return number;
  }
  std::uint32_t littleEndian(std::size_t count) {
    std::uint32_t number = 0;
    const auto taken = take(count);
    for (std::size_t i = taken.size(); i > 0; --i) {
      number = number << 8U | static_cast<unsigned char>(taken[i - 1]);
    }
    return number;
  }
  /// All before the next byte for which `wanted` holds, or all that there is.
  template <class Wanted>
  std::string_view until(Wanted wanted) {
    std::size_t count = 0;
    while (count < rest_.size() && !wanted(rest_.substr(count))) ++count;
    return take(count);
  }
  std::string_view peek() const { return rest_; }

 private:
  std::string_view rest_;
  bool short_ = false;
};

constexpr std::string_view kPngSignature("\x89PNG\r\n\x1A\n", 8);

/// Texts and profiles are left out: they are compressed and unpack to any size.
std::optional<ImageFile> png(std::string_view file) {
  constexpr std::size_t kHeaderBytes = 13;
  constexpr std::size_t kFrameBytes = 12;  // of each chunk: length, name, checksum
  Reader reader(file);
  ImageFile image{"png", std::string(reader.take(kPngSignature.size())), 0, 1};
  for (std::string_view name; !reader.atEnd() && name != "IEND";) {
    auto chunk = Reader(reader.peek());
    const std::size_t length = chunk.bigEndian(4);
    name = chunk.take(4);
    const auto whole = reader.take(length + kFrameBytes);
    if ((name == "IHDR") != (image.pixels == 0)) return std::nullopt;  // once, and first
    if (name == "IHDR") {
      if (length != kHeaderBytes) return std::nullopt;
      const std::uint64_t width = chunk.bigEndian(4);
      image.pixels = width * chunk.bigEndian(4);
      if (image.pixels == 0) return std::nullopt;
    } else if (name != "PLTE" && name != "tRNS" && name != "IDAT" && name != "IEND") {
      continue;
    }
    image.bytes += whole;
  }
  if (image.pixels == 0) return std::nullopt;
  return image;
}

namespace marker {  // of a JPEG
constexpr std::uint32_t kTem = 0x01, kSof0 = 0xC0, kHuffman = 0xC4, kExtension = 0xC8,
                        kArithmetic = 0xCC, kSof15 = 0xCF, kRestart0 = 0xD0, kRestart7 = 0xD7,
                        kStart = 0xD8, kEnd = 0xD9, kScan = 0xDA, kJfif = 0xE0, kAdobe = 0xEE,
                        kApplication15 = 0xEF, kComment = 0xFE;

bool isAlone(std::uint32_t code) {  // without a segment
  return code == kTem || (code >= kRestart0 && code <= kRestart7) || code == kStart || code == kEnd;
}
bool isFrame(std::uint32_t code) {
  return code >= kSof0 && code <= kSof15 && code != kHuffman && code != kExtension &&
         code != kArithmetic;
}
bool isNeeded(std::uint32_t code) {
  return code != kComment &&
         (code < kJfif || code > kApplication15 || code == kJfif || code == kAdobe);
}
/// Within a scan, FF is followed by 00, or by a restart.
bool endsScan(std::string_view rest) {
  if (rest.size() < 2 || rest[0] != '\xFF') return false;
  const auto code = static_cast<unsigned char>(rest[1]);
  return code != 0 && (code < kRestart0 || code > kRestart7);
}
}  // namespace marker

std::optional<ImageFile> jpeg(std::string_view file) {
  constexpr std::uint32_t kMaxComponents = 4;
  Reader reader(file);
  ImageFile image{"jpeg", std::string(reader.take(2)), 0, 0};
  while (!reader.atEnd()) {
    reader.until([](std::string_view rest) { return rest[0] == '\xFF'; });
    reader.until([](std::string_view rest) { return rest[0] != '\xFF'; });
    if (reader.atEnd()) break;
    const auto code = reader.byte();
    std::string_view segment;
    if (!marker::isAlone(code)) {
      auto header = Reader(reader.peek());
      const auto length = header.bigEndian(2);
      segment = reader.take(length);
      if (marker::isFrame(code)) {
        header.take(1);  // bits of a sample
        const std::uint64_t height = header.bigEndian(2);
        const auto pixels = height * header.bigEndian(2);
        const bool again = image.pixels != 0;
        if (again || pixels == 0 || header.byte() > kMaxComponents) return std::nullopt;
        image.pixels = pixels;
      }
    }
    if (!marker::isNeeded(code)) continue;
    image.bytes += {'\xFF', static_cast<char>(code)};
    image.bytes += segment;
    if (code == marker::kEnd) break;
    if (code == marker::kScan) {
      ++image.passes;
      image.bytes += reader.until(marker::endsScan);
    }
  }
  if (image.pixels == 0) return std::nullopt;
  return image;
}

/// A GIF's parts are copied into `image` as they are gone over.
std::string_view copied(Reader& reader, std::size_t count, ImageFile& image) {
  const auto part = reader.take(count);
  image.bytes += part;
  return part;
}

/// The colours that a GIF's flags announce.
std::size_t colourBytes(std::uint32_t flags) {
  return (flags & 0x80U) != 0 ? std::size_t{3} << ((flags & 7U) + 1) : 0;
}

std::optional<ImageFile> gif(std::string_view file) {
  constexpr std::uint32_t kExtension = 0x21;
  constexpr std::uint32_t kControl = 0xF9;
  constexpr std::uint32_t kPicture = 0x2C;
  constexpr std::size_t kBlocksOfAPass = 64;
  constexpr std::size_t kScreenBytes = 13;
  constexpr std::size_t kPictureBytes = 10;
  Reader reader(file);
  ImageFile image{"gif", {}, 0, 1};
  Reader screen(copied(reader, kScreenBytes, image));
  screen.take(6);  // the signature
  const std::uint64_t width = screen.littleEndian(2);
  const auto screenPixels = width * screen.littleEndian(2);
  copied(reader, colourBytes(screen.byte()), image);
  if (screenPixels == 0) return std::nullopt;

  const auto copySubBlocks = [&](ImageFile& to) {
    std::size_t count = 0;
    for (bool more = true; more && !reader.atEnd(); ++count) {
      const auto length = Reader(reader.peek()).byte();
      copied(reader, 1 + length, to);
      more = length != 0;
    }
    return count;
  };
  while (!reader.atEnd()) {
    const auto block = Reader(reader.peek()).byte();
    if (block == kExtension) {
      ImageFile extension{};
      const auto start = copied(reader, 2, extension);
      copySubBlocks(extension);
      if (start.ends_with(static_cast<char>(kControl))) image.bytes += extension.bytes;
    } else if (block == kPicture) {
      Reader picture(copied(reader, kPictureBytes, image));
      picture.take(5);  // the mark, and where the picture is
      const std::uint64_t pictureWidth = picture.littleEndian(2);
      const auto pixels = pictureWidth * picture.littleEndian(2);
      if (pixels == 0) return std::nullopt;
      image.pixels = std::max(screenPixels, pixels);
      copied(reader, colourBytes(picture.byte()), image);
      copied(reader, 1, image);  // the size of the codes
      // With each block, the loader blanks memory for all pixels.
      image.passes += copySubBlocks(image) / kBlocksOfAPass;
      if (!reader.isShort() && image.bytes.ends_with('\0')) image.bytes += ';';
      return image;
    } else {
      return std::nullopt;
    }
  }
  return std::nullopt;
}

std::optional<ImageFile> bmp(std::string_view file) {
  constexpr std::uint32_t kOldHeaderBytes = 12;
  Reader reader(file);
  reader.take(10);
  // The loader takes memory for all that stands before the pixels.
  if (reader.littleEndian(4) > file.size()) return std::nullopt;
  const bool old = reader.littleEndian(4) == kOldHeaderBytes;
  const auto side = [&]() -> std::uint64_t {
    if (old) return reader.littleEndian(2);
    return static_cast<std::uint64_t>(
        std::abs(std::int64_t{static_cast<std::int32_t>(reader.littleEndian(4))}));
  };
  const auto width = side();
  const auto pixels = width * side();  // rows from the top have a height below zero
  if (pixels == 0) return std::nullopt;
  return ImageFile{"bmp", std::string(file), pixels, 1};
}

/// A file of the one frame that is decoded: its transparency, if it has any beside it, and its
/// picture.
std::optional<ImageFile> webp(std::string_view file) {
  constexpr std::uint64_t kPassesWithoutLoss = 1024;
  constexpr std::size_t kFileBytes = 12;   // the start of a file: "RIFF", length, "WEBP"
  constexpr std::size_t kFrameBytes = 16;  // before the chunks of an animation's frame
  constexpr std::uint32_t kSideMask = 0x3FFF;
  const auto written = [](std::uint32_t number, std::size_t count) {
    std::string bytes;
    for (; count > 0; --count, number >>= 8U) bytes += static_cast<char>(number);
    return bytes;
  };
  Reader reader(file);
  reader.take(kFileBytes);
  std::string_view transparency;
  while (!reader.atEnd()) {
    auto chunk = Reader(reader.peek());
    const auto name = chunk.take(4);
    const auto length = chunk.littleEndian(4);
    const auto whole = reader.peek().substr(0, std::size_t{length} + length % 2 + 8);
    if (name == "ANMF") {
      reader.take(8 + kFrameBytes);  // and on with what is in it
      continue;
    }
    reader.take(whole.size());
    if (name == "ALPH") transparency = whole;
    const bool lossless = name == "VP8L";
    if (!lossless && name != "VP8 ") continue;

    std::uint32_t width = 0;
    std::uint32_t height = 0;
    if (lossless) {
      if (chunk.byte() != 0x2F) return std::nullopt;
      const auto sides = chunk.littleEndian(4);
      width = (sides & kSideMask) + 1;
      height = ((sides >> 14U) & kSideMask) + 1;
      transparency = {};
    } else {
      constexpr std::string_view kStart = "\x9D\x01\x2A";
      const bool isKeyFrame = chunk.littleEndian(3) % 2 == 0;
      if (!isKeyFrame || chunk.take(kStart.size()) != kStart) return std::nullopt;
      width = chunk.littleEndian(2) & kSideMask;
      height = chunk.littleEndian(2) & kSideMask;
    }
    if (chunk.isShort() || width == 0 || height == 0) return std::nullopt;
    std::string body = "WEBP";
    bool packed = lossless;
    if (!transparency.empty()) {
      constexpr std::uint32_t kHasTransparency = 0x10;
      body += "VP8X" + written(10, 4) + written(kHasTransparency, 4) + written(width - 1, 3) +
              written(height - 1, 3);
      body += transparency;
      packed = transparency.size() < 9 || (static_cast<unsigned char>(transparency[8]) & 3U) != 0;
    }
    body += whole;
    return ImageFile{"webp", "RIFF" + written(static_cast<std::uint32_t>(body.size()), 4) + body,
                     std::uint64_t{width} * height, packed ? kPassesWithoutLoss : 1};
  }
  return std::nullopt;
}

}  // namespace

std::optional<ImageFile> firstPicture(std::string_view file) {
  if (file.starts_with(kPngSignature)) return png(file);
  if (file.starts_with("\xFF\xD8\xFF")) return jpeg(file);
  if (file.starts_with("GIF87a") || file.starts_with("GIF89a")) return gif(file);
  if (file.starts_with("BM")) return bmp(file);
  if (file.starts_with("RIFF") && file.substr(0, 12).ends_with("WEBP")) return webp(file);
  return std::nullopt;
}

}  // namespace vemo
