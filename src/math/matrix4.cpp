#include "math/matrix4.h"

namespace tv {

Matrix4 Matrix4::InverseFast() const {
  Matrix3 r = GetMatrix3().Transposed();
  for (size_t row = 0; row < 3; ++row) {
    const float length2 = GetColumn(row).LengthSquared();
    const float f = length2 > 0 ? 1.0f / length2 : 1.0f;
    for (size_t c = 0; c < 3; ++c) r(row, c) *= f;
  }
  return Matrix4(r, -(r * GetTranslation()));
}

Matrix4 Matrix4::Inverse() const {
  const Matrix3 a = GetMatrix3();
  if (a.Determinant() == 0) return Identity;
  const Matrix3 r = a.Inverse();
  return Matrix4(r, -(r * GetTranslation()));
}

void Matrix4::LookAt(const Vector3& target, const Vector3& up) {
  const Vector3 scale = GetScale();
  SetMatrix3(Matrix3::RotationMatrixLookAt(target - GetTranslation(), up) * Matrix3::ScaleMatrix(scale));
}

} // namespace tv
