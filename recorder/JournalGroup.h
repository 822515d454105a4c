#pragma once

#include <algorithm>
#include <memory>
#include <utility>
#include <vector>

#include "recorder/Journal.h"

namespace vemo {

/// Several journals as one: each open one gets each note.
class JournalGroup final : public Journal {
 public:
  explicit JournalGroup(std::vector<std::shared_ptr<Journal>> journals)
      : journals_(std::move(journals)) {}

  bool isOpen() const override {
    return std::ranges::any_of(journals_, [](const auto& journal) { return journal->isOpen(); });
  }
  void note(const Note& note) override {
    for (const auto& journal : journals_) {
      if (journal->isOpen()) journal->note(note);
    }
  }

 private:
  const std::vector<std::shared_ptr<Journal>> journals_;
};

}  // namespace vemo
