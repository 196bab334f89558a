#include <gtest/gtest.h>

#include <glm/ext/matrix_transform.hpp>

#include <cmath>

#include "glm_oracle.h"
#include "math/matrix44.h"

namespace {

using tv::Matrix3;
using tv::Matrix4;
using tv::Matrix44;
using tv::Vector3;
using tv::Vector4;
using tv::test::Near;
using tv::test::ToGlm;

TEST(Matrix, IndexIsRowTimesColumnCountPlusColumnAndTranslationIsColumn3) {
  const Matrix3 a(0, 1, 2, 3, 4, 5, 6, 7, 8);
  const Matrix4 b(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11);
  const Matrix44 c(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15);
  EXPECT_EQ(a(1, 2), 5); // "m12"
  EXPECT_EQ(b(1, 2), 6);
  EXPECT_EQ(b(2, 3), 11); // "m23"
  EXPECT_EQ(c(1, 2), 6);
  EXPECT_EQ(b.GetTranslation(), Vector3(3, 7, 11));
  EXPECT_EQ(Matrix4::TransformationMatrix({1, 2, 3}, Matrix3::Identity, {1, 1, 1}).GetTranslation(), Vector3(1, 2, 3));
  EXPECT_EQ(Matrix4(), Matrix4(1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0)); // diagonal 1, column 3 all 0
}

TEST(Matrix, ProductsAndTransformsMatchGlm) {
  tv::test::Inputs in;
  for (int i = 0; i < 20; ++i) {
    const Matrix3 a3 = in.Any3(), b3 = in.Any3();
    EXPECT_TRUE(Near(a3 * b3, ToGlm(a3) * ToGlm(b3)));
    const Matrix4 a(in.Any3(), in.Vector()), b(in.Any3(), in.Vector());
    EXPECT_TRUE(Near(a * b, ToGlm(a) * ToGlm(b), 1e-4f));
    Matrix44 c, d;
    for (int k = 0; k < 16; ++k) c.m[k] = in.Uniform(-2, 2), d.m[k] = in.Uniform(-2, 2);
    EXPECT_TRUE(Near(c * d, ToGlm(c) * ToGlm(d)));
    EXPECT_TRUE(Near(c * a, ToGlm(c) * ToGlm(a), 1e-4f));
    EXPECT_TRUE(Near(c.Transposed(), glm::transpose(ToGlm(c))));

    // A × B applies B first; points take the translation, directions do not.
    const Vector3 p = in.Vector();
    EXPECT_TRUE(Near((a * b) * p, a * (b * p), 1e-4f));
    EXPECT_TRUE(Near(a * p, glm::vec3(ToGlm(a) * glm::vec4(ToGlm(p), 1)), 1e-4f));
    EXPECT_TRUE(Near(a.TransformDirection(p), glm::vec3(ToGlm(a) * glm::vec4(ToGlm(p), 0)), 1e-4f));
    EXPECT_TRUE(Near(a3 * p, ToGlm(a3) * ToGlm(p), 1e-4f));
    // x' = m00·x + m01·y + m02·z + m03·w, and w is kept.
    const Vector4 v = a * Vector4(p, 2.5f);
    EXPECT_TRUE(Near(v.xyz(), glm::vec3(ToGlm(a) * glm::vec4(ToGlm(p), 2.5f)), 1e-4f));
    EXPECT_EQ(v.w, 2.5f);
  }
}

TEST(Matrix, TransformationMatrixScalesRotationColumnsAndTranslates) {
  tv::test::Inputs in;
  for (int i = 0; i < 50; ++i) {
    const Vector3 position = in.Vector(), scale = in.Scale();
    const Matrix3 rotation = in.Rotation();
    const Matrix4 m = Matrix4::TransformationMatrix(position, rotation, scale);
    // glm: translate × rotate × scale.
    EXPECT_TRUE(Near(m, glm::translate(glm::mat4(1.0f), ToGlm(position)) * glm::mat4(ToGlm(rotation)) *
                            glm::scale(glm::mat4(1.0f), ToGlm(scale))));
    EXPECT_TRUE(Near(m.GetScale(), tv::Abs(scale)));
    EXPECT_TRUE(Near(m.GetMatrix3().GetScale(), tv::Abs(scale)));
  }
  EXPECT_EQ(Matrix4::ScaleMatrix(Vector3(2, 3, 4)), Matrix4(2, 0, 0, 0, 0, 3, 0, 0, 0, 0, 4, 0));
  EXPECT_EQ(Matrix4::ScaleMatrix(5), Matrix4::ScaleMatrix(Vector3(5, 5, 5)));
}

TEST(MatrixInverse, InverseFastMatchesGlmOnTransformsWithoutShear) {
  tv::test::Inputs in;
  for (int i = 0; i < 100; ++i) {
    const Matrix4 m = Matrix4::TransformationMatrix(in.Vector(), in.Rotation(), in.Scale());
    EXPECT_TRUE(Near(m.InverseFast(), glm::inverse(ToGlm(m)), 1e-4f));
  }
  // Axis Y leaning towards X is shear: the fast inverse is wrong by contract, the full one is not.
  const Matrix4 sheared(1, 0.5f, 0, 3, 0, 1, 0, -2, 0, 0, 2, 1);
  EXPECT_FALSE(Near(sheared * sheared.InverseFast(), glm::mat4(1.0f)));
  EXPECT_TRUE(Near(sheared.Inverse(), glm::inverse(ToGlm(sheared))));
}

TEST(MatrixInverse, FullInversesMatchGlm) {
  tv::test::Inputs in;
  for (int i = 0; i < 100; ++i) {
    const Matrix3 a = in.Any3();
    Matrix44 b;
    for (float& v : b.m) v = in.Uniform(-2, 2);
    // Well-conditioned inputs only, so that float rounding stays within the tolerance.
    if (std::fabs(a.Determinant()) < 0.1f || std::fabs(glm::determinant(ToGlm(b))) < 0.1f) continue;
    EXPECT_TRUE(Near(a.Determinant(), glm::determinant(ToGlm(a)), 1e-4f));
    EXPECT_TRUE(Near(a.Inverse(), glm::inverse(ToGlm(a)), 1e-4f));
    const Matrix4 affine(a, in.Vector());
    EXPECT_TRUE(Near(affine.Inverse(), glm::inverse(ToGlm(affine)), 1e-4f));
    EXPECT_TRUE(Near(b.Inverse(), glm::inverse(ToGlm(b)), 1e-4f));
  }
}

TEST(MatrixInverse, SingularMatricesAnswerIdentity) {
  const Matrix3 flat = Matrix3::ScaleMatrix(Vector3(1, 0, 1));
  EXPECT_EQ(flat.Inverse(), Matrix3::Identity);
  EXPECT_EQ(Matrix4(flat, {1, 2, 3}).Inverse(), Matrix4::Identity);
  Matrix44 rank3;
  rank3(3, 3) = 0;
  EXPECT_EQ(rank3.Inverse(), Matrix44::Identity);
}

TEST(LookAt, RotationIsGlmLookAtLHTransposed) {
  // glm::lookAtLH builds a view matrix, whose 3 by 3 part has rows x, y, z: our columns.
  tv::test::Inputs in;
  for (int i = 0; i < 100; ++i) {
    const Vector3 direction = in.Vector(), up = in.Vector();
    EXPECT_TRUE(Near(Matrix3::RotationMatrixLookAt(direction, up),
                     glm::transpose(glm::mat3(glm::lookAtLH(glm::vec3(0), ToGlm(direction), ToGlm(up))))));
    // Without an up vector, world Y is up.
    EXPECT_TRUE(Near(Matrix3::RotationMatrixLookAt(direction), Matrix3::RotationMatrixLookAt(direction, {0, 1, 0})));
  }
}

TEST(LookAt, VerticalDirectionsUseMinusXAndZeroDirectionsIdentity) {
  // x and z within 1e-6 of 0: the X column is −X, Y = Z × X, and the result is a proper rotation.
  for (const Vector3 direction : {Vector3(0, 2, 0), Vector3(0, -2, 0), Vector3(1e-7f, 1, -1e-7f)}) {
    const Matrix3 r = Matrix3::RotationMatrixLookAt(direction);
    EXPECT_EQ(r.GetColumn(0), Vector3(-1, 0, 0));
    EXPECT_TRUE(Near(r.GetColumn(2), direction.Normalized()));
    EXPECT_TRUE(Near(r.Determinant(), 1.0f));
  }
  EXPECT_EQ(Matrix3::RotationMatrixLookAt(Vector3(0, 2, 0)).GetColumn(1), Vector3(0, 0, 1));
  EXPECT_EQ(Matrix3::RotationMatrixLookAt(Vector3()), Matrix3::Identity);
  EXPECT_EQ(Matrix3::RotationMatrixLookAt(Vector3(), Vector3(0, 1, 0)), Matrix3::Identity);
  // A zero up vector divides by 1: degenerate axes, but no NaN.
  for (float v : Matrix3::RotationMatrixLookAt(Vector3(1, 2, 3), Vector3()).m) EXPECT_TRUE(std::isfinite(v));
}

TEST(LookAt, Matrix4KeepsPositionAndScale) {
  tv::test::Inputs in;
  for (int i = 0; i < 50; ++i) {
    const Vector3 position = in.Vector(), scale = in.Vector(0.5f, 3), target = in.Vector(), up = in.Vector();
    Matrix4 m = Matrix4::TransformationMatrix(position, in.Rotation(), scale);
    m.LookAt(target, up);
    // Unscaled, it is the inverse of glm's left-handed view matrix.
    const glm::mat4 view_inverse = glm::inverse(glm::lookAtLH(ToGlm(position), ToGlm(target), ToGlm(up)));
    EXPECT_TRUE(Near(m, view_inverse * glm::scale(glm::mat4(1.0f), ToGlm(scale)), 1e-4f));
  }
  // A target at the position leaves the axes unrotated, keeping their lengths.
  Matrix4 m = Matrix4::TransformationMatrix({1, 2, 3}, Matrix3::RotationZ(1), {2, 2, 2});
  m.LookAt({1, 2, 3}, {0, 1, 0});
  EXPECT_TRUE(Near(m, ToGlm(Matrix4::TransformationMatrix({1, 2, 3}, Matrix3::Identity, {2, 2, 2}))));
}

} // namespace
