#pragma once
// Run-time names of the math value types. Their vectors follow the vector rule of TypeName.

#include "math/color.h"
#include "math/matrix3.h"
#include "math/matrix4.h"
#include "math/matrix44.h"
#include "math/min_max.h"
#include "math/obb.h"
#include "math/quaternion.h"
#include "math/rotation_order.h"
#include "math/vector2.h"
#include "math/vector3.h"
#include "math/vector4.h"
#include "reflection/type_name.h"

namespace tv {

TV_TYPE_NAME(Color, "Color");
TV_TYPE_NAME(Vector2, "Vector2");
TV_TYPE_NAME(IntVector2, "IntVector2");
TV_TYPE_NAME(Vector3, "Vector3");
TV_TYPE_NAME(Vector4, "Vector4");
TV_TYPE_NAME(Quaternion, "Quaternion");
TV_TYPE_NAME(Matrix3, "Matrix3");
TV_TYPE_NAME(Matrix4, "Matrix4");
TV_TYPE_NAME(Matrix44, "Matrix44");
TV_TYPE_NAME(MinMax, "MinMax");
TV_TYPE_NAME(OBB, "OBB");
TV_TYPE_NAME(RotationOrder, "RotationOrder");
TV_TYPE_NAME(Axis, "Axis");

} // namespace tv
