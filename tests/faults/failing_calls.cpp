// Loaded into a program before its libraries: of the calls to the system that can fail, counted
// from its start, the one whose number VEMO_FAIL_AT says fails, once, as it would for want of
// space, descriptors or a peer. Which that was is written to the file VEMO_FAIL_REPORT. Of
// epoll_ctl it fails none: Boost.Asio does not look at what its own descriptors' gives.

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <cstring>

namespace {

long wanted() {
  static const long at = [] {
    const char* text = std::getenv("VEMO_FAIL_AT");
    return text ? std::atol(text) : 0;
  }();
  return at;
}

/// Whether this call is the one that fails. `name` is a literal.
bool fails(const char* name) {
  static std::atomic<long> calls = 0;
  if (++calls != wanted()) return false;
  if (const char* report = std::getenv("VEMO_FAIL_REPORT")) {
    const int saved = errno;
    const auto file = ::syscall(SYS_openat, AT_FDCWD, report, O_WRONLY | O_CREAT | O_TRUNC, 0600);
    ::syscall(SYS_write, file, name, std::strlen(name));
    ::syscall(SYS_close, file);
    errno = saved;
  }
  return true;
}

/// What `name` gives, or -1 with `error` when its turn to fail has come.
template <class Function, class... Arguments>
auto call(const char* name, int error, Arguments... arguments) {
  static auto* const real = reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
  if (fails(name)) {
    errno = error;
    return static_cast<decltype(real(arguments...))>(-1);
  }
  return real(arguments...);
}

/// Whether it is a file or a connection. To a pipe or the like of a process's own, nothing fails
/// that fits into it: the signals that an event loop hears of come that way.
bool isFileOrSocket(int file) {
  struct stat status {};
  const bool known = ::syscall(SYS_fstat, file, &status) == 0;
  return !known || S_ISREG(status.st_mode) || S_ISSOCK(status.st_mode);
}

mode_t modeOf(int flags, std::va_list list) {
  return (flags & (O_CREAT | __O_TMPFILE)) != 0 ? va_arg(list, mode_t) : 0;
}

}  // namespace

extern "C" {

int open(const char* path, int flags, ...) {
  std::va_list list;
  va_start(list, flags);
  const auto mode = modeOf(flags, list);
  va_end(list);
  return call<int(const char*, int, mode_t)>("open", EMFILE, path, flags, mode);
}
int open64(const char* path, int flags, ...) {
  std::va_list list;
  va_start(list, flags);
  const auto mode = modeOf(flags, list);
  va_end(list);
  return call<int(const char*, int, mode_t)>("open64", EMFILE, path, flags, mode);
}
int openat(int folder, const char* path, int flags, ...) {
  std::va_list list;
  va_start(list, flags);
  const auto mode = modeOf(flags, list);
  va_end(list);
  return call<int(int, const char*, int, mode_t)>("openat", EMFILE, folder, path, flags, mode);
}
ssize_t write(int file, const void* bytes, size_t size) {
  if (!isFileOrSocket(file)) return ::syscall(SYS_write, file, bytes, size);
  return call<decltype(::write)>("write", ENOSPC, file, bytes, size);
}
ssize_t writev(int file, const iovec* parts, int count) {
  return call<decltype(::writev)>("writev", ENOSPC, file, parts, count);
}
int mkdir(const char* path, mode_t mode) {
  return call<decltype(::mkdir)>("mkdir", ENOSPC, path, mode);
}
int socket(int domain, int type, int protocol) {
  return call<decltype(::socket)>("socket", EMFILE, domain, type, protocol);
}
int connect(int socket, const sockaddr* address, socklen_t size) {
  return call<decltype(::connect)>("connect", ECONNREFUSED, socket, address, size);
}
int bind(int socket, const sockaddr* address, socklen_t size) {
  return call<decltype(::bind)>("bind", EADDRINUSE, socket, address, size);
}
int listen(int socket, int backlog) {
  return call<decltype(::listen)>("listen", EADDRINUSE, socket, backlog);
}
int accept(int socket, sockaddr* address, socklen_t* size) {
  return call<decltype(::accept)>("accept", EMFILE, socket, address, size);
}
ssize_t recv(int socket, void* bytes, size_t size, int flags) {
  return call<decltype(::recv)>("recv", ECONNRESET, socket, bytes, size, flags);
}
ssize_t recvmsg(int socket, msghdr* message, int flags) {
  return call<decltype(::recvmsg)>("recvmsg", ECONNRESET, socket, message, flags);
}
ssize_t send(int socket, const void* bytes, size_t size, int flags) {
  return call<decltype(::send)>("send", ECONNRESET, socket, bytes, size, flags);
}
ssize_t sendmsg(int socket, const msghdr* message, int flags) {
  return call<decltype(::sendmsg)>("sendmsg", ECONNRESET, socket, message, flags);
}
int fstat(int file, struct stat* status) {
  return call<decltype(::fstat)>("fstat", EIO, file, status);
}

}  // extern "C"
