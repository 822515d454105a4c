#include "recorder/CrashDump.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <mutex>
#include <stdexcept>
#include <utility>

namespace vemo {

struct CrashDump::Slot {
  std::atomic<CrashDump*> dump = nullptr;
  std::array<char, 1001> file{};
};

namespace {

constexpr std::array<int, 5> kSignals{SIGSEGV, SIGBUS, SIGILL, SIGFPE, SIGABRT};

/// In place, for a handler of signals to read.
auto& slots() {
  static std::array<CrashDump::Slot, 64> all;
  return all;
}

std::array<struct sigaction, kSignals.size()>& former() {
  static std::array<struct sigaction, kSignals.size()> actions;
  return actions;
}

}  // namespace

void writeCrashDumps() noexcept {
  for (auto& slot : slots()) {
    auto* const dump = slot.dump.exchange(nullptr);  // once, whatever else goes wrong
    if (!dump) continue;
    const int file = ::open(slot.file.data(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    if (file < 0) continue;
    dump->ring_->dump(file, dump->keys_);
    ::close(file);
  }
}

namespace {

/// Of several threads that die at once one writes, and the others wait for it, some seconds: the
/// first to go on ends the process.
void writeOrWait() {
  static constinit std::atomic<bool> isBeingWritten = false;
  static constinit thread_local bool isWriter = false;  // which may die of another signal here
  if (isWriter) return;
  if (!isBeingWritten.exchange(true)) {
    isWriter = true;
    writeCrashDumps();
    isWriter = false;
    isBeingWritten = false;
  }
  for (int tries = 0; isBeingWritten && tries < 500; ++tries) ::poll(nullptr, 0, 10);
}

extern "C" void onCrash(int signal) {
  const int before = errno;  // whoever was interrupted may read it yet
  writeOrWait();
  for (std::size_t i = 0; i < kSignals.size(); ++i) {
    if (kSignals.at(i) == signal) ::sigaction(signal, &former().at(i), nullptr);
  }
  ::raise(signal);  // comes when this returns
  errno = before;
}

void install() {
  static const bool once = [] {
    slots();
    struct sigaction action {};
    action.sa_handler = onCrash;
    action.sa_flags = SA_ONSTACK;
    ::sigemptyset(&action.sa_mask);
    for (std::size_t i = 0; i < kSignals.size(); ++i)
      ::sigaction(kSignals.at(i), &action, &former().at(i));
    return true;
  }();
  static_cast<void>(once);
}

}  // namespace

CrashDump::CrashDump(std::shared_ptr<NoteRing> ring, const std::string& file,
                     std::vector<std::string> keys)
    : ring_(std::move(ring)), keys_(std::move(keys)) {
  ring_->prepareDump();
  install();
  auto& all = slots();
  if (file.size() >= all[0].file.size()) throw std::length_error("the name of a dump is too long");
  static std::mutex mutex;
  const std::lock_guard lock(mutex);
  const auto free =
      std::ranges::find_if(all, [](const Slot& slot) { return slot.dump.load() == nullptr; });
  if (free == all.end()) throw std::length_error("there are too many dumps");
  slot_ = &*free;
  slot_->file = {};
  file.copy(slot_->file.data(), file.size());
  slot_->dump = this;
}

CrashDump::~CrashDump() { slot_->dump = nullptr; }

}  // namespace vemo
