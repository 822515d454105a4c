#pragma once

#include <stdlib.h>
#include <sys/mount.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

namespace vemo {

/// A folder of the test's own, deleted at its end.
class Folder {
 public:
  Folder() {
    std::string name = (std::filesystem::temp_directory_path() / "vemo-XXXXXX").string();
    path_ = ::mkdtemp(name.data());
  }
  ~Folder() { std::filesystem::remove_all(path_); }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;

  std::string file(const std::string& name) const { return (path_ / name).string(); }

  /// Writes a file, and the folders that it lies in; its path.
  std::string write(const std::string& name, std::string_view text) const {
    const auto path = path_ / name;
    std::filesystem::create_directories(path.parent_path());
    std::ofstream(path) << text;
    return path.string();
  }

 private:
  std::filesystem::path path_;
};

inline std::string textOf(const std::string& file) {
  std::ifstream in(file);
  return {std::istreambuf_iterator<char>(in), {}};
}

inline std::vector<std::string> linesOf(const std::string& file) {
  std::ifstream in(file);
  std::vector<std::string> lines;
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

/// A small disk of the test's own.
class SmallDisk {
 public:
  SmallDisk() : there_(::mount("vemo-test", path().c_str(), "tmpfs", 0, "size=64k") == 0) {}
  ~SmallDisk() {
    if (there_) ::umount2(path().c_str(), MNT_DETACH);
  }
  SmallDisk(const SmallDisk&) = delete;
  SmallDisk& operator=(const SmallDisk&) = delete;

  bool isThere() const { return there_; }
  std::string file(const std::string& name) const { return path() + "/" + name; }

  void fill() const {
    std::ofstream filler(file("filler"));
    filler << std::string(1'000'000, 'f') << std::flush;
  }
  void clear() const { std::filesystem::remove(file("filler")); }

 private:
  std::string path() const { return folder_.file("."); }

  const Folder folder_;
  const bool there_;
};

}  // namespace vemo
