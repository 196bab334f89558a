#pragma once
// The resampling of Picture::Resize, which the drawing interface does not offer: Blit blends its
// samples over the pixels, which loses the colour of translucent ones. Every renderer of the AGG
// family implements this beside IPictureRenderer (whose slots it leaves alone); Picture reaches
// it on a renderer that it has just made itself.

#include <cstdint>

#include "math/matrix3.h"

namespace tv {

class Picture;

namespace detail {

class IPictureResampler {
public:
  virtual ~IPictureResampler() = default;
  // Fills the whole picture, through the clip box, from `source` sampled as Blit samples it
  // (`matrix` maps destination to source pixels, `filter` a PictureFilter, the fill colour
  // outside the source), each pixel replaced by its sample rather than blended over what was
  // there. False, with Blit's error line, when `source` has another format.
  virtual bool Resample(const Picture& source, const Matrix3& matrix, uint32_t filter) = 0;
};

} // namespace detail
} // namespace tv
