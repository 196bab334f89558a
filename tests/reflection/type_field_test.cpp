// Fields: SetValue's conversions, defaults, IsDefault and ResetToDefault.

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>

#include "math/vector3.h"
#include "reflection/core_types.h"
#include "reflection/math_type_names.h"
#include "reflection/type_registration.h"
#include "reflection/type_registry.h"

namespace {

struct Thing {
  float weight = 0;
  tv::RotationOrder order = tv::RotationOrder::ZYX;
  std::shared_ptr<tv::Vector3> target;
  tv::Vector3 offset;
  tv::Vector3 scale_storage;  // reached only through ScaleAccessor
  int scale_sets = 0;
};

struct ScaleAccessor {
  static tv::Vector3 Get(const Thing& thing) { return thing.scale_storage; }
  static void Set(Thing& thing, const tv::Vector3& scale) {
    thing.scale_storage = scale;
    ++thing.scale_sets;
  }
};

struct Tuned {
  float gain = 1;
  int32_t taps = 8;
};

} // namespace

namespace tv {
TV_TYPE_NAME(Thing, "Thing");
TV_TYPE_NAME(Tuned, "Tuned");
} // namespace tv

namespace {

class TypeFields : public ::testing::Test {
protected:
  void SetUp() override {
    tv::RegisterValueTypes(registry_);
    tv::RegisterSharedPtrType<tv::Vector3>(registry_, "tv::Vector3");
    thing_type_ = tv::RegisterValueType<Thing>(registry_, "tv::Thing");
    thing_type_->AddField("Weight", new tv::ClassField<Thing, float>(&Thing::weight))
        .AddField("Order", new tv::ClassField<Thing, tv::RotationOrder>(&Thing::order))
        .AddField("Target", new tv::ClassField<Thing, std::shared_ptr<tv::Vector3>>(&Thing::target))
        .AddField("Offset", new tv::ClassField<Thing, tv::Vector3>(&Thing::offset))
        .AddField("Scale", new tv::ClassProperty<Thing, tv::Vector3, ScaleAccessor>());
    tuned_type_ = tv::RegisterValueType<Tuned>(registry_, "tv::Tuned");
    tv::AddMemberField(tuned_type_, "Gain", &Tuned::gain);
    tv::AddMemberField(tuned_type_, "Taps", &Tuned::taps);
  }
  const tv::TypeField& Field(const char* name) const { return *thing_type_->FindField(name); }
  template <typename T>
  tv::TypeValue Value(const T& value) {
    return tv::TypeValue(registry_.GetType<T>(), &value);
  }

