#pragma once
// The drawing interface on a Picture's pixels: clipped pixel access, blits with an image filter,
// raw copies and flips, and anti-aliased paths filled and stroked with the fill and pen state.
//
// Every Picture owns exactly one renderer, made for its format when the picture is allocated;
// the renderer holds a row view of the picture's pixels and is rebuilt with them, so a pointer
// to it is valid until the picture is next allocated, converted or destroyed. One thread at a
// time. The virtual operations keep their slot order: a plugin's renderers are called through
// this table by the host.
//
// Colours are Color by value. Into integer pixels a colour is clamped to 0..1 (NaN reads as 0)
// and rounded: each channel × 255 + 0.5, truncated, for 8-bit channels, × 65535 + 0.5 for 16-bit
// ones; gray pixels take AGG's luminance of the colour. Float pixels store the channels as given.

#include <cstdint>

#include "math/color.h"
#include "math/matrix3.h"

namespace tv {

class Picture;

class IPictureRenderer {
public:
  // The fill and pen colours: AGG's double-precision colour, channels nominally 0 to 1.
  struct DrawColor {
    double r = 0;
    double g = 0;
    double b = 0;
    double a = 1;
  };

  virtual ~IPictureRenderer();
  // The clip box becomes the whole picture.
  virtual void ResetClipRect() = 0;
  // Orders the corners and clamps the box to the picture; a box left empty lets nothing through.
  // The box is inclusive.
  virtual void SetClipRect(int x0, int y0, int x1, int y1) = 0;
  // Writes over every pixel, without blending and whatever the clip box.
  virtual void Clear(Color color) = 0;
  // The pixel's channels over their full value (255 for 8-bit ones); 0, 0, 0, 0 outside the clip
  // box. Gray pixels read as r = g = b.
  virtual Color GetPixel(int x, int y) const = 0;
  // Stores the colour without blending; nothing outside the clip box.
  virtual void PutPixel(int x, int y, Color color) = 0;
  // Blends the colour at full coverage; nothing outside the clip box.
  virtual void BlendPixel(int x, int y, Color color) = 0;
  virtual void SetFillColor(Color color);
  virtual void SetPenColor(Color color);
  // Fills the rectangle (x0, y0)-(x1, y1), anti-aliased and through the clip box, with `source`
  // resampled through `matrix`: its first two rows are a 2 × 3 affine map from destination to
  // source pixels. `filter` is a PictureFilter; values above 22 act as bilinear. Outside the
  // source the sample is the fill colour. False, with an error line, when `source` has another
  // format.
  virtual bool Blit(const Picture& source, float x0, float y0, float x1, float y1, const Matrix3& matrix,
                    uint32_t filter) = 0;
  // Copies the inclusive rectangle (x0, y0)-(x1, y1) of `source` so that its corner lands on
  // (x, y), raw and through the clip box. False, with an error line, when `source` has another
  // format.
  virtual bool Copy(const Picture& source, int x0, int y0, int x1, int y1, int x, int y) = 0;
  // Mirrors the raw pixels, ignoring the clip box.
  virtual void Flip(bool horizontal, bool vertical) = 0;
  // The current path, which DrawPath draws and empties.
  virtual void MoveTo(float x, float y) = 0;
  virtual void LineTo(float x, float y) = 0;
  // Closes the open sub-path, if it has a vertex.
  virtual void ClosePolygon() = 0;
  virtual void AddEllipse(float x, float y, float rx, float ry) = 0;
  virtual void AddRoundedRect(float x0, float y0, float x1, float y1, float radius) = 0;
  // Fills the path with the fill colour when fill_mode is 1, then strokes it with the pen when
  // pen_mode is 1, then empties it.
  virtual void DrawPath() = 0;
  // DrawGlyph and DrawText take their slots here, before Compare, once raster fonts exist.
  //
  // True when no pixel of this picture is farther from the pixel at the same place in `other`
  // than the threshold: with both read as GetPixel reads them and scaled to 0..255, the squared
  // distance over the four channels may not exceed (int(threshold × 256))².
  virtual bool Compare(const Picture& other, float threshold) const = 0;

  // 1: DrawPath fills; any other value: it does not.
  int32_t fill_mode = 1;
  DrawColor fill_color;
  // 1: DrawPath strokes; any other value: it does not.
  int32_t pen_mode = 1;
  DrawColor pen_color;
  float pen_width = 1;
  int32_t pen_cap = 0;         // 0 butt, 1 square, 2 round
  int32_t pen_join = 0;        // 0 miter, 1 miter revert, 2 round, 3 bevel, 4 miter round
  int32_t pen_inner_join = 1;  // 0 bevel, 1 miter, 2 jag, 3 round
};

// The renderer of a picture without a format: draws nothing, answers false from every bool
// operation and all-zero from GetPixel.
class NullAGGRenderer final : public IPictureRenderer {
public:
  void ResetClipRect() override {}
  void SetClipRect(int, int, int, int) override {}
  void Clear(Color) override {}
  Color GetPixel(int, int) const override { return Color(); }
  void PutPixel(int, int, Color) override {}
  void BlendPixel(int, int, Color) override {}
  void SetFillColor(Color) override {}
  void SetPenColor(Color) override {}
  bool Blit(const Picture&, float, float, float, float, const Matrix3&, uint32_t) override { return false; }
  bool Copy(const Picture&, int, int, int, int, int, int) override { return false; }
  void Flip(bool, bool) override {}
  void MoveTo(float, float) override {}
  void LineTo(float, float) override {}
  void ClosePolygon() override {}
  void AddEllipse(float, float, float, float) override {}
  void AddRoundedRect(float, float, float, float, float) override {}
  void DrawPath() override {}
  bool Compare(const Picture&, float) const override { return false; }
};

} // namespace tv
