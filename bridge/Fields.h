#pragma once

#include <string_view>
#include <tuple>

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

}  // namespace vemo
