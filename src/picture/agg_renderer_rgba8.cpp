// Members of the AGGRenderer family: four 8-bit channels.

#include "picture/agg_renderer.h"
#include "picture/detail/agg_renderer_families.h"

namespace tv {

template class AGGRenderer<agg::pixfmt_rgba32>;
template class AGGRenderer<agg::pixfmt_bgra32>;
template class AGGRenderer<agg::pixfmt_argb32>;
template class AGGRenderer<agg::pixfmt_abgr32>;

namespace detail {

std::unique_ptr<IPictureRenderer> MakeRgba8Renderer(PictureFormat format, uint8_t* data, uint32_t width, uint32_t height) {
  switch (format) {
    case RGBA8: return std::make_unique<AGGRenderer<agg::pixfmt_rgba32>>(format, data, width, height);
    case BGRA8: return std::make_unique<AGGRenderer<agg::pixfmt_bgra32>>(format, data, width, height);
    case ARGB8: return std::make_unique<AGGRenderer<agg::pixfmt_argb32>>(format, data, width, height);
    case ABGR8: return std::make_unique<AGGRenderer<agg::pixfmt_abgr32>>(format, data, width, height);
    default: return nullptr;
  }
}

} // namespace detail
} // namespace tv
