#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace vemo::janus {

/// Addresses of a host: the first of each kind, IPv4 before IPv6; none, and why.
using HostFound =
    std::function<void(const std::vector<std::string>& addresses, const std::string& why)>;

/// Asks the system for the addresses of `host`, which may be one itself. `found` is told, later, by
/// the main loop of the thread that calls this; not when the result was let go of before.
[[nodiscard]] std::shared_ptr<void> lookUpHost(const std::string& host, HostFound found);

}  // namespace vemo::janus
