#include "classroom/PageDownloads.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <fstream>

#include "Folder.h"
#include "testing/Arrivals.h"

namespace vemo {
namespace {

/// Tells what it was asked for.
struct Others final : DownloadService {
  explicit Others(Arrivals<std::string>& asked) : asked_(asked) {}
  bool isUrl(const std::string& text) const override { return text != "no"; }
  void download(const std::string& url, std::function<void(DownloadResult)> /*done*/) override {
    asked_.add("others " + url);
  }
  Arrivals<std::string>& asked_;
};

TEST(PageDownloadsTest, GiveThePagesOwnFilesAndLeaveTheRestToOthers) {
  const Folder folder;
  std::ofstream(folder.file("classroom.html")) << "a page";
  std::ofstream(folder.file("picture.png")) << "a picture";
  std::string error;
  const auto gate = PageGate::forFolder(folder.file("."), error);
  ASSERT_TRUE(gate) << error;
  EngineThread thread;
  Arrivals<std::string> told;
  PageDownloads downloads(*gate, thread, std::make_unique<Others>(told));
  const auto tell = [&](const DownloadResult& result) {
    EXPECT_TRUE(thread.isCurrent());
    told.add(result.error ? "error " + std::to_string(result.error->code)
                          : result.file->readAll().value_or("unreadable"));
  };
  downloads.download("vemo://classroom/picture.png", tell);
  EXPECT_EQ(told.next(), "a picture");
  downloads.download("vemo://classroom/none.png", tell);
  EXPECT_EQ(told.next(), "error " + std::to_string(ENOENT));
  downloads.download("vemo:/etc/passwd", tell);
  EXPECT_EQ(told.next(), "error " + std::to_string(ENOENT));
  downloads.download("https://example.org/picture.png", tell);
  EXPECT_EQ(told.next(), "others https://example.org/picture.png");
  EXPECT_FALSE(downloads.isUrl("no"));
}

}  // namespace
}  // namespace vemo
