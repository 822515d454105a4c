#include "simulator/LiveRecording.h"

#include <boost/json/object.hpp>
#include <cstddef>
#include <string>
#include <utility>

#include "json/JsonText.h"
#include "platform/SecretMask.h"

namespace vemo {
namespace {

constexpr std::size_t kSlowBytes = std::size_t{4} << 20U;

std::string frame(std::string text) {
  return jsonText(boost::json::object{{"kind", "recorded"}, {"text", std::move(text)}});
}

}  // namespace

LiveRecording::LiveRecording(std::shared_ptr<PageSocket> page, std::shared_ptr<NoteRing> notes)
    : page_(std::move(page)),
      stream_(std::make_unique<NoteStream>(
          std::move(notes),
          [mask = SecretMask()](std::string_view text, std::string& buffer) {
            return mask.masked(text, buffer);
          },
          [this](std::string_view line) { send(line); })) {}

LiveRecording::~LiveRecording() {
  stream_.reset();  // with its last lines
  page_->send(jsonText(boost::json::object{{"kind", "recorded"}, {"over", true}}));
}

void LiveRecording::send(std::string_view line) {
  const bool isFirst = !std::exchange(hasBegun_, true);  // without it the rest could not be read
  if (!isFirst && page_->unsentBytes() > kSlowBytes) {
    ++lost_;
    return;
  }
  std::string text;
  if (lost_ > 0) {
    text = jsonText(boost::json::object{{"lost", std::exchange(lost_, 0)},
                                        {"why", "the page took them too slowly"}});
    text += '\n';
  }
  text += line;
  text += '\n';
  page_->send(frame(std::move(text)));
}

}  // namespace vemo
