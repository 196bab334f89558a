#pragma once
// The engine's image in main memory: a width, a height, one of 23 pixel formats and the pixels,
// rows from top to bottom without padding, with a drawing interface (IPictureRenderer) attached.
//
// The row stride is always width × bytes per pixel. A default picture has no pixels, the format
// InvalidPictureFormat and a renderer that draws nothing. No lock: one thread at a time.
//
// The renderer is made by the code of the module that allocates the picture. A picture that a
// plugin's codec allocated is handed over with a renderer of the caller's module (LoadPicture
// sees to it), so that it may outlive the plugin.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "math/color.h"
#include "math/matrix3.h"
#include "picture/picture_format.h"
#include "picture/picture_renderer.h"

namespace tv {

class Picture {
public:
  Picture();
  // Allocates; copies height × stride bytes from `pixels` unless it is null (then all zero). A
  // format or size that Allocate refuses leaves the default picture.
  Picture(uint32_t width, uint32_t height, PictureFormat format, const void* pixels = nullptr);
  Picture(const Picture& other);
  Picture& operator=(const Picture& other);
  Picture(Picture&& other) noexcept;
  Picture& operator=(Picture&& other) noexcept;
  ~Picture();

  // With the current size and format: true, nothing changes, the pixels and the drawing state
  // stay. Else the pixel buffer is resized to width × height × bytes per pixel (bytes it held
  // keep their place, new bytes are zero), and a new renderer with the default drawing state and
  // the whole picture as clip box replaces the old one. False, with nothing changed, for a format
  // from 23 on or a side over 65535.
  bool Allocate(uint32_t width, uint32_t height, PictureFormat format);

  uint32_t GetWidth() const { return width; }
  uint32_t GetHeight() const { return height; }
  PictureFormat GetFormat() const { return format; }
  // 0 for InvalidPictureFormat and any other value outside the table.
  static uint32_t GetBytesPerPixel(PictureFormat format);
  uint32_t GetStride() const { return width * GetBytesPerPixel(format); }
  // The pixel at (x, y); not checked against the size.
  uint8_t* GetData(uint32_t x = 0, uint32_t y = 0) { return data.data() + (size_t(width) * y + x) * GetBytesPerPixel(format); }
  const uint8_t* GetData(uint32_t x = 0, uint32_t y = 0) const {
    return data.data() + (size_t(width) * y + x) * GetBytesPerPixel(format);
  }
  size_t GetDataSize() const { return data.size(); }

  // Converts the pixels to `format`: true at once for the same format. The pairs converted are
  // RGB555 and RGB565 to RGB555..ABGR8; RGB8 and BGR8 to Gray8..ABGR16; RGBA8 to RGB555..ABGR8 and
  // RGBA32; BGRA8, ARGB8 and ABGR8 to RGB555..ABGR8; RGB16 and BGR16 to RGB8 and BGR8; the four
  // 16-bit RGBA orders to the four 8-bit ones; RGBA32 to RGBA8. Any other pair answers false and
  // leaves the picture as it was. The new renderer keeps the fill and pen state; its clip box is
  // the whole picture and its path is empty.
  bool Convert(PictureFormat format);
  // The picture becomes its rectangle (x0, y0)-(x1, y1), x1 and y1 excluded. What lies outside
  // the old picture is opaque black.
  bool Crop(int x0, int y0, int x1, int y1);
  // Positive top, left cut the picture on that side and negative ones add an opaque black border;
  // positive bottom, right add a border and negative ones cut.
  bool Reframe(int top, int bottom, int left, int right);
  // Scales to the new size through Blit with `filter` (a PictureFilter). The allocation resets
  // the drawing state, so kernel samples that fall outside the old picture read opaque black.
  bool Resize(uint32_t width, uint32_t height, uint32_t filter);

  IPictureRenderer* GetRenderer() { return renderer.get(); }
  const IPictureRenderer* GetRenderer() const { return renderer.get(); }

  // The renderer's operations, forwarded.
  void ResetClipRect() { renderer->ResetClipRect(); }
  void SetClipRect(int x0, int y0, int x1, int y1) { renderer->SetClipRect(x0, y0, x1, y1); }
  void Clear(Color color) { renderer->Clear(color); }
  Color GetPixel(int x, int y) const { return renderer->GetPixel(x, y); }
  void PutPixel(int x, int y, Color color) { renderer->PutPixel(x, y, color); }
  void BlendPixel(int x, int y, Color color) { renderer->BlendPixel(x, y, color); }
  void SetFillColor(Color color) { renderer->SetFillColor(color); }
  void SetPenColor(Color color) { renderer->SetPenColor(color); }
  bool Blit(const Picture& source, float x0, float y0, float x1, float y1, const Matrix3& matrix, uint32_t filter) {
    return renderer->Blit(source, x0, y0, x1, y1, matrix, filter);
  }
  bool Copy(const Picture& source, int x0, int y0, int x1, int y1, int x, int y) {
    return renderer->Copy(source, x0, y0, x1, y1, x, y);
  }
  void Flip(bool horizontal, bool vertical) { renderer->Flip(horizontal, vertical); }
  void MoveTo(float x, float y) { renderer->MoveTo(x, y); }
  void LineTo(float x, float y) { renderer->LineTo(x, y); }
  void ClosePolygon() { renderer->ClosePolygon(); }
  void AddEllipse(float x, float y, float rx, float ry) { renderer->AddEllipse(x, y, rx, ry); }
  void AddRoundedRect(float x0, float y0, float x1, float y1, float radius) {
    renderer->AddRoundedRect(x0, y0, x1, y1, radius);
  }
  void DrawPath() { renderer->DrawPath(); }
  bool Compare(const Picture& other, float threshold) const { return renderer->Compare(other, threshold); }

  // Makes the renderer anew with the calling module's code, keeping the pixels and the fill and
  // pen state (the clip box becomes the whole picture, the path empty). A host calls it on a
  // picture that plugin code allocated, so that the picture no longer needs that plugin mapped.
  void AdoptRenderer();

private:
  void Reset();

  std::unique_ptr<IPictureRenderer> renderer;
  std::vector<uint8_t> data;
  uint16_t width = 0;
  uint16_t height = 0;
  PictureFormat format = InvalidPictureFormat;
};

} // namespace tv
