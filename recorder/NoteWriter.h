#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <boost/json/array.hpp>
#include <boost/json/object.hpp>
#include <boost/json/value.hpp>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>

#include "bridge/Fields.h"
#include "bridge/ImageDecoder.h"
#include "bridge/VEMOKOBUEventListener.h"
#include "bridge/VEMOUIRenderSource.h"
#include "json/RecordMapper.h"
#include "recorder/ObjectNames.h"

// Notes in memory are CBOR (RFC 8949): texts as they come, without a look at them; JSON is made of
// them when somebody reads. Heads have one length each, so that nothing has to be chosen.

namespace vemo {

/// Where a note is written. Whoever makes one sets the memory that is there.
class NoteMemory {
 public:
  NoteMemory(const NoteMemory&) = delete;
  NoteMemory& operator=(const NoteMemory&) = delete;

  /// Makes sure of `bytes` at the end, which is given.
  char* room(std::size_t bytes) {
    if (static_cast<std::size_t>(end_ - at_) < bytes) [[unlikely]]
      grow(bytes);
    return at_;
  }
  /// What is before `end` has been written.
  void setEnd(char* end) { at_ = end; }

  char* begin() const { return begin_; }
  std::size_t size() const { return static_cast<std::size_t>(at_ - begin_); }

 protected:
  NoteMemory() = default;
  ~NoteMemory() = default;

  /// Makes room for `bytes` more, wherever; keeps what is between begin_ and at_.
  virtual void grow(std::size_t bytes) = 0;

  // NOLINTBEGIN(*-non-private-member-variables-in-classes): set by whoever has the memory
  char* begin_ = nullptr;  ///< of the note that is being written
  char* at_ = nullptr;
  char* end_ = nullptr;
  // NOLINTEND(*-non-private-member-variables-in-classes)
};

namespace notes {

/// The names that are written as their numbers, of keys and then of effects; new ones go at the
/// end.
inline constexpr auto keys = std::to_array<std::string_view>(
    {"effect",     "call",        "args",      "record",    "needReport", "level",    "module",
     "actionName", "actionParam", "errorCode", "errorDesc", "fileName",   "funcName", "line",
     "sdkAppId",   "item",        "action",    "error",     "retval",     "printLog", "errcode",
     "errmsg",     "text",        "needLog",   "name",      "op",         "of",       "value",
     "message",    "as",          "thread",    "event",     "music",      "on",       "code",
     "progressMs", "durationMs",  "speedTest", "completed", "total",      "access",   "nth",
     "press",      "downloaded",  "decoded",   "notify",    "title",      "buttons",  "style",
     "media",      "url",         "device",    "drain",     "host",       "listener", "ops",
     "bytes",      "digest",      "kind",      "release"});
inline constexpr auto effects = std::to_array<std::string_view>(
    {"log", "engine", "reply", "script", "completion", "post", "subscribe", "syslog", "alert",
     "download", "unsubscribe", "unsubscribeAll", "loggerConfig", "requestAccess", "openSettings",
     "launchExtension"});

inline constexpr std::size_t firstEffect = 128;  ///< the number of the first of them

/// The name that is written as `number`; empty when there is none.
constexpr std::string_view nameOf(std::size_t number) {
  if (number < keys.size()) return keys.at(number);
  if (number < firstEffect || number >= firstEffect + effects.size()) return {};
  return effects.at(number - firstEffect);
}

/// A name that is known when this is compiled.
struct Key {
  // Implicit, so that a literal is a key, and the name of a field.
  // NOLINTNEXTLINE(google-explicit-constructor,*-explicit-conversions)
  consteval Key(const std::convertible_to<std::string_view> auto& name) : number(numberOf(name)) {}
  unsigned char number;

