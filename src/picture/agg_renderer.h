#pragma once
// AGGRenderer<PixelFormat>: the drawing interface over one AGG pixel format, a template so that
// blending is inlined per format. It holds an AGG row accessor over the picture's pixels, the
// pixel format on it, a base renderer with the (inclusive) clip box, an anti-aliased scanline
// rasterizer, a scanline and the current path; all of it is made once per Picture::Allocate.
//
// Heavy: include it only where members of the family are instantiated (agg_renderer_*.cpp).

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstring>
#include <type_traits>
#include <utility>
#include <vector>

#include "agg_conv_stroke.h"
#include "agg_ellipse.h"
#include "agg_image_accessors.h"
#include "agg_path_storage.h"
#include "agg_pixfmt_gray.h"
#include "agg_pixfmt_rgb.h"
#include "agg_pixfmt_rgb_packed.h"
#include "agg_pixfmt_rgba.h"
#include "agg_rasterizer_scanline_aa.h"
#include "agg_renderer_base.h"
#include "agg_renderer_scanline.h"
#include "agg_rendering_buffer.h"
#include "agg_rounded_rect.h"
#include "agg_scanline_u.h"
#include "agg_span_allocator.h"
#include "agg_span_image_filter_gray.h"
#include "agg_span_image_filter_rgb.h"
#include "agg_span_image_filter_rgba.h"
#include "agg_span_interpolator_linear.h"
#include "foundation/log.h"
#include "picture/detail/image_filter_lut.h"
#include "picture/detail/picture_resampler.h"
#include "picture/picture.h"
#include "picture/picture_filter.h"
#include "picture/picture_renderer.h"

namespace tv {
namespace detail {

// Coordinates reach the rasterizer as 24.8 fixed point; keep them (and what an ellipse or a
// stroke adds around them) far inside that range, and NaN out of it.
constexpr double kLargestCoordinate = 1e6;
inline double SafeCoordinate(double v) {
  if (!(v == v)) return 0;
  return std::clamp(v, -kLargestCoordinate, kLargestCoordinate);
}
// Pixel indices far beyond any picture, small enough that AGG's sums of two of them fit an int.
inline int SafeIndex(int v) { return std::clamp(v, -(1 << 28), 1 << 28); }

// AGG's colour for the pixel type: integer channels clamped to 0..1 first (a float channel
// outside it would not fit the integer), float channels as they are.
template <class ColorT>
ColorT ToPixelColor(double r, double g, double b, double a) {
  if constexpr (std::is_floating_point_v<typename ColorT::value_type>) {
    return ColorT(agg::rgba(r, g, b, a));
  } else {
    auto unit = [](double v) { return v > 1.0 ? 1.0 : (v > 0.0 ? v : 0.0); };  // NaN gives 0
    return ColorT(agg::rgba(unit(r), unit(g), unit(b), unit(a)));
  }
}
template <class ColorT>
ColorT ToPixelColor(const Color& c) {
  return ToPixelColor<ColorT>(c.r, c.g, c.b, c.a);
}
template <class ColorT>
ColorT ToPixelColor(const IPictureRenderer::DrawColor& c) {
  return ToPixelColor<ColorT>(c.r, c.g, c.b, c.a);
}

// A pixel's channels over their full value.
template <class T>
Color FromGray(const T& c, float full) {
  return Color(float(c.v) / full, float(c.v) / full, float(c.v) / full, float(c.a) / full);
}
template <class T>
Color FromRgba(const T& c, float full) {
  return Color(float(c.r) / full, float(c.g) / full, float(c.b) / full, float(c.a) / full);
}
inline Color ToColor(const agg::gray8& c) { return FromGray(c, 255.0f); }
inline Color ToColor(const agg::gray16& c) { return FromGray(c, 65535.0f); }
inline Color ToColor(const agg::gray32& c) { return FromGray(c, 1.0f); }
inline Color ToColor(const agg::rgba8& c) { return FromRgba(c, 255.0f); }
inline Color ToColor(const agg::rgba16& c) { return FromRgba(c, 65535.0f); }
inline Color ToColor(const agg::rgba32& c) { return FromRgba(c, 1.0f); }

// The image span generators of each pixel family. The packed 16-bit formats have none in AGG:
// their blits go through an RGB8 copy.
template <class PixelFormat>
struct ImageSpans {
  static constexpr bool kPacked = true;
};
template <class B, class R, unsigned S, unsigned O>
struct ImageSpans<agg::pixfmt_alpha_blend_gray<B, R, S, O>> {
  static constexpr bool kPacked = false;
  template <class Source, class Interpolator>
  using Nearest = agg::span_image_filter_gray_nn<Source, Interpolator>;
  template <class Source, class Interpolator>
  using Filtered = agg::span_image_filter_gray<Source, Interpolator>;
};
template <class B, class R, unsigned S, unsigned O>
struct ImageSpans<agg::pixfmt_alpha_blend_rgb<B, R, S, O>> {
  static constexpr bool kPacked = false;
  template <class Source, class Interpolator>
  using Nearest = agg::span_image_filter_rgb_nn<Source, Interpolator>;
  template <class Source, class Interpolator>
  using Filtered = agg::span_image_filter_rgb<Source, Interpolator>;
};
template <class B, class R>
struct ImageSpans<agg::pixfmt_alpha_blend_rgba<B, R>> {
  static constexpr bool kPacked = false;
  template <class Source, class Interpolator>
  using Nearest = agg::span_image_filter_rgba_nn<Source, Interpolator>;
  template <class Source, class Interpolator>
  using Filtered = agg::span_image_filter_rgba<Source, Interpolator>;
};

// Where Blit's spans go: into the base renderer, blended as any drawing is, or, to resample,
// replacing each fully covered pixel with its sample. Both honour the clip box.
template <class Base>
class SpanWriter {
public:
  using color_type = typename Base::color_type;

