#include <gtest/gtest.h>

#include <glm/ext/matrix_clip_space.hpp>

#include <cmath>
#include <numbers>

#include "glm_oracle.h"
#include "math/projection.h"

namespace {

using tv::Matrix44;
using tv::Vector2;
using tv::Vector4;
using tv::test::Near;

constexpr float kPi = std::numbers::pi_v<float>;

// Normalised device depth of a view-space point at depth z (left-handed: +Z in front).
float DeviceDepth(const Matrix44& projection, float z) {
  const Vector4 clip = projection * Vector4(0.3f, -0.2f, z, 1);
  return clip.z / clip.w;
}

TEST(Projection, PerspectiveIsTheLeftHandedZeroToOneProjection) {
  const float z_near = 0.2f, z_far = 1000, zoom = 3.2f;
  const Vector2 aspect(16.0f / 9.0f, 1.0f);
  const Matrix44 p = tv::PerspectiveMatrix(z_near, z_far, zoom, aspect);
  EXPECT_EQ(p, Matrix44(zoom / aspect.x, 0, 0, 0, 0, zoom, 0, 0, 0, 0, p.m[10], -p.m[10] * z_near, 0, 0, 1, 0));
  EXPECT_FLOAT_EQ(p(2, 2), z_far / (z_far - z_near));
  // glm::perspectiveLH_ZO takes the vertical field of view: zoom = 1 / tan(fovy / 2).
  EXPECT_TRUE(Near(p, glm::perspectiveLH_ZO(tv::FovFromZoomFactor(zoom), aspect.x, z_near, z_far), 1e-4f));

  // A non-unit aspect.y divides m11 alike.
  const Vector2 tall(1.0f, 2.0f);
  EXPECT_TRUE(Near(tv::PerspectiveMatrix(1, 50, 2, tall),
                   glm::perspectiveLH_ZO(tv::FovFromZoomFactor(2 / tall.y), tall.x / tall.y, 1.0f, 50.0f)));

  EXPECT_TRUE(Near(DeviceDepth(p, z_near), 0.0f));
  EXPECT_TRUE(Near(DeviceDepth(p, z_far), 1.0f));
  EXPECT_GT((p * Vector4(0, 0, 5, 1)).w, 0); // in front of the camera
}

TEST(Projection, PerspectiveReadsBack) {
  // Far comes from m22 − 1, which cancels: it keeps about −log10(ε × far / near) digits, so the
  // tolerance is relative 2e-3 for a far plane up to 5000 times the near one.
  for (const float z_near : {0.2f, 1.0f, 3.0f})
    for (const float z_far : {10.0f, 1000.0f}) {
      const Matrix44 p = tv::PerspectiveMatrix(z_near, z_far, 1.7f, {1.5f, 1});
      EXPECT_TRUE(Near(tv::GetPerspectiveNear(p), z_near, 1e-4f));
      EXPECT_TRUE(Near(tv::GetPerspectiveFar(p), z_far, 2e-3f));
      EXPECT_EQ(tv::GetPerspectiveZoom(p), 1.7f);
    }
}

TEST(Projection, OrthographicIsCentredAndZeroToOne) {
  const Vector2 aspect(1.5f, 1.0f);
  const float size = 8, z_near = 1, z_far = 101;
  const Matrix44 p = tv::OrthographicMatrix(z_near, z_far, size, aspect);
  const float half_w = size * aspect.x / 2, half_h = size * aspect.y / 2;
  EXPECT_TRUE(Near(p, glm::orthoLH_ZO(-half_w, half_w, -half_h, half_h, z_near, z_far)));
  EXPECT_FLOAT_EQ(p(0, 0), (2 / size) / aspect.x);
  EXPECT_EQ(p(3, 3), 1);
  EXPECT_TRUE(Near(DeviceDepth(p, z_near), 0.0f));
  EXPECT_TRUE(Near(DeviceDepth(p, z_far), 1.0f));
}

TEST(Projection, TwoDimensionalMapsPixelsWithEitherYOrigin) {
  const float w = 1280, h = 720;
  // Origin at the top: glm::orthoLH_ZO with bottom = h and top = 0; pixel (0, 0) lands on (−1, 1).
  const Matrix44 top = tv::Projection2DMatrix(0, 1, w, h, false);
  EXPECT_TRUE(Near(top, glm::orthoLH_ZO(0.0f, w, h, 0.0f, 0.0f, 1.0f)));
  EXPECT_EQ(top * Vector4(0, 0, 0, 1), Vector4(-1, 1, 0, 1));
  // Origin at the bottom: bottom = 0 and top = h.
  const Matrix44 bottom = tv::Projection2DMatrix(-1, 1, w, h, true);
  EXPECT_TRUE(Near(bottom, glm::orthoLH_ZO(0.0f, w, 0.0f, h, -1.0f, 1.0f)));
  EXPECT_EQ(bottom * Vector4(0, 0, -1, 1), Vector4(-1, -1, 0, 1));
}

TEST(Projection, ZoomFactorAndFieldOfViewAreInverseWithinTheClamp) {
  EXPECT_TRUE(Near(tv::ZoomFactorFromFov(kPi / 2), 1.0f));
  EXPECT_TRUE(Near(tv::FovFromZoomFactor(1.0f), kPi / 2));
  for (const float fov : {0.2f, 1.0f, 1.6580629f, 2.5f, 3.1f}) {
    EXPECT_TRUE(Near(tv::ZoomFactorFromFov(fov), 1 / glm::tan(fov / 2)));
    EXPECT_TRUE(Near(tv::FovFromZoomFactor(tv::ZoomFactorFromFov(fov)), fov));
  }
  // Held between 0.1° and 179.9°: 0 stays finite, and nothing wider than 179.9° flips the sign.
  const float at_tenth_degree = 1 / std::tan(0.0017453294f / 2);
  EXPECT_TRUE(Near(tv::ZoomFactorFromFov(0), at_tenth_degree));
  EXPECT_TRUE(Near(tv::ZoomFactorFromFov(-1), at_tenth_degree));
  EXPECT_TRUE(Near(tv::ZoomFactorFromFov(kPi), tv::ZoomFactorFromFov(3.1398473f)));
  EXPECT_GT(tv::ZoomFactorFromFov(4), 0);
}

} // namespace
