#pragma once
// Four-component float vector: homogeneous points (w = 1) and directions (w = 0), clip coordinates.

#include <cmath>
#include <cstddef>
#include <type_traits>

#include "math/vector3.h"

namespace tv {

struct Vector4 {
  float x = 0;
  float y = 0;
  float z = 0;
  float w = 0;

  constexpr Vector4() = default;
  constexpr Vector4(float x_, float y_, float z_, float w_) : x(x_), y(y_), z(z_), w(w_) {}
  constexpr Vector4(const Vector3& v, float w_) : x(v.x), y(v.y), z(v.z), w(w_) {}

  constexpr Vector3 xyz() const { return {x, y, z}; }

  constexpr float& operator[](size_t i) { return i == 0 ? x : i == 1 ? y : i == 2 ? z : w; }
  constexpr const float& operator[](size_t i) const { return i == 0 ? x : i == 1 ? y : i == 2 ? z : w; }

  constexpr Vector4 operator-() const { return {-x, -y, -z, -w}; }
  constexpr Vector4 operator+(const Vector4& v) const { return {x + v.x, y + v.y, z + v.z, w + v.w}; }
  constexpr Vector4 operator-(const Vector4& v) const { return {x - v.x, y - v.y, z - v.z, w - v.w}; }
  constexpr Vector4 operator*(const Vector4& v) const { return {x * v.x, y * v.y, z * v.z, w * v.w}; }
  constexpr Vector4 operator/(const Vector4& v) const { return {x / v.x, y / v.y, z / v.z, w / v.w}; }
  constexpr Vector4 operator*(float s) const { return {x * s, y * s, z * s, w * s}; }
  constexpr Vector4 operator/(float s) const { return {x / s, y / s, z / s, w / s}; }
  constexpr Vector4& operator+=(const Vector4& v) { return *this = *this + v; }
  constexpr Vector4& operator-=(const Vector4& v) { return *this = *this - v; }
  constexpr Vector4& operator*=(const Vector4& v) { return *this = *this * v; }
  constexpr Vector4& operator/=(const Vector4& v) { return *this = *this / v; }
  constexpr Vector4& operator*=(float s) { return *this = *this * s; }
  constexpr Vector4& operator/=(float s) { return *this = *this / s; }
  constexpr bool operator==(const Vector4&) const = default;

  constexpr float LengthSquared() const { return x * x + y * y + z * z + w * w; }
  float Length() const { return std::sqrt(LengthSquared()); }
  // A zero vector comes back unchanged.
  Vector4 Normalized() const {
    const float length = Length();
    return length > 0 ? *this / length : *this;
  }
};

constexpr Vector4 operator*(float s, const Vector4& v) { return v * s; }

constexpr float Dot(const Vector4& a, const Vector4& b) { return a.x * b.x + a.y * b.y + a.z * b.z + a.w * b.w; }

static_assert(sizeof(Vector4) == 16 && offsetof(Vector4, z) == 8 && offsetof(Vector4, w) == 12);
static_assert(std::is_standard_layout_v<Vector4> && std::is_trivially_copyable_v<Vector4>);

} // namespace tv
