#pragma once

#include <optional>
#include <string>
#include <vector>

namespace vemo {

struct ClassroomOptions {
  std::vector<std::string> servers;  ///< addresses of media servers
  std::string serversFile;           ///< or a file with one a line
  std::string relaysFile;            ///< a file with STUN and TURN servers, one a line
  std::string authorities;           ///< a file by which the servers' certificates are judged
  std::string pageFolder;            ///< of the classroom page; empty: that of the program
  std::string pageUrl;               ///< of another page, on an origin that is named so
  std::string query;                 ///< that the page's address ends with
  std::string logFile;               ///< empty: standard error
  std::string recordFolder;          ///< of files with whole sessions; empty: none
  int windows = 1;
  bool testMedia = false;   ///< test pictures and tones instead of devices
  bool automation = false;  ///< windows are opened by a WebDriver
  bool inspect = false;     ///< pages can be inspected
  bool help = false;
  bool version = false;
};

/// What the command line says; nothing, with a sentence in `error`, when it says it wrongly.
std::optional<ClassroomOptions> classroomOptionsFrom(const std::vector<std::string>& arguments,
                                                     std::string& error);

/// What is wrong with the files that `options` name to the engine, as one sentence, or nothing: one
/// that can't be read, or holds what the engine could not use. They are read.
std::string problemWithFiles(const ClassroomOptions& options);

/// The text of --help.
std::string classroomUsage();

}  // namespace vemo
