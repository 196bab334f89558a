#pragma once
// Two-component vector, for float (`Vector2`: screen positions, aspect ratios, texture coordinates)
// and for int (`IntVector2`: pixel sizes and positions).

#include <cmath>
#include <cstddef>
#include <type_traits>

namespace tv {

template <typename T>
struct tVector2 {
  T x = 0;
  T y = 0;

  constexpr tVector2() = default;
  constexpr tVector2(T x_, T y_) : x(x_), y(y_) {}

  constexpr T& operator[](size_t i) { return i == 0 ? x : y; }
  constexpr const T& operator[](size_t i) const { return i == 0 ? x : y; }

  constexpr tVector2 operator-() const { return {-x, -y}; }
  constexpr tVector2 operator+(const tVector2& v) const { return {x + v.x, y + v.y}; }
  constexpr tVector2 operator-(const tVector2& v) const { return {x - v.x, y - v.y}; }
  constexpr tVector2 operator*(const tVector2& v) const { return {x * v.x, y * v.y}; }
  constexpr tVector2 operator/(const tVector2& v) const { return {x / v.x, y / v.y}; }
  constexpr tVector2 operator*(T s) const { return {x * s, y * s}; }
  constexpr tVector2 operator/(T s) const { return {x / s, y / s}; }
  constexpr tVector2& operator+=(const tVector2& v) { return *this = *this + v; }
  constexpr tVector2& operator-=(const tVector2& v) { return *this = *this - v; }
  constexpr tVector2& operator*=(const tVector2& v) { return *this = *this * v; }
  constexpr tVector2& operator/=(const tVector2& v) { return *this = *this / v; }
  constexpr tVector2& operator*=(T s) { return *this = *this * s; }
  constexpr tVector2& operator/=(T s) { return *this = *this / s; }
  constexpr bool operator==(const tVector2&) const = default;

  constexpr T LengthSquared() const { return x * x + y * y; }
  T Length() const requires std::is_floating_point_v<T> { return std::sqrt(LengthSquared()); }
  // A zero vector comes back unchanged (a zero length divides by 1).
  tVector2 Normalized() const requires std::is_floating_point_v<T> {
    const T length = Length();
    return length > 0 ? *this / length : *this;
  }
};

template <typename T>
constexpr tVector2<T> operator*(T s, const tVector2<T>& v) { return v * s; }

template <typename T>
constexpr T Dot(const tVector2<T>& a, const tVector2<T>& b) { return a.x * b.x + a.y * b.y; }

using Vector2 = tVector2<float>;
using IntVector2 = tVector2<int>;

static_assert(sizeof(Vector2) == 8 && offsetof(Vector2, x) == 0 && offsetof(Vector2, y) == 4);
static_assert(sizeof(IntVector2) == 8 && offsetof(IntVector2, y) == 4);
static_assert(std::is_standard_layout_v<Vector2> && std::is_trivially_copyable_v<Vector2>);
static_assert(std::is_trivially_copyable_v<IntVector2>);

} // namespace tv
