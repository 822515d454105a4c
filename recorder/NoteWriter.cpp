#include "recorder/NoteWriter.h"

#include <utility>

#include "json/JsonText.h"

namespace vemo {
namespace {

constexpr std::size_t kKeptBytes = std::size_t{64} << 10U;
constexpr unsigned kDeepestNote = 2048;

/// Makes JSON of CBOR, as far as NoteWriter writes it.
class Reader {
 public:
  Reader(std::string_view bytes, std::string& out) : left_(bytes), out_(out) {}

  bool value(unsigned depth = 0) {
    if (left_.empty() || depth > kDeepestNote) return false;
    const auto head = static_cast<unsigned char>(left_.front());
    left_.remove_prefix(1);
    switch (head) {
      case 0xBF: return members(depth);
      case 0x9F: return elements(depth);
      case 0xF4: out_ += "false"; return true;
      case 0xF5: out_ += "true"; return true;
      case 0xF6: out_ += "null"; return true;
      case 0x1B: return number([](std::uint64_t bits) { return boost::json::value(bits); });
      case 0x3B:
        return number([](std::uint64_t bits) {
          return boost::json::value(static_cast<std::int64_t>(~bits));
        });
      case 0xFB:
        return number(
            [](std::uint64_t bits) { return boost::json::value(std::bit_cast<double>(bits)); });
      case 0x7A: return text();
      case 0x18: return name();
      case 0xC6: return label();
      default: return false;
    }
  }
  bool atEnd() const { return left_.empty(); }

 private:
  bool takeEnd() {
    if (left_.empty() || left_.front() != '\xFF') return false;
    left_.remove_prefix(1);
    return true;
  }

  bool members(unsigned depth) {
    out_ += '{';
    for (bool first = true; !takeEnd(); first = false) {
      if (!first) out_ += ',';
      if (!key()) return false;
      out_ += ':';
      if (!value(depth + 1)) return false;
    }
    out_ += '}';
    return true;
  }

  bool elements(unsigned depth) {
    out_ += '[';
    for (bool first = true; !takeEnd(); first = false) {
      if (!first) out_ += ',';
      if (!value(depth + 1)) return false;
    }
    out_ += ']';
    return true;
  }

  bool key() {
    if (left_.empty() || (left_.front() != '\x7A' && left_.front() != '\x18')) return false;
    return value();
  }

  bool name() {
    if (left_.empty()) return false;
    const auto name = notes::nameOf(static_cast<unsigned char>(left_.front()));
    if (name.empty()) return false;
    out_.append("\"").append(name).append("\"");
    left_.remove_prefix(1);
    return true;
  }

  bool label() {
    if (left_.size() < 9 || left_.front() != '\x1B') return false;
    left_.remove_prefix(1);
    out_.append("\"m").append(std::to_string(bigEndian(8))).append("\"");
    return true;
  }

  std::uint64_t bigEndian(std::size_t size) {
    std::uint64_t bits = 0;
    for (std::size_t i = 0; i < size; ++i)
      bits = (bits << 8U) | static_cast<unsigned char>(left_[i]);
    left_.remove_prefix(size);
    return bits;
  }

  template <class Value>
  bool number(Value value) {
    if (left_.size() < 8) return false;
    appendJsonText(out_, value(bigEndian(8)));
    return true;
  }

  bool text() {
    if (left_.size() < 4) return false;
    const auto size = bigEndian(4);
    if (left_.size() < size) return false;
    appendJsonString(out_, left_.substr(0, size));
    left_.remove_prefix(size);
    return true;
  }

  std::string_view left_;
  std::string& out_;
};

}  // namespace

void NoteWriter::appendJson(const boost::json::object& object) {
  byte(kMap);
  for (const auto& member : object) {
    append(std::string_view(member.key()));
    appendJson(member.value());
  }
  byte(kEnd);
}

void NoteWriter::appendJson(const boost::json::array& array) {
  byte(kArray);
  for (const auto& element : array) appendJson(element);
  byte(kEnd);
}

void NoteWriter::appendJson(const boost::json::value& value) {
  switch (value.kind()) {
    case boost::json::kind::null: return byte(kNull);
    case boost::json::kind::bool_: return append(value.get_bool());
    case boost::json::kind::int64: return append(value.get_int64());
    case boost::json::kind::uint64: return append(value.get_uint64());
    case boost::json::kind::double_: return append(value.get_double());
    case boost::json::kind::string: return append(std::string_view(value.get_string()));
    case boost::json::kind::array: return appendJson(value.get_array());
    case boost::json::kind::object: return appendJson(value.get_object());
  }
}

void ScratchMemory::restart() {
  if (bytes_.size() > kKeptBytes) bytes_ = {};
  bytes_.resize(std::max<std::size_t>(bytes_.size(), 1024));
  begin_ = at_ = bytes_.data();
  end_ = begin_ + bytes_.size();
}

void ScratchMemory::grow(std::size_t bytes) {
  const auto written = size();
  bytes_.resize(std::max(2 * bytes_.size(), written + bytes));
  begin_ = bytes_.data();
  at_ = begin_ + written;
  end_ = begin_ + bytes_.size();
}

bool appendNoteJson(std::string& out, std::string_view bytes) {
  Reader reader(bytes, out);
  return reader.value() && reader.atEnd();
}

}  // namespace vemo
