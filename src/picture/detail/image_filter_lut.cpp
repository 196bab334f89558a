#include "picture/detail/image_filter_lut.h"

#include "picture/picture_filter.h"

namespace tv::detail {

void BuildImageFilterLut(uint32_t filter, agg::image_filter_lut& lut) {
  switch (filter) {
    case FilterHanning: lut.calculate(agg::image_filter_hanning(), true); break;
    case FilterHamming: lut.calculate(agg::image_filter_hamming(), true); break;
    case FilterHermite: lut.calculate(agg::image_filter_hermite(), true); break;
    case FilterQuadric: lut.calculate(agg::image_filter_quadric(), true); break;
    case FilterBicubic: lut.calculate(agg::image_filter_bicubic(), true); break;
    case FilterKaiser: lut.calculate(agg::image_filter_kaiser(), true); break;
    case FilterCatrom: lut.calculate(agg::image_filter_catrom(), true); break;
    case FilterMitchell: lut.calculate(agg::image_filter_mitchell(), true); break;
    case FilterSpline16: lut.calculate(agg::image_filter_spline16(), true); break;
    case FilterSpline36: lut.calculate(agg::image_filter_spline36(), true); break;
    case FilterGaussian: lut.calculate(agg::image_filter_gaussian(), true); break;
    case FilterBessel: lut.calculate(agg::image_filter_bessel(), true); break;
    case FilterSinc3: lut.calculate(agg::image_filter_sinc(3.0), true); break;
    case FilterSinc4: lut.calculate(agg::image_filter_sinc(4.0), true); break;
    case FilterSinc8: lut.calculate(agg::image_filter_sinc(8.0), true); break;
    case FilterLanczos3: lut.calculate(agg::image_filter_lanczos(3.0), true); break;
    case FilterLanczos4: lut.calculate(agg::image_filter_lanczos(4.0), true); break;
    case FilterLanczos8: lut.calculate(agg::image_filter_lanczos(8.0), true); break;
    case FilterBlackman3: lut.calculate(agg::image_filter_blackman(3.0), true); break;
    case FilterBlackman4: lut.calculate(agg::image_filter_blackman(4.0), true); break;
    case FilterBlackman8: lut.calculate(agg::image_filter_blackman(8.0), true); break;
    default: lut.calculate(agg::image_filter_bilinear(), true); break;
  }
}

} // namespace tv::detail