 private:
  static consteval unsigned char numberOf(std::string_view name) {
    for (std::size_t number = 0; number < firstEffect + effects.size(); ++number) {
      if (nameOf(number) == name) return static_cast<unsigned char>(number);
    }
    throw "no name of notes";  // does not compile
  }
};

/// The label of the item of the message that came in the step `number`: "m" and the number.
struct Label {
  std::uint64_t number;
};

/// A member of a map; one whose value is an optional without one is left out. Refers to `value`, or
/// holds it where it is a temporary.
template <class T>
struct Member {
  Key key;
  T value;
};
template <class T>
Member(auto&&, T&&) -> Member<T>;

/// A map whose members are known together.
template <class... T>
struct Map {
  explicit Map(const Member<T>&... member) : members(member...) {}
  std::tuple<Member<T>...> members;
};

/// An array whose elements are known together. Refers to them.
template <class... T>
struct Array {
  explicit Array(const T&... element) : elements(element...) {}
  std::tuple<const T&...> elements;
};

template <class T>
inline constexpr bool isGroup = false;
template <class... T>
inline constexpr bool isGroup<Map<T...>> = true;
template <class... T>
inline constexpr bool isGroup<Array<T...>> = true;

template <class T>
inline constexpr bool isOptional = false;
template <class T>
inline constexpr bool isOptional<std::optional<T>> = true;

}  // namespace notes

/// Writes one note, a map, as its members are added. One at a time on a thread.
class NoteWriter {
 public:
  /// Whether a value of this type is written at once: the room that it takes is known.
  template <class T>
  static constexpr bool isPlain =
      std::is_arithmetic_v<T> || std::convertible_to<const T&, std::string_view> ||
      std::same_as<T, notes::Key> || std::same_as<T, notes::Label> ||
      std::same_as<T, notes::Parts> || std::same_as<T, std::nullptr_t> || notes::isGroup<T>;

  /// Writes the whole note, `head` bytes into `memory`, whose members are plain: for notes that
  /// come with every command, as it takes half the time.
  template <class... T>
  [[gnu::always_inline]] static std::string_view write(NoteMemory& memory, std::size_t head,
                                                       const notes::Map<T...>& note) {
    char* const begin = memory.room(head + mostOf(note)) + head;
    char* const end = put(begin, note);
    memory.setEnd(end);
    return {begin, end};
  }

  /// Leaves `head` bytes before it. Views are written as `names` has them.
  NoteWriter(NoteMemory& memory, ObjectNames& names, std::size_t head = 0)
      : memory_(memory), names_(names), head_(head) {
    auto* const at = memory_.room(head + kSpare);
    at[head] = kMap;
    memory_.setEnd(at + head + 1);
  }
  NoteWriter(const NoteWriter&) = delete;
  NoteWriter& operator=(const NoteWriter&) = delete;

  /// Adds a member. Records as the mapper writes them, views by name, an image as "image"; what
  /// is absent or null as null.
  template <class T>
  NoteWriter& add(notes::Key key, const T& value) {
    if constexpr (isPlain<T>) {
      memory_.setEnd(put(put(memory_.room(kKeyBytes + mostOf(value)), key), value));
    } else {
      begin(key);
      append(value);
    }
    return *this;
  }

  /// Adds a member that is the array of `values`.
  template <class... T>
  NoteWriter& addArray(notes::Key key, const T&... values) {
    if constexpr ((isPlain<T> && ...)) {
      add(key, notes::Array(values...));
    } else {
      begin(key);
      byte(kArray);
      (append(values), ...);
      byte(kEnd);
    }
    return *this;
  }

  /// Adds a member that is a map, to which `write(*this)` adds members.
  template <class Write>
  NoteWriter& addMap(notes::Key key, Write write) {
    begin(key);
    byte(kMap);
    write(*this);
    byte(kEnd);
    return *this;
  }

  /// Adds a member that is an array, to which `write()` adds by `element`.
  template <class Write>
  NoteWriter& addElements(notes::Key key, Write write) {
    begin(key);
    byte(kArray);
    write();
    byte(kEnd);
    return *this;
  }
  template <class T>
  void element(const T& value) {
    append(value);
  }

  /// Ends the note: all that was written, without what was left before it, valid as long as the
  /// memory holds it.
  std::string_view whole() {
    byte(kEnd);
    return {memory_.begin() + head_, memory_.size() - head_};
  }

 private:
  static constexpr char kMap = '\xBF';
  static constexpr char kArray = '\x9F';
  static constexpr char kEnd = '\xFF';
  static constexpr char kFalse = '\xF4';
  static constexpr char kNull = '\xF6';
  static constexpr char kDouble = '\xFB';
  static constexpr char kUnsigned = '\x1B';
  static constexpr char kNegative = '\x3B';
  static constexpr char kText = '\x7A';
  static constexpr char kLabel = '\xC6';     ///< a tag of the number behind it
  static constexpr std::size_t kSpare = 16;  ///< more than any head, with a byte to end with
  static constexpr std::size_t kKeyBytes = 2;
  static constexpr std::size_t kHeadBytes = 9;

