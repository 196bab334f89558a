#pragma once
// The 23 pixel layouts of a Picture, stored in 8 bits. Channels are 8-bit, 16-bit or float
// (the 32-bit members); the names give the channel order in memory. RGB555 and RGB565 are packed
// into one little-endian 16-bit word, blue in the lowest bits; RGB555 keeps its top bit as a
// one-bit alpha.

#include <cstdint>
#include <string>

namespace tv {

enum PictureFormat : uint8_t {
  Gray8 = 0,
  Gray16 = 1,
  Gray32 = 2,
  RGB555 = 3,
  RGB565 = 4,
  RGB8 = 5,
  BGR8 = 6,
  RGBA8 = 7,
  BGRA8 = 8,
  ARGB8 = 9,
  ABGR8 = 10,
  RGB16 = 11,
  BGR16 = 12,
  RGBA16 = 13,
  BGRA16 = 14,
  ARGB16 = 15,
  ABGR16 = 16,
  RGB32 = 17,
  BGR32 = 18,
  RGBA32 = 19,
  BGRA32 = 20,
  ARGB32 = 21,
  ABGR32 = 22,
  InvalidPictureFormat = 23,
};

constexpr uint32_t kPictureFormatCount = 23;

// The enumerator's name ("RGBA8"); "InvalidPictureFormat" for any value from 23 on.
const char* GetPictureFormatName(PictureFormat format);
// The format named exactly `name`, or InvalidPictureFormat.
PictureFormat FindPictureFormat(const std::string& name);

} // namespace tv
