#include <gtest/gtest.h>

#include "glm_oracle.h"
#include "math/vector2.h"

namespace {

using tv::Vector2;
using tv::Vector3;
using tv::test::Near;
using tv::test::ToGlm;

TEST(Vector, NormalizedOfZeroIsZeroNotNaN) {
  EXPECT_EQ(Vector3().Normalized(), Vector3());
  EXPECT_EQ(Vector2().Normalized(), Vector2());
  EXPECT_EQ(tv::Vector4().Normalized(), tv::Vector4());
}

TEST(Vector, NormalizedMatchesGlm) {
  tv::test::Inputs in;
  for (int i = 0; i < 100; ++i) {
    const Vector3 v = in.Vector();
    EXPECT_TRUE(Near(v.Normalized(), glm::normalize(ToGlm(v))));
    EXPECT_TRUE(Near(v.Length(), glm::length(ToGlm(v))));
  }
  const Vector2 v2 = Vector2(3, -4).Normalized();
  EXPECT_FLOAT_EQ(v2.x, 0.6f);
  EXPECT_FLOAT_EQ(v2.y, -0.8f);
  // Tiny but non-zero lengths still normalise.
  EXPECT_TRUE(Near(Vector3(1e-20f, 0, 0).Normalized(), Vector3(1, 0, 0)));
}

TEST(Vector, CrossFollowsTheAxisCycleAndMatchesGlm) {
  const Vector3 x(1, 0, 0), y(0, 1, 0), z(0, 0, 1);
  EXPECT_EQ(tv::Cross(x, y), z);
  EXPECT_EQ(tv::Cross(y, z), x);
  EXPECT_EQ(tv::Cross(z, x), y);
  EXPECT_EQ(tv::Cross(y, x), -z);
  tv::test::Inputs in;
  for (int i = 0; i < 100; ++i) {
    const Vector3 a = in.Vector(), b = in.Vector();
    EXPECT_TRUE(Near(tv::Cross(a, b), glm::cross(ToGlm(a), ToGlm(b)), 1e-4f));
    EXPECT_TRUE(Near(tv::Dot(a, b), glm::dot(ToGlm(a), ToGlm(b)), 1e-4f));
  }
}

} // namespace