  // How much a plain value takes at the most.
  template <class T>
  [[gnu::always_inline]] static std::size_t mostOf(const T& value) {
    if constexpr (std::is_arithmetic_v<T>) {
      return kHeadBytes;
    } else {
      return kHeadBytes + std::string_view(value).size();
    }
  }
  [[gnu::always_inline]] static std::size_t mostOf(notes::Key) { return kKeyBytes; }
  [[gnu::always_inline]] static std::size_t mostOf(notes::Label) { return 1 + kHeadBytes; }
  [[gnu::always_inline]] static std::size_t mostOf(const notes::Parts& text) {
    return kHeadBytes + text.size();
  }
  [[gnu::always_inline]] static std::size_t mostOf(std::nullptr_t) { return 1; }
  template <class T>
  [[gnu::always_inline]] static std::size_t mostOf(const notes::Member<T>& member) {
    using Value = std::remove_cvref_t<T>;
    if constexpr (notes::isOptional<Value>) {
      // Of a number that is not there, too: a bound that needs no look is the cheaper one.
      if constexpr (std::is_arithmetic_v<typename Value::value_type>) return kKeyBytes + kHeadBytes;
      return member.value ? kKeyBytes + mostOf(*member.value) : 0;
    } else {
      return kKeyBytes + mostOf(member.value);
    }
  }
  template <class... T>
  [[gnu::always_inline]] static std::size_t mostOf(const notes::Map<T...>& map) {
    return std::apply(
        [](const auto&... one)
            __attribute__((always_inline)) { return (std::size_t{2} + ... + mostOf(one)); },
        map.members);
  }
  template <class... T>
  [[gnu::always_inline]] static std::size_t mostOf(const notes::Array<T...>& array) {
    return std::apply(
        [](const auto&... one)
            __attribute__((always_inline)) { return (std::size_t{2} + ... + mostOf(one)); },
        array.elements);
  }

  // These write where there is room, and give the end of what they wrote.

  [[gnu::always_inline]] static char* put(char* at, notes::Key key) {
    at[0] = '\x18';
    at[1] = static_cast<char>(key.number);
    return at + kKeyBytes;
  }
  [[gnu::always_inline]] static char* put(char* at, char byte) {
    *at = byte;
    return at + 1;
  }
  [[gnu::always_inline]] static char* put(char* at, std::nullptr_t) { return put(at, kNull); }
  [[gnu::always_inline]] static char* put(char* at, notes::Label label) {
    return putWord(put(at, kLabel), kUnsigned, label.number);
  }
  [[gnu::always_inline]] static char* put(char* at, const notes::Parts& text) {
    at = putTextHead(at, text.size());
    return copied(copied(copied(at, text.first), text.second), text.third);
  }
  template <class T>
  [[gnu::always_inline]] static char* put(char* at, const notes::Member<T>& member) {
    if constexpr (notes::isOptional<std::remove_cvref_t<T>>) {
      return member.value ? put(put(at, member.key), *member.value) : at;
    } else {
      return put(put(at, member.key), member.value);
    }
  }
  template <class... T>
  [[gnu::always_inline]] static char* put(char* at, const notes::Map<T...>& map) {
    at = put(at, kMap);
    std::apply(
        [&](const auto&... one) __attribute__((always_inline)) { ((at = put(at, one)), ...); },
        map.members);
    return put(at, kEnd);
  }
  template <class... T>
  [[gnu::always_inline]] static char* put(char* at, const notes::Array<T...>& array) {
    at = put(at, kArray);
    std::apply(
        [&](const auto&... one) __attribute__((always_inline)) { ((at = put(at, one)), ...); },
        array.elements);
    return put(at, kEnd);
  }
  [[gnu::always_inline]] static char* putWord(char* at, char kind, std::uint64_t value) {
    at[0] = kind;
    if constexpr (std::endian::native == std::endian::little) value = __builtin_bswap64(value);
    std::memcpy(at + 1, &value, sizeof value);
    return at + 1 + sizeof value;
  }
  [[gnu::always_inline]] static char* putTextHead(char* at, std::size_t size) {
    auto length = static_cast<std::uint32_t>(size);
    if constexpr (std::endian::native == std::endian::little) length = __builtin_bswap32(length);
    at[0] = kText;
    std::memcpy(at + 1, &length, sizeof length);
    return at + 1 + sizeof length;
  }
  template <class T>
  [[gnu::always_inline]] static char* put(char* at, const T& value) {
    if constexpr (std::same_as<T, bool>) {
      *at = static_cast<char>(kFalse + (value ? 1 : 0));
      return at + 1;
    } else if constexpr (std::unsigned_integral<T>) {
      return putWord(at, kUnsigned, value);
    } else if constexpr (std::integral<T>) {
      const auto number = static_cast<std::int64_t>(value);
      return number < 0 ? putWord(at, kNegative, static_cast<std::uint64_t>(~number))
                        : putWord(at, kUnsigned, static_cast<std::uint64_t>(number));
    } else if constexpr (std::floating_point<T>) {
      return putWord(at, kDouble, std::bit_cast<std::uint64_t>(static_cast<double>(value)));
    } else {
      const std::string_view text(value);
      return copied(putTextHead(at, text.size()), text);
    }
  }

