#pragma once

namespace vemo::test {

/// The memory that operator new gives to this thread, of which one allocation can fail. A program
/// that links ShortMemory.cpp has its operators.
class ShortMemory {
 public:
  /// Counts from 0 again; the allocation with this number, from 1, throws std::bad_alloc, once. 0:
  /// none does.
  static void failAt(long allocation);
  /// How many there were since, while it was counted.
  static long counted();
  static bool hasFailed();

  /// How many blocks operator new has given, to all threads, that are not given back.
  static long blocks();

  /// While one of these lives, allocations of this thread count, save while an Exempt does that
  /// was made later.
  class Counting {
   public:
    Counting();
    ~Counting();
    Counting(const Counting&) = delete;
    Counting& operator=(const Counting&) = delete;

   private:
    const bool before_;
  };
  class Exempt {
   public:
    Exempt();
    ~Exempt();
    Exempt(const Exempt&) = delete;
    Exempt& operator=(const Exempt&) = delete;

   private:
    const bool before_;
  };
};

}  // namespace vemo::test
