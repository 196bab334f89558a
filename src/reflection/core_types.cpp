#include "reflection/core_types.h"

#include <string>

#include "foundation/binary_data.h"
#include "reflection/math_type_names.h"
#include "reflection/type_registration.h"

namespace tv {
namespace {

// The fields "m<row><column>" of a row-major float matrix, with the defaults of its identity.
template <typename M>
void AddMatrixFields(Type* type, uint32_t rows, uint32_t columns) {
  const M identity{};
  for (uint32_t row = 0; row < rows; ++row) {
    for (uint32_t column = 0; column < columns; ++column) {
      const uint32_t index = row * columns + column;
      // Appended rather than "m" + ...: GCC 12 warns falsely on a literal prepended to a string.
      std::string field_name = "m";
      field_name += std::to_string(row);
      field_name += std::to_string(column);
      type->AddField(field_name,
                     new ClassField<M, float>(MemberOffset(&M::m) + index * uint32_t(sizeof(float)), TypeName<float>()),
                     identity.m[index]);
    }
  }
}

template <typename V>
void AddXYZW(Type* type) {
  AddMemberField(type, "x", &V::x);
  AddMemberField(type, "y", &V::y);
  AddMemberField(type, "z", &V::z);
  AddMemberField(type, "w", &V::w);
}

} // namespace

void RegisterBasicTypes(TypeRegistry& registry) {
  // Step 1. Basic types have no alias: their names are the document's own vocabulary.
  RegisterValueType<bool>(registry);
  RegisterValueType<char>(registry);
  RegisterValueType<int16_t>(registry);
  RegisterValueType<int32_t>(registry);
  RegisterValueType<uint8_t>(registry);
  RegisterValueType<uint16_t>(registry);
  RegisterValueType<uint32_t>(registry);
  RegisterValueType<float>(registry);
  RegisterValueType<std::string>(registry);
  // "None" names the absence of a value (what a method without result returns): no instance,
  // no factory, no size.
  registry.GetType("None");
  RegisterValueType<Function>(registry);
  RegisterValueType<CFunction>(registry);

  // Step 2.
  RegisterVectorType<char>(registry);
  RegisterVectorType<int16_t>(registry);
  RegisterVectorType<int32_t>(registry);
  RegisterVectorType<uint8_t>(registry);
  RegisterVectorType<uint16_t>(registry);
  RegisterVectorType<uint32_t>(registry);
  RegisterVectorType<float>(registry);
  RegisterVectorType<std::string>(registry);
}

void RegisterMathTypes(TypeRegistry& registry) {
  // Binary blocks are written by their own serializer; as a type they only need to exist.
  RegisterValueType<BinaryData>(registry);

  Type* color = RegisterValueType<Color>(registry, "tv::Color");
  AddMemberField(color, "r", &Color::r);
  AddMemberField(color, "g", &Color::g);
  AddMemberField(color, "b", &Color::b);
  AddMemberField(color, "a", &Color::a);
  RegisterVectorType<Color>(registry);

  Type* vector2 = RegisterValueType<Vector2>(registry, "tv::tVector2<float>");
  AddMemberField(vector2, "x", &Vector2::x);
  AddMemberField(vector2, "y", &Vector2::y);
  RegisterVectorType<Vector2>(registry);

  Type* int_vector2 = RegisterValueType<IntVector2>(registry, "tv::tVector2<int>");
  AddMemberField(int_vector2, "x", &IntVector2::x);
  AddMemberField(int_vector2, "y", &IntVector2::y);
  RegisterVectorType<IntVector2>(registry);

  Type* vector3 = RegisterValueType<Vector3>(registry, "tv::Vector3");
  AddMemberField(vector3, "x", &Vector3::x);
  AddMemberField(vector3, "y", &Vector3::y);
  AddMemberField(vector3, "z", &Vector3::z);
  vector3->AddMethod("Normalized", new ClassConstMethod<Vector3, Vector3>(vector3, &Vector3::Normalized));
  RegisterVectorType<Vector3>(registry);

  AddXYZW<Vector4>(RegisterValueType<Vector4>(registry, "tv::Vector4"));
  RegisterVectorType<Vector4>(registry);

  AddMatrixFields<Matrix3>(RegisterValueType<Matrix3>(registry, "tv::Matrix3"), 3, 3);
  RegisterVectorType<Matrix3>(registry);
  AddMatrixFields<Matrix4>(RegisterValueType<Matrix4>(registry, "tv::Matrix4"), 3, 4);
  RegisterVectorType<Matrix4>(registry);
  AddMatrixFields<Matrix44>(RegisterValueType<Matrix44>(registry, "tv::Matrix44"), 4, 4);
  RegisterVectorType<Matrix44>(registry);

  AddXYZW<Quaternion>(RegisterValueType<Quaternion>(registry, "tv::Quaternion"));
  RegisterVectorType<Quaternion>(registry);

  Type* min_max = RegisterValueType<MinMax>(registry, "tv::MinMax");
  AddMemberField(min_max, "min", &MinMax::min);
  AddMemberField(min_max, "max", &MinMax::max);

  Type* obb = RegisterValueType<OBB>(registry, "tv::OBB");
  AddMemberField(obb, "position", &OBB::position);
  AddMemberField(obb, "rotation", &OBB::rotation);
  AddMemberField(obb, "scale", &OBB::scale);

  // Value 4 has two names; "Default" comes first in name order, so 4 is written as "Default".
  RegisterEnumType<RotationOrder>(registry, "tv::RotationOrder",
                                  {{"ZYX", 0}, {"YZX", 1}, {"ZXY", 2}, {"XZY", 3}, {"YXZ", 4}, {"XYZ", 5}, {"XY", 6},
                                   {"Default", 4}});
  RegisterEnumType<Axis>(registry, "tv::Axis",
                         {{"AxisX", 0}, {"AxisY", 1}, {"AxisZ", 2}, {"AxisRotX", 3}, {"AxisRotY", 4}, {"AxisRotZ", 5},
                          {"AxisLast", 6}});
}

void RegisterValueTypes(TypeRegistry& registry) {
  RegisterBasicTypes(registry);  // steps 1 and 2
  RegisterMathTypes(registry);   // step 3
}

} // namespace tv
