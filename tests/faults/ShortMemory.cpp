#include "ShortMemory.h"

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <new>
#include <utility>

namespace {

// NOLINTBEGIN(cppcoreguidelines-avoid-non-const-global-variables): what operator new looks at
constinit thread_local bool isCounted = false;
constinit thread_local long count = 0;
constinit thread_local long failing = 0;
constinit std::atomic<long> blocks = 0;
// NOLINTEND(cppcoreguidelines-avoid-non-const-global-variables)

// NOLINTBEGIN(cppcoreguidelines-no-malloc,cppcoreguidelines-owning-memory)
void* allocate(std::size_t alignment, std::size_t size) {
  if (isCounted && ++count == failing) throw std::bad_alloc();
  const auto whole = (size + alignment - 1) / alignment * alignment;
  void* const block = std::aligned_alloc(alignment, whole == 0 ? alignment : whole);
  if (!block) throw std::bad_alloc();
  ++blocks;
  return block;
}

void release(void* block) noexcept {
  if (!block) return;
  --blocks;
  std::free(block);
}
// NOLINTEND(cppcoreguidelines-no-malloc,cppcoreguidelines-owning-memory)

}  // namespace

// Those for arrays, and those that do not throw, go by these.
void* operator new(std::size_t size) { return allocate(alignof(std::max_align_t), size); }
void* operator new(std::size_t size, std::align_val_t alignment) {
  return allocate(static_cast<std::size_t>(alignment), size);
}
void operator delete(void* block) noexcept { release(block); }
void operator delete(void* block, std::size_t) noexcept { release(block); }
void operator delete(void* block, std::align_val_t) noexcept { release(block); }
void operator delete(void* block, std::size_t, std::align_val_t) noexcept { release(block); }

namespace vemo::test {

void ShortMemory::failAt(long allocation) {
  count = 0;
  failing = allocation;
}
long ShortMemory::counted() { return count; }
bool ShortMemory::hasFailed() { return failing > 0 && count >= failing; }
long ShortMemory::blocks() { return ::blocks; }

ShortMemory::Counting::Counting() : before_(std::exchange(isCounted, true)) {}
ShortMemory::Counting::~Counting() { isCounted = before_; }
ShortMemory::Exempt::Exempt() : before_(std::exchange(isCounted, false)) {}
ShortMemory::Exempt::~Exempt() { isCounted = before_; }

}  // namespace vemo::test
