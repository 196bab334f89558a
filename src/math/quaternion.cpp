#include "math/quaternion.h"

namespace tv {

Quaternion Quaternion::FromAxisAngle(const Vector3& axis, float angle) {
  const float s = std::sin(angle * 0.5f);
  return Quaternion(axis.x * s, axis.y * s, axis.z * s, std::cos(angle * 0.5f)).Normalized();
}

Quaternion Quaternion::FromMatrix3(const Matrix3& r) {
  // Start from the largest of the four squared components, so that the divisor stays far from 0.
  const float trace = r(0, 0) + r(1, 1) + r(2, 2);
  Quaternion q;
  if (trace > 0) {
    const float s = std::sqrt(trace + 1.0f) * 2.0f; // 4w
    q = {(r(2, 1) - r(1, 2)) / s, (r(0, 2) - r(2, 0)) / s, (r(1, 0) - r(0, 1)) / s, 0.25f * s};
  } else if (r(0, 0) > r(1, 1) && r(0, 0) > r(2, 2)) {
    const float s = std::sqrt(1.0f + r(0, 0) - r(1, 1) - r(2, 2)) * 2.0f; // 4x
    q = {0.25f * s, (r(0, 1) + r(1, 0)) / s, (r(0, 2) + r(2, 0)) / s, (r(2, 1) - r(1, 2)) / s};
  } else if (r(1, 1) > r(2, 2)) {
    const float s = std::sqrt(1.0f + r(1, 1) - r(0, 0) - r(2, 2)) * 2.0f; // 4y
    q = {(r(0, 1) + r(1, 0)) / s, 0.25f * s, (r(1, 2) + r(2, 1)) / s, (r(0, 2) - r(2, 0)) / s};
  } else {
    const float s = std::sqrt(1.0f + r(2, 2) - r(0, 0) - r(1, 1)) * 2.0f; // 4z
    q = {(r(0, 2) + r(2, 0)) / s, (r(1, 2) + r(2, 1)) / s, 0.25f * s, (r(1, 0) - r(0, 1)) / s};
  }
  return q.Normalized();
}

Matrix3 Quaternion::ToMatrix3() const {
  const float xx = x * x, yy = y * y, zz = z * z;
  const float xy = x * y, xz = x * z, yz = y * z;
  const float wx = w * x, wy = w * y, wz = w * z;
  return {1 - 2 * (yy + zz), 2 * (xy - wz),     2 * (xz + wy),
          2 * (xy + wz),     1 - 2 * (xx + zz), 2 * (yz - wx),
          2 * (xz - wy),     2 * (yz + wx),     1 - 2 * (xx + yy)};
}

Quaternion Slerp(const Quaternion& a, const Quaternion& b, float t) {
  float d = Dot(a, b);
  float sign = 1;
  if (d < 0) {
    d = -d;
    sign = -1;
  }
  float wa = 1 - t, wb = t;
  if (1 - d >= 1e-6f) {
    const float theta = std::acos(d);
    const float s = std::sin(theta);
    wa = std::sin((1 - t) * theta) / s;
    wb = std::sin(t * theta) / s;
  }
  return a * wa + b * (wb * sign);
}

} // namespace tv
