#include "simulator/Descriptors.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <utility>

namespace vemo {

void raiseDescriptorLimit() {
  rlimit limit{};
  if (getrlimit(RLIMIT_NOFILE, &limit) != 0) return;
  limit.rlim_cur = limit.rlim_max;
  setrlimit(RLIMIT_NOFILE, &limit);  // without it, fewer connections are served
}

bool SpareDescriptor::keep() {
  if (descriptor_ < 0) descriptor_ = open("/dev/null", O_RDONLY | O_CLOEXEC);
  return descriptor_ >= 0;
}

bool SpareDescriptor::giveUp() {
  const auto held = std::exchange(descriptor_, -1);
  return held >= 0 && close(held) == 0;
}

}  // namespace vemo
