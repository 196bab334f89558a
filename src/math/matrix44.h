#pragma once
// Full 4 by 4 float matrix: projections and their products with transforms.
//
// Storage is row by row: element (r, c) is m[r * 4 + c]. Vectors are columns, so A × B applies B
// first. Projection builders are in math/projection.h.

#include <cstddef>
#include <type_traits>

#include "math/matrix4.h"
#include "math/vector4.h"

namespace tv {

struct Matrix44 {
  float m[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};

  static const Matrix44 Identity;

  constexpr Matrix44() = default;
  constexpr Matrix44(float m00, float m01, float m02, float m03, float m10, float m11, float m12, float m13, float m20,
                     float m21, float m22, float m23, float m30, float m31, float m32, float m33)
      : m{m00, m01, m02, m03, m10, m11, m12, m13, m20, m21, m22, m23, m30, m31, m32, m33} {}
  // The affine transform with its implied fourth row (0, 0, 0, 1) made explicit.
  explicit constexpr Matrix44(const Matrix4& a)
      : m{a.m[0], a.m[1], a.m[2], a.m[3], a.m[4], a.m[5], a.m[6], a.m[7], a.m[8], a.m[9], a.m[10], a.m[11], 0, 0, 0, 1} {}

  constexpr float& operator()(size_t row, size_t column) { return m[row * 4 + column]; }
  constexpr float operator()(size_t row, size_t column) const { return m[row * 4 + column]; }

  constexpr bool operator==(const Matrix44&) const = default;

  constexpr Vector4 operator*(const Vector4& v) const {
    return {m[0] * v.x + m[1] * v.y + m[2] * v.z + m[3] * v.w, m[4] * v.x + m[5] * v.y + m[6] * v.z + m[7] * v.w,
            m[8] * v.x + m[9] * v.y + m[10] * v.z + m[11] * v.w, m[12] * v.x + m[13] * v.y + m[14] * v.z + m[15] * v.w};
  }
  constexpr Matrix44 operator*(const Matrix44& b) const {
    Matrix44 r;
    for (size_t i = 0; i < 4; ++i)
      for (size_t j = 0; j < 4; ++j)
        r.m[i * 4 + j] =
            m[i * 4] * b.m[j] + m[i * 4 + 1] * b.m[4 + j] + m[i * 4 + 2] * b.m[8 + j] + m[i * 4 + 3] * b.m[12 + j];
    return r;
  }
  constexpr Matrix44 operator*(const Matrix4& b) const { return *this * Matrix44(b); }
  constexpr Matrix44& operator*=(const Matrix44& b) { return *this = *this * b; }

  constexpr Matrix44 Transposed() const {
    return {m[0], m[4], m[8], m[12], m[1], m[5], m[9], m[13], m[2], m[6], m[10], m[14], m[3], m[7], m[11], m[15]};
  }
  // Full inverse by cofactors. A singular matrix (determinant 0) answers the identity.
  Matrix44 Inverse() const;
};

inline constexpr Matrix44 Matrix44::Identity{};

static_assert(sizeof(Matrix44) == 64 && offsetof(Matrix44, m) == 0);
static_assert(std::is_standard_layout_v<Matrix44> && std::is_trivially_copyable_v<Matrix44>);

} // namespace tv
