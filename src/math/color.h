#pragma once
// Linear RGBA colour, each component nominally 0 to 1, and its two 32-bit packings.

#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace tv {

struct Color {
  float r = 0;
  float g = 0;
  float b = 0;
  float a = 0;

  constexpr Color() = default;
  constexpr Color(float r_, float g_, float b_, float a_) : r(r_), g(g_), b(b_), a(a_) {}

  constexpr bool operator==(const Color&) const = default;
  constexpr Color operator+(const Color& c) const { return {r + c.r, g + c.g, b + c.b, a + c.a}; }
  constexpr Color operator-(const Color& c) const { return {r - c.r, g - c.g, b - c.b, a - c.a}; }
  constexpr Color operator*(const Color& c) const { return {r * c.r, g * c.g, b * c.b, a * c.a}; }
  constexpr Color operator*(float s) const { return {r * s, g * s, b * s, a * s}; }

  // Packing: each component clamped to 0..1 (NaN counts as 0), times 255, truncated toward zero.
  // Unpacking divides each byte by 255.

  // r in the lowest byte, then g, b, and a in the highest: 0xAABBGGRR, the byte order R, G, B, A in
  // memory on little-endian machines. The format of vertex colours and of pictures.
  uint32_t PackRGBA() const;
  static Color UnpackRGBA(uint32_t packed);
  // a in the lowest byte, then b, g, and r in the highest: 0xRRGGBBAA.
  uint32_t PackABGR() const;
  static Color UnpackABGR(uint32_t packed);
};

static_assert(sizeof(Color) == 16 && offsetof(Color, g) == 4 && offsetof(Color, b) == 8 && offsetof(Color, a) == 12);
static_assert(std::is_standard_layout_v<Color> && std::is_trivially_copyable_v<Color>);

} // namespace tv
