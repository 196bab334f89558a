#pragma once
// The image filters of Blit and Picture::Resize. Each names an AGG filter kernel; the number
// after a name is the kernel's radius where the kernel takes one.

#include <cstdint>

namespace tv {

enum PictureFilter : uint32_t {
  FilterNearest = 0,  // the nearest source pixel, no kernel
  FilterBilinear = 1,
  FilterHanning = 2,
  FilterHamming = 3,
  FilterHermite = 4,
  FilterQuadric = 5,
  FilterBicubic = 6,
  FilterKaiser = 7,
  FilterCatrom = 8,
  FilterMitchell = 9,
  FilterSpline16 = 10,
  FilterSpline36 = 11,
  FilterGaussian = 12,
  FilterBessel = 13,
  FilterSinc3 = 14,
  FilterSinc4 = 15,
  FilterSinc8 = 16,
  FilterLanczos3 = 17,
  FilterLanczos4 = 18,
  FilterLanczos8 = 19,
  FilterBlackman3 = 20,
  FilterBlackman4 = 21,
  FilterBlackman8 = 22,
};

constexpr uint32_t kPictureFilterCount = 23;

} // namespace tv
