#include "math/color.h"

namespace tv {

namespace {

uint32_t ToByte(float v) {
  // Written so that NaN fails both comparisons and lands on 0.
  const float clamped = v > 0 ? (v < 1 ? v : 1) : 0;
  return uint32_t(clamped * 255.0f);
}

float FromByte(uint32_t packed, int shift) { return float((packed >> shift) & 0xff) / 255.0f; }

} // namespace

uint32_t Color::PackRGBA() const { return ToByte(r) | ToByte(g) << 8 | ToByte(b) << 16 | ToByte(a) << 24; }

Color Color::UnpackRGBA(uint32_t p) { return {FromByte(p, 0), FromByte(p, 8), FromByte(p, 16), FromByte(p, 24)}; }

uint32_t Color::PackABGR() const { return ToByte(a) | ToByte(b) << 8 | ToByte(g) << 16 | ToByte(r) << 24; }

Color Color::UnpackABGR(uint32_t p) { return {FromByte(p, 24), FromByte(p, 16), FromByte(p, 8), FromByte(p, 0)}; }

} // namespace tv
