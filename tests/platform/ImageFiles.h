#pragma once

#include <gdk-pixbuf/gdk-pixbuf.h>
#include <gtest/gtest.h>

#include <boost/crc.hpp>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// Image files made byte by byte, good ones and attacks.
namespace vemo::images {

/// A file of `kind` ("png", "jpeg", "bmp") with an image of those pixels.
inline std::string file(const char* kind, int width, int height, bool alpha,
                        std::vector<std::uint8_t> pixels) {
  const int channels = alpha ? 4 : 3;
  auto* pixbuf = gdk_pixbuf_new_from_data(pixels.data(), GDK_COLORSPACE_RGB, alpha, 8, width,
                                          height, width * channels, nullptr, nullptr);
  gchar* bytes = nullptr;
  gsize size = 0;
  EXPECT_TRUE(gdk_pixbuf_save_to_buffer(pixbuf, &bytes, &size, kind, nullptr, nullptr));
  std::string contents(bytes, size);
  g_free(bytes);
  g_object_unref(pixbuf);
  return contents;
}

inline std::string black(const char* kind, int width, int height) {
  const auto count = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
  return file(kind, width, height, false, std::vector<std::uint8_t>(count * 3));
}

inline std::string bigEndian(std::uint64_t number, std::size_t count) {
  std::string bytes(count, '\0');
  for (; count > 0; number >>= 8U) bytes[--count] = static_cast<char>(number);
  return bytes;
}

inline std::string littleEndian(std::uint64_t number, std::size_t count) {
  std::string bytes;
  for (; count > 0; --count, number >>= 8U) bytes += static_cast<char>(number);
  return bytes;
}

// ---- PNG

inline constexpr std::size_t kPngHeader = 8;   // where the first chunk begins,
inline constexpr std::size_t kPngSecond = 33;  // and the second

inline std::string pngChunk(const std::string& name, const std::string& data) {
  boost::crc_32_type checksum;
  const auto checked = name + data;
  checksum.process_bytes(checked.data(), checked.size());
  return bigEndian(data.size(), 4) + checked + bigEndian(checksum.checksum(), 4);
}

/// A PNG whose header says another size than it has, with a good checksum.
inline std::string pngThatClaims(std::uint32_t width, std::uint32_t height) {
  auto png = black("png", 3, 2);
  const auto header = bigEndian(width, 4) + bigEndian(height, 4) + png.substr(kPngHeader + 16, 5);
  return png.replace(kPngHeader, kPngSecond - kPngHeader, pngChunk("IHDR", header));
}

/// A PNG of one pixel, with `count` compressed texts of 6 MB each.
inline std::string pngWithLongTexts(int count) {
  // What compresses the pixels of a black image compresses a text of zeros.
  const auto large = black("png", 2000, 1000);
  std::string zeros;
  for (auto at = large.find("IDAT"); at != std::string::npos; at = large.find("IDAT", at + 4)) {
    std::size_t length = 0;
    for (auto i = at - 4; i < at; ++i) length = length << 8U | static_cast<unsigned char>(large[i]);
    zeros += large.substr(at + 4, length);
  }
  auto png = black("png", 1, 1);
  const auto text = pngChunk("zTXt", std::string("k\0\0", 3) + zeros);
  for (int i = 0; i < count; ++i) png.insert(kPngSecond, text);
  return png;
}

// ---- GIF

/// What a GIF of four colours (black, red, green, blue) begins with.
inline std::string gifStart(std::uint32_t width, std::uint32_t height) {
  return "GIF89a" + littleEndian(width, 2) + littleEndian(height, 2) + std::string("\x91\0\0", 3) +
         std::string("\0\0\0\xFF\0\0\0\xFF\0\0\0\xFF", 12);
}

/// A frame of these colours, which may be fewer than its size says.
inline std::string gifFrame(std::uint32_t width, std::uint32_t height,
                            const std::vector<std::uint8_t>& colours) {
  constexpr std::uint32_t kClear = 4;
  constexpr std::uint32_t kEnd = 5;
  // Each colour begins anew, so that all codes keep their three bits.
  std::vector<std::uint32_t> codes;
  for (const auto colour : colours) codes.insert(codes.end(), {kClear, colour});
  codes.push_back(kEnd);
  std::string data;
  std::uint32_t bits = 0;
  std::size_t count = 0;
  for (const auto code : codes) {
    bits |= code << count;
    for (count += 3; count >= 8; count -= 8, bits >>= 8U) data += static_cast<char>(bits);
  }
  data += static_cast<char>(bits);
  EXPECT_LT(data.size(), 256U);
  return "," + std::string(4, '\0') + littleEndian(width, 2) + littleEndian(height, 2) +
         std::string("\0\2", 2) + static_cast<char>(data.size()) + data + '\0';
}

/// Makes `colour` of the next frame transparent.
inline std::string gifTransparent(char colour) {
  return std::string("!\xF9\4\1\0\0", 6) + colour + '\0';
}

// ---- JPEG

/// Where the segment with this code begins; a JPEG has it.
inline std::size_t jpegSegment(const std::string& jpeg, char code) {
  return jpeg.find({'\xFF', code});
}

inline std::string jpegThatClaims(std::uint32_t width, std::uint32_t height) {
  auto jpeg = black("jpeg", 16, 16);
  return jpeg.replace(jpegSegment(jpeg, '\xC0') + 5, 4, bigEndian(height, 2) + bigEndian(width, 2));
}

/// A grey progressive JPEG of `scans` scans, which all but the first say that nothing
/// changes, in a few bytes.
inline std::string progressiveJpeg(std::uint32_t width, std::uint32_t height, int scans) {
  const auto segment = [](char code, const std::string& data) {
    return std::string{'\xFF', code} + bigEndian(data.size() + 2, 2) + data;
  };
  // A table with one code, the bit 0, for `symbol`.
  const auto huffman = [&](char table, char symbol) {
    return segment('\xC4', std::string{table, '\1'} + std::string(15, '\0') + symbol);
  };
  const std::size_t blocks = std::size_t{(width + 7) / 8} * ((height + 7) / 8);
  constexpr std::size_t kRun = 16'384;  // blocks told of at once, by 15 bits
  auto jpeg = "\xFF\xD8" + segment('\xDB', '\0' + std::string(64, '\1')) +
              segment('\xC2', '\x08' + bigEndian(height, 2) + bigEndian(width, 2) +
                                  std::string("\1\1\x11\0", 4)) +
              huffman('\0', '\0') + huffman('\x10', '\xE0') +
              segment('\xDA', std::string("\1\1\0\0\0\0", 6)) + std::string(blocks / 8 + 1, '\0');
  for (int i = 1; i < scans; ++i) {
    jpeg += segment('\xDA', std::string("\1\1\0\1\x3F\0", 6)) +
            std::string((blocks / kRun + 1) * 15 / 8 + 1, '\0');
  }
  return jpeg + "\xFF\xD9";
}

// ---- WebP

/// Whether gdk-pixbuf has its loader here.
inline bool canWebp() {
  auto* loader = gdk_pixbuf_loader_new_with_type("webp", nullptr);
  if (!loader) return false;
  gdk_pixbuf_loader_close(loader, nullptr);
  g_object_unref(loader);
  return true;
}

inline std::string webpChunk(const std::string& name, std::string data) {
  const auto length = littleEndian(data.size(), 4);
  if (data.size() % 2 != 0) data += '\0';
  return name + length + data;
}

inline std::string webpFile(const std::string& chunks) {
  return "RIFF" + littleEndian(chunks.size() + 4, 4) + "WEBP" + chunks;
}

/// The picture of a WebP without loss, all of one colour, of any size in a few bytes.
inline std::string webpPlain(std::uint32_t width, std::uint32_t height, std::uint8_t red,
                             std::uint8_t alpha = 255) {
  std::string bytes;
  unsigned bits = 0;
  const auto add = [&](std::uint64_t number, unsigned count) {
    for (; count > 0; --count, number >>= 1U, ++bits) {
      if (bits % 8 == 0) bytes += '\0';
      if (number % 2 != 0) bytes.back() = static_cast<char>(bytes.back() | 1 << bits % 8);
    }
  };
  add(0x2F, 8);
  add(width - 1, 14);
  add(height - 1, 14);
  add(alpha == 255 ? 0 : 1, 4);  // and the version
  add(0, 3);                     // no transform, cache or groups
  for (const unsigned only : {0U, unsigned{red}, 0U, unsigned{alpha}, 0U})  // green first
    add(std::uint64_t{only} << 3U | 0b101, 11);  // a code of one symbol of eight bits
  return webpChunk("VP8L", bytes);
}

/// The start of a WebP picture with loss that says this size.
inline std::string webpThatClaims(std::uint32_t width, std::uint32_t height) {
  return webpChunk("VP8 ", std::string("\x10\0\0\x9D\x01\x2A", 6) + littleEndian(width, 2) +
                               littleEndian(height, 2) + std::string(20, '\0'));
}

/// A frame of an animation.
inline std::string webpFrame(const std::string& chunks) {
  return webpChunk("ANMF", std::string(16, '\0') + chunks);
}

inline std::string webpHeader(char flags, std::uint32_t width, std::uint32_t height) {
  return webpChunk("VP8X", std::string{flags, 0, 0, 0} + littleEndian(width - 1, 3) +
                               littleEndian(height - 1, 3));
}

// ---- BMP

/// A BMP of two pixels that says something else in its headers.
inline std::string bmpThatClaims(std::uint32_t width, std::uint32_t height,
                                 std::uint32_t pixelsAt = 54) {
  auto bmp = black("bmp", 2, 1);
  bmp.replace(10, 4, littleEndian(pixelsAt, 4));
  return bmp.replace(18, 8, littleEndian(width, 4) + littleEndian(height, 4));
}

}  // namespace vemo::images
