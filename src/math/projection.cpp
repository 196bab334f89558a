#include "math/projection.h"

#include <algorithm>
#include <cmath>

namespace tv {

Matrix44 PerspectiveMatrix(float z_near, float z_far, float zoom, const Vector2& aspect) {
  const float m22 = z_far / (z_far - z_near);
  return {zoom / aspect.x, 0, 0, 0, 0, zoom / aspect.y, 0, 0, 0, 0, m22, -m22 * z_near, 0, 0, 1, 0};
}

Matrix44 OrthographicMatrix(float z_near, float z_far, float size, const Vector2& aspect) {
  const float m22 = 1 / (z_far - z_near);
  return {(2 / size) / aspect.x, 0, 0, 0, 0, (2 / size) / aspect.y, 0, 0, 0, 0, m22, -m22 * z_near, 0, 0, 0, 1};
}

Matrix44 Projection2DMatrix(float z_near, float z_far, float width, float height, bool y_origin_bottom) {
  const float m22 = 1 / (z_far - z_near);
  const float m11 = y_origin_bottom ? 2 / height : -2 / height;
  const float m13 = y_origin_bottom ? -1 : 1;
  return {2 / width, 0, 0, -1, 0, m11, 0, m13, 0, 0, m22, -m22 * z_near, 0, 0, 0, 1};
}

float GetPerspectiveNear(const Matrix44& p) { return -p(2, 3) / p(2, 2); }

float GetPerspectiveFar(const Matrix44& p) { return GetPerspectiveNear(p) * p(2, 2) / (p(2, 2) - 1); }

float GetPerspectiveZoom(const Matrix44& p) { return p(1, 1); }

float ZoomFactorFromFov(float fov) { return 1 / std::tan(std::clamp(fov, 0.0017453294f, 3.1398473f) / 2); }

float FovFromZoomFactor(float zoom) { return 2 * std::atan(1 / zoom); }

} // namespace tv
