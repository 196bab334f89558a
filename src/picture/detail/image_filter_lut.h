#pragma once
// The kernel look-up tables of the image filters, built once per blit. Kept out of the renderer
// template: the tables do not depend on the pixel format.

#include <cstdint>

#include "agg_image_filters.h"

namespace tv::detail {

// Fills `lut` with the normalised kernel of `filter`; values above the last filter, and
// FilterNearest (which has no kernel), give the bilinear one.
void BuildImageFilterLut(uint32_t filter, agg::image_filter_lut& lut);

} // namespace tv::detail
