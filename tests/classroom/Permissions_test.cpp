#include "classroom/Permissions.h"

#include <gtest/gtest.h>

#include <fstream>

#include "Folder.h"

namespace vemo {
namespace {

TEST(PermissionsTest, AreKeptForEachOriginAndDevice) {
  const Folder folder;
  const auto file = folder.file("new/folder/classroom.ini");
  {
    Permissions permissions(file);
    EXPECT_EQ(permissions.of("vemo://classroom", MediaType::video),
              AuthorizationStatus::notDetermined);
    EXPECT_EQ(permissions.decide("vemo://classroom", MediaType::video, true), "");
    EXPECT_EQ(permissions.decide("https://example.org:8443", MediaType::audio, false), "");
  }
  const Permissions again(file);
  EXPECT_EQ(again.of("vemo://classroom", MediaType::video), AuthorizationStatus::authorized);
  EXPECT_EQ(again.of("vemo://classroom", MediaType::audio), AuthorizationStatus::notDetermined);
  EXPECT_EQ(again.of("https://example.org:8443", MediaType::audio), AuthorizationStatus::denied);
  EXPECT_EQ(again.of("https://example.org:8443", MediaType::video),
            AuthorizationStatus::notDetermined);
}

TEST(PermissionsTest, AreNotKeptWhereTheDesktopKeepsThem) {
  const Folder folder;
  const auto file = folder.file("classroom.ini");
  {
    Permissions permissions(file);
    permissions.decideForNow("vemo://classroom", MediaType::video, true);
    EXPECT_EQ(permissions.of("vemo://classroom", MediaType::video),
              AuthorizationStatus::authorized);
    EXPECT_EQ(permissions.decide("vemo://classroom", MediaType::audio, true), "");
  }
  Permissions again(file);
  EXPECT_EQ(again.of("vemo://classroom", MediaType::video), AuthorizationStatus::notDetermined);
  EXPECT_EQ(again.of("vemo://classroom", MediaType::audio), AuthorizationStatus::authorized);
  again.decideForNow("vemo://classroom", MediaType::video, false);
  EXPECT_EQ(again.of("vemo://classroom", MediaType::video), AuthorizationStatus::denied);
  EXPECT_EQ(again.decide("vemo://classroom", MediaType::video, true), "");
  EXPECT_EQ(Permissions(file).of("vemo://classroom", MediaType::video),
            AuthorizationStatus::authorized);
}

TEST(PermissionsTest, SayWhyTheyCantBeKeptAndHoldForThisRun) {
  const Folder folder;
  std::ofstream(folder.file("file")) << "no folder";
  Permissions permissions(folder.file("file/classroom.ini"));
  EXPECT_NE(permissions.decide("vemo://classroom", MediaType::video, true), "");
  EXPECT_EQ(permissions.of("vemo://classroom", MediaType::video), AuthorizationStatus::authorized);
}

TEST(PermissionsTest, AFileThatCantBeUsedDecidesNothing) {
  const Folder folder;
  std::ofstream(folder.file("classroom.ini")) << "[vemo://classroom]\ncamera=perhaps\nnonsense\n";
  const Permissions permissions(folder.file("classroom.ini"));
  EXPECT_EQ(permissions.of("vemo://classroom", MediaType::video),
            AuthorizationStatus::notDetermined);
}

}  // namespace
}  // namespace vemo
