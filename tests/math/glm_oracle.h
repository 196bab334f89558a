#pragma once
// GLM as the independent oracle of the math tests, and the tolerances they use.
//
// Mapping of conventions. GLM stores column by column and indexes g[column][row]; ours stores row
// by row. Both multiply column vectors (p' = M × p), and both build the same rotation matrices
// (rotation about X is rows (1,0,0), (0,c,−s), (0,s,c)), so a matrix of ours and its GLM
// counterpart are the same mathematical matrix: ours(r, c) == g[c][r]. Read as flat arrays, one
// is the transpose of the other. A Matrix4 maps onto a glm::mat4 whose fourth row is (0, 0, 0, 1).
// Handedness only matters for projections and look-at: GLM's default is right-handed, so the
// tests name the *LH_ZO functions (left-handed, depth 0 to 1) and lookAtLH explicitly.

#define GLM_ENABLE_EXPERIMENTAL
#include <glm/glm.hpp>
#include <glm/gtc/quaternion.hpp>
#include <glm/gtx/euler_angles.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

#include "math/matrix3.h"
#include "math/matrix4.h"
#include "math/matrix44.h"
#include "math/quaternion.h"
#include "math/vector3.h"
#include "math/vector4.h"

namespace tv::test {

// Relative 1e-5 for magnitudes above 1, absolute 1e-5 below: float results of a few dozen
// operations agree to a few ulp, and near-zero elements have no meaningful relative error.
constexpr float kTolerance = 1e-5f;

inline ::testing::AssertionResult Near(float ours, float oracle, float tolerance = kTolerance) {
  if (!std::isfinite(ours) || !std::isfinite(oracle)) {
    if (ours == oracle) return ::testing::AssertionSuccess(); // equal infinities
    return ::testing::AssertionFailure() << ours << " vs " << oracle << " (not finite)";
  }
  const float scale = std::max({1.0f, std::fabs(ours), std::fabs(oracle)});
  if (std::fabs(ours - oracle) <= tolerance * scale) return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << ours << " vs " << oracle << " (tolerance " << tolerance * scale << ")";
}

inline glm::vec3 ToGlm(const Vector3& v) { return {v.x, v.y, v.z}; }
inline glm::vec4 ToGlm(const Vector4& v) { return {v.x, v.y, v.z, v.w}; }
// glm::quat's constructor takes w first.
inline glm::quat ToGlm(const Quaternion& q) { return glm::quat(q.w, q.x, q.y, q.z); }

inline glm::mat3 ToGlm(const Matrix3& a) {
  glm::mat3 g;
  for (int r = 0; r < 3; ++r)
    for (int c = 0; c < 3; ++c) g[c][r] = a(r, c);
  return g;
}
inline glm::mat4 ToGlm(const Matrix44& a) {
  glm::mat4 g;
  for (int r = 0; r < 4; ++r)
    for (int c = 0; c < 4; ++c) g[c][r] = a(r, c);
  return g;
}
inline glm::mat4 ToGlm(const Matrix4& a) { return ToGlm(Matrix44(a)); }

namespace detail {
// Element by element; `ours(r, c)` and `theirs(r, c)` read the same mathematical element.
template <typename A, typename B>
::testing::AssertionResult NearElements(int rows, int columns, A ours, B theirs, float tolerance) {
  for (int r = 0; r < rows; ++r)
    for (int c = 0; c < columns; ++c)
      if (auto near = Near(ours(r, c), theirs(r, c), tolerance); !near)
        return ::testing::AssertionFailure() << "(" << r << ", " << c << "): " << near.message();
  return ::testing::AssertionSuccess();
}
} // namespace detail

inline ::testing::AssertionResult Near(const Vector3& ours, const glm::vec3& g, float tolerance = kTolerance) {
  return detail::NearElements(1, 3, [&](int, int c) { return ours[size_t(c)]; }, [&](int, int c) { return g[c]; }, tolerance);
}
inline ::testing::AssertionResult Near(const Vector3& ours, const Vector3& other, float tolerance = kTolerance) {
  return Near(ours, ToGlm(other), tolerance);
}
inline ::testing::AssertionResult Near(const Matrix3& ours, const glm::mat3& g, float tolerance = kTolerance) {
  return detail::NearElements(3, 3, [&](int r, int c) { return ours(r, c); }, [&](int r, int c) { return g[c][r]; }, tolerance);
}
inline ::testing::AssertionResult Near(const Matrix3& ours, const Matrix3& other, float tolerance = kTolerance) {
  return Near(ours, ToGlm(other), tolerance);
}
inline ::testing::AssertionResult Near(const Matrix44& ours, const glm::mat4& g, float tolerance = kTolerance) {
  return detail::NearElements(4, 4, [&](int r, int c) { return ours(r, c); }, [&](int r, int c) { return g[c][r]; }, tolerance);
}
// A Matrix4 with its implied fourth row (0, 0, 0, 1) against a glm::mat4.
inline ::testing::AssertionResult Near(const Matrix4& ours, const glm::mat4& g, float tolerance = kTolerance) {
  return Near(Matrix44(ours), g, tolerance);
}
// Component by component, sign included.
inline ::testing::AssertionResult Near(const Quaternion& ours, const glm::quat& g, float tolerance = kTolerance, float sign = 1) {
  const float o[4] = {ours.x, ours.y, ours.z, ours.w}, e[4] = {g.x, g.y, g.z, g.w};
  return detail::NearElements(1, 4, [&](int, int c) { return o[c]; }, [&](int, int c) { return sign * e[c]; }, tolerance);
}
// Quaternions q and −q are the same rotation.
inline ::testing::AssertionResult NearRotation(const Quaternion& ours, const glm::quat& g, float tolerance = kTolerance) {
  return Near(ours, g, tolerance, ours.x * g.x + ours.y * g.y + ours.z * g.z + ours.w * g.w < 0 ? -1.0f : 1.0f);
}

// Deterministic inputs: the same values on every run.
class Inputs {
public:
  explicit Inputs(unsigned seed = 12345) : engine_(seed) {}
  float Uniform(float low, float high) { return std::uniform_real_distribution<float>(low, high)(engine_); }
  Vector3 Vector(float low = -10, float high = 10) { return {Uniform(low, high), Uniform(low, high), Uniform(low, high)}; }
  Vector3 Angles() { return Vector(-3.1f, 3.1f); }
  // Lengths of either sign, kept away from 0 so that inverses stay well conditioned.
  Vector3 Scale() {
    Vector3 s = Vector(0.2f, 4.0f);
    if (Uniform(0, 1) < 0.25f) s.y = -s.y;
    return s;
  }
  Matrix3 Rotation() { return Matrix3::RotationMatrix(Angles(), RotationOrder::ZYX); }
  Matrix3 Any3() {
    Matrix3 a;
    for (float& v : a.m) v = Uniform(-2, 2);
    return a;
  }

private:
  std::mt19937 engine_;
};

} // namespace tv::test
