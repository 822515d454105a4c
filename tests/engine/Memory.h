#pragma once

#include <malloc.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

namespace vemo {

/// What this process has on its heap, in KiB: of all arenas, which mallinfo2 leaves out.
inline long usedKiB() {
  char* text = nullptr;
  std::size_t size = 0;
  std::FILE* file = open_memstream(&text, &size);
  malloc_info(0, file);
  std::fclose(file);
  const std::unique_ptr<char, decltype(&std::free)> held(text, std::free);
  const std::string all(text, size);
  // The sums stand last.
  const auto sum = [&all](const std::string& element) {
    const auto at = all.find("size=\"", all.rfind('<' + element));
    return std::atol(all.c_str() + at + 6);
  };
  const long had = sum("system type=\"current\"") - sum("total type=\"rest\"") -
                   sum("total type=\"fast\"") + sum("total type=\"mmap\"");
  return had / 1024;
}

}  // namespace vemo
