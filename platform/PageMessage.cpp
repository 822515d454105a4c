#include "platform/PageMessage.h"

#include <array>
#include <boost/json/error.hpp>
#include <boost/json/value.hpp>
#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>

#include "json/JsonBuilder.h"
#include "json/JsonText.h"
#include "platform/JSMsgRouter.h"

namespace vemo {
namespace {

namespace json = boost::json;

/// Takes a message from what the library's parser finds in it: builds the params, keeps the
/// other texts that count, and passes over the rest. Of two members of one name the last counts.
class MessageHandler : public JsonBuilder {
 public:
  /// Fills `message`, which is empty, with params whose memory is from `storage`.
  MessageHandler(PageMessage& message, const json::storage_ptr& storage, unsigned char* memory,
                 std::size_t size)
      : JsonBuilder(memory, size), message_(message), storage_(storage) {}

  /// To be called once the whole text is read.
  void finish() {
    message_.isUsable = message_.address.action.has_value();
    message_.hasMore |= namesNativecb_ && !message_.nativecb;
    if (!namesParams_) return;
    auto params = release();
    if (params.is_object()) {
      message_.params = std::move(params.get_object());  // same storage: no copy
    } else if (!params.is_null()) {
      message_.isUsable = false;
    }
  }

  bool on_object_begin(Error&) { return enter(); }
  bool on_array_begin(Error&) { return enter(); }
  bool on_object_end(std::size_t count, Error& error) {
    --depth_;
    return !isInParams() || JsonBuilder::on_object_end(count, error);
  }
  bool on_array_end(std::size_t count, Error& error) {
    --depth_;
    return !isInParams() || JsonBuilder::on_array_end(count, error);
  }
  bool on_key_part(Part part, std::size_t size, Error& error) {
    return isKeyOfParams() ? JsonBuilder::on_key_part(part, size, error) : keep(part);
  }
  bool on_key(Part rest, std::size_t size, Error& error) {
    if (isKeyOfParams()) return JsonBuilder::on_key(rest, size, error);
    if (depth_ == 1) beginMember(whole(rest));
    if (depth_ == 2) text_ = isHead_ ? textOfHead(whole(rest)) : nullptr;
    beginning_.clear();
    return true;
  }
  bool on_string_part(Part part, std::size_t size, Error& error) {
    return isInParams() ? JsonBuilder::on_string_part(part, size, error) : keep(part);
  }
  bool on_string(Part rest, std::size_t size, Error& error) {
    if (isInParams()) return JsonBuilder::on_string(rest, size, error);
    if (text_) text_->emplace(whole(rest));
    beginning_.clear();
    return true;
  }
  bool on_int64(std::int64_t number, Part text, Error& error) {
    return !isInParams() || JsonBuilder::on_int64(number, text, error);
  }
  bool on_uint64(std::uint64_t number, Part text, Error& error) {
    return !isInParams() || JsonBuilder::on_uint64(number, text, error);
  }
  bool on_double(double number, Part text, Error& error) {
    return !isInParams() || JsonBuilder::on_double(number, text, error);
  }
  bool on_bool(bool boolean, Error& error) {
    return !isInParams() || JsonBuilder::on_bool(boolean, error);
  }
  bool on_null(Error& error) { return !isInParams() || JsonBuilder::on_null(error); }

 private:
  /// Whether what ends here, or has no parts, belongs to the value of the params.
  bool isInParams() const { return isParams_ && depth_ > 0; }
  bool isKeyOfParams() const { return isParams_ && depth_ > 1; }

  bool enter() {
    ++depth_;
    text_ = nullptr;
    return true;
  }

  void beginMember(std::string_view name) {
    isHead_ = name == "head";
    isParams_ = name == "params";
    text_ = nullptr;
    if (isHead_) {
      message_.address.module.reset();
      message_.address.action.reset();
    } else if (isParams_) {
      namesParams_ = true;
      begin(storage_);
    } else if (name == "cbid") {
      text_ = &message_.address.cbid;
    } else if (name == "nativecb") {
      namesNativecb_ = true;
      text_ = &message_.nativecb;
    } else {
      message_.hasMore = true;
    }
    if (text_) text_->reset();
  }

  Text* textOfHead(std::string_view name) {
    auto* const text = name == "module"   ? &message_.address.module
                       : name == "action" ? &message_.address.action
                                          : nullptr;
    if (text) text->reset();
    return text;
  }

  // A text with escapes comes in parts.
  bool keep(Part part) {
    beginning_.append(part.data(), part.size());
    return true;
  }
  std::string_view whole(Part rest) {
    if (beginning_.empty()) return {rest.data(), rest.size()};
    return beginning_.append(rest.data(), rest.size());
  }

  PageMessage& message_;
  const json::storage_ptr& storage_;
  std::size_t depth_ = 0;       // of objects and arrays that are open
  bool isHead_ = false;         // the member of the message that is being read
  bool isParams_ = false;       // likewise
  bool namesParams_ = false;    // the message has such a member
  bool namesNativecb_ = false;  // likewise
  Text* text_ = nullptr;        // where the next value goes if it is a text
  std::string beginning_;
};

JsonProblem read(std::string_view text, const json::storage_ptr& storage, PageMessage& message) {
  message = {};
  JsonProblem problem;
  json::parse_options options;
  options.max_depth = JSMsgRouter::kMaxMessageDepth;
  std::array<unsigned char, 4096> temporary;
  json::basic_parser<MessageHandler> parser(options, message, storage, temporary.data(),
                                            temporary.size());
  parseWhole(parser, text, problem);
  if (!problem.code) parser.handler().finish();
  return problem;
}

}  // namespace

PageMessage readPageMessage(std::string_view text, const json::storage_ptr& storage) {
  PageMessage message;
  if (text.size() > JSMsgRouter::kMaxMessageBytes) {
    message.address = skimAddress(text);
    return message;
  }
  const auto isBroken = [](const JsonProblem& problem) {
    return problem.code && problem.code != json::error::too_deep;
  };
  auto problem = read(text, storage, message);
  std::string mended;
  if (isBroken(problem)) problem = read(mended = withWholePairs(text), storage, message);
  const bool isUtf8 = !isBroken(problem);
  // Broken UTF-8: the sender may still be known, and waits.
  if (!isUtf8) problem = read(validUtf8(mended), {}, message);
  if (problem.code == json::error::too_deep) {
    message = {skimAddress(text)};
  } else if (problem.code) {
    message = {};
  } else if (!isUtf8) {
    message = {std::move(message.address)};
  }
  return message;
}

}  // namespace vemo
