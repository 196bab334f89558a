// Members of the AGGRenderer family: gray and packed 16-bit RGB.

#include "picture/agg_renderer.h"
#include "picture/detail/agg_exact16.h"
#include "picture/detail/agg_renderer_families.h"

namespace tv {

template class AGGRenderer<agg::pixfmt_gray8>;
template class AGGRenderer<detail::PixfmtGray16>;
template class AGGRenderer<agg::pixfmt_gray32>;
template class AGGRenderer<agg::pixfmt_rgb555>;
template class AGGRenderer<agg::pixfmt_rgb565>;

namespace detail {

std::unique_ptr<IPictureRenderer> MakeGrayOrPackedRenderer(PictureFormat format, uint8_t* data, uint32_t width, uint32_t height) {
  switch (format) {
    case Gray8: return std::make_unique<AGGRenderer<agg::pixfmt_gray8>>(format, data, width, height);
    case Gray16: return std::make_unique<AGGRenderer<detail::PixfmtGray16>>(format, data, width, height);
    case Gray32: return std::make_unique<AGGRenderer<agg::pixfmt_gray32>>(format, data, width, height);
    case RGB555: return std::make_unique<AGGRenderer<agg::pixfmt_rgb555>>(format, data, width, height);
    case RGB565: return std::make_unique<AGGRenderer<agg::pixfmt_rgb565>>(format, data, width, height);
    default: return nullptr;
  }
}

} // namespace detail
} // namespace tv
