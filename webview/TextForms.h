#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "bridge/Text.h"
#include "json/JsonObjectText.h"

namespace vemo {

/// A text as payloads carry it: without line breaks, "(null)" when it is absent.
std::string cleaned(const Text& text);

/// Adds a member that holds a cleaned text.
void addCleaned(JsonObjectText& object, std::string_view key, const Text& text);

/// A user id as replies carry it: as it is, "(null)" when it is absent or empty.
std::string idOrNull(const Text& userId);

/// An address as logs carry it: "0x" and lower-case hexadecimal digits.
std::string addressText(const void* address);

}  // namespace vemo
