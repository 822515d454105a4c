#pragma once

#include <cstddef>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>

namespace vemo {

/// One property of a record: its name in JSON and the member that holds it; for readers
/// of the protocol, the unit of its value and what it means.
template <class Record, class Member>
struct Field {
  using MemberType = Member;
  std::string_view name;
  Member Record::*member;
  std::string_view unit = {};
  std::string_view about = {};
};

template <class Record, class Member>
Field(std::string_view, Member Record::*) -> Field<Record, Member>;
template <class Record, class Member>
Field(std::string_view, Member Record::*, std::string_view) -> Field<Record, Member>;
template <class Record, class Member>
Field(std::string_view, Member Record::*, std::string_view, std::string_view)
    -> Field<Record, Member>;

/// The one table of a record's properties, in order: a specialisation for each record
/// has a static constexpr tuple `table` of Field, and `name`, the record's own.
template <class Record>
struct Fields;

template <class Record>
concept HasFields = requires {
  Fields<Record>::name;
  Fields<Record>::table;
};

/// A field of a record's table as a type, so that its name is known when code is compiled.
template <class Record, std::size_t index>
struct FieldAt {
  static constexpr std::string_view name = std::get<index>(Fields<Record>::table).name;
  static constexpr auto member = std::get<index>(Fields<Record>::table).member;
};

/// Calls `each(field, value)` for each field of `record`, in order; `field` is its FieldAt.
template <HasFields Record, class Each>
constexpr void forEachField(const Record& record, Each each) {
  constexpr auto count = std::tuple_size_v<std::remove_cvref_t<decltype(Fields<Record>::table)>>;
  [&]<std::size_t... index>(std::index_sequence<index...>) {
    (each(FieldAt<Record, index>{}, record.*FieldAt<Record, index>::member), ...);
  }
  (std::make_index_sequence<count>{});
}

}  // namespace vemo
