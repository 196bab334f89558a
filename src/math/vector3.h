#pragma once
// Three-component float vector: positions, directions, scales and Euler angles (radians).
// Left-handed space: +X right, +Y up, +Z forward.

#include <cmath>
#include <cstddef>
#include <type_traits>

namespace tv {

struct Vector3 {
  float x = 0;
  float y = 0;
  float z = 0;

  constexpr Vector3() = default;
  constexpr Vector3(float x_, float y_, float z_) : x(x_), y(y_), z(z_) {}

  constexpr float& operator[](size_t i) { return i == 0 ? x : i == 1 ? y : z; }
  constexpr const float& operator[](size_t i) const { return i == 0 ? x : i == 1 ? y : z; }

  constexpr Vector3 operator-() const { return {-x, -y, -z}; }
  constexpr Vector3 operator+(const Vector3& v) const { return {x + v.x, y + v.y, z + v.z}; }
  constexpr Vector3 operator-(const Vector3& v) const { return {x - v.x, y - v.y, z - v.z}; }
  constexpr Vector3 operator*(const Vector3& v) const { return {x * v.x, y * v.y, z * v.z}; }
  constexpr Vector3 operator/(const Vector3& v) const { return {x / v.x, y / v.y, z / v.z}; }
  constexpr Vector3 operator*(float s) const { return {x * s, y * s, z * s}; }
  constexpr Vector3 operator/(float s) const { return {x / s, y / s, z / s}; }
  constexpr Vector3& operator+=(const Vector3& v) { return *this = *this + v; }
  constexpr Vector3& operator-=(const Vector3& v) { return *this = *this - v; }
  constexpr Vector3& operator*=(const Vector3& v) { return *this = *this * v; }
  constexpr Vector3& operator/=(const Vector3& v) { return *this = *this / v; }
  constexpr Vector3& operator*=(float s) { return *this = *this * s; }
  constexpr Vector3& operator/=(float s) { return *this = *this / s; }
  constexpr bool operator==(const Vector3&) const = default;

  constexpr float LengthSquared() const { return x * x + y * y + z * z; }
  float Length() const { return std::sqrt(LengthSquared()); }

  // The vector divided by its length. A zero vector comes back unchanged, not as NaN: every
  // normalisation in the engine divides by 1 when the length is 0.
  Vector3 Normalized() const {
    const float length = Length();
    return length > 0 ? *this / length : *this;
  }
};

constexpr Vector3 operator*(float s, const Vector3& v) { return v * s; }

constexpr float Dot(const Vector3& a, const Vector3& b) { return a.x * b.x + a.y * b.y + a.z * b.z; }

// The usual formula, Cross(X, Y) = Z; in this left-handed space the result follows the left-hand rule.
constexpr Vector3 Cross(const Vector3& a, const Vector3& b) {
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

constexpr Vector3 Min(const Vector3& a, const Vector3& b) {
  return {a.x < b.x ? a.x : b.x, a.y < b.y ? a.y : b.y, a.z < b.z ? a.z : b.z};
}
constexpr Vector3 Max(const Vector3& a, const Vector3& b) {
  return {a.x > b.x ? a.x : b.x, a.y > b.y ? a.y : b.y, a.z > b.z ? a.z : b.z};
}
inline Vector3 Abs(const Vector3& v) { return {std::fabs(v.x), std::fabs(v.y), std::fabs(v.z)}; }

static_assert(sizeof(Vector3) == 12 && offsetof(Vector3, y) == 4 && offsetof(Vector3, z) == 8);
static_assert(std::is_standard_layout_v<Vector3> && std::is_trivially_copyable_v<Vector3>);

} // namespace tv
