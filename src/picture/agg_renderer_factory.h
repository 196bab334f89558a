#pragma once
// Makes the AGGRenderer family member for a picture format, viewing `width` × `height` pixels at
// `data` (rows without padding), with the whole picture as clip box and the default drawing
// state. Null for a format outside 0..22.

#include <cstdint>
#include <memory>

#include "picture/picture_format.h"
#include "picture/picture_renderer.h"

namespace tv {

std::unique_ptr<IPictureRenderer> CreateAGGRenderer(PictureFormat format, uint8_t* data, uint32_t width,
                                                    uint32_t height);

} // namespace tv
