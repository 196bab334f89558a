#pragma once
// AGG's 16-bit colour types do their fixed-point arithmetic in int: multiply() forms a 32-bit
// product of two 16-bit values in a signed int, and lerp() a signed product of a difference and
// an alpha, both of which overflow (undefined behaviour, and in practice wrong blends of large
// differences). Exact16 derives from such a type and replaces those helpers with the same
// formulas in unsigned and 64-bit arithmetic; the pixel formats of the 16-bit family members are
// AGG's, instantiated on these colour types.

#include <cstdint>

#include "agg_color_gray.h"
#include "agg_color_rgba.h"
#include "agg_pixfmt_gray.h"
#include "agg_pixfmt_rgb.h"
#include "agg_pixfmt_rgba.h"
#include "agg_rendering_buffer.h"

namespace tv::detail {

template <class Base>
struct Exact16 : Base {
  using value_type = typename Base::value_type;
  using calc_type = uint32_t;
  using long_type = int64_t;

  using Base::Base;
  Exact16() = default;
  Exact16(const Base& c) : Base(c) {}  // NOLINT: AGG hands out its own type (no_color(), pixel())

  static value_type multiply(value_type a, value_type b) {
    const calc_type t = calc_type(a) * b + Base::base_MSB;
    return value_type(((t >> Base::base_shift) + t) >> Base::base_shift);
  }
  static value_type demultiply(value_type a, value_type b) {
    if (a == 0 || b == 0) return 0;
    if (a >= b) return Base::base_mask;
    return value_type((calc_type(a) * Base::base_mask + (b >> 1)) / b);
  }
  static value_type mult_cover(value_type a, agg::cover_type b) { return multiply(a, value_type(b << 8 | b)); }
  static agg::cover_type scale_cover(agg::cover_type a, value_type b) {
    return agg::cover_type(mult_cover(b, a) >> 8);
  }
  static value_type prelerp(value_type p, value_type q, value_type a) {
    return value_type(p + q - multiply(p, a));
  }
  static value_type lerp(value_type p, value_type q, value_type a) {
    const long_type t = (long_type(q) - p) * a + Base::base_MSB - (p > q);
    return value_type(p + (((t >> Base::base_shift) + t) >> Base::base_shift));
  }
};

using ExactGray16 = Exact16<agg::gray16>;
using ExactRgba16 = Exact16<agg::rgba16>;

using PixfmtGray16 = agg::pixfmt_alpha_blend_gray<agg::blender_gray<ExactGray16>, agg::rendering_buffer>;
using PixfmtRgb48 = agg::pixfmt_alpha_blend_rgb<agg::blender_rgb<ExactRgba16, agg::order_rgb>, agg::rendering_buffer, 3>;
using PixfmtBgr48 = agg::pixfmt_alpha_blend_rgb<agg::blender_rgb<ExactRgba16, agg::order_bgr>, agg::rendering_buffer, 3>;
using PixfmtRgba64 = agg::pixfmt_alpha_blend_rgba<agg::blender_rgba<ExactRgba16, agg::order_rgba>, agg::rendering_buffer>;
using PixfmtBgra64 = agg::pixfmt_alpha_blend_rgba<agg::blender_rgba<ExactRgba16, agg::order_bgra>, agg::rendering_buffer>;
using PixfmtArgb64 = agg::pixfmt_alpha_blend_rgba<agg::blender_rgba<ExactRgba16, agg::order_argb>, agg::rendering_buffer>;
using PixfmtAbgr64 = agg::pixfmt_alpha_blend_rgba<agg::blender_rgba<ExactRgba16, agg::order_abgr>, agg::rendering_buffer>;

} // namespace tv::detail
