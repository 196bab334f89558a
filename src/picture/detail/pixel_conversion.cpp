#include "picture/detail/pixel_conversion.h"

#include <cmath>
#include <cstring>

#include "util/agg_color_conv_rgb16.h"
#include "util/agg_color_conv_rgb8.h"

namespace tv::detail {
namespace {

// AGG's row converters work on whole rows; a picture without padding is one row of all pixels.
// They assume at least one pixel.
template <class AggRow>
void RunAgg(uint8_t* destination, const uint8_t* source, uint32_t count) {
  if (count > 0) AggRow()(destination, source, count);
}

// Float gray from RGB, with the integer weights 77, 150 and 29 over 256 of AGG's gray rows.
template <int R, int B>
void RgbToGray32(uint8_t* destination, const uint8_t* source, uint32_t count) {
  // The same weighted sum as the 8-bit and 16-bit gray rows, kept unrounded, over 255.
  for (uint32_t i = 0; i < count; ++i, source += 3, destination += 4) {
    const float gray = float(source[R] * 77 + source[1] * 150 + source[B] * 29) / 256.0f / 255.0f;
    std::memcpy(destination, &gray, sizeof(gray));
  }
}

void Rgba8ToRgba32(uint8_t* destination, const uint8_t* source, uint32_t count) {
  for (uint32_t i = 0; i < uint64_t(count) * 4; ++i) {
    const float channel = float(source[i]) / 255.0f;
    std::memcpy(destination + i * 4, &channel, sizeof(channel));
  }
}

void Rgba32ToRgba8(uint8_t* destination, const uint8_t* source, uint32_t count) {
  for (uint32_t i = 0; i < uint64_t(count) * 4; ++i) {
    float channel = 0;
    std::memcpy(&channel, source + i * 4, sizeof(channel));
    // NaN fails both comparisons and reads as 0.
    const float clamped = channel > 1.0f ? 1.0f : (channel > 0.0f ? channel : 0.0f);
    destination[i] = uint8_t(clamped * 255.0f);
  }
}

struct Entry {
  PictureFormat from;
  PictureFormat to;
  PixelConversion convert;
};

// AGG names the 8-bit layouts by their bits: rgb24 is RGB8, rgba32 is RGBA8, rgb48 is RGB16,
// rgba64 is RGBA16.
constexpr Entry kConversions[] = {
    {RGB555, RGB565, &RunAgg<agg::color_conv_rgb555_to_rgb565>},
    {RGB555, RGB8, &RunAgg<agg::color_conv_rgb555_to_rgb24>},
    {RGB555, BGR8, &RunAgg<agg::color_conv_rgb555_to_bgr24>},
    {RGB555, RGBA8, &RunAgg<agg::color_conv_rgb555_to_rgba32>},
    {RGB555, BGRA8, &RunAgg<agg::color_conv_rgb555_to_bgra32>},
    {RGB555, ARGB8, &RunAgg<agg::color_conv_rgb555_to_argb32>},
    {RGB555, ABGR8, &RunAgg<agg::color_conv_rgb555_to_abgr32>},

    {RGB565, RGB555, &RunAgg<agg::color_conv_rgb565_to_rgb555>},
    {RGB565, RGB8, &RunAgg<agg::color_conv_rgb565_to_rgb24>},
    {RGB565, BGR8, &RunAgg<agg::color_conv_rgb565_to_bgr24>},
    {RGB565, RGBA8, &RunAgg<agg::color_conv_rgb565_to_rgba32>},
    {RGB565, BGRA8, &RunAgg<agg::color_conv_rgb565_to_bgra32>},
    {RGB565, ARGB8, &RunAgg<agg::color_conv_rgb565_to_argb32>},
    {RGB565, ABGR8, &RunAgg<agg::color_conv_rgb565_to_abgr32>},

    {RGB8, Gray8, &RunAgg<agg::color_conv_rgb24_to_gray8>},
    {RGB8, Gray16, &RunAgg<agg::color_conv_rgb24_to_gray16>},
    {RGB8, Gray32, &RgbToGray32<0, 2>},
    {RGB8, RGB555, &RunAgg<agg::color_conv_rgb24_to_rgb555>},
    {RGB8, RGB565, &RunAgg<agg::color_conv_rgb24_to_rgb565>},
    {RGB8, BGR8, &RunAgg<agg::color_conv_rgb24_to_bgr24>},
    {RGB8, RGBA8, &RunAgg<agg::color_conv_rgb24_to_rgba32>},
    {RGB8, BGRA8, &RunAgg<agg::color_conv_rgb24_to_bgra32>},
    {RGB8, ARGB8, &RunAgg<agg::color_conv_rgb24_to_argb32>},
    {RGB8, ABGR8, &RunAgg<agg::color_conv_rgb24_to_abgr32>},
    {RGB8, RGB16, &RunAgg<agg::color_conv_rgb24_to_rgb48>},
    {RGB8, BGR16, &RunAgg<agg::color_conv_rgb24_to_bgr48>},
    {RGB8, RGBA16, &RunAgg<agg::color_conv_rgb24_to_rgba64>},
    {RGB8, BGRA16, &RunAgg<agg::color_conv_rgb24_to_bgra64>},
    {RGB8, ARGB16, &RunAgg<agg::color_conv_rgb24_to_argb64>},
    {RGB8, ABGR16, &RunAgg<agg::color_conv_rgb24_to_abgr64>},

    {BGR8, Gray8, &RunAgg<agg::color_conv_bgr24_to_gray8>},
    {BGR8, Gray16, &RunAgg<agg::color_conv_bgr24_to_gray16>},
    {BGR8, Gray32, &RgbToGray32<2, 0>},
    {BGR8, RGB555, &RunAgg<agg::color_conv_bgr24_to_rgb555>},
    {BGR8, RGB565, &RunAgg<agg::color_conv_bgr24_to_rgb565>},
    {BGR8, RGB8, &RunAgg<agg::color_conv_bgr24_to_rgb24>},
    {BGR8, RGBA8, &RunAgg<agg::color_conv_bgr24_to_rgba32>},
    {BGR8, BGRA8, &RunAgg<agg::color_conv_bgr24_to_bgra32>},
    {BGR8, ARGB8, &RunAgg<agg::color_conv_bgr24_to_argb32>},
    {BGR8, ABGR8, &RunAgg<agg::color_conv_bgr24_to_abgr32>},
    {BGR8, RGB16, &RunAgg<agg::color_conv_bgr24_to_rgb48>},
    {BGR8, BGR16, &RunAgg<agg::color_conv_bgr24_to_bgr48>},
    {BGR8, RGBA16, &RunAgg<agg::color_conv_bgr24_to_rgba64>},
    {BGR8, BGRA16, &RunAgg<agg::color_conv_bgr24_to_bgra64>},
    {BGR8, ARGB16, &RunAgg<agg::color_conv_bgr24_to_argb64>},
    {BGR8, ABGR16, &RunAgg<agg::color_conv_bgr24_to_abgr64>},

    {RGBA8, RGB555, &RunAgg<agg::color_conv_rgba32_to_rgb555>},
    {RGBA8, RGB565, &RunAgg<agg::color_conv_rgba32_to_rgb565>},
    {RGBA8, RGB8, &RunAgg<agg::color_conv_rgba32_to_rgb24>},
    {RGBA8, BGR8, &RunAgg<agg::color_conv_rgba32_to_bgr24>},
    {RGBA8, BGRA8, &RunAgg<agg::color_conv_rgba32_to_bgra32>},
    {RGBA8, ARGB8, &RunAgg<agg::color_conv_rgba32_to_argb32>},
    {RGBA8, ABGR8, &RunAgg<agg::color_conv_rgba32_to_abgr32>},
    {RGBA8, RGBA32, &Rgba8ToRgba32},

    {BGRA8, RGB555, &RunAgg<agg::color_conv_bgra32_to_rgb555>},
    {BGRA8, RGB565, &RunAgg<agg::color_conv_bgra32_to_rgb565>},
    {BGRA8, RGB8, &RunAgg<agg::color_conv_bgra32_to_rgb24>},
    {BGRA8, BGR8, &RunAgg<agg::color_conv_bgra32_to_bgr24>},
    {BGRA8, RGBA8, &RunAgg<agg::color_conv_bgra32_to_rgba32>},
    {BGRA8, ARGB8, &RunAgg<agg::color_conv_bgra32_to_argb32>},
    {BGRA8, ABGR8, &RunAgg<agg::color_conv_bgra32_to_abgr32>},

    {ARGB8, RGB555, &RunAgg<agg::color_conv_argb32_to_rgb555>},
    {ARGB8, RGB565, &RunAgg<agg::color_conv_argb32_to_rgb565>},
    {ARGB8, RGB8, &RunAgg<agg::color_conv_argb32_to_rgb24>},
    {ARGB8, BGR8, &RunAgg<agg::color_conv_argb32_to_bgr24>},
    {ARGB8, RGBA8, &RunAgg<agg::color_conv_argb32_to_rgba32>},
    {ARGB8, BGRA8, &RunAgg<agg::color_conv_argb32_to_bgra32>},
    {ARGB8, ABGR8, &RunAgg<agg::color_conv_argb32_to_abgr32>},

    {ABGR8, RGB555, &RunAgg<agg::color_conv_abgr32_to_rgb555>},
    {ABGR8, RGB565, &RunAgg<agg::color_conv_abgr32_to_rgb565>},
    {ABGR8, RGB8, &RunAgg<agg::color_conv_abgr32_to_rgb24>},
    {ABGR8, BGR8, &RunAgg<agg::color_conv_abgr32_to_bgr24>},
    {ABGR8, RGBA8, &RunAgg<agg::color_conv_abgr32_to_rgba32>},
    {ABGR8, BGRA8, &RunAgg<agg::color_conv_abgr32_to_bgra32>},
    {ABGR8, ARGB8, &RunAgg<agg::color_conv_abgr32_to_argb32>},

    {RGB16, RGB8, &RunAgg<agg::color_conv_rgb48_to_rgb24>},
    {RGB16, BGR8, &RunAgg<agg::color_conv_rgb48_to_bgr24>},
    {BGR16, RGB8, &RunAgg<agg::color_conv_bgr48_to_rgb24>},
    {BGR16, BGR8, &RunAgg<agg::color_conv_bgr48_to_bgr24>},

    {RGBA16, RGBA8, &RunAgg<agg::color_conv_rgba64_to_rgba32>},
    {RGBA16, BGRA8, &RunAgg<agg::color_conv_rgba64_to_bgra32>},
    {RGBA16, ARGB8, &RunAgg<agg::color_conv_rgba64_to_argb32>},
    {RGBA16, ABGR8, &RunAgg<agg::color_conv_rgba64_to_abgr32>},
    {BGRA16, RGBA8, &RunAgg<agg::color_conv_bgra64_to_rgba32>},
    {BGRA16, BGRA8, &RunAgg<agg::color_conv_bgra64_to_bgra32>},
    {BGRA16, ARGB8, &RunAgg<agg::color_conv_bgra64_to_argb32>},
    {BGRA16, ABGR8, &RunAgg<agg::color_conv_bgra64_to_abgr32>},
    {ARGB16, RGBA8, &RunAgg<agg::color_conv_argb64_to_rgba32>},
    {ARGB16, BGRA8, &RunAgg<agg::color_conv_argb64_to_bgra32>},
    {ARGB16, ARGB8, &RunAgg<agg::color_conv_argb64_to_argb32>},
    {ARGB16, ABGR8, &RunAgg<agg::color_conv_argb64_to_abgr32>},
    {ABGR16, RGBA8, &RunAgg<agg::color_conv_abgr64_to_rgba32>},
    {ABGR16, BGRA8, &RunAgg<agg::color_conv_abgr64_to_bgra32>},
    {ABGR16, ARGB8, &RunAgg<agg::color_conv_abgr64_to_argb32>},
    {ABGR16, ABGR8, &RunAgg<agg::color_conv_abgr64_to_abgr32>},

    {RGBA32, RGBA8, &Rgba32ToRgba8},
};

} // namespace

PixelConversion FindPixelConversion(PictureFormat from, PictureFormat to) {
  for (const Entry& entry : kConversions)
    if (entry.from == from && entry.to == to) return entry.convert;
  return nullptr;
}

} // namespace tv::detail
