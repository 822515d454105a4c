#include "simulator/LiveNotes.h"

#include <boost/json/object.hpp>
#include <string>
#include <utility>

#include "json/JsonText.h"
#include "recorder/NotedJson.h"

namespace vemo {
void LiveNotes::note(const Note& note) {
  const std::lock_guard lock(mutex_);
  if (note.periodic && page_->unsentBytes() > PageSocket::kSlowBytes) {
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
  if (note.step > 0) frame["number"] = note.step;
  if (note.periodic) frame["periodic"] = true;
  switch (note.kind) {
    case Note::Kind::step: frame["step"] = notedStep(text); break;
    case Note::Kind::task: frame["queuedBy"] = note.by; break;
    case Note::Kind::effect: {
      auto effect = notedEffect(text);
      if (note.periodic && effect.contains("function")) return;  // the script tells all of it
      frame["effect"] = std::move(effect);
      break;
    }
  }
  page_->send(jsonText(frame));
}

}  // namespace vemo