  SpanWriter(Base& base, bool replace) : base_(base), replace_(replace) {}

  void blend_color_hspan(int x, int y, int len, const color_type* colors, const agg::cover_type* covers,
                         agg::cover_type cover) {
    if (!replace_) {
      base_.blend_color_hspan(x, y, len, colors, covers, cover);
      return;
    }
    for (int i = 0; i < len; ++i) {
      const agg::cover_type c = covers != nullptr ? covers[i] : cover;
      if (c == agg::cover_full) {
        base_.copy_pixel(x + i, y, colors[i]);
      } else {
        base_.blend_pixel(x + i, y, colors[i], c);
      }
    }
  }

private:
  Base& base_;
  bool replace_;
};

// Compare's limit on the squared distance, (int(threshold × 256))²: the product is clamped to the
// range of int first, and a NaN threshold allows no difference at all.
inline double CompareLimit(float threshold) {
  const double scaled = double(threshold) * 256.0;
  if (!(scaled == scaled)) return 0;
  const double whole = std::trunc(std::clamp(scaled, double(INT_MIN), double(INT_MAX)));
  return whole * whole;
}

constexpr agg::line_cap_e kLineCaps[] = {agg::butt_cap, agg::square_cap, agg::round_cap};
constexpr agg::line_join_e kLineJoins[] = {agg::miter_join, agg::miter_join_revert, agg::round_join, agg::bevel_join,
                                           agg::miter_join_round};
constexpr agg::inner_join_e kInnerJoins[] = {agg::inner_bevel, agg::inner_miter, agg::inner_jag, agg::inner_round};

// A value outside a table takes AGG's default, its entry 0 (miter for the inner join).
template <class E, size_t N>
E Pick(const E (&table)[N], int32_t value, E fallback) {
  return value >= 0 && size_t(value) < N ? table[value] : fallback;
}

} // namespace detail

template <class PixelFormat>
class AGGRenderer final : public IPictureRenderer, public detail::IPictureResampler {
public:
  using color_type = typename PixelFormat::color_type;

