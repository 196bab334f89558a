#pragma once
// The pixel conversions behind Picture::Convert: one function per pair of formats that converts.

#include <cstdint>

#include "picture/picture_format.h"

namespace tv::detail {

// Converts `count` pixels, packed one after another, from `source` into `destination`.
using PixelConversion = void (*)(uint8_t* destination, const uint8_t* source, uint32_t count);

// Null for a pair without conversion, the same format included.
PixelConversion FindPixelConversion(PictureFormat from, PictureFormat to);

} // namespace tv::detail
