#include "picture/picture.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "picture/agg_renderer_factory.h"
#include "picture/detail/pixel_conversion.h"

namespace tv {
namespace {

constexpr uint32_t kBytesPerPixel[kPictureFormatCount] = {1, 2, 4, 2, 2, 3, 3, 4, 4, 4, 4, 6,
                                                           6, 8, 8, 8, 8, 12, 12, 16, 16, 16, 16};
constexpr uint32_t kLargestSide = 65535;
const Color kOpaqueBlack(0, 0, 0, 1);

// The fill and pen state of the base class, without the renderer around it.
void CopyDrawingState(const IPictureRenderer& from, IPictureRenderer& to) {
  to.fill_mode = from.fill_mode;
  to.fill_color = from.fill_color;
  to.pen_mode = from.pen_mode;
  to.pen_color = from.pen_color;
  to.pen_width = from.pen_width;
  to.pen_cap = from.pen_cap;
  to.pen_join = from.pen_join;
  to.pen_inner_join = from.pen_inner_join;
}

} // namespace

Picture::Picture() : renderer(std::make_unique<NullAGGRenderer>()) {}

Picture::Picture(uint32_t width_, uint32_t height_, PictureFormat format_, const void* pixels) : Picture() {
  if (Allocate(width_, height_, format_) && pixels != nullptr && !data.empty())
    std::memcpy(data.data(), pixels, data.size());
}

Picture::Picture(const Picture& other) : Picture() {
  if (Allocate(other.width, other.height, other.format) && !data.empty())
    std::memcpy(data.data(), other.data.data(), data.size());
}

Picture& Picture::operator=(const Picture& other) {
  if (this == &other) return *this;
  if (!Allocate(other.width, other.height, other.format)) {
    Reset();
    return *this;
  }
  if (!data.empty()) std::memcpy(data.data(), other.data.data(), data.size());
  return *this;
}

// Moving the buffer keeps its address, so the renderer's row view stays valid.
Picture::Picture(Picture&& other) noexcept
    : renderer(std::move(other.renderer)), data(std::move(other.data)), width(other.width), height(other.height),
      format(other.format) {
  other.Reset();
}

Picture& Picture::operator=(Picture&& other) noexcept {
  if (this == &other) return *this;
  renderer = std::move(other.renderer);
  data = std::move(other.data);
  width = other.width;
  height = other.height;
  format = other.format;
  other.Reset();
  return *this;
}

Picture::~Picture() = default;

void Picture::Reset() {
  renderer = std::make_unique<NullAGGRenderer>();
  data.clear();
  data.shrink_to_fit();
  width = 0;
  height = 0;
  format = InvalidPictureFormat;
}

uint32_t Picture::GetBytesPerPixel(PictureFormat format) {
  return format < kPictureFormatCount ? kBytesPerPixel[format] : 0;
}

bool Picture::Allocate(uint32_t width_, uint32_t height_, PictureFormat format_) {
  if (format_ >= kPictureFormatCount || width_ > kLargestSide || height_ > kLargestSide) return false;
  if (width_ == width && height_ == height && format_ == format) return true;
  width = uint16_t(width_);
  height = uint16_t(height_);
  format = format_;
  data.resize(size_t(width) * height * GetBytesPerPixel(format));
  // The old renderer goes only after the new one views the (possibly moved) pixels.
  renderer = CreateAGGRenderer(format, data.data(), width, height);
  return true;
}

void Picture::AdoptRenderer() {
  if (format >= kPictureFormatCount) {
    renderer = std::make_unique<NullAGGRenderer>();
    return;
  }
  std::unique_ptr<IPictureRenderer> adopted = CreateAGGRenderer(format, data.data(), width, height);
  CopyDrawingState(*renderer, *adopted);
  renderer = std::move(adopted);
}

bool Picture::Convert(PictureFormat format_) {
  if (format_ == format) return true;
  const detail::PixelConversion convert = detail::FindPixelConversion(format, format_);
  if (convert == nullptr) return false;
  std::vector<uint8_t> converted(size_t(width) * height * GetBytesPerPixel(format_));
  if (!converted.empty()) convert(converted.data(), data.data(), uint32_t(size_t(width) * height));
  std::unique_ptr<IPictureRenderer> converted_renderer =
      CreateAGGRenderer(format_, converted.data(), width, height);
  CopyDrawingState(*renderer, *converted_renderer);
  data = std::move(converted);
  renderer = std::move(converted_renderer);
  format = format_;
  return true;
}

bool Picture::Crop(int x0, int y0, int x1, int y1) {
  const int64_t new_width = int64_t(x1) - x0;
  const int64_t new_height = int64_t(y1) - y0;
  if (new_width < 0 || new_height < 0 || new_width > kLargestSide || new_height > kLargestSide) return false;
  const Picture kept(*this);
  if (!Allocate(uint32_t(new_width), uint32_t(new_height), kept.format)) return false;
  Clear(kOpaqueBlack);
  return Copy(kept, std::max(x0, 0), std::max(y0, 0), int(kept.width) - 1, int(kept.height) - 1, std::max(-x0, 0),
              std::max(-y0, 0));
}

bool Picture::Reframe(int top, int bottom, int left, int right) {
  const int64_t new_width = int64_t(width) - left + right;
  const int64_t new_height = int64_t(height) - top + bottom;
  if (new_width < 0 || new_height < 0 || new_width > kLargestSide || new_height > kLargestSide) return false;
  const Picture kept(*this);
  if (!Allocate(uint32_t(new_width), uint32_t(new_height), kept.format)) return false;
  Clear(kOpaqueBlack);
  return Copy(kept, std::max(left, 0), std::max(top, 0), int(kept.width) - 1, int(kept.height) - 1,
              std::max(-left, 0), std::max(-top, 0));
}

bool Picture::Resize(uint32_t width_, uint32_t height_, uint32_t filter) {
  const Picture kept(*this);
  if (!Allocate(width_, height_, kept.format)) return false;
  // Nothing to draw into; the scale factors would divide by zero.
  if (width == 0 || height == 0) return true;
  const float scale_x = float(kept.width) / float(width);
  const float scale_y = float(kept.height) / float(height);
  const Matrix3 to_source(scale_x, 0, 0, 0, scale_y, 0, 0, 0, 1);
  return Blit(kept, 0, 0, float(width), float(height), to_source, filter);
}

} // namespace tv
