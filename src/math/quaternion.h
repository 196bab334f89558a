#pragma once
// Rotation quaternion (x, y, z) = axis × sin(angle / 2), w = cos(angle / 2); the identity is
// (0, 0, 0, 1). It turns vectors as the matching Matrix3 does (the same sense as RotationX etc.),
// and a × b applies b first, like matrices.

#include <cmath>
#include <cstddef>
#include <type_traits>

#include "math/matrix3.h"
#include "math/vector3.h"

namespace tv {

struct Quaternion {
  float x = 0;
  float y = 0;
  float z = 0;
  float w = 1;

  constexpr Quaternion() = default;
  constexpr Quaternion(float x_, float y_, float z_, float w_) : x(x_), y(y_), z(z_), w(w_) {}

  // (axis × sin(angle / 2), cos(angle / 2)), then normalised. The axis is meant to be of unit
  // length: the normalisation absorbs rounding, and a longer axis turns by another angle.
  static Quaternion FromAxisAngle(const Vector3& axis, float angle);
  // The rotation part of an orthonormal matrix.
  static Quaternion FromMatrix3(const Matrix3& rotation);
  // Rotation matrix of a unit quaternion.
  Matrix3 ToMatrix3() const;

  constexpr bool operator==(const Quaternion&) const = default;

  constexpr Quaternion operator-() const { return {-x, -y, -z, -w}; }
  constexpr Quaternion operator+(const Quaternion& q) const { return {x + q.x, y + q.y, z + q.z, w + q.w}; }
  constexpr Quaternion operator-(const Quaternion& q) const { return {x - q.x, y - q.y, z - q.z, w - q.w}; }
  constexpr Quaternion operator*(float s) const { return {x * s, y * s, z * s, w * s}; }
  // Hamilton product: the rotation b, then this one.
  constexpr Quaternion operator*(const Quaternion& b) const {
    return {w * b.x + x * b.w + y * b.z - z * b.y, w * b.y - x * b.z + y * b.w + z * b.x,
            w * b.z + x * b.y - y * b.x + z * b.w, w * b.w - x * b.x - y * b.y - z * b.z};
  }
  constexpr Quaternion& operator*=(const Quaternion& b) { return *this = *this * b; }
  // The vector turned by this unit quaternion.
  constexpr Vector3 operator*(const Vector3& v) const {
    const Vector3 u(x, y, z);
    const Vector3 t = Cross(u, v) * 2.0f;
    return v + t * w + Cross(u, t);
  }

  // The inverse rotation of a unit quaternion.
  constexpr Quaternion Conjugate() const { return {-x, -y, -z, w}; }
  constexpr float LengthSquared() const { return x * x + y * y + z * z + w * w; }
  float Length() const { return std::sqrt(LengthSquared()); }
  // A zero quaternion comes back unchanged.
  Quaternion Normalized() const {
    const float length = Length();
    return length > 0 ? *this * (1.0f / length) : *this;
  }
};

constexpr float Dot(const Quaternion& a, const Quaternion& b) { return a.x * b.x + a.y * b.y + a.z * b.z + a.w * b.w; }

// Spherical interpolation from a (t = 0) to b (t = 1) the short way round: with a negative dot
// product b's weight is negated. Nearly parallel inputs (1 − |dot| < 1e-6) blend linearly. The
// result is not normalised.
Quaternion Slerp(const Quaternion& a, const Quaternion& b, float t);

static_assert(sizeof(Quaternion) == 16 && offsetof(Quaternion, z) == 8 && offsetof(Quaternion, w) == 12);
static_assert(std::is_standard_layout_v<Quaternion> && std::is_trivially_copyable_v<Quaternion>);

} // namespace tv
