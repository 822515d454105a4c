#include "simulator/Options.h"

#include <getopt.h>

#include <array>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>

namespace vemo {
namespace {

template <class Number>
bool read(std::string_view text, Number& number) {
  const auto [end, problem] = std::from_chars(text.data(), text.data() + text.size(), number);
  return problem == std::errc{} && end == text.data() + text.size();
}

/// Why there is no page in `folder`; empty when there is one.
std::string problemWithFolder(const std::string& folder) {
  std::error_code missing;
  if (!std::filesystem::is_directory(folder, missing))
    return "--page: there is no folder \"" + folder + "\".";
  if (!std::filesystem::is_regular_file(std::filesystem::path(folder) / "index.html", missing))
    return "--page: there is no index.html in \"" + folder + "\".";
  return {};
}

/// Why nothing can be opened at `address`.
std::string problemWithAddress(const std::string& address) {
  const auto named = "--page-url: \"" + address + "\" ";
  // Such a host can't stand in the policy that lets the page's origin alone into the phones.
  if (address.find("://[") != std::string::npos)
    return named + "names its host by an IPv6 address, which is not possible; say localhost.";
  return named + "is no address of a page, such as http://localhost:5173/.";
}

/// A shell in a phone would have phones with shells in them, and so on.
bool isOwnAddress(const PageAddress& page, std::uint16_t port) {
  return (page.host == "localhost" || page.host == "127.0.0.1") &&
         page.port == std::to_string(port);
}

}  // namespace

std::optional<SimulatorOptions> optionsFrom(int argc, char** argv, std::string& error) {
  constexpr std::array kLong{option{"port", required_argument, nullptr, 'p'},
                             option{"page", required_argument, nullptr, 'd'},
                             option{"page-url", required_argument, nullptr, 'u'},
                             option{"shell", required_argument, nullptr, 'f'},
                             option{"seed", required_argument, nullptr, 's'},
                             option{"room-capacity", required_argument, nullptr, 'r'},
                             option{"log", required_argument, nullptr, 'l'},
                             option{"record", required_argument, nullptr, 'R'},
                             option{"help", no_argument, nullptr, 'h'},
                             option{"version", no_argument, nullptr, 'v'},
                             option{nullptr, 0, nullptr, 0}};
  SimulatorOptions options;
  optind = 0;  // begin anew, whatever was read before
  opterr = 0;
  int which = 0;
  for (int found = 0; (found = getopt_long(argc, argv, ":", kLong.data(), &which)) != -1;) {
    bool good = true;
    if (found != ':' && found != '?' && optarg && *optarg == '\0') {
      error =
          std::string("--") + kLong.at(static_cast<std::size_t>(which)).name + " needs a value.";
      return std::nullopt;
    }
    switch (found) {
      case 'p': good = read(optarg, options.port); break;
      case 'd':
        options.pageFolder = optarg;
        error = problemWithFolder(options.pageFolder);
        if (!error.empty()) return std::nullopt;
        break;
      case 'u':
        options.pageUrl = pageAddressFrom(optarg);
        if (options.pageUrl) break;
        error = problemWithAddress(optarg);
        return std::nullopt;
      case 'f': options.shellFolder = optarg; break;
      case 's': good = read(optarg, options.seed); break;
      case 'r': good = read(optarg, options.roomCapacity) && options.roomCapacity > 0; break;
      case 'l': options.logFile = optarg; break;
      case 'R': options.recordFolder = optarg; break;
      case 'h': options.help = true; break;
      case 'v': options.version = true; break;
      case ':': error = std::string(argv[optind - 1]) + " needs a value."; return std::nullopt;
      default: {
        // Only a word's last letter, of letters like -xy, takes getopt on to the next word.
        const std::string_view word = argv[optind - 1];
        error = "Unknown option " +
                std::string(optind > 1 && word.starts_with('-') ? word : argv[optind]) + ".";
        return std::nullopt;
      }
    }
    if (!good) {
      error = "\"" + std::string(optarg) + "\" is no value for --" +
              kLong.at(static_cast<std::size_t>(which)).name + "; see --help.";
      return std::nullopt;
    }
  }
  if (optind < argc) {
    error = std::string("Unexpected argument ") + argv[optind] + ".";
    return std::nullopt;
  }
  if (!options.pageFolder.empty() && options.pageUrl) {
    error = "--page and --page-url name two pages; give one of them.";
    return std::nullopt;
  }
  if (options.pageUrl && isOwnAddress(*options.pageUrl, options.port)) {
    error = "--page-url: \"" + options.pageUrl->url +
            "\" is the simulator itself; one of the two needs another port.";
    return std::nullopt;
  }
  return options;
}

std::string usage() {
  return R"(Usage: vemo-simulator [OPTION]...
Plays phones in a browser: every page that connects is a phone of its own, in one
simulated classroom cloud. Listens on the loopback interface only, and prints the address
to open: its token, which stays the same, lets in nobody who was not told it.

Options:
  --port N            listen on port N (8377); 0 takes any free one
  --page DIR          open the page in DIR in the phones; it is served at /page/
  --page-url URL      open the page at URL in the phones, such as a development server's
  --shell DIR         serve the built shell in DIR, not the one that belongs to this build
  --seed N            seed of the simulated cloud (1)
  --room-capacity N   how many fit into a room (50)
  --log FILE          write the log to FILE, not to standard error
  --record DIR        write the session of each page to a file in DIR (vemo-replay --from); of
                      those that have ended, the latest 100 stay, and 2 GiB at most
  --help              show this text
  --version           show the version

Exit status: 0 stopped by a signal, 2 something was wrong with an option, or it could not go on.
)";
}

}  // namespace vemo
