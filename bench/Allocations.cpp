#include "Allocations.h"

#include <cstddef>
#include <cstdlib>
#include <new>

namespace {

std::uint64_t& count() {
  thread_local std::uint64_t blocks = 0;
  return blocks;
}

}  // namespace

namespace vemo::bench {

std::uint64_t allocations() { return count(); }

}  // namespace vemo::bench

// The program's own operator new: the standard one, counted. The other forms, save those
// for types of extended alignment, which nothing here has, end in these.

void* operator new(std::size_t size) {
  ++count();
  if (void* memory = std::malloc(size != 0 ? size : 1)) return memory;
  throw std::bad_alloc();
}

void operator delete(void* memory) noexcept { std::free(memory); }

void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
