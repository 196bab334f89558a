#pragma once
// One maker per translation unit of the AGGRenderer family, so that the 23 instantiations are
// spread over a few objects that build in parallel. Each answers null for a format not its own.

#include <cstdint>
#include <memory>

#include "picture/picture_format.h"
#include "picture/picture_renderer.h"

namespace tv::detail {

// Gray8, Gray16, Gray32, RGB555, RGB565.
std::unique_ptr<IPictureRenderer> MakeGrayOrPackedRenderer(PictureFormat format, uint8_t* data, uint32_t width,
                                                           uint32_t height);
// RGB8, BGR8, RGB16, BGR16, RGB32, BGR32.
std::unique_ptr<IPictureRenderer> MakeRgbRenderer(PictureFormat format, uint8_t* data, uint32_t width,
                                                  uint32_t height);
// RGBA8, BGRA8, ARGB8, ABGR8.
std::unique_ptr<IPictureRenderer> MakeRgba8Renderer(PictureFormat format, uint8_t* data, uint32_t width,
                                                    uint32_t height);
// RGBA16, BGRA16, ARGB16, ABGR16.
std::unique_ptr<IPictureRenderer> MakeRgba16Renderer(PictureFormat format, uint8_t* data, uint32_t width,
                                                     uint32_t height);
// RGBA32, BGRA32, ARGB32, ABGR32.
std::unique_ptr<IPictureRenderer> MakeRgba32Renderer(PictureFormat format, uint8_t* data, uint32_t width,
                                                     uint32_t height);

} // namespace tv::detail
