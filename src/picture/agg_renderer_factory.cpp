#include "picture/agg_renderer_factory.h"

#include "picture/detail/agg_renderer_families.h"

namespace tv {

std::unique_ptr<IPictureRenderer> CreateAGGRenderer(PictureFormat format, uint8_t* data, uint32_t width,
                                                    uint32_t height) {
  switch (format) {
    case Gray8:
    case Gray16:
    case Gray32:
    case RGB555:
    case RGB565: return detail::MakeGrayOrPackedRenderer(format, data, width, height);
    case RGB8:
    case BGR8:
    case RGB16:
    case BGR16:
    case RGB32:
    case BGR32: return detail::MakeRgbRenderer(format, data, width, height);
    case RGBA8:
    case BGRA8:
    case ARGB8:
    case ABGR8: return detail::MakeRgba8Renderer(format, data, width, height);
    case RGBA16:
    case BGRA16:
    case ARGB16:
    case ABGR16: return detail::MakeRgba16Renderer(format, data, width, height);
    case RGBA32:
    case BGRA32:
    case ARGB32:
    case ABGR32: return detail::MakeRgba32Renderer(format, data, width, height);
    default: return nullptr;
  }
}

} // namespace tv
