#pragma once
// Enumerations shared by the spatial code. Both are stored in one byte, so their values are part of
// the document format and never change.

#include <cstdint>

namespace tv {

// Order in which Euler angles compose into a rotation; the name lists the factors of the product
// from left to right (ZYX = Rz × Ry × Rx, so X is applied first). Any other value means identity.
enum class RotationOrder : uint8_t {
  ZYX = 0,
  YZX = 1,
  ZXY = 2,
  XZY = 3,
  YXZ = 4,
  XYZ = 5,
  XY = 6, // Rx × Ry; the z angle is ignored
  Default = YXZ,
};

// Degrees of freedom: three translations then three rotations. The values double as component
// indices (AxisX..AxisZ) and as bit positions of lock masks, hence an unscoped enumeration.
enum Axis : uint8_t {
  AxisX = 0,
  AxisY = 1,
  AxisZ = 2,
  AxisRotX = 3,
  AxisRotY = 4,
  AxisRotZ = 5,
  AxisLast = 6,
};

static_assert(sizeof(RotationOrder) == 1 && sizeof(Axis) == 1);

} // namespace tv
