#include "recorder/NotingPlatform.h"

#include <algorithm>

namespace vemo {
namespace {

std::string_view nameOf(MediaType media) { return media == MediaType::video ? "video" : "audio"; }

/// Which of the open ones is answered, where it is not the oldest.
void addNth(NoteWriter& text, std::int64_t nth) {
  if (nth != 1) text.add("nth", nth);
}

/// A downloaded file: whether it can be read is known when it is.
class File final : public DownloadedFile {
 public:
  File(std::shared_ptr<Notes> notes, std::shared_ptr<const DownloadedFile> target)
      : notes_(std::move(notes)), target_(std::move(target)) {}

  std::optional<std::string> readAll() const override {
    auto bytes = target_->readAll();
    if (bytes) {
      notes_->device().downloaded(*bytes);
    } else {
      notes_->device().download(std::nullopt, false);
    }
    return bytes;
  }

 private:
  const std::shared_ptr<Notes> notes_;
  const std::shared_ptr<const DownloadedFile> target_;
};

}  // namespace

void NotingLogger::log(const DUNLogParam& record) {
  if (notes_->isOn()) note(record);
  target().log(record);
}

void NotingLogger::note(const DUNLogParam& record) {
  std::string buffer;
  std::optional<notes::Parts> param;
  if (record.actionParam) param = notes_->names().masked(record, buffer);
  const auto member = [&]<class Field>(Field field) {
    if constexpr (field.name == "actionParam") {
      return notes::Member{field.name, param};
    } else {
      return notes::Member{field.name, record.*Field::member};
    }
  };
  [&]<std::size_t... field>(std::index_sequence<field...>) {
    notes_->effectOf("log",
                     notes::Member{"record", notes::Map(member(FieldAt<DUNLogParam, field>{})...)});
  }
  (std::make_index_sequence<std::tuple_size_v<decltype(Fields<DUNLogParam>::table)>>{});
}

void NotingLogger::updateLogConfig(const std::function<void(DUNLoggerConfig&)>& update) {
  std::uint32_t sdkAppId = 0;
  target().updateLogConfig([&](DUNLoggerConfig& config) {
    update(config);
    sdkAppId = config.sdkAppId;
  });
  notes_->effectOf("loggerConfig", notes::Member{"sdkAppId", sdkAppId});
}

void NotingSystemLog::writeLine(std::string_view line) {
  notes_->effectOf("syslog", notes::Member{"line", line});
  target().writeLine(line);
}

void NotingMainQueue::dispatchAsync(std::function<void()> task) {
  if (!task || !notes_->isOn()) return target().dispatchAsync(std::move(task));
  target().dispatchAsync(
      [notes = notes_, origin = notes_->origin(), task = std::move(task)]() mutable {
        const auto keep = std::move(notes);  // a queue may end within its last task
        const Notes::Step step(*keep, origin);
        const auto run = std::move(task);  // destroyed within the step: what held it may die of it
        run();
      });
}

void NotingNotificationCenter::post(const std::string& name) {
  notes_->effectOf("post", notes::Member{"name", name});
  target().post(name);
}

void NotingCrossProcessCenter::addObserver(const void* observer, const std::string& name,
                                           Callback callback) {
  notes_->effectOf("subscribe", notes::Member{"name", name});
  if (callback) {
    callback = [notes = notes_, callback = std::move(callback)](const std::string& received) {
      const Notes::Step step(*notes, Notes::Step::onOther,
                             [&](NoteWriter& text) { text.add("notify", received); });
      callback(received);
    };
  }
  target().addObserver(observer, name, std::move(callback));
}

void NotingCrossProcessCenter::removeObserver(const void* observer, const std::string& name) {
  notes_->effectOf("unsubscribe", notes::Member{"name", name});
  target().removeObserver(observer, name);
}

void NotingCrossProcessCenter::removeEveryObserver(const void* observer) {
  notes_->effectOf("unsubscribeAll");
  target().removeEveryObserver(observer);
}

std::uint64_t OpenQuestions::open() {
  const std::lock_guard lock(mutex_);
  open_.push_back(++last_);
  return last_;
}

std::optional<std::int64_t> OpenQuestions::close(std::uint64_t question) {
  const std::lock_guard lock(mutex_);
  const auto found = std::ranges::find(open_, question);
  if (found == open_.end()) return std::nullopt;
  const auto place = found - open_.begin() + 1;
  open_.erase(found);
  return place;
}

AuthorizationStatus NotingAuthorization::authorizationStatus(MediaType media) const {
  const auto status = target().authorizationStatus(media);
  notes_->device().authorization(media, status);
  return status;
}

void NotingAuthorization::requestAccess(MediaType media, std::function<void(bool)> answer) {
  notes_->effectOf("requestAccess", notes::Member{"media", nameOf(media)});
  target().requestAccess(media, [notes = notes_, open = open_, question = open_->open(),
                                 answer = std::move(answer)](bool granted) {
    const auto nth = open->close(question);
    const Notes::Step step(*notes, Notes::Step::onOther, [&](NoteWriter& text) {
      text.add("access", granted);
      addNth(text, nth.value_or(1));
    });
    answer(granted);
  });
}

void NotingAlerts::present(Alert alert) {
  notes_->effect("alert", [&](NoteWriter& text) {
    text.add("title", alert.title).add("message", alert.message);
    boost::json::array buttons;
    for (const auto& action : alert.actions) {
      const bool destructive = action.style == AlertActionStyle::destructive;
      buttons.push_back(
          {{"title", action.title}, {"style", destructive ? "destructive" : "default"}});
    }
    text.add("buttons", buttons);
  });
  const auto question = open_->open();
  for (auto& action : alert.actions) {
    action.handler = [notes = notes_, open = open_, question, title = action.title,
                      handler = std::move(action.handler)] {
      const auto nth = open->close(question);
      const Notes::Step step(*notes, Notes::Step::onMain, [&](NoteWriter& text) {
        text.add("press", title);
        addNth(text, nth.value_or(1));
      });
      if (handler) handler();
    };
  }
  target().present(std::move(alert));
}

Text NotingApplication::information(std::string_view key) const {
  auto text = target().information(key);
  notes_->device().information(key, text);
  return text;
}

bool NotingApplication::canOpenSettings() const {
  const bool can = target().canOpenSettings();
  notes_->device().canOpenSettings(can);
  return can;
}

void NotingApplication::openSettings() {
  notes_->effectOf("openSettings");
  target().openSettings();
}

void NotingDownloads::download(const std::string& url, std::function<void(DownloadResult)> done) {
  notes_->effectOf("download", notes::Member{"url", url});
  target().download(url, [notes = notes_, open = open_, question = open_->open(),
                          done = std::move(done)](DownloadResult result) {
    const auto nth = open->close(question);
    notes->device().download(result.error, result.file != nullptr);
    const Notes::Step step(*notes, Notes::Step::onOther, [&](NoteWriter& text) {
      text.add("downloaded", true);
      addNth(text, nth.value_or(1));
    });
    if (result.file) result.file = std::make_shared<File>(notes, std::move(result.file));
    done(std::move(result));
  });
}

void NotingDecoder::decode(std::string bytes, Done done) {
  target().decode(std::move(bytes), [notes = notes_, open = open_, question = open_->open(),
                                     done = std::move(done)](std::shared_ptr<VEMOImage> image) {
    const auto nth = open->close(question);
    const Notes::Step step(*notes, Notes::Step::onOther, [&](NoteWriter& text) {
      text.add("decoded", image != nullptr);
      addNth(text, nth.value_or(1));
    });
    done(std::move(image));
  });
}

bool NotingSystemVersion::isAtLeast(int major, int minor, int patch) const {
  const bool is = target().isAtLeast(major, minor, patch);
  notes_->device().isAtLeast({major, minor, patch}, is);
  return is;
}

void NotingLauncher::launch() {
  notes_->effectOf("launchExtension");
  target().launch();
}

std::shared_ptr<NativeView> NotingRenderSource::renderViewOf(const Text& userId,
                                                             ViewType viewType) {
  auto view = target().renderViewOf(userId, viewType);
  notes_->device().view(userId, viewType, view.get());
  return view;
}

NotingWebView::NotingWebView(std::shared_ptr<Notes> notes, std::shared_ptr<VEMOWebView> target)
    : NotingPiece(std::move(notes), target), shown_(std::move(target)) {
  notes_->names().add(*this);
}

void NotingWebView::loadJs(const std::string& script, bool needLog) {
  notes_->effectOf("script", notes::Member{"text", script}, notes::Member{"needLog", needLog});
  target().loadJs(script, needLog);
}

}  // namespace vemo
