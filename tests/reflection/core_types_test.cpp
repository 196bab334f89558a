// The registry as start-up leaves it: names, aliases, sizes, fields and enum tables.

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "foundation/binary_data.h"
#include "reflection/core_types.h"
#include "reflection/math_type_names.h"
#include "reflection/type_registry.h"
#include "reflection/value_text.h"

namespace {

class CoreTypes : public ::testing::Test {
protected:
  static void SetUpTestSuite() {
    registry_ = new tv::TypeRegistry();
    tv::RegisterValueTypes(*registry_);
  }
  static void TearDownTestSuite() {
    delete registry_;
    registry_ = nullptr;
  }
  static tv::Type* Find(const std::string& name) { return registry_->FindType(name); }

  static tv::TypeRegistry* registry_;
};
tv::TypeRegistry* CoreTypes::registry_ = nullptr;

TEST_F(CoreTypes, EveryNameOfTheTableIsThereAndNothingElse) {
  const std::vector<std::string> without_alias = {
      "Bool", "Char", "Short", "Int", "UnsignedChar", "UnsignedShort", "UnsignedInt", "Float", "String", "None",
      "Function", "CFunction", "CharVector", "ShortVector", "IntVector", "UnsignedCharVector", "UnsignedShortVector",
      "UnsignedIntVector", "FloatVector", "StringVector", "BinaryData", "ColorVector", "Vector2Vector",
      "IntVector2Vector", "Vector3Vector", "Vector4Vector", "QuaternionVector", "Matrix3Vector", "Matrix4Vector",
      "Matrix44Vector"};
  for (const std::string& name : without_alias) {
    SCOPED_TRACE(name);
    const tv::Type* type = Find(name);
    ASSERT_NE(type, nullptr);
    EXPECT_TRUE(registry_->GetAliases(type).empty());
    EXPECT_EQ(type->native_name, name);
    EXPECT_EQ(type->factory == nullptr, name == "None");
  }
  const std::vector<std::pair<std::string, std::string>> with_alias = {
      {"Color", "tv::Color"},           {"Vector2", "tv::tVector2<float>"}, {"IntVector2", "tv::tVector2<int>"},
      {"Vector3", "tv::Vector3"},       {"Vector4", "tv::Vector4"},         {"Quaternion", "tv::Quaternion"},
      {"Matrix3", "tv::Matrix3"},       {"Matrix4", "tv::Matrix4"},         {"Matrix44", "tv::Matrix44"},
      {"MinMax", "tv::MinMax"},         {"OBB", "tv::OBB"},                 {"RotationOrder", "tv::RotationOrder"},
      {"Axis", "tv::Axis"}};
  for (const auto& [name, alias] : with_alias) {
    SCOPED_TRACE(name);
    const tv::Type* type = Find(name);
    ASSERT_NE(type, nullptr);
    EXPECT_EQ(registry_->GetAliases(type), std::vector<std::string>{alias});
    EXPECT_EQ(type->native_name, alias);
    EXPECT_NE(type->factory, nullptr);
  }
  // A stray lookup of a misspelt name would have added an empty type.
  EXPECT_EQ(registry_->types.size(), without_alias.size() + with_alias.size());
}

TEST_F(CoreTypes, SizesAndTheNineBasicTypes) {
  EXPECT_EQ(Find("Bool")->size, 1u);
  EXPECT_EQ(Find("Short")->size, 2u);
  EXPECT_EQ(Find("UnsignedInt")->size, 4u);
  EXPECT_EQ(Find("String")->size, sizeof(std::string));
  EXPECT_EQ(Find("None")->size, 0u);
  EXPECT_EQ(Find("Matrix4")->size, 48u);
  EXPECT_EQ(Find("OBB")->size, 60u);
  EXPECT_EQ(Find("BinaryData")->size, sizeof(tv::BinaryData));
  EXPECT_EQ(Find("FloatVector")->size, sizeof(std::vector<float>));
  int basic = 0;
  for (const auto& [name, type] : registry_->types) basic += type->IsBasic();
  EXPECT_EQ(basic, 9);
  EXPECT_FALSE(Find("None")->IsBasic());
}

TEST_F(CoreTypes, VectorsKnowTheirElements) {
  for (const char* element : {"Char", "String", "Color", "IntVector2", "Matrix44", "Quaternion"}) {
    SCOPED_TRACE(element);
    const tv::Type* vector = Find(std::string(element) + "Vector");
    ASSERT_NE(vector->container_factory, nullptr);
    std::vector<char> any;  // the interface only holds the pointer
    EXPECT_EQ(vector->container_factory->MakeReadInterface(&any)->element_type, Find(element));
  }
}

TEST_F(CoreTypes, MatrixFieldsAddressRowTimesColumnCountPlusColumn) {
  const struct {
    const char* type;
    const char* field;
    size_t index;
    size_t count;
  } cases[] = {{"Matrix3", "m12", 5, 9},   {"Matrix3", "m22", 8, 9},    {"Matrix4", "m12", 6, 12},
               {"Matrix4", "m23", 11, 12}, {"Matrix44", "m12", 6, 16}, {"Matrix44", "m33", 15, 16}};
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.type) + "." + c.field);
    const tv::Type* type = Find(c.type);
    EXPECT_EQ(type->fields.size(), c.count);
    float storage[16] = {};
    storage[c.index] = 42;
    const tv::TypeField* field = type->FindField(c.field);
    ASSERT_NE(field, nullptr);
    EXPECT_EQ(field->GetValue(storage).As<float>(), 42.0f);
  }
  tv::Matrix4 identity;
  EXPECT_TRUE(Find("Matrix4")->IsDefault(&identity));
  identity.m[3] = 1;
  EXPECT_FALSE(Find("Matrix4")->IsDefault(&identity));
  Find("Matrix4")->ResetToDefault(&identity);
  EXPECT_EQ(identity, tv::Matrix4());
  tv::Quaternion turned(0, 1, 0, 0);
  Find("Quaternion")->ResetToDefault(&turned);
  EXPECT_EQ(turned, tv::Quaternion());
}

