#include "simulator/LiveNotes.h"

#include <boost/json/object.hpp>
#include <string>
#include <utility>

#include "json/JsonText.h"
#include "recorder/NotedJson.h"

namespace vemo {
namespace {

constexpr std::size_t kSlowBytes = std::size_t{1} << 20U;

}  // namespace

void LiveNotes::note(const Note& note) {
  if (note.kind == Note::Kind::task) return;
  const std::lock_guard lock(mutex_);
  if (note.periodic && page_->unsentBytes() > kSlowBytes) {
    ++lost_;
    return;
  }
  if (lost_ > 0) {
    page_->send(jsonText(boost::json::object{{"kind", "noted"}, {"lost", lost_}}));
    lost_ = 0;
  }
  std::string buffer;
  const auto text = mask_.masked(note.text, buffer);
  boost::json::object frame{{"kind", "noted"}, {"at", note.at.count()}, {"thread", note.thread}};
  if (note.kind == Note::Kind::step) {
    frame["step"] = notedStep(text);
  } else {
    frame["effect"] = notedEffect(text);
  }
  page_->send(jsonText(frame));
}

}  // namespace vemo
