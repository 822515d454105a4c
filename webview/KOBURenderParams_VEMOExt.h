#pragma once

#include <cstdint>
#include <tuple>

#include "bridge/KOBURecords.h"

namespace vemo {

// The render parameters as pages describe them: "mode" and "mirror" are further names of
// the fill mode and the mirror type. Nothing is stored beside the record, and it is
// written to JSON under its own names.

inline std::int32_t mode(const KOBURenderParams& params) { return params.fillMode; }
inline void setMode(KOBURenderParams& params, std::int32_t mode) { params.fillMode = mode; }

inline std::int32_t mirror(const KOBURenderParams& params) { return params.mirrorType; }
inline void setMirror(KOBURenderParams& params, std::int32_t mirror) { params.mirrorType = mirror; }

/// The record as the mapper reads it from a page: the further names come after the
/// record's own, so they win.
struct KOBURenderParamsOfPage : KOBURenderParams {};
template <>
struct Fields<KOBURenderParamsOfPage> {
  static constexpr std::string_view name = Fields<KOBURenderParams>::name;
  static constexpr auto table = std::tuple_cat(
      Fields<KOBURenderParams>::table,
      std::tuple{Field{"mode", &KOBURenderParams::fillMode, "",
                       "another name of \"fillMode\"; where both are given, this one counts"},
                 Field{"mirror", &KOBURenderParams::mirrorType, "",
                       "another name of \"mirrorType\"; where both are given, this one counts"}});
};

}  // namespace vemo
