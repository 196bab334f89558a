// Members of the AGGRenderer family: four float channels.

#include "picture/agg_renderer.h"
#include "picture/detail/agg_renderer_families.h"

namespace tv {

template class AGGRenderer<agg::pixfmt_rgba128>;
template class AGGRenderer<agg::pixfmt_bgra128>;
template class AGGRenderer<agg::pixfmt_argb128>;
template class AGGRenderer<agg::pixfmt_abgr128>;

namespace detail {

std::unique_ptr<IPictureRenderer> MakeRgba32Renderer(PictureFormat format, uint8_t* data, uint32_t width, uint32_t height) {
  switch (format) {
    case RGBA32: return std::make_unique<AGGRenderer<agg::pixfmt_rgba128>>(format, data, width, height);
    case BGRA32: return std::make_unique<AGGRenderer<agg::pixfmt_bgra128>>(format, data, width, height);
    case ARGB32: return std::make_unique<AGGRenderer<agg::pixfmt_argb128>>(format, data, width, height);
    case ABGR32: return std::make_unique<AGGRenderer<agg::pixfmt_abgr128>>(format, data, width, height);
    default: return nullptr;
  }
}

} // namespace detail
} // namespace tv
