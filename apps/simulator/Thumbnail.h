#pragma once

#include <boost/json/object.hpp>

#include "platform/PixbufImageDecoder.h"

namespace vemo {

/// `image` for the page's frame to draw: "width", "height" and "rgba", its pixels as
/// hexadecimal text. Made smaller where it is longer than 240 pixels.
boost::json::object thumbnail(const DecodedImage& image);

}  // namespace vemo
