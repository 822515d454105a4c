// A desktop's portals on the session bus, until SIGTERM, when it says how often something was
// asked.
//   vemo-fake-portal allow|refuse|fail
#include <signal.h>

#include <cstdlib>
#include <iostream>
#include <string>

#include "engine/FakePortal.h"

int main(int count, char** words) {
  sigset_t ending;
  sigemptyset(&ending);
  sigaddset(&ending, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &ending, nullptr);  // for its threads, too

  const std::string answer = count > 1 ? words[1] : "";
  const char* bus = std::getenv("DBUS_SESSION_BUS_ADDRESS");
  if (!bus || (answer != "allow" && answer != "refuse" && answer != "fail")) return 2;
  using Trouble = vemo::FakePortal::Trouble;
  const vemo::FakePortal portal(bus, {.method = "AccessCamera",
                                      .trouble = answer == "allow"    ? Trouble::none
                                                 : answer == "refuse" ? Trouble::cancelled
                                                                      : Trouble::ended});
  std::cout << "ready\n" << std::flush;
  int signal = 0;
  sigwait(&ending, &signal);
  std::cout << "asked " << portal.calls.count() << '\n';
}
