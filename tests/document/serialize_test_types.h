#pragma once
// Small classes with the shapes the serialization tests need, registered in a test registry next
// to the core's types.

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "document/type_serialization.h"
#include "math/rotation_order.h"
#include "math/vector3.h"
#include "reflection/math_type_names.h"
#include "reflection/type_registration.h"
#include "reflection/type_registry.h"
#include "scene/scene_type_names.h"

namespace serialize_test {

// Every field has a default.
struct Settings {
  int32_t count = 5;
  float scale = 1.0f;
  uint8_t level = 0;
  char letter = 0;
  int16_t shift = 0;
  std::string label;
  tv::RotationOrder order = tv::RotationOrder::ZYX;
  tv::Vector3 offset;
};

// No field but "Hidden" has a default, so they are always written; "Hidden" never is.
struct Record {
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
// A pad in front of the base, so that a missing cast would show.
struct Wheel : Record, Part {
  float radius = 1;
};

// A base whose field has no default, so that a base scope can fail.
struct Strict {
  int32_t must = 0;
};
struct Loose : Strict {
  int32_t after = 0;
  std::vector<int32_t> tail;
};

// Written by TaggedSerializer.
struct Tagged {
  int32_t value = 0;
};

// Read and written inside a scope of its own.
struct Wrapped {
  int32_t v = 0;
};

// A field with an adapter.
struct Scaled {
  int32_t amount = 0;
};

// A shared pointer field whose type has no serializer and no fields.
struct Holder {
  std::shared_ptr<tv::Scene> scene;
  int32_t marker = 0;
};

// What TaggedSerializer saw of the context when it was called.
struct SerializerCall {
  size_t stack_size = 0;
  const void* top_object = nullptr;
  std::string top_type;
};

void RegisterTestTypes(tv::TypeRegistry& registry);
// The calls of TaggedSerializer, oldest first; cleared by RegisterTestTypes.
std::vector<SerializerCall>& TaggedCalls();

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
} // namespace tv
