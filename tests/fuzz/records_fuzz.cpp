// A dictionary, for each of the engine's records: whichever record takes it is written so that it
// is read again as the same.

#include <boost/json/object.hpp>
#include <string>

#include "bridge/KOBURecords.h"
#include "fuzz/FuzzTarget.h"
#include "json/JsonReader.h"
#include "json/RecordMapper.h"
#include "webview/KOBURenderParams_VEMOExt.h"

namespace vemo::fuzz {
namespace {

template <class Record>
std::string textOf(const Record& record) {
  std::string text;
  appendRecordText(text, record);
  return text;
}

template <class Record>
void roundTrip(const boost::json::object& dictionary) {
  MappingError error;
  const auto record = recordFrom<Record>(&dictionary, &error);
  if (!record) {
    must(!error.expected.empty(), "a refusal says why", error.text());
    return;
  }
  const auto written = textOf(*record);
  must(isJson(written), "a record's text is JSON", written);
  const auto again = recordFrom<Record>(std::string_view(written));
  // A number too large for its type is infinite, and written as null, which says nothing.
  must(again && (textOf(*again) == written || written.find("null") != std::string::npos),
       "a record is read as it was written", written);
}

template <class... Record>
void roundTrips(const boost::json::object& dictionary) {
  (roundTrip<Record>(dictionary), ...);
}

}  // namespace
}  // namespace vemo::fuzz

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace vemo;
  JsonProblem problem;
  const auto value = readJson(fuzz::textOf(data, size), 32, problem);
  if (const auto* const dictionary = value.if_object()) {
    fuzz::roundTrips<KOBUParams, KOBURenderParams, KOBUVideoEncParam, KOBUNetworkQosParam,
                     KOBUQualityInfo, KOBUVolumeInfo, KOBULocalStatistics, KOBURemoteStatistics,
                     KOBUStatistics, KOBUSpeedTestResult, PWAudioMusicParam, EdgeInsets,
                     KOBURenderParamsOfPage>(*dictionary);
  }
  return 0;
}