  // Views `width` × `height` pixels at `data`, rows without padding.
  AGGRenderer(PictureFormat format, uint8_t* data, uint32_t width, uint32_t height)
      : format_(format), buffer_(data, width, height, int(width * PixelFormat::pix_width)), pixels_(buffer_),
        base_(pixels_) {
    // Clipping in doubles ahead of the fixed-point conversion; the base renderer's clip box then
    // decides what is drawn.
    rasterizer_.clip_box(0, 0, double(width), double(height));
    ResetClipRect();
  }

  void ResetClipRect() override { base_.reset_clipping(true); }

  void SetClipRect(int x0, int y0, int x1, int y1) override {
    // AGG orders and clamps, and leaves (1, 1, 0, 0) when nothing remains.
    base_.clip_box(x0, y0, x1, y1);
  }

  void Clear(Color color) override { base_.clear(detail::ToPixelColor<color_type>(color)); }

  Color GetPixel(int x, int y) const override { return detail::ToColor(color_type(base_.pixel(x, y))); }

  void PutPixel(int x, int y, Color color) override {
    base_.copy_pixel(x, y, detail::ToPixelColor<color_type>(color));
  }

  void BlendPixel(int x, int y, Color color) override {
    base_.blend_pixel(x, y, detail::ToPixelColor<color_type>(color), agg::cover_full);
  }

  bool Blit(const Picture& source, float x0, float y0, float x1, float y1, const Matrix3& matrix,
            uint32_t filter) override {
    if (source.GetFormat() != format_) {
      error("Cannot blit between different source and destination picture format");
      return false;
    }
    BlitSpans(source, x0, y0, x1, y1, matrix, filter, false);
    return true;
  }

  bool Resample(const Picture& source, const Matrix3& matrix, uint32_t filter) override {
    if (source.GetFormat() != format_) {
      error("Cannot blit between different source and destination picture format");
      return false;
    }
    BlitSpans(source, 0, 0, float(buffer_.width()), float(buffer_.height()), matrix, filter, true);
    return true;
  }

  bool Copy(const Picture& source, int x0, int y0, int x1, int y1, int x, int y) override {
    if (source.GetFormat() != format_) {
      error("Cannot copy between different source and destination picture format");
      return false;
    }
    agg::rendering_buffer source_rows(const_cast<uint8_t*>(source.GetData()), source.GetWidth(), source.GetHeight(),
                                      int(source.GetStride()));
    x0 = detail::SafeIndex(x0);
    y0 = detail::SafeIndex(y0);
    const agg::rect_i area(x0, y0, detail::SafeIndex(x1), detail::SafeIndex(y1));
    base_.copy_from(source_rows, &area, detail::SafeIndex(x) - x0, detail::SafeIndex(y) - y0);
    return true;
  }

  void Flip(bool horizontal, bool vertical) override {
    constexpr unsigned kPixel = PixelFormat::pix_width;
    const unsigned width = buffer_.width();
    const unsigned height = buffer_.height();
    uint8_t swap[kPixel > 16 ? kPixel : 16];
    if (horizontal) {
      for (unsigned y = 0; y < height; ++y) {
        uint8_t* row = buffer_.row_ptr(int(y));
        for (unsigned i = 0; i < width / 2; ++i) {
          uint8_t* left = row + i * kPixel;
          uint8_t* right = row + (width - 1 - i) * kPixel;
          std::memcpy(swap, left, kPixel);
          std::memcpy(left, right, kPixel);
          std::memcpy(right, swap, kPixel);
        }
      }
    }
    if (vertical) {
      const size_t stride = size_t(width) * kPixel;
      std::vector<uint8_t> row(stride);
      for (unsigned i = 0; i < height / 2; ++i) {
        uint8_t* top = buffer_.row_ptr(int(i));
        uint8_t* bottom = buffer_.row_ptr(int(height - 1 - i));
        std::memcpy(row.data(), top, stride);
        std::memcpy(top, bottom, stride);
        std::memcpy(bottom, row.data(), stride);
      }
    }
  }