  void byte(char value) { memory_.setEnd(put(memory_.room(1), value)); }

  void begin(notes::Key key) { memory_.setEnd(put(memory_.room(kKeyBytes), key)); }

  /// As memcpy, without a call for the short texts that most are; the end of what it wrote.
  [[gnu::always_inline]] static char* copied(char* to, std::string_view text) {
    const auto size = text.size();
    const char* const from = text.data();
    if (size > 128) return std::copy_n(from, size, to);
    if (size >= 16) {
      for (std::size_t i = 0; i + 16 < size; i += 16) std::memcpy(to + i, from + i, 16);
      std::memcpy(to + size - 16, from + size - 16, 16);
    } else if (size >= 8) {
      std::memcpy(to, from, 8);
      std::memcpy(to + size - 8, from + size - 8, 8);
    } else if (size >= 4) {
      std::memcpy(to, from, 4);
      std::memcpy(to + size - 4, from + size - 4, 4);
    } else {
      for (std::size_t i = 0; i < size; ++i) to[i] = from[i];
    }
    return to + size;
  }
  void appendJson(const boost::json::object& object);
  void appendJson(const boost::json::array& array);
  void appendJson(const boost::json::value& value);

  template <class Record>
  void appendRecord(const Record& record) {
    byte(kMap);
    const auto field = [&](const auto& one) {
      const auto& member = record.*one.member;
      if constexpr (std::same_as<std::remove_cvref_t<decltype(member)>, Text>) {
        if (!member) return;
      }
      append(one.name);
      append(member);
    };
    std::apply([&](const auto&... fields) { (field(fields), ...); }, Fields<Record>::table);
    byte(kEnd);
  }

  template <class T>
  void append(const T& value) {
    if constexpr (isPlain<T>) {
      memory_.setEnd(put(memory_.room(mostOf(value)), value));
    } else if constexpr (std::same_as<T, boost::json::object> ||
                         std::same_as<T, boost::json::array> ||
                         std::same_as<T, boost::json::value>) {
      appendJson(value);
    } else if constexpr (mapping::IsList<T>::value) {
      byte(kArray);
      for (const auto& one : value) append(one);
      byte(kEnd);
    } else if constexpr (HasFields<T>) {
      appendRecord(value);
    } else if constexpr (std::same_as<T, NativeView>) {
      append(names_.nameOf(value));
    } else if constexpr (std::same_as<T, VEMOImage>) {
      append(std::string_view("image"));
    } else {
      // An optional or a pointer. A listener has a name where it is noted.
      if constexpr (!std::same_as<T, VEMOKOBUEventListener>) {
        if (value) return append(*value);
      }
      byte(kNull);
    }
  }

  NoteMemory& memory_;
  ObjectNames& names_;
  const std::size_t head_;
};

/// Memory that grows, for a note that nobody keeps. One thread.
class ScratchMemory final : public NoteMemory {
 public:
  ScratchMemory() { restart(); }

  /// Forgets what was written; what one large note took is given back.
  void restart();

 private:
  void grow(std::size_t bytes) override;

  std::string bytes_;
};

/// Appends the JSON text of the note in `bytes`; false, having appended part of it, when they are
/// damaged.
bool appendNoteJson(std::string& out, std::string_view bytes);

}  // namespace vemo
