#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <stdexcept>
#include <string_view>

namespace vemo {

/// The names of a kind of router's commands, kept once for all routers of that kind. Takes no
/// memory beside its own; never changes. Any thread.
class ActionNames {
 public:
  static constexpr std::size_t kMost = 128;

  /// `names` are each there once, at most kMost of them, and outlive this and its copies;
  /// std::length_error for more.
  constexpr explicit ActionNames(std::span<const std::string_view> names) : names_(names) {
    if (names.size() > kMost) throw std::length_error("too many names of commands");
    for (std::size_t place = 0; place < names.size(); ++place) {
      auto cell = firstCell(names[place]);
      while (cells_[cell] != kFree) cell = next(cell);
      cells_[cell] = static_cast<std::uint8_t>(place);
    }
  }

  constexpr std::span<const std::string_view> all() const { return names_; }

  /// Where `name` is in all(); nothing when it is not.
  constexpr std::optional<std::size_t> find(std::string_view name) const {
    for (auto cell = firstCell(name); cells_[cell] != kFree; cell = next(cell)) {
      if (names_[cells_[cell]] == name) return cells_[cell];
    }
    return std::nullopt;
  }

 private:
  static constexpr std::uint8_t kFree = 255;
  static constexpr std::size_t kCells = 2 * kMost;  // half of them stay free, so that searches end

  // Three letters and the length tell names apart well enough.
  static constexpr std::size_t firstCell(std::string_view name) {
    if (name.empty()) return 0;
    const auto letter = [name](std::size_t at) -> std::size_t {
      return static_cast<unsigned char>(name[at]);
    };
    return (31 * name.size() + 7 * letter(0) + 13 * letter(name.size() / 2) +
            letter(name.size() - 1)) %
           kCells;
  }
  static constexpr std::size_t next(std::size_t cell) { return (cell + 1) % kCells; }

  std::span<const std::string_view> names_;
  std::array<std::uint8_t, kCells> cells_ = [] {
    std::array<std::uint8_t, kCells> none{};
    none.fill(kFree);
    return none;
  }();
};

}  // namespace vemo
