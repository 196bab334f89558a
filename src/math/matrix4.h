#pragma once
// Affine transform: 3 rows of 4 floats, with the fourth row (0, 0, 0, 1) implied.
//
// Storage is row by row: element (r, c) is m[r * 4 + c]. The first three columns are the rotated
// and scaled X, Y and Z axes; column 3 (indices 3, 7, 11) is the translation. Vectors are columns,
// so A × B applies B first.

#include <cstddef>
#include <type_traits>

#include "math/matrix3.h"
#include "math/rotation_order.h"
#include "math/vector3.h"
#include "math/vector4.h"

namespace tv {

struct Matrix4 {
  float m[12] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0};

  static const Matrix4 Identity;

  constexpr Matrix4() = default;
  constexpr Matrix4(float m00, float m01, float m02, float m03, float m10, float m11, float m12, float m13, float m20,
                    float m21, float m22, float m23)
      : m{m00, m01, m02, m03, m10, m11, m12, m13, m20, m21, m22, m23} {}
  constexpr Matrix4(const Matrix3& a, const Vector3& translation)
      : m{a.m[0], a.m[1], a.m[2], translation.x, a.m[3], a.m[4], a.m[5], translation.y,
          a.m[6], a.m[7], a.m[8], translation.z} {}

  constexpr float& operator()(size_t row, size_t column) { return m[row * 4 + column]; }
  constexpr float operator()(size_t row, size_t column) const { return m[row * 4 + column]; }
  // Column c of the three stored rows: an axis for c < 3, the translation for c = 3.
  constexpr Vector3 GetColumn(size_t c) const { return {m[c], m[4 + c], m[8 + c]}; }
  constexpr void SetColumn(size_t c, const Vector3& v) {
    m[c] = v.x;
    m[4 + c] = v.y;
    m[8 + c] = v.z;
  }
  constexpr Vector3 GetTranslation() const { return GetColumn(3); }
  constexpr void SetTranslation(const Vector3& t) { SetColumn(3, t); }
  // The 3 by 3 part: rotation and scale together.
  constexpr Matrix3 GetMatrix3() const { return {m[0], m[1], m[2], m[4], m[5], m[6], m[8], m[9], m[10]}; }
  constexpr void SetMatrix3(const Matrix3& a) {
    for (size_t r = 0; r < 3; ++r)
      for (size_t c = 0; c < 3; ++c) m[r * 4 + c] = a.m[r * 3 + c];
  }
  // Lengths of the three axis columns.
  Vector3 GetScale() const { return {GetColumn(0).Length(), GetColumn(1).Length(), GetColumn(2).Length()}; }

  constexpr bool operator==(const Matrix4&) const = default;

  // A point: the translation applies.
  constexpr Vector3 operator*(const Vector3& p) const {
    return {m[0] * p.x + m[1] * p.y + m[2] * p.z + m[3], m[4] * p.x + m[5] * p.y + m[6] * p.z + m[7],
            m[8] * p.x + m[9] * p.y + m[10] * p.z + m[11]};
  }
  // A direction: the translation does not apply.
  constexpr Vector3 TransformDirection(const Vector3& d) const {
    return {m[0] * d.x + m[1] * d.y + m[2] * d.z, m[4] * d.x + m[5] * d.y + m[6] * d.z,
            m[8] * d.x + m[9] * d.y + m[10] * d.z};
  }
  // The translation is weighted by w, and w is kept.
  constexpr Vector4 operator*(const Vector4& v) const {
    return {m[0] * v.x + m[1] * v.y + m[2] * v.z + m[3] * v.w, m[4] * v.x + m[5] * v.y + m[6] * v.z + m[7] * v.w,
            m[8] * v.x + m[9] * v.y + m[10] * v.z + m[11] * v.w, v.w};
  }
  // Product of the two transforms with their implied fourth rows.
  constexpr Matrix4 operator*(const Matrix4& b) const {
    Matrix4 r;
    for (size_t i = 0; i < 3; ++i) {
      const float a0 = m[i * 4], a1 = m[i * 4 + 1], a2 = m[i * 4 + 2];
      r.m[i * 4 + 0] = a0 * b.m[0] + a1 * b.m[4] + a2 * b.m[8];
      r.m[i * 4 + 1] = a0 * b.m[1] + a1 * b.m[5] + a2 * b.m[9];
      r.m[i * 4 + 2] = a0 * b.m[2] + a1 * b.m[6] + a2 * b.m[10];
      r.m[i * 4 + 3] = a0 * b.m[3] + a1 * b.m[7] + a2 * b.m[11] + m[i * 4 + 3];
    }
    return r;
  }
  constexpr Matrix4& operator*=(const Matrix4& b) { return *this = *this * b; }

  // Element (r, c) of the 3 by 3 part is rotation(r, c) × scale[c]; the translation is `position`.
  static constexpr Matrix4 TransformationMatrix(const Vector3& position, const Matrix3& rotation, const Vector3& scale) {
    const float* a = rotation.m;
    return {a[0] * scale.x, a[1] * scale.y, a[2] * scale.z, position.x,
            a[3] * scale.x, a[4] * scale.y, a[5] * scale.z, position.y,
            a[6] * scale.x, a[7] * scale.y, a[8] * scale.z, position.z};
  }
  static constexpr Matrix4 ScaleMatrix(const Vector3& s) { return {s.x, 0, 0, 0, 0, s.y, 0, 0, 0, 0, s.z, 0}; }
  static constexpr Matrix4 ScaleMatrix(float s) { return ScaleMatrix(Vector3(s, s, s)); }
  static constexpr Matrix4 TranslationMatrix(const Vector3& t) { return {1, 0, 0, t.x, 0, 1, 0, t.y, 0, 0, 1, t.z}; }
  // Matrix3::RotationMatrix with a translation of 0.
  static Matrix4 RotationMatrix(const Vector3& euler, RotationOrder order) {
    return Matrix4(Matrix3::RotationMatrix(euler, order), Vector3());
  }

  // Inverse of a transform without shear (orthogonal axes of any non-zero length): the transposed
  // 3 by 3 part, row r divided by the squared length of axis r, and the translation brought back
  // through it. No determinant is computed; an axis of length 0 divides by 1.
  Matrix4 InverseFast() const;
  // Inverse of any affine transform, shear included. A singular 3 by 3 part answers the identity.
  Matrix4 Inverse() const;

  // Keeps the position and the axis lengths and turns the axes so that Z points at `target`, with
  // Y leaning towards `up` (Matrix3::RotationMatrixLookAt). A target at the position gives the
  // unrotated axes.
  void LookAt(const Vector3& target, const Vector3& up);
};

inline constexpr Matrix4 Matrix4::Identity{};

static_assert(sizeof(Matrix4) == 48 && offsetof(Matrix4, m) == 0);
static_assert(std::is_standard_layout_v<Matrix4> && std::is_trivially_copyable_v<Matrix4>);

} // namespace tv
