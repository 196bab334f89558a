#pragma once
// Small classes with the shapes the serialization tests need, and a fixture that registers them
// next to the core's types in the registry of the process.

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "core/core_registration.h"
#include "document/type_serialization.h"
#include "document_test_support.h"
#include "math/rotation_order.h"
#include "math/vector3.h"
#include "reflection/math_type_names.h"
#include "reflection/type_registration.h"
#include "reflection/type_registry.h"
#include "scene/scene_type_names.h"

namespace serialize_test {

struct Settings {  // every field has a default
  int32_t count = 5;
  float scale = 1.0f;
  uint8_t level = 0;
  char letter = 0;
  int16_t shift = 0;
  std::string label;
  tv::RotationOrder order = tv::RotationOrder::ZYX;
  tv::Vector3 offset;
};
struct Record {  // no field but "Hidden" has a default, so they are always written; "Hidden" never is
  int32_t id = 0;
  std::vector<int32_t> values;
  std::vector<tv::Vector3> points;
  tv::RotationOrder order = tv::RotationOrder::ZYX;
  bool hidden = false;
  bool operator==(const Record&) const = default;
};
struct Part {
  bool enabled = true;
  int32_t weight = 0;
};
struct Wheel : Record, Part {  // a pad in front of the base, so that a missing cast would show
  float radius = 1;
};
struct Strict {  // a base whose field has no default, so that a base scope can fail
  int32_t must = 0;
};
struct Loose : Strict {
  int32_t after = 0;
  std::vector<int32_t> tail;
};
struct Tagged {  // its serializer writes "Kind" = "tagged", then lets the generic walk go on
  int32_t value = 0;
};
struct Wrapped {  // read and written inside a scope "Wrapper" of its own
  int32_t v = 0;
};
struct Scaled {  // "Amount" has an adapter: ten times the value in the document
  int32_t amount = 0;
};
struct Holder {  // a shared pointer field whose type has no serializer and no fields
  std::shared_ptr<tv::Scene> scene;
  int32_t marker = 0;
};

// Every kind of field the binary walk reads its own way: narrow integers, fields with and without
// defaults, a property, an enum, a nested class, a vector of classes and a base.
struct SampleBase {
  int32_t id = 0;
  std::string label;
};
struct SampleInner {
  float weight = 0;
  std::vector<int32_t> values;
  Tagged tag;  // its serializer records the context's stack
};
struct Sample : SampleBase {
  bool flag = false;
  char letter = 'z';
  int16_t shift = 7;
  int32_t count = 0;  // no default, as "Mask"
  uint8_t level = 9;
  uint16_t port = 0;
  uint32_t mask = 0;
  float scale = 1;
  std::string name;
  tv::RotationOrder order = tv::RotationOrder::ZYX;
  SampleInner inner;
  std::vector<SampleInner> inners;
  std::vector<Tagged> tags;
  std::vector<SampleBase> labels;  // through a factory without ResizeContiguous
  int32_t stored = 0;  // reached only through the property "Hidden"
};

// What the serializer of Tagged saw of the context when it was called.
struct SerializerCall {
  size_t stack_size = 0;
  const void* top_object = nullptr;
  std::string top_type;
};
// The calls of Tagged's serializer, oldest first; cleared by RegisterTestTypes.
std::vector<SerializerCall>& TaggedCalls();
void RegisterTestTypes(tv::TypeRegistry& registry);

class TypesTest : public tv_test::DocumentTest {
protected:
  void SetUp() override {
    DocumentTest::SetUp();
    tv::RegisterCoreTypes(registry);
    RegisterTestTypes(registry);
    tv::types = &registry;
  }
  void TearDown() override {
    tv::types = nullptr;
    DocumentTest::TearDown();
  }
  tv::TypeRegistry registry;
};

} // namespace serialize_test

namespace tv {
TV_TYPE_NAME(serialize_test::Settings, "Settings");
TV_TYPE_NAME(serialize_test::Record, "Record");
TV_TYPE_NAME(serialize_test::Part, "Part");
TV_TYPE_NAME(serialize_test::Wheel, "Wheel");
TV_TYPE_NAME(serialize_test::Strict, "Strict");
TV_TYPE_NAME(serialize_test::Loose, "Loose");
TV_TYPE_NAME(serialize_test::Tagged, "Tagged");
TV_TYPE_NAME(serialize_test::Wrapped, "Wrapped");
TV_TYPE_NAME(serialize_test::Scaled, "Scaled");
TV_TYPE_NAME(serialize_test::Holder, "Holder");
TV_TYPE_NAME(serialize_test::SampleBase, "WalkBase");
TV_TYPE_NAME(serialize_test::SampleInner, "WalkInner");
TV_TYPE_NAME(serialize_test::Sample, "WalkSample");
} // namespace tv