  void MoveTo(float x, float y) override { path_.move_to(detail::SafeCoordinate(x), detail::SafeCoordinate(y)); }

  void LineTo(float x, float y) override { path_.line_to(detail::SafeCoordinate(x), detail::SafeCoordinate(y)); }

  void ClosePolygon() override { path_.close_polygon(); }

  void AddEllipse(float x, float y, float rx, float ry) override {
    agg::ellipse ellipse(detail::SafeCoordinate(x), detail::SafeCoordinate(y), detail::SafeCoordinate(rx),
                         detail::SafeCoordinate(ry), 0, false);
    ellipse.approximation_scale(1.0);
    AppendPath(ellipse);
  }

  void AddRoundedRect(float x0, float y0, float x1, float y1, float radius) override {
    // The radius as given: one larger than half a side is not scaled down, so the arcs overlap.
    agg::rounded_rect rect(detail::SafeCoordinate(x0), detail::SafeCoordinate(y0), detail::SafeCoordinate(x1),
                           detail::SafeCoordinate(y1), detail::SafeCoordinate(radius));
    AppendPath(rect);
  }


  void DrawPath() override {
    if (fill_mode == 1) {
      rasterizer_.reset();
      rasterizer_.add_path(path_);
      agg::render_scanlines_aa_solid(rasterizer_, scanline_, base_, detail::ToPixelColor<color_type>(fill_color));
    }
    if (pen_mode == 1) {
      agg::conv_stroke<agg::path_storage> stroke(path_);
      // The stroker keeps half the width, and 1/1024 of that as its width epsilon.
      stroke.width(detail::SafeCoordinate(pen_width));
      stroke.line_cap(detail::Pick(detail::kLineCaps, pen_cap, agg::butt_cap));
      stroke.line_join(detail::Pick(detail::kLineJoins, pen_join, agg::miter_join));
      stroke.inner_join(detail::Pick(detail::kInnerJoins, pen_inner_join, agg::inner_miter));
      rasterizer_.reset();
      rasterizer_.add_path(stroke);
      agg::render_scanlines_aa_solid(rasterizer_, scanline_, base_, detail::ToPixelColor<color_type>(pen_color));
    }
    path_.remove_all();
  }

  bool Compare(const Picture& other, float threshold) const override {
    const double limit = detail::CompareLimit(threshold);
    // Both sides are read past their clip boxes. Another format is read through a copy, whose
    // renderer has the whole picture as its box.
    const bool same_format = other.GetFormat() == format_;
    const Picture converted = same_format ? Picture() : Picture(other);
    agg::rendering_buffer other_rows(const_cast<uint8_t*>(other.GetData()), other.GetWidth(), other.GetHeight(),
                                     int(other.GetStride()));
    const PixelFormat other_pixels(other_rows);
    for (unsigned y = 0; y < buffer_.height(); ++y) {
      for (unsigned x = 0; x < buffer_.width(); ++x) {
        const Color a = detail::ToColor(color_type(pixels_.pixel(int(x), int(y))));
        Color b;  // 0, 0, 0, 0 beyond the other picture
        if (!same_format) {
          b = converted.GetPixel(int(x), int(y));
        } else if (x < other.GetWidth() && y < other.GetHeight()) {
          b = detail::ToColor(color_type(other_pixels.pixel(int(x), int(y))));
        }
        const double dr = (double(a.r) - b.r) * 255.0;
        const double dg = (double(a.g) - b.g) * 255.0;
        const double db = (double(a.b) - b.b) * 255.0;
        const double da = (double(a.a) - b.a) * 255.0;
        // A NaN distance (a NaN channel, or infinities on both sides) is too far.
        if (!(dr * dr + dg * dg + db * db + da * da <= limit)) return false;
      }
    }
    return true;
  }

private:
  // What path_storage::concat_path does, with the vertex initialised: GCC cannot see that the
  // shapes set it before the stop command and warns in the library's loop.
  template <typename VertexSource>
  void AppendPath(VertexSource& source) {
    double vx = 0, vy = 0;
    source.rewind(0);
    for (unsigned command; !agg::is_stop(command = source.vertex(&vx, &vy));) path_.vertices().add_vertex(vx, vy, command);
  }

