#pragma once

#include <tuple>

#include "bridge/KOBURecords.h"

namespace vemo {

/// The render parameters as pages describe them: "mode" and "mirror" are further names
/// of the fill mode and the mirror type. They are read after the record's own names, so
/// they win. Nothing is stored beside the record, and it is written with its own names.
struct KOBURenderParams_VEMOExt : KOBURenderParams {};

template <>
struct Fields<KOBURenderParams_VEMOExt> {
  static constexpr auto table =
      std::tuple_cat(Fields<KOBURenderParams>::table,
                     std::tuple{Field{"mode", &KOBURenderParams::fillMode},
                                Field{"mirror", &KOBURenderParams::mirrorType}});
};

}  // namespace vemo
