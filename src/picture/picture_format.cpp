#include "picture/picture_format.h"

namespace tv {
namespace {

constexpr const char* kNames[kPictureFormatCount + 1] = {
    "Gray8",  "Gray16", "Gray32", "RGB555", "RGB565", "RGB8",   "BGR8",   "RGBA8",
    "BGRA8",  "ARGB8",  "ABGR8",  "RGB16",  "BGR16",  "RGBA16", "BGRA16", "ARGB16",
    "ABGR16", "RGB32",  "BGR32",  "RGBA32", "BGRA32", "ARGB32", "ABGR32", "InvalidPictureFormat"};

} // namespace

const char* GetPictureFormatName(PictureFormat format) {
  return kNames[format < kPictureFormatCount ? uint32_t(format) : kPictureFormatCount];
}

PictureFormat FindPictureFormat(const std::string& name) {
  for (uint32_t i = 0; i < kPictureFormatCount; ++i)
    if (name == kNames[i]) return PictureFormat(i);
  return InvalidPictureFormat;
}

} // namespace tv