  // Blit and Resample, once the formats match: `replace` writes the samples over the pixels
  // instead of blending them.
  void BlitSpans(const Picture& source, float x0, float y0, float x1, float y1, const Matrix3& matrix,
                 uint32_t filter, bool replace) {
    agg::rendering_buffer source_rows(const_cast<uint8_t*>(source.GetData()), source.GetWidth(), source.GetHeight(),
                                      int(source.GetStride()));
    const agg::trans_affine to_source(matrix(0, 0), matrix(1, 0), matrix(0, 1), matrix(1, 1), matrix(0, 2),
                                      matrix(1, 2));
    if constexpr (detail::ImageSpans<PixelFormat>::kPacked) {
      BlitThroughRgb8(source_rows, x0, y0, x1, y1, to_source, filter, replace);
    } else {
      BlitRows(*this, source_rows, x0, y0, x1, y1, to_source, filter, replace);
    }
  }
  // Blit's work on rows of this family's own layout. `target` is a renderer of this family
  // (itself, or an RGB8 stand-in for a packed format).
  template <class Target>
  static void BlitRows(Target& target, const agg::rendering_buffer& source_rows, float x0, float y0, float x1,
                       float y1, const agg::trans_affine& to_source, uint32_t filter, bool replace);
  void BlitThroughRgb8(const agg::rendering_buffer& source_rows, float x0, float y0, float x1, float y1,
                       const agg::trans_affine& to_source, uint32_t filter, bool replace);

  template <class>
  friend class AGGRenderer;

