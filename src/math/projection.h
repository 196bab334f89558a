#pragma once
// Projection matrices for the left-handed view space (+Z into the screen) onto clip space whose
// depth runs from 0 at the near plane to 1 at the far plane.

#include "math/matrix44.h"
#include "math/vector2.h"

namespace tv {

// m00 = zoom / aspect.x, m11 = zoom / aspect.y, m22 = far / (far − near), m23 = −m22 × near,
// m32 = 1: clip w is the view depth.
Matrix44 PerspectiveMatrix(float z_near, float z_far, float zoom, const Vector2& aspect);
// A view `size` units high (for an aspect of 1) centred on the view axis.
Matrix44 OrthographicMatrix(float z_near, float z_far, float size, const Vector2& aspect);
// Pixels to clip space: x from 0 to width; y from 0 at the top to height at the bottom, or from 0 at
// the bottom with `y_origin_bottom`.
Matrix44 Projection2DMatrix(float z_near, float z_far, float width, float height, bool y_origin_bottom);

// Planes and zoom factor read back from a perspective matrix.
float GetPerspectiveNear(const Matrix44& projection);
float GetPerspectiveFar(const Matrix44& projection);
float GetPerspectiveZoom(const Matrix44& projection);

// 1 / tan(fov / 2), with the field of view held between 0.1° and 179.9° so that the factor stays
// finite.
float ZoomFactorFromFov(float fov);
// 2 × atan(1 / zoom).
float FovFromZoomFactor(float zoom);

} // namespace tv