TEST_F(CoreTypes, BoxesAndColoursHaveTheirNamedFields) {
  auto names = [](const tv::Type* type) {
    std::vector<std::string> list;
    for (const auto& [name, field] : type->fields) list.push_back(name + ":" + field->type->name);
    return list;
  };
  EXPECT_EQ(names(Find("OBB")), (std::vector<std::string>{"position:Vector3", "rotation:Matrix3", "scale:Vector3"}));
  EXPECT_EQ(names(Find("MinMax")), (std::vector<std::string>{"max:Vector3", "min:Vector3"}));
  EXPECT_EQ(names(Find("Color")), (std::vector<std::string>{"a:Float", "b:Float", "g:Float", "r:Float"}));
  EXPECT_EQ(names(Find("IntVector2")), (std::vector<std::string>{"x:Int", "y:Int"}));
  tv::OBB box;
  box.rotation.m[1] = 0.5f;
  EXPECT_FALSE(Find("OBB")->IsDefault(&box));  // the identity is the rotation's default
}

TEST_F(CoreTypes, EnumTablesWithDefaultAsTheNameOfFour) {
  const tv::Type* order = Find("RotationOrder");
  EXPECT_EQ(order->size, 1u);
  EXPECT_EQ(order->enum_values.size(), 8u);
  EXPECT_EQ(order->enum_values.at("Default"), 4);
  EXPECT_EQ(order->enum_values.at("XY"), 6);
  EXPECT_EQ(*order->GetEnumName(4), "Default");
  EXPECT_EQ(*order->GetEnumName(0), "ZYX");
  EXPECT_EQ(order->GetEnumName(7), nullptr);
  const tv::TypeValue yxz = order->enum_cast->ToValue(4);
  EXPECT_EQ(yxz.As<tv::RotationOrder>(), tv::RotationOrder::YXZ);
  EXPECT_EQ(order->enum_cast->ToInt(yxz.instance), 4);

  const tv::Type* axis = Find("Axis");
  EXPECT_EQ(axis->enum_values,
            (std::map<std::string, int32_t>{{"AxisX", 0}, {"AxisY", 1}, {"AxisZ", 2}, {"AxisRotX", 3}, {"AxisRotY", 4},
                                            {"AxisRotZ", 5}, {"AxisLast", 6}}));
}

TEST_F(CoreTypes, ValuesDescribeThemselvesForPeople) {
  const tv::Vector3 point(1, 0.1f, -2.5f);
  EXPECT_EQ(tv::DescribeValue(Find("Vector3"), &point), "{x: 1, y: 0.1, z: -2.5}");
  const tv::RotationOrder order = tv::RotationOrder::YXZ;
  EXPECT_EQ(tv::DescribeValue(Find("RotationOrder"), &order), "Default");
  const std::string text = "a b";
  EXPECT_EQ(tv::DescribeValue(Find("String"), &text), "\"a b\"");
  const bool yes = true;
  EXPECT_EQ(tv::DescribeValue(Find("Bool"), &yes), "true");
  const std::vector<tv::Color> colours(2);
  EXPECT_EQ(tv::DescribeValue(Find("ColorVector"), &colours), "[2 elements]");
  EXPECT_EQ(tv::DescribeValue(Find("None"), &yes), "?");
  EXPECT_EQ(tv::DescribeValue(nullptr, &yes), "?");
}

} // namespace
