#include "webview/Command.h"

#include <boost/json/object.hpp>

#include "webview/parameters.h"

// A handler reads what it lists and nothing else: all else does not compile.

namespace vemo {
namespace {

template <class List>
concept GivesUserId = requires(const List& list) {
  list.template get<param::UserId>();
};

static_assert(GivesUserId<Command<param::UserId>>);
static_assert(GivesUserId<Command<param::Mute, Maybe<param::UserId>>>);
static_assert(GivesUserId<Params<Checked<param::UserId>>>);
static_assert(!GivesUserId<Command<>>);
static_assert(!GivesUserId<Command<param::Mute>>);
static_assert(!GivesUserId<param::Callbacks::Element>);

template <class Called>
concept GivesParams = requires(const Called& called) {
  called.params();
};
template <class Called>
concept GivesItem = requires(const Called& called) {
  called.item_;
};
template <class Reader>
concept ReadsAnything = requires(const boost::json::object* object) {
  Reader::template valueOf<param::UserId>(object);
};

static_assert(!GivesParams<Command<param::UserId>> && !GivesParams<Call>);
static_assert(!GivesItem<Command<param::UserId>> && !GivesItem<Call> && !GivesItem<Answer>);
static_assert(!ReadsAnything<ParameterReader>);

}  // namespace
}  // namespace vemo
