// Members of the AGGRenderer family: three channels of 8, 16 and float bits.

#include "picture/agg_renderer.h"
#include "picture/detail/agg_exact16.h"
#include "picture/detail/agg_renderer_families.h"

namespace tv {

template class AGGRenderer<agg::pixfmt_rgb24>;
template class AGGRenderer<agg::pixfmt_bgr24>;
template class AGGRenderer<detail::PixfmtRgb48>;
template class AGGRenderer<detail::PixfmtBgr48>;
template class AGGRenderer<agg::pixfmt_rgb96>;
template class AGGRenderer<agg::pixfmt_bgr96>;

namespace detail {

std::unique_ptr<IPictureRenderer> MakeRgbRenderer(PictureFormat format, uint8_t* data, uint32_t width, uint32_t height) {
  switch (format) {
    case RGB8: return std::make_unique<AGGRenderer<agg::pixfmt_rgb24>>(format, data, width, height);
    case BGR8: return std::make_unique<AGGRenderer<agg::pixfmt_bgr24>>(format, data, width, height);
    case RGB16: return std::make_unique<AGGRenderer<detail::PixfmtRgb48>>(format, data, width, height);
    case BGR16: return std::make_unique<AGGRenderer<detail::PixfmtBgr48>>(format, data, width, height);
    case RGB32: return std::make_unique<AGGRenderer<agg::pixfmt_rgb96>>(format, data, width, height);
    case BGR32: return std::make_unique<AGGRenderer<agg::pixfmt_bgr96>>(format, data, width, height);
    default: return nullptr;
  }
}

} // namespace detail
} // namespace tv
