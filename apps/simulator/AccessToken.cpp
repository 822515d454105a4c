#include "simulator/AccessToken.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <random>
#include <system_error>

namespace vemo {
namespace {

constexpr std::size_t kDigits = 32;
constexpr std::string_view kHex = "0123456789abcdef";

/// A descriptor that is closed with it.
class Descriptor {
 public:
  explicit Descriptor(int descriptor) : descriptor_(descriptor) {}
  ~Descriptor() {
    if (descriptor_ >= 0) ::close(descriptor_);
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  int get() const { return descriptor_; }

 private:
  const int descriptor_;
};

/// What `file` holds, if it is a token that nobody else can read or have put there.
std::optional<std::string> tokenIn(const std::filesystem::path& file) {
  const Descriptor opened(::open(file.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  struct stat status {};
  if (opened.get() < 0 || ::fstat(opened.get(), &status) != 0) return std::nullopt;
  constexpr mode_t kOthers = S_IRWXG | S_IRWXO;
  if (!S_ISREG(status.st_mode) || status.st_uid != ::geteuid() || (status.st_mode & kOthers) != 0)
    return std::nullopt;
  std::array<char, kDigits + 1> bytes{};
  const auto count = ::read(opened.get(), bytes.data(), bytes.size());
  if (count != static_cast<ssize_t>(kDigits)) return std::nullopt;
  std::string token(bytes.data(), kDigits);
  if (token.find_first_not_of(kHex) != std::string::npos) return std::nullopt;
  return token;
}

/// Puts a new token into `file`; another that is put there at the same time may stay instead.
bool putTokenInto(const std::filesystem::path& file) {
  const auto token = newAccessToken();
  auto name = file.string() + ".XXXXXX";
  const Descriptor made(::mkostemp(name.data(), O_CLOEXEC));  // for its owner alone
  if (made.get() < 0) return false;
  const bool isWritten =
      ::write(made.get(), token.data(), token.size()) == static_cast<ssize_t>(token.size());
  const bool isThere = isWritten && (::link(name.c_str(), file.c_str()) == 0 || errno == EEXIST);
  ::unlink(name.c_str());
  return isThere;
}

}  // namespace

std::string newAccessToken() {
  std::random_device lot;
  std::uniform_int_distribution<std::size_t> digits(0, kHex.size() - 1);
  std::string token;
  while (token.size() < kDigits) token += kHex[digits(lot)];
  return token;
}

std::optional<std::string> keptAccessToken(const std::filesystem::path& file,
                                           std::string& problem) {
  if (auto token = tokenIn(file)) return token;
  std::error_code failure;
  std::filesystem::create_directories(file.parent_path(), failure);
  std::filesystem::remove(file, failure);
  errno = 0;
  if (putTokenInto(file))
    if (auto token = tokenIn(file)) return token;
  problem = "Can't keep a token in " + file.string() + ": " +
            std::generic_category().message(errno != 0 ? errno : EIO);
  return std::nullopt;
}

std::filesystem::path accessTokenFile() {
  const auto named = [](const char* name) -> std::filesystem::path {
    const char* const value = std::getenv(name);
    return value == nullptr ? "" : value;
  };
  auto folder = named("XDG_STATE_HOME");
  if (!folder.is_absolute()) {
    folder = named("HOME");
    if (!folder.is_absolute()) return {};
    folder /= ".local/state";
  }
  return folder / "vemo" / "simulator-token";
}

bool isToken(std::string_view given, std::string_view token) {
  if (token.empty() || given.size() != token.size()) return false;
  unsigned difference = 0;
  for (std::size_t at = 0; at < token.size(); ++at)
    difference |= static_cast<unsigned>(given[at] ^ token[at]);
  return difference == 0;
}

}  // namespace vemo
