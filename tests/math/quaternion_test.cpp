#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

#include "glm_oracle.h"
#include "math/matrix3.h"
#include "math/quaternion.h"

namespace {

using tv::Matrix3;
using tv::Quaternion;
using tv::Vector3;
using tv::test::Near;
using tv::test::NearRotation;
using tv::test::ToGlm;

constexpr float kPi = std::numbers::pi_v<float>;

Quaternion RandomRotation(tv::test::Inputs& in) {
  return Quaternion::FromAxisAngle(in.Vector().Normalized(), in.Uniform(-kPi, kPi));
}

TEST(Quaternion, AxisAngleIsHalfAngleThenNormalised) {
  EXPECT_EQ(Quaternion(), Quaternion(0, 0, 0, 1));
  const Quaternion q = Quaternion::FromAxisAngle({0, 0, 1}, 1.0f);
  EXPECT_TRUE(Near(Vector3(q.x, q.y, q.z), Vector3(0, 0, std::sin(0.5f))));
  EXPECT_TRUE(Near(q.w, std::cos(0.5f)));
  // The whole quaternion is normalised, not the axis first: a longer axis weighs more than w.
  const Quaternion longer = Quaternion::FromAxisAngle({0, 0, 2}, 1.0f);
  const float length = std::sqrt(4 * std::sin(0.5f) * std::sin(0.5f) + std::cos(0.5f) * std::cos(0.5f));
  EXPECT_TRUE(Near(longer.z, 2 * std::sin(0.5f) / length));
  EXPECT_TRUE(Near(longer.w, std::cos(0.5f) / length));
  tv::test::Inputs in;
  for (int i = 0; i < 50; ++i) {
    const Vector3 axis = in.Vector().Normalized();
    const float angle = in.Uniform(-kPi, kPi);
    EXPECT_TRUE(NearRotation(Quaternion::FromAxisAngle(axis, angle), glm::angleAxis(angle, glm::normalize(ToGlm(axis)))));
  }
}

TEST(Quaternion, TurnsInTheSameSenseAsTheAxisRotations) {
  tv::test::Inputs in;
  for (int i = 0; i < 20; ++i) {
    const float a = in.Uniform(-kPi, kPi);
    EXPECT_TRUE(Near(Quaternion::FromAxisAngle({1, 0, 0}, a).ToMatrix3(), ToGlm(Matrix3::RotationX(a))));
    EXPECT_TRUE(Near(Quaternion::FromAxisAngle({0, 1, 0}, a).ToMatrix3(), ToGlm(Matrix3::RotationY(a))));
    EXPECT_TRUE(Near(Quaternion::FromAxisAngle({0, 0, 1}, a).ToMatrix3(), ToGlm(Matrix3::RotationZ(a))));
  }
}

TEST(Quaternion, MatrixConversionsMatchGlm) {
  tv::test::Inputs in;
  for (int i = 0; i < 100; ++i) {
    const Quaternion q = RandomRotation(in);
    const Matrix3 m = q.ToMatrix3();
    EXPECT_TRUE(Near(m, glm::mat3_cast(ToGlm(q))));
    EXPECT_TRUE(NearRotation(Quaternion::FromMatrix3(m), glm::quat_cast(ToGlm(m))));
    EXPECT_TRUE(NearRotation(Quaternion::FromMatrix3(m), ToGlm(q)));
  }
  // Half turns have a trace of −1 and exercise each branch that starts from x, y or z.
  for (const Vector3 axis : {Vector3(1, 0, 0), Vector3(0, 1, 0), Vector3(0, 0, 1), Vector3(1, 1, 0), Vector3(0, 1, 1)}) {
    const Quaternion q = Quaternion::FromAxisAngle(axis.Normalized(), kPi);
    EXPECT_TRUE(NearRotation(Quaternion::FromMatrix3(q.ToMatrix3()), ToGlm(q)));
  }
}

TEST(Quaternion, ProductAndVectorRotationMatchGlmAndMatrices) {
  tv::test::Inputs in;
  for (int i = 0; i < 100; ++i) {
    const Quaternion a = RandomRotation(in), b = RandomRotation(in);
    EXPECT_TRUE(NearRotation(a * b, ToGlm(a) * ToGlm(b)));
    EXPECT_TRUE(Near((a * b).ToMatrix3(), ToGlm(a.ToMatrix3() * b.ToMatrix3())));
    const Vector3 v = in.Vector();
    EXPECT_TRUE(Near(a * v, ToGlm(a) * ToGlm(v), 1e-4f));
    EXPECT_TRUE(Near(a * v, a.ToMatrix3() * v, 1e-4f));
    EXPECT_TRUE(Near(a.Conjugate() * (a * v), v, 1e-4f));
  }
}

TEST(Slerp, MatchesGlmAndHitsTheEnds) {
  tv::test::Inputs in;
  for (int i = 0; i < 100; ++i) {
    const Quaternion a = RandomRotation(in), b = RandomRotation(in);
    // Both take the short way: with a negative dot product, b's weight is negated.
    for (const float t : {0.0f, 0.25f, 0.5f, 0.9f, 1.0f})
      EXPECT_TRUE(Near(tv::Slerp(a, b, t), glm::slerp(ToGlm(a), ToGlm(b), t), 1e-4f)) << "t " << t;
    EXPECT_TRUE(Near(tv::Slerp(a, b, 0), ToGlm(a)));
    EXPECT_TRUE(NearRotation(tv::Slerp(a, b, 1), ToGlm(b)));
  }
}

TEST(Slerp, TakesTheShortWayRound) {
  // b is 270° about Z, that is −90° the short way; halfway is −45°.
  const Quaternion b = Quaternion::FromAxisAngle({0, 0, 1}, 1.5f * kPi);
  ASSERT_LT(tv::Dot(Quaternion(), b), 0);
  EXPECT_TRUE(Near(tv::Slerp(Quaternion(), b, 0.5f).ToMatrix3(), ToGlm(Matrix3::RotationZ(-0.25f * kPi))));
  // With its own negative, the blend is a plain one at equal sign: q throughout, never −q.
  const Quaternion q = Quaternion::FromAxisAngle(Vector3(1, 2, 3).Normalized(), 0.7f);
  for (const float t : {0.0f, 0.3f, 1.0f}) EXPECT_TRUE(Near(tv::Slerp(q, -q, t), ToGlm(q))) << "t " << t;
}

TEST(Slerp, NearlyParallelBlendsLinearlyAndDoesNotNormalise) {
  // Twice the identity with itself: the dot product exceeds 1, the weights are 1 − t and t.
  const Quaternion doubled(0, 0, 0, 2);
  EXPECT_EQ(tv::Slerp(doubled, doubled, 0.5f), doubled);
  EXPECT_EQ(tv::Slerp(Quaternion(0, 0, 0, 1), Quaternion(0, 0, 0.0001f, 1), 0.5f), Quaternion(0, 0, 0.00005f, 1));
}

} // namespace
