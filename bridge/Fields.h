#pragma once

#include <string_view>
#include <tuple>

namespace vemo {

/// One property of a record: its name in JSON and the member that holds it.
template <class Record, class Member>
struct Field {
  using MemberType = Member;
  std::string_view name;
  Member Record::*member;
};

template <class Record, class Member>
Field(std::string_view, Member Record::*) -> Field<Record, Member>;

/// The one table of a record's properties, in order: a specialisation for each record
/// has a static constexpr tuple `table` of Field.
template <class Record>
struct Fields;

template <class Record>
concept HasFields = requires {
  Fields<Record>::table;
};

}  // namespace vemo
