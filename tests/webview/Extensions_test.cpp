#include <gtest/gtest.h>

#include <bit>
#include <boost/json/parse.hpp>
#include <cstdint>
#include <limits>

#include "json/RecordMapper.h"
#include "webview/KOBUParams_VEMOExt.h"
#include "webview/KOBURenderParams_VEMOExt.h"
#include "webview/TextForms.h"

namespace vemo {
namespace {

TEST(KOBUParamsExtension, ReadsZeroUntilSet) {
  const KOBUParams params;
  EXPECT_EQ(appScene(params), 0);
  EXPECT_EQ(switchToRole(params), 0);
}

TEST(KOBUParamsExtension, SceneIsReadBackWith32Bits) {
  KOBUParams params;
  setAppScene(params, (std::int64_t{1} << 32) + 5);
  EXPECT_EQ(appScene(params), 5);
  setAppScene(params, std::int64_t{1} << 31);
  EXPECT_EQ(appScene(params), std::numeric_limits<std::int32_t>::min());
}

TEST(KOBUParamsExtension, RoleKeeps64Bits) {
  KOBUParams params;
  setSwitchToRole(params, std::int64_t{1} << 40);
  EXPECT_EQ(switchToRole(params), std::int64_t{1} << 40);
}

TEST(KOBUParamsExtension, NumbersAreCopiedWithTheRecordAndAreNoProperties) {
  KOBUParams params;
  setAppScene(params, 1);
  auto copy = params;
  setAppScene(copy, 2);
  EXPECT_EQ(appScene(params), 1);
  EXPECT_EQ(appScene(copy), 2);
  EXPECT_EQ(jsonText(dictionaryFrom(params)), R"({"sdkAppId":0,"roomId":0,"role":20})");
}

std::optional<KOBURenderParams> renderParams(const char* json) {
  const auto value = boost::json::parse(json);
  return recordFrom<KOBURenderParamsOfPage>(&value.as_object());
}

TEST(KOBURenderParamsExtension, ModeAndMirrorAreFillModeAndMirrorType) {
  const auto params = renderParams(R"({"mode":1,"mirror":2,"rotation":3})");
  ASSERT_TRUE(params);
  EXPECT_EQ(params->fillMode, 1);
  EXPECT_EQ(params->mirrorType, 2);
  EXPECT_EQ(params->rotation, 3);
}

TEST(KOBURenderParamsExtension, PropertiesReadAndSetTheRecordsOwn) {
  KOBURenderParams params;
  setMode(params, 1);
  setMirror(params, 2);
  EXPECT_EQ(params.fillMode, 1);
  EXPECT_EQ(params.mirrorType, 2);
  EXPECT_EQ(mode(params), 1);
  EXPECT_EQ(mirror(params), 2);
}

TEST(KOBURenderParamsExtension, TheRecordIsWrittenWithItsOwnNames) {
  EXPECT_EQ(jsonText(dictionaryFrom(*renderParams(R"({"mode":1,"mirror":2})"))),
            R"({"rotation":0,"fillMode":1,"mirrorType":2})");
}

TEST(KOBURenderParamsExtension, TheyWinOverTheRecordsOwnNamesWhateverTheOrder) {
  EXPECT_EQ(renderParams(R"({"mode":1,"fillMode":2})")->fillMode, 1);
  EXPECT_EQ(renderParams(R"({"fillMode":2,"mode":1})")->fillMode, 1);
  EXPECT_EQ(renderParams(R"({"fillMode":2,"mode":null})")->fillMode, 2);
}

TEST(KOBURenderParamsExtension, OneThatCantBeReadGivesNoRecord) {
  EXPECT_FALSE(renderParams(R"({"mode":[]})"));
}

TEST(TextForms, CleanedTextHasNoLineBreaks) {
  EXPECT_EQ(cleaned("a\r\nb\n"), "ab");
  EXPECT_EQ(cleaned(""), "");
  EXPECT_EQ(cleaned(std::nullopt), "(null)");
}

TEST(TextForms, IdsInRepliesKeepTheirLineBreaks) {
  EXPECT_EQ(idOrNull("a\n"), "a\n");
  EXPECT_EQ(idOrNull(""), "(null)");
  EXPECT_EQ(idOrNull(std::nullopt), "(null)");
}

TEST(TextForms, AddressesAreLowerCaseHexadecimal) {
  // Never dereferenced: any number serves as an address here.
  EXPECT_EQ(addressText(std::bit_cast<const void*>(std::uintptr_t{0xABCDEF})), "0xabcdef");
  EXPECT_EQ(addressText(nullptr), "0x0");
}

}  // namespace
}  // namespace vemo
