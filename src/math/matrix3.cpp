#include "math/matrix3.h"

#include <algorithm>
#include <cmath>

namespace tv {

namespace {

// asin and acos of a value that rounding may have pushed just outside [−1, 1].
float ClampedAsin(float v) { return std::asin(std::clamp(v, -1.0f, 1.0f)); }
float ClampedAcos(float v) { return std::acos(std::clamp(v, -1.0f, 1.0f)); }

} // namespace

Matrix3 Matrix3::Inverse() const {
  const float c00 = m[4] * m[8] - m[5] * m[7];
  const float c01 = m[5] * m[6] - m[3] * m[8];
  const float c02 = m[3] * m[7] - m[4] * m[6];
  const float det = m[0] * c00 + m[1] * c01 + m[2] * c02;
  if (det == 0) return Identity;
  const float f = 1.0f / det;
  // Transposed cofactors over the determinant.
  return {c00 * f, (m[2] * m[7] - m[1] * m[8]) * f, (m[1] * m[5] - m[2] * m[4]) * f,
          c01 * f, (m[0] * m[8] - m[2] * m[6]) * f, (m[2] * m[3] - m[0] * m[5]) * f,
          c02 * f, (m[1] * m[6] - m[0] * m[7]) * f, (m[0] * m[4] - m[1] * m[3]) * f};
}

Matrix3 Matrix3::RotationX(float angle) {
  const float c = std::cos(angle), s = std::sin(angle);
  return {1, 0, 0, 0, c, -s, 0, s, c};
}

Matrix3 Matrix3::RotationY(float angle) {
  const float c = std::cos(angle), s = std::sin(angle);
  return {c, 0, s, 0, 1, 0, -s, 0, c};
}

Matrix3 Matrix3::RotationZ(float angle) {
  const float c = std::cos(angle), s = std::sin(angle);
  return {c, -s, 0, s, c, 0, 0, 0, 1};
}

Matrix3 Matrix3::RotationMatrix(const Vector3& euler, RotationOrder order) {
  switch (order) {
    case RotationOrder::ZYX: return RotationZ(euler.z) * RotationY(euler.y) * RotationX(euler.x);
    case RotationOrder::YZX: return RotationY(euler.y) * RotationZ(euler.z) * RotationX(euler.x);
    case RotationOrder::ZXY: return RotationZ(euler.z) * RotationX(euler.x) * RotationY(euler.y);
    case RotationOrder::XZY: return RotationX(euler.x) * RotationZ(euler.z) * RotationY(euler.y);
    case RotationOrder::YXZ: return RotationY(euler.y) * RotationX(euler.x) * RotationZ(euler.z);
    case RotationOrder::XYZ: return RotationX(euler.x) * RotationY(euler.y) * RotationZ(euler.z);
    case RotationOrder::XY: return RotationX(euler.x) * RotationY(euler.y);
  }
  return Identity;
}

Vector3 Matrix3::GetEulerAngles(RotationOrder order) const {
  const Matrix3& a = *this;
  switch (order) {
    case RotationOrder::ZYX:
      return {std::atan2(a(2, 1), a(2, 2)), ClampedAsin(-a(2, 0)), std::atan2(a(1, 0), a(0, 0))};
    case RotationOrder::YZX:
      return {std::atan2(-a(1, 2), a(1, 1)), std::atan2(-a(2, 0), a(0, 0)), ClampedAsin(a(1, 0))};
    case RotationOrder::ZXY:
      return {ClampedAsin(a(2, 1)), std::atan2(-a(2, 0), a(2, 2)), std::atan2(-a(0, 1), a(1, 1))};
    case RotationOrder::XZY:
      return {std::atan2(a(2, 1), a(1, 1)), std::atan2(a(0, 2), a(0, 0)), ClampedAsin(-a(0, 1))};
    case RotationOrder::XYZ:
      return {std::atan2(-a(1, 2), a(2, 2)), ClampedAsin(a(0, 2)), std::atan2(-a(0, 1), a(0, 0))};
    case RotationOrder::XY: return {ClampedAcos(a(1, 1)), ClampedAcos(a(0, 0)), 0};
    case RotationOrder::YXZ: break;
  }
  return {ClampedAsin(-a(1, 2)), std::atan2(a(0, 2), a(2, 2)), std::atan2(a(1, 0), a(1, 1))};
}

Matrix3 Matrix3::RotationMatrixLookAt(const Vector3& direction, const Vector3& up) {
  if (direction.LengthSquared() == 0) return Identity;
  const Vector3 z = direction.Normalized();
  const Vector3 x = Cross(up.Normalized(), z).Normalized();
  const Vector3 y = Cross(z, x).Normalized();
  return FromColumns(x, y, z);
}

Matrix3 Matrix3::RotationMatrixLookAt(const Vector3& direction) {
  if (direction.LengthSquared() == 0) return Identity;
  const Vector3 z = direction.Normalized();
  const Vector3 x = std::fabs(z.x) <= 1e-6f && std::fabs(z.z) <= 1e-6f ? Vector3(-1, 0, 0)
                                                                       : Vector3(z.z, 0, -z.x).Normalized();
  return FromColumns(x, Cross(z, x), z);
}

} // namespace tv
