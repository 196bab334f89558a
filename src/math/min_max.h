#pragma once
// Axis-aligned box given by its two extreme corners.

#include <cstddef>
#include <type_traits>

#include "math/vector3.h"

namespace tv {

struct MinMax {
  Vector3 min;
  Vector3 max;

  constexpr bool operator==(const MinMax&) const = default;

  constexpr Vector3 Center() const { return (min + max) * 0.5f; }
  // Full extent along each axis.
  constexpr Vector3 Size() const { return max - min; }
  // Grows the box to hold `point`.
  constexpr void Extend(const Vector3& point) {
    min = Min(min, point);
    max = Max(max, point);
  }
};

static_assert(sizeof(MinMax) == 24 && offsetof(MinMax, max) == 12);
static_assert(std::is_standard_layout_v<MinMax> && std::is_trivially_copyable_v<MinMax>);

} // namespace tv
