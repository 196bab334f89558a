#pragma once
// 3 by 3 float matrix: rotations, rotation-scales and Euler conversions.
//
// Storage is row by row: element (r, c) is m[r * 3 + c]. Vectors are columns, p' = M × p, so
// A × B applies B first. The columns of a rotation are the turned X, Y and Z axes.

#include <cstddef>
#include <type_traits>

#include "math/rotation_order.h"
#include "math/vector3.h"

namespace tv {

struct Matrix3 {
  float m[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1};

  static const Matrix3 Identity;

  constexpr Matrix3() = default;
  constexpr Matrix3(float m00, float m01, float m02, float m10, float m11, float m12, float m20, float m21, float m22)
      : m{m00, m01, m02, m10, m11, m12, m20, m21, m22} {}
  // Matrix whose columns are the given axes.
  static constexpr Matrix3 FromColumns(const Vector3& x, const Vector3& y, const Vector3& z) {
    return {x.x, y.x, z.x, x.y, y.y, z.y, x.z, y.z, z.z};
  }

  constexpr float& operator()(size_t row, size_t column) { return m[row * 3 + column]; }
  constexpr float operator()(size_t row, size_t column) const { return m[row * 3 + column]; }
  constexpr Vector3 GetColumn(size_t c) const { return {m[c], m[3 + c], m[6 + c]}; }
  constexpr Vector3 GetRow(size_t r) const { return {m[r * 3], m[r * 3 + 1], m[r * 3 + 2]}; }
  constexpr void SetColumn(size_t c, const Vector3& v) {
    m[c] = v.x;
    m[3 + c] = v.y;
    m[6 + c] = v.z;
  }

  constexpr bool operator==(const Matrix3&) const = default;

  constexpr Vector3 operator*(const Vector3& v) const {
    return {m[0] * v.x + m[1] * v.y + m[2] * v.z, m[3] * v.x + m[4] * v.y + m[5] * v.z,
            m[6] * v.x + m[7] * v.y + m[8] * v.z};
  }
  constexpr Matrix3 operator*(const Matrix3& b) const {
    Matrix3 r;
    for (size_t i = 0; i < 3; ++i)
      for (size_t j = 0; j < 3; ++j)
        r.m[i * 3 + j] = m[i * 3] * b.m[j] + m[i * 3 + 1] * b.m[3 + j] + m[i * 3 + 2] * b.m[6 + j];
    return r;
  }
  constexpr Matrix3& operator*=(const Matrix3& b) { return *this = *this * b; }

  constexpr Matrix3 Transposed() const { return {m[0], m[3], m[6], m[1], m[4], m[7], m[2], m[5], m[8]}; }
  constexpr float Determinant() const {
    return m[0] * (m[4] * m[8] - m[5] * m[7]) - m[1] * (m[3] * m[8] - m[5] * m[6]) + m[2] * (m[3] * m[7] - m[4] * m[6]);
  }
  // Full inverse by cofactors. A singular matrix (determinant 0) answers the identity, so that no
  // infinity spreads into the scene.
  Matrix3 Inverse() const;

  // Lengths of the three axis columns.
  Vector3 GetScale() const { return {GetColumn(0).Length(), GetColumn(1).Length(), GetColumn(2).Length()}; }

  static constexpr Matrix3 ScaleMatrix(const Vector3& s) { return {s.x, 0, 0, 0, s.y, 0, 0, 0, s.z}; }
  static constexpr Matrix3 ScaleMatrix(float s) { return ScaleMatrix(Vector3(s, s, s)); }

  // Rotations about one axis by `angle` radians; RotationX is rows (1,0,0), (0,c,−s), (0,s,c).
  static Matrix3 RotationX(float angle);
  static Matrix3 RotationY(float angle);
  static Matrix3 RotationZ(float angle);

  // Product of the three axis rotations in `order`, each by the matching component of `euler`.
  // A value outside RotationOrder gives the identity.
  static Matrix3 RotationMatrix(const Vector3& euler, RotationOrder order);
  // Inverse of RotationMatrix on the principal branch (asin and acos clamp their argument to
  // [−1, 1]); no treatment of gimbal lock. Values outside RotationOrder read as YXZ.
  Vector3 GetEulerAngles(RotationOrder order) const;

  // Rotation whose Z column points along `direction` and whose Y column leans towards `up`.
  // A zero direction answers the identity.
  static Matrix3 RotationMatrixLookAt(const Vector3& direction, const Vector3& up);
  // The same with the world Y as up; looking straight up or down, the X column is −X.
  static Matrix3 RotationMatrixLookAt(const Vector3& direction);
};

inline constexpr Matrix3 Matrix3::Identity{};

static_assert(sizeof(Matrix3) == 36 && offsetof(Matrix3, m) == 0);
static_assert(std::is_standard_layout_v<Matrix3> && std::is_trivially_copyable_v<Matrix3>);

} // namespace tv
