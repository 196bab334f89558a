#pragma once
// Oriented box: centre, full size along its own axes, and the rotation of those axes.

#include <cstddef>
#include <type_traits>

#include "math/matrix3.h"
#include "math/min_max.h"
#include "math/vector3.h"

namespace tv {

struct OBB {
  Vector3 position;  // centre
  Vector3 scale;     // full size, not half
  Matrix3 rotation;  // identity by default

  constexpr bool operator==(const OBB&) const = default;

  // The unrotated box covering `box` exactly.
  static constexpr OBB FromMinMax(const MinMax& box) { return {box.Center(), box.Size(), Matrix3::Identity}; }

  // The smallest axis-aligned box around this one.
  MinMax GetMinMax() const {
    const Vector3 e = scale * 0.5f;
    // Four corners suffice: the other four are their opposites, with the same absolute values.
    const Vector3 half = Max(Max(Abs(rotation * e), Abs(rotation * Vector3(-e.x, e.y, e.z))),
                             Max(Abs(rotation * Vector3(e.x, -e.y, e.z)), Abs(rotation * Vector3(e.x, e.y, -e.z))));
    return {position - half, position + half};
  }
};

static_assert(sizeof(OBB) == 60 && offsetof(OBB, scale) == 12 && offsetof(OBB, rotation) == 24);
static_assert(std::is_standard_layout_v<OBB> && std::is_trivially_copyable_v<OBB>);

} // namespace tv