  PictureFormat format_;
  agg::rendering_buffer buffer_;
  PixelFormat pixels_;
  agg::renderer_base<PixelFormat> base_;
  agg::rasterizer_scanline_aa<agg::rasterizer_sl_clip_dbl> rasterizer_;
  agg::scanline_u8 scanline_;
  agg::path_storage path_;
};

template <class PixelFormat>
template <class Target>
void AGGRenderer<PixelFormat>::BlitRows(Target& target, const agg::rendering_buffer& source_rows, float x0, float y0,
                                        float x1, float y1, const agg::trans_affine& to_source, uint32_t filter,
                                        bool replace) {
  using TargetFormat = std::remove_reference_t<decltype(target.pixels_)>;
  using TargetColor = typename TargetFormat::color_type;
  using Interpolator = agg::span_interpolator_linear<>;
  using Source = agg::image_accessor_clip<TargetFormat>;
  using Spans = detail::ImageSpans<TargetFormat>;

  agg::rasterizer_scanline_aa<agg::rasterizer_sl_clip_dbl> rasterizer;
  rasterizer.clip_box(0, 0, double(target.buffer_.width()), double(target.buffer_.height()));
  rasterizer.move_to_d(detail::SafeCoordinate(x0), detail::SafeCoordinate(y0));
  rasterizer.line_to_d(detail::SafeCoordinate(x1), detail::SafeCoordinate(y0));
  rasterizer.line_to_d(detail::SafeCoordinate(x1), detail::SafeCoordinate(y1));
  rasterizer.line_to_d(detail::SafeCoordinate(x0), detail::SafeCoordinate(y1));
  rasterizer.close_polygon();

  agg::rendering_buffer rows(const_cast<uint8_t*>(source_rows.buf()), source_rows.width(), source_rows.height(),
                             source_rows.stride());
  TargetFormat source_pixels(rows);
  Source source(source_pixels, detail::ToPixelColor<TargetColor>(target.fill_color));
  agg::trans_affine transform = to_source;  // the interpolator holds it by non-const reference
  Interpolator interpolator(transform);
  agg::span_allocator<TargetColor> spans;
  agg::scanline_u8 scanline;
  detail::SpanWriter<decltype(target.base_)> writer(target.base_, replace);
  if (filter == FilterNearest) {
    typename Spans::template Nearest<Source, Interpolator> generator(source, interpolator);
    generator.filter_offset(0.5);
    agg::render_scanlines_aa(rasterizer, scanline, writer, spans, generator);
  } else {
    agg::image_filter_lut kernel;
    detail::BuildImageFilterLut(filter, kernel);
    typename Spans::template Filtered<Source, Interpolator> generator(source, interpolator, kernel);
    generator.filter_offset(0.5);
    agg::render_scanlines_aa(rasterizer, scanline, writer, spans, generator);
  }
}

// AGG has no image spans for packed pixels: unpack source and destination to RGB8, blit there
// with the same fill colour and clip box, and pack back, through the box, the pixels that the
// blit changed (all of them when it replaces: a resample covers the whole picture).
template <class PixelFormat>
void AGGRenderer<PixelFormat>::BlitThroughRgb8(const agg::rendering_buffer& source_rows, float x0, float y0, float x1,
                                               float y1, const agg::trans_affine& to_source, uint32_t filter,
                                               bool replace) {
  // Explicit instantiation makes every member of every format: only the packed ones need this.
  if constexpr (detail::ImageSpans<PixelFormat>::kPacked) {
  const agg::rect_i& box = base_.clip_box();
  if (box.x1 > box.x2 || box.y1 > box.y2) return;  // nothing passes
  using Rgb8 = AGGRenderer<agg::pixfmt_rgb24>;
  auto unpack = [](const agg::rendering_buffer& rows, std::vector<uint8_t>& out) {
    agg::rendering_buffer view(const_cast<uint8_t*>(rows.buf()), rows.width(), rows.height(), rows.stride());
    PixelFormat packed(view);
    out.resize(size_t(rows.width()) * rows.height() * 3);
    for (unsigned y = 0; y < rows.height(); ++y) {
      for (unsigned x = 0; x < rows.width(); ++x) {
        const agg::rgba8 c = packed.pixel(int(x), int(y));
        uint8_t* p = out.data() + (size_t(y) * rows.width() + x) * 3;
        p[0] = c.r;
        p[1] = c.g;
        p[2] = c.b;
      }
    }
  };
  std::vector<uint8_t> source_rgb;
  unpack(source_rows, source_rgb);
  std::vector<uint8_t> before;
  unpack(buffer_, before);
  std::vector<uint8_t> after = before;

  const unsigned width = buffer_.width();
  const unsigned height = buffer_.height();
  Rgb8 stand_in(RGB8, after.data(), width, height);
  stand_in.fill_color = fill_color;
  stand_in.base_.clip_box_naked(box.x1, box.y1, box.x2, box.y2);
  const agg::rendering_buffer source_rgb_rows(source_rgb.data(), source_rows.width(), source_rows.height(),
                                              int(source_rows.width() * 3));
  Rgb8::BlitRows(stand_in, source_rgb_rows, x0, y0, x1, y1, to_source, filter, replace);

  for (unsigned y = 0; y < height; ++y) {
    for (unsigned x = 0; x < width; ++x) {
      const size_t at = (size_t(y) * width + x) * 3;
      if (replace || std::memcmp(before.data() + at, after.data() + at, 3) != 0)
        base_.copy_pixel(int(x), int(y), agg::rgba8(after[at], after[at + 1], after[at + 2]));
    }
  }
  }
}

} // namespace tv
