#include "simulator/AccessToken.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <set>
#include <string>

#include "Folder.h"

namespace vemo::test {
namespace {

namespace fs = std::filesystem;
constexpr fs::perms kOwners = fs::perms::owner_read | fs::perms::owner_write;
constexpr const char* kOld = "00000000000000000000000000000000";

std::string kept(const fs::path& file) {
  std::string problem;
  const auto token = keptAccessToken(file, problem);
  EXPECT_TRUE(token) << problem;
  return token.value_or("");
}

/// A file with a token in it that is its owner's alone.
fs::path withToken(const Folder& folder, const std::string& text = kOld) {
  const fs::path file = folder.write("token", text);
  fs::permissions(file, kOwners);
  return file;
}

TEST(AccessToken, IsAnotherEachTime) {
  std::set<std::string> tokens;
  for (int count = 0; count < 100; ++count) {
    const auto token = newAccessToken();
    EXPECT_EQ(token.size(), 32U);
    EXPECT_EQ(token.find_first_not_of("0123456789abcdef"), std::string::npos) << token;
    tokens.insert(token);
  }
  EXPECT_EQ(tokens.size(), 100U);
}

TEST(AccessToken, IsKeptForItsUserAlone) {
  const Folder folder;
  const fs::path file = folder.file("state/vemo/token");
  const auto token = kept(file);
  EXPECT_EQ(kept(file), token);
  EXPECT_EQ(fs::status(file).permissions(), kOwners);
  std::size_t files = 0;
  for (const auto& entry : fs::directory_iterator(file.parent_path())) files += entry.exists();
  EXPECT_EQ(files, 1U);
}

TEST(AccessToken, IsMadeAnewWhereAnotherMayKnowIt) {
  const Folder folder;
  EXPECT_EQ(kept(withToken(folder)), kOld);
  for (const auto others :
       {fs::perms::group_read, fs::perms::others_read, fs::perms::others_write}) {
    const auto file = withToken(folder);
    fs::permissions(file, others, fs::perm_options::add);
    EXPECT_NE(kept(file), kOld);
    EXPECT_EQ(fs::status(file).permissions(), kOwners);
  }
  const auto real = withToken(folder);
  const fs::path link = folder.file("link");
  fs::create_symlink(real, link);
  EXPECT_NE(kept(link), kOld);
  EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(link)));
}

TEST(AccessToken, IsMadeAnewWhereThereIsSomethingElse) {
  const Folder folder;
  for (const auto* text :
       {"", "0", "00000000000000000000000000000000\n", "0000000000000000000000000000000G"}) {
    const auto token = kept(withToken(folder, text));
    EXPECT_EQ(token.size(), 32U) << text;
    EXPECT_NE(token, text);
  }
  const fs::path pipe = folder.file("pipe");
  ASSERT_EQ(::mkfifo(pipe.c_str(), S_IRUSR | S_IWUSR), 0);
  EXPECT_EQ(kept(pipe).size(), 32U);
}

TEST(AccessToken, ThatCannotBeKeptIsToldOf) {
  const Folder folder;
  const fs::path file = folder.write("file", "") + "/token";
  std::string problem;
  EXPECT_FALSE(keptAccessToken(file, problem));
  EXPECT_EQ(problem, "Can't keep a token in " + file.string() + ": Not a directory");
}

/// A variable of the environment that has another value for a while.
class Variable {
 public:
  Variable(const char* name, const char* value) : name_(name) {
    if (const auto* const former = ::getenv(name)) former_ = former;
    ::setenv(name, value, 1);
  }
  ~Variable() {
    if (former_.empty()) {
      ::unsetenv(name_);
    } else {
      ::setenv(name_, former_.c_str(), 1);
    }
  }
  Variable(const Variable&) = delete;
  Variable& operator=(const Variable&) = delete;

 private:
  const char* const name_;
  std::string former_;
};

TEST(AccessToken, LiesWhereItsUserKeepsSuchThings) {
  const Variable home("HOME", "/home/ada");
  {
    const Variable state("XDG_STATE_HOME", "/state");
    EXPECT_EQ(accessTokenFile(), "/state/vemo/simulator-token");
  }
  for (const auto* none : {"", "relative"}) {
    const Variable state("XDG_STATE_HOME", none);
    EXPECT_EQ(accessTokenFile(), "/home/ada/.local/state/vemo/simulator-token");
    const Variable homeless("HOME", "");
    EXPECT_EQ(accessTokenFile(), "");
  }
}

TEST(AccessToken, IsComparedWhole) {
  EXPECT_TRUE(isToken("abc", "abc"));
  for (const auto* other : {"", "ab", "abd", "Abc", "abcd"}) EXPECT_FALSE(isToken(other, "abc"));
  EXPECT_FALSE(isToken("", "")) << "an empty one is nobody's";
}

}  // namespace
}  // namespace vemo::test
