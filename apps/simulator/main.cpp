#include <cstddef>
#include <exception>
#include <filesystem>
#include <functional>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

#include "platform/CurlDownloadService.h"
#include "platform/JsonLineLogger.h"
#include "platform/MainThreadQueue.h"
#include "platform/PixbufImageDecoder.h"
#include "platform/StreamSystemLog.h"
#include "program/StandardStreams.h"
#include "simulation/ClassroomCloud.h"
#include "simulator/AccessToken.h"
#include "simulator/Descriptors.h"
#include "simulator/OperatorLog.h"
#include "simulator/Options.h"
#include "simulator/Phone.h"
#include "simulator/SessionFiles.h"
#include "simulator/SimulatedMusic.h"
#include "simulator/WebServer.h"

namespace {

constexpr int kUsageError = 2;
constexpr std::string_view kWho = "vemo-simulator: ";

int fail(std::string_view sentence) {
  std::cerr << kWho << sentence << '\n';
  return kUsageError;
}

/// The shell that was built or installed with this program; wherever both were moved to.
std::filesystem::path ownShellFolder() {
  std::error_code unknown;
  const auto program = std::filesystem::read_symlink("/proc/self/exe", unknown);
  return (program.parent_path() / VEMO_SHELL_FOLDER).lexically_normal();
}

/// The user's token, or one for this start alone where none can be kept.
std::string addressToken(const std::function<void(std::string_view)>& note) {
  std::string problem = "There is no home for a token; the address holds for this start.";
  if (const auto file = vemo::accessTokenFile(); !file.empty())
    if (auto token = vemo::keptAccessToken(file, problem)) return *token;
  note(problem);
  return vemo::newAccessToken();
}

int run(int argc, char** argv) {
  using namespace vemo;
  std::string error;
  const auto options = optionsFrom(argc, argv, error);
  if (!options) return fail(error);
  if (options->help) {
    std::cout << usage();
    return told(kWho);
  }
  if (options->version) {
    std::cout << "vemo-simulator " VEMO_VERSION "\n";
    return told(kWho);
  }

  JsonLineLoggerOptions logging;
  logging.file = options->logFile;
  const auto logger = JsonLineLogger::create(logging, &error);
  if (!logger) return fail("Can't write the log: " + error);
  StreamSystemLog systemLog;

  std::optional<SessionFiles> sessions;
  try {
    sessions.emplace(options->recordFolder);
  } catch (const std::system_error& problem) {
    return fail("Can't record in " + options->recordFolder + ": " + problem.code().message());
  }

  const auto ownLogger = logger->forSession("server");
  WebServerOptions web;
  web.port = options->port;
  web.shellFolder =
      options->shellFolder.empty() ? ownShellFolder() : std::filesystem::path(options->shellFolder);
  web.pageFolder = options->pageFolder;
  web.page = options->pageUrl;
  web.note = [&](std::string_view line) { tellOperator(*ownLogger, line); };
  web.token = addressToken(web.note);
  const auto token = web.token;
  raiseDescriptorLimit();
  const auto server = WebServer::open(std::move(web), error);
  if (!server) return fail(error);

  MainThreadQueue* work = nullptr;
  MainThreadQueue mainQueue([&] { server->post([&] { work->drain(); }); });
  work = &mainQueue;
  CurlDownloadOptions downloading;
  downloading.loopbackPorts = {server->port()};  // the page's own pictures
  CurlDownloadService downloads(std::move(downloading));
  PixbufImageDecoder images;
  {
    CloudOptions cloudOptions;
    cloudOptions.seed = options->seed;
    cloudOptions.roomCapacity = options->roomCapacity;
    cloudOptions.musicDuration = simulatedMusic;
    ClassroomCloud cloud(cloudOptions);
    std::size_t pages = 0;
    const auto streamSession =
        sessions->streamSession([&](std::string_view line) { tellOperator(*ownLogger, line); });
    const PhoneEnvironment environment{
        .cloud = cloud,
        .makeLogger = [&] { return logger->forSession("page " + std::to_string(++pages)); },
        .systemLog = systemLog,
        .mainQueue = mainQueue,
        .makeDownloads = [&] { return downloads.forRequester(); },
        .makeImages = [&] { return images.forRequester(); },
        // One for all phones, each of which has a copy of this: it counts their files.
        .streamSession = [&](std::shared_ptr<NoteRing> ring) -> std::shared_ptr<void> {
          return streamSession ? streamSession(std::move(ring)) : nullptr;
        }};

    server->stopOnSignals();
    // Beside a page of "localhost" the shell bears that name, too: to a browser the two are one
    // site then, and the page has its cookies.
    const bool isLocalhost =
        options->pageUrl && options->pageUrl->origin.find("://localhost") != std::string::npos;
    std::cout << "http://" << (isLocalhost ? "localhost" : "127.0.0.1") << ':' << server->port()
              << "/?token=" << token << '\n';
    // Nobody could open what nobody was told.
    if (const int status = told(kWho); status != 0) return status;
    server->run([&](std::shared_ptr<PageSocket> page) {
      return std::make_unique<Phone>(environment, std::move(page));
    });
  }
  while (mainQueue.drain() > 0) {  // what the last phones left behind
  }
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  vemo::fillStandardStreams();
  try {
    return run(argc, argv);
  } catch (const std::exception& problem) {
    return fail(std::string("Stopped: ") + problem.what());
  }
}
