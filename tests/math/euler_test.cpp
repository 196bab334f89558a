#include <gtest/gtest.h>

#include <glm/ext/matrix_transform.hpp>

#include <cmath>
#include <numbers>

#include "glm_oracle.h"
#include "math/matrix3.h"
#include "math/matrix4.h"

namespace {

using tv::Matrix3;
using tv::RotationOrder;
using tv::Vector3;
using tv::test::Near;
using tv::test::ToGlm;

constexpr float kPi = std::numbers::pi_v<float>;

struct Order {
  RotationOrder order;
  const char* axes;   // factors of the product from left to right
  glm::mat4 (*glm_euler)(const float&, const float&, const float&); // GLM's function of the same product
  void (*glm_extract)(const glm::mat4&, float&, float&, float&);
};

// Angle about the named axis.
float AngleOf(const Vector3& euler, char axis) { return axis == 'X' ? euler.x : axis == 'Y' ? euler.y : euler.z; }
float& AngleOf(Vector3& euler, char axis) { return axis == 'X' ? euler.x : axis == 'Y' ? euler.y : euler.z; }

const Order kOrders[] = {
    {RotationOrder::ZYX, "ZYX", glm::eulerAngleZYX<float>, glm::extractEulerAngleZYX<float>},
    {RotationOrder::YZX, "YZX", glm::eulerAngleYZX<float>, glm::extractEulerAngleYZX<float>},
    {RotationOrder::ZXY, "ZXY", glm::eulerAngleZXY<float>, glm::extractEulerAngleZXY<float>},
    {RotationOrder::XZY, "XZY", glm::eulerAngleXZY<float>, glm::extractEulerAngleXZY<float>},
    {RotationOrder::YXZ, "YXZ", glm::eulerAngleYXZ<float>, glm::extractEulerAngleYXZ<float>},
    {RotationOrder::XYZ, "XYZ", glm::eulerAngleXYZ<float>, glm::extractEulerAngleXYZ<float>},
};

// The table's product built from glm::rotate, one factor per letter, left to right.
glm::mat4 GlmProduct(const char* axes, const Vector3& euler) {
  glm::mat4 result(1.0f);
  for (const char* a = axes; *a; ++a) {
    const glm::vec3 axis(*a == 'X', *a == 'Y', *a == 'Z');
    result = glm::rotate(result, AngleOf(euler, *a), axis);
  }
  return result;
}

TEST(Euler, EveryOrderIsTheTableProduct) {
  // The axis rotations: Rz(90°) takes X to Y, Rx(90°) takes Y to Z, Ry(90°) takes Z to X.
  EXPECT_TRUE(Near(Matrix3::RotationZ(kPi / 2) * Vector3(1, 0, 0), Vector3(0, 1, 0)));
  EXPECT_TRUE(Near(Matrix3::RotationX(kPi / 2) * Vector3(0, 1, 0), Vector3(0, 0, 1)));
  EXPECT_TRUE(Near(Matrix3::RotationY(kPi / 2) * Vector3(0, 0, 1), Vector3(1, 0, 0)));
  tv::test::Inputs in;
  for (const Order& o : kOrders) {
    SCOPED_TRACE(o.axes);
    for (int i = 0; i < 50; ++i) {
      const Vector3 euler = in.Angles();
      const Matrix3 ours = Matrix3::RotationMatrix(euler, o.order);
      EXPECT_TRUE(Near(ours, glm::mat3(GlmProduct(o.axes, euler))));
      // GLM's eulerAngleABC(a, b, c) is the same product, angles given in the order's letters.
      EXPECT_TRUE(Near(ours, glm::mat3(o.glm_euler(AngleOf(euler, o.axes[0]), AngleOf(euler, o.axes[1]),
                                                   AngleOf(euler, o.axes[2])))));
      const tv::Matrix4 m4 = tv::Matrix4::RotationMatrix(euler, o.order);
      EXPECT_EQ(m4.GetMatrix3(), ours);
      EXPECT_EQ(m4.GetTranslation(), Vector3());
    }
  }
  EXPECT_EQ(RotationOrder::Default, RotationOrder::YXZ);
  EXPECT_EQ(uint8_t(RotationOrder::Default), 4);
}

TEST(Euler, XYIgnoresZAndReadsBackWithAcos) {
  tv::test::Inputs in;
  for (int i = 0; i < 50; ++i) {
    const Vector3 euler(in.Uniform(0.01f, kPi - 0.01f), in.Uniform(0.01f, kPi - 0.01f), in.Uniform(-3, 3));
    const Matrix3 ours = Matrix3::RotationMatrix(euler, RotationOrder::XY);
    EXPECT_TRUE(Near(ours, glm::mat3(glm::eulerAngleXY(euler.x, euler.y))));
    EXPECT_EQ(ours, Matrix3::RotationMatrix({euler.x, euler.y, 0}, RotationOrder::XY));
    const Vector3 back = ours.GetEulerAngles(RotationOrder::XY);
    EXPECT_TRUE(Near(back, Vector3(euler.x, euler.y, 0), 1e-4f));
  }
}

TEST(Euler, RoundTripOnThePrincipalBranchMatchesGlmExtraction) {
  tv::test::Inputs in;
  for (const Order& o : kOrders) {
    SCOPED_TRACE(o.axes);
    for (int i = 0; i < 100; ++i) {
      // The middle factor's angle is read by asin, so it stays within ±90°; the others by atan2.
      Vector3 euler = in.Angles();
      AngleOf(euler, o.axes[1]) = in.Uniform(-1.45f, 1.45f);
      const Matrix3 m = Matrix3::RotationMatrix(euler, o.order);
      const Vector3 back = m.GetEulerAngles(o.order);
      EXPECT_TRUE(Near(back, euler, 5e-5f)) << "order " << o.axes;
      float a = 0, b = 0, c = 0;
      o.glm_extract(glm::mat4(ToGlm(m)), a, b, c);
      EXPECT_TRUE(Near(Vector3(AngleOf(back, o.axes[0]), AngleOf(back, o.axes[1]), AngleOf(back, o.axes[2])),
                       glm::vec3(a, b, c), 5e-5f));
    }
  }
}

TEST(Euler, BeyondNinetyDegreesOnTheMiddleAxisReadsBackAsAnotherTriple) {
  for (const Order& o : kOrders) {
    SCOPED_TRACE(o.axes);
    Vector3 euler(0.3f, -0.4f, 0.5f);
    AngleOf(euler, o.axes[1]) = 2.0f; // about 115°
    const Matrix3 m = Matrix3::RotationMatrix(euler, o.order);
    const Vector3 back = m.GetEulerAngles(o.order);
    EXPECT_FALSE(Near(back, euler, 1e-3f));
    EXPECT_LE(std::fabs(AngleOf(back, o.axes[1])), kPi / 2);
    // Same rotation, other angles.
    EXPECT_TRUE(Near(Matrix3::RotationMatrix(back, o.order), ToGlm(m)));
  }
}

TEST(Euler, ZeroAnglesAndUnknownOrdersGiveIdentity) {
  for (const Order& o : kOrders) EXPECT_EQ(Matrix3::RotationMatrix(Vector3(), o.order), Matrix3::Identity) << o.axes;
  EXPECT_EQ(Matrix3::RotationMatrix(Vector3(), RotationOrder::XY), Matrix3::Identity);
  const Vector3 euler(0.3f, 0.2f, 0.1f);
  for (const int value : {7, 8, 255}) {
    EXPECT_EQ(Matrix3::RotationMatrix(euler, RotationOrder(value)), Matrix3::Identity);
    // Reading back, every unknown value takes the YXZ row.
    const Matrix3 m = Matrix3::RotationMatrix(euler, RotationOrder::ZYX);
    EXPECT_EQ(m.GetEulerAngles(RotationOrder(value)), m.GetEulerAngles(RotationOrder::YXZ));
  }
}

TEST(Euler, ReadBackClampsRoundedArgumentsInsteadOfNaN) {
  // A scale a hair above 1 pushes the asin and acos arguments past ±1.
  const Matrix3 m = Matrix3::RotationMatrix({0, kPi / 2, 0}, RotationOrder::XYZ) * Matrix3::ScaleMatrix(1.0001f);
  for (const Order& o : kOrders) {
    const Vector3 back = m.GetEulerAngles(o.order);
    EXPECT_TRUE(std::isfinite(back.x) && std::isfinite(back.y) && std::isfinite(back.z)) << o.axes;
  }
  const Vector3 xy = Matrix3::ScaleMatrix(1.0001f).GetEulerAngles(RotationOrder::XY);
  EXPECT_EQ(xy, Vector3(0, 0, 0));
}

} // namespace
