#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace vemo {

/// What stands in the place of each byte of a secret; whoever reads a dump has a stand-in for all
/// of one, as it has more bytes where it is escaped. No text has it for itself but rarely.
inline constexpr char kErased = '\x7F';

/// Overwrites the values of `keys` in the note of `size` bytes at `note` (NoteWriter.h): where a
/// key is a member's, and in JSON text in texts, to any depth of strings in strings. Each byte
/// becomes kErased, each digit of a number, also of one that is a text, a 1. Where a text may hide
/// a key behind escapes such as \u0053, and where a value is an object or array, all that follows
/// is overwritten; what is empty, null, true and false stay. Allocates nothing and calls nothing
/// that a handler of signals must not call.
void eraseSecrets(char* note, std::size_t size, const std::vector<std::string>& keys) noexcept;

}  // namespace vemo
