#include "classroom/PageDownloads.h"

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <utility>

namespace vemo {
namespace {

/// A file of the page, which stays.
class PageFile final : public DownloadedFile {
 public:
  explicit PageFile(std::filesystem::path path) : path_(std::move(path)) {}

  std::optional<std::string> readAll() const override {
    std::ifstream file(path_, std::ios::binary);
    if (!file) return std::nullopt;
    return std::string(std::istreambuf_iterator<char>(file), {});
  }

 private:
  const std::filesystem::path path_;
};

}  // namespace

void PageDownloads::download(const std::string& url, std::function<void(DownloadResult)> done) {
  if (!url.starts_with(std::string(PageGate::kScheme) + ':')) {
    others_->download(url, std::move(done));
    return;
  }
  DownloadResult result;
  if (auto file = gate_.fileFor(url)) {
    result.file = std::make_shared<PageFile>(std::move(*file));
  } else {
    result.error = DownloadError{ENOENT, "the page has no such file"};
  }
  thread_.post([result = std::move(result), done = std::move(done)] { done(result); });
}

}  // namespace vemo