  tv::TypeRegistry registry_;
  tv::Type* thing_type_ = nullptr;
  tv::Type* tuned_type_ = nullptr;
};

TEST_F(TypeFields, AddFieldResolvesTheTypeAndReplacesAFieldOfTheSameName) {
  EXPECT_EQ(Field("Target").type->name, "std::shared_ptr<Vector3>");
  EXPECT_EQ(Field("Target").type->shared_ptr_accessor->GetPointeeType(), registry_.GetType("Vector3"));
  EXPECT_EQ(Field("Order").type, registry_.GetType("RotationOrder"));

  thing_type_->AddField("Weight", new tv::ClassField<Thing, float>(&Thing::weight), false);
  EXPECT_FALSE(registry_.IsSerialized(thing_type_, &Field("Weight")));
  thing_type_->AddField("Weight", new tv::ClassField<Thing, float>(&Thing::weight), 2.0f);
  EXPECT_TRUE(registry_.IsSerialized(thing_type_, &Field("Weight")));
  EXPECT_TRUE(registry_.excluded_fields[thing_type_].empty());  // no pointer to the deleted field is left
  EXPECT_EQ(Field("Weight").default_value.As<float>(), 2.0f);
  EXPECT_EQ(thing_type_->fields.size(), 5u);
}

// SetValue's conversions, in order on one Thing: its own type stores, another type is refused and
// leaves the field alone, no value clears only a shared pointer, an Int goes into an enum at the
// enum's width, a pointee value becomes the pointer's own copy, a shared pointer value shares.
TEST_F(TypeFields, SetValueConvertsOrRefuses) {
  Thing thing;
  auto shared = std::make_shared<tv::Vector3>(4, 5, 6);
  const tv::TypeValue point = Value(tv::Vector3(1, 2, 3));
  const struct {
    const char* field;
    tv::TypeValue value;
    bool stored;
    std::function<bool()> holds;
  } rows[] = {
      {"Weight", Value(0.25f), true, [&] { return thing.weight == 0.25f; }},
      {"Weight", Value(int32_t(3)), false, [&] { return thing.weight == 0.25f; }},
      {"Weight", tv::TypeValue(), false, [&] { return thing.weight == 0.25f; }},
      {"Offset", Value(1.0f), false, [&] { return thing.offset == tv::Vector3(); }},
      {"Order", Value(int32_t(5)), true, [&] { return thing.order == tv::RotationOrder::XYZ; }},
      {"Order", Value(int32_t(256 + 4)), true, [&] { return thing.order == tv::RotationOrder::YXZ; }},
      {"Order", Value(uint8_t(1)), false, [&] { return thing.order == tv::RotationOrder::YXZ; }},
      {"Target", point, true,
       [&] { return thing.target && *thing.target == tv::Vector3(1, 2, 3) && thing.target.get() != point.instance; }},
      {"Target", tv::TypeValue(), true, [&] { return thing.target == nullptr; }},
      {"Target", Value(shared), true, [&] { return thing.target == shared; }},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(std::string(row.field) + " from " + (row.value.type ? row.value.type->name : "no value"));
    EXPECT_EQ(Field(row.field).SetValue(&thing, row.value), row.stored);
    EXPECT_TRUE(row.holds());
  }
  EXPECT_EQ(Field("Weight").GetValue(&thing).As<float>(), 0.25f);
}

TEST_F(TypeFields, IsDefaultNeedsADefaultOnEveryField) {
  Tuned tuned;
  EXPECT_TRUE(tuned_type_->IsDefault(&tuned));
  tuned.taps = 9;
  EXPECT_FALSE(tuned_type_->IsDefault(&tuned));
  EXPECT_FALSE(tuned_type_->IsDefault(nullptr));
  // Thing has fields without a default: never default, so always written.
  Thing thing;
  EXPECT_FALSE(thing_type_->IsDefault(&thing));
  // No fields at all: default.
  EXPECT_TRUE(registry_.GetType("Function")->IsDefault(&thing));
}

TEST_F(TypeFields, ResetToDefaultRecursesAndGoesThroughATemporaryForAProperty) {
  Tuned tuned{0.5f, 1};
  tuned_type_->ResetToDefault(&tuned);
  EXPECT_EQ(tuned.gain, 1.0f);
  EXPECT_EQ(tuned.taps, 8);

  Thing thing;
  EXPECT_EQ(Field("Scale").GetPointer(&thing), nullptr);
  EXPECT_EQ(Field("Offset").GetPointer(&thing), &thing.offset);
  thing.offset = {1, 2, 3};
  thing.scale_storage = {4, 5, 6};
  thing.target = std::make_shared<tv::Vector3>(7, 8, 9);
  thing_type_->ResetToDefault(&thing);
  EXPECT_EQ(thing.offset, tv::Vector3());         // in place, field by field of Vector3
  EXPECT_EQ(thing.scale_storage, tv::Vector3());  // read, reset and stored back
  EXPECT_EQ(thing.scale_sets, 1);
  EXPECT_EQ(*thing.target, tv::Vector3(7, 8, 9));  // a pointer type has no fields to reset
}

TEST_F(TypeFields, VectorsAreReachedThroughTheirContainerInterfaces) {
  tv::Type* floats = registry_.GetType("FloatVector");
  ASSERT_NE(floats->container_factory, nullptr);
  std::vector<float> values{1, 2};
  auto reader = floats->container_factory->MakeReadInterface(&values);
  EXPECT_EQ(reader->element_type, registry_.GetType("Float"));
  EXPECT_EQ(reader->GetSize(), 2u);
  tv::TypeValue second;
  reader->GetValue(second, 1);
  EXPECT_EQ(second.As<float>(), 2.0f);
  EXPECT_NE(second.instance, static_cast<void*>(&values[1]));
  EXPECT_EQ(reader->GetPointer(1), &values[1]);
  EXPECT_EQ(reader->GetPointer(2), nullptr);

  auto writer = floats->container_factory->MakeWriteInterface(&values);
  EXPECT_TRUE(writer->Resize(3));
  EXPECT_TRUE(writer->SetValue(2, Value(5.0f)));
  EXPECT_FALSE(writer->SetValue(3, Value(6.0f)));
  EXPECT_FALSE(writer->SetValue(0, Value(int32_t(6))));
  EXPECT_EQ(values, (std::vector<float>{1, 2, 5}));
  EXPECT_EQ(writer->GetPointer(0), &values[0]);
}

TEST_F(TypeFields, NormalizedIsCallableOnVector3) {
  const tv::TypeMethod* normalized = registry_.GetType("Vector3")->methods.at("Normalized").get();
  EXPECT_EQ(normalized->GetParameterCount(), 0u);
  EXPECT_EQ(normalized->GetReturnType(), registry_.GetType("Vector3"));
  EXPECT_EQ(normalized->GetParameterType(0), nullptr);
  tv::Vector3 v(3, 0, 4);
  tv::TypeValue out;
  ASSERT_TRUE(normalized->Call(&v, nullptr, 0, &out));
  EXPECT_EQ(out.As<tv::Vector3>(), tv::Vector3(0.6f, 0, 0.8f));
  tv::Vector3 zero;
  ASSERT_TRUE(normalized->Call(&zero, nullptr, 0, &out));
  EXPECT_EQ(out.As<tv::Vector3>(), tv::Vector3());
  EXPECT_TRUE(normalized->Call(&v, nullptr, 0, nullptr));
  const tv::TypeValue argument = Value(1.0f);
  EXPECT_FALSE(normalized->Call(&v, &argument, 1, &out));
}

} // namespace
