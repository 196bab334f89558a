// Members of the AGGRenderer family: four 16-bit channels.

#include "picture/agg_renderer.h"
#include "picture/detail/agg_exact16.h"
#include "picture/detail/agg_renderer_families.h"

namespace tv {

template class AGGRenderer<detail::PixfmtRgba64>;
template class AGGRenderer<detail::PixfmtBgra64>;
template class AGGRenderer<detail::PixfmtArgb64>;
template class AGGRenderer<detail::PixfmtAbgr64>;

namespace detail {

std::unique_ptr<IPictureRenderer> MakeRgba16Renderer(PictureFormat format, uint8_t* data, uint32_t width, uint32_t height) {
  switch (format) {
    case RGBA16: return std::make_unique<AGGRenderer<detail::PixfmtRgba64>>(format, data, width, height);
    case BGRA16: return std::make_unique<AGGRenderer<detail::PixfmtBgra64>>(format, data, width, height);
    case ARGB16: return std::make_unique<AGGRenderer<detail::PixfmtArgb64>>(format, data, width, height);
    case ABGR16: return std::make_unique<AGGRenderer<detail::PixfmtAbgr64>>(format, data, width, height);
    default: return nullptr;
  }
}

} // namespace detail
} // namespace tv
