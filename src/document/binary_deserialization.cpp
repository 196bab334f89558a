#include "document/binary_deserialization.h"

#include <array>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <string>
#include <type_traits>
#include <unordered_map>
#include <utility>
#include <vector>

#include "document/basic_value_kind.h"
#include "document/binary_document_reader.h"
#include "document/type_serialization.h"
#include "reflection/type.h"

namespace tv {

namespace {

// A field of a class as the walk meets it.
struct FieldStep {
  const std::string* name;
  const TypeField* field;
  int32_t name_index;     // -1 where the document never uses the name
  BasicValueKind direct;  // None unless the value can be copied straight out of the image
  bool held_as_value;     // rather than in a scope of its own
};

struct BaseStep {
  int32_t name_index;
  Type* base;
};

struct ClassPlan {
  std::vector<FieldStep> fields;  // in field order, the order the writer puts them in
  std::vector<BaseStep> bases;
};

} // namespace

// Types are read-only once built, so a plan holds for the whole walk.
struct BinaryWalkState {
  // Node-based: a plan stays where it is while the walk of a nested type adds another.
  std::unordered_map<const Type*, ClassPlan> plans;
  // The plans last used, by a few bits of their type's address: a document has few types, and
  // the walk asks for one at every object.
  std::array<std::pair<const Type*, const ClassPlan*>, 16> recent{};
  int32_t slot = -1;
  int32_t value = -1;
};

BinaryWalkSession::BinaryWalkSession(BinaryDocumentReader& reader) : reader_(reader) {
  if (reader.walk_state != nullptr) return;
  owned_ = std::make_unique<BinaryWalkState>();
  owned_->slot = reader.FindName("slot");
  owned_->value = reader.FindName("value");
  reader.walk_state = owned_.get();
}

BinaryWalkSession::~BinaryWalkSession() {
  if (owned_ != nullptr) reader_.walk_state = nullptr;
}

namespace {

BinaryWalkState& StateOf(BinaryDocumentReader& reader) { return *static_cast<BinaryWalkState*>(reader.walk_state); }

// The kind of a value that the shared walk would read with nothing in between: no serializer,
// no scope of its own.
BasicValueKind DirectKind(const Type* type) {
  if (type == nullptr || type->serializer != nullptr || !type->document_scope.empty() ||
      type->container_factory != nullptr)
    return BasicValueKind::None;
  return GetBasicValueKind(type);
}

ClassPlan MakePlan(BinaryDocumentReader& reader, const Type* type) {
  ClassPlan plan;
  for (const auto& [name, field] : type->fields) {
    FieldStep step{&name, field.get(), reader.FindName(name), BasicValueKind::None, IsBasicStorage(*field)};
    // A field read through an adapter, or under an empty name, takes the shared walk.
    if (step.held_as_value && field->adapter == nullptr && !name.empty()) step.direct = DirectKind(field->type);
    plan.fields.push_back(step);
  }
  for (const auto& [base, caster] : type->bases)
    if (base != nullptr) plan.bases.push_back(BaseStep{reader.FindName(base->name), base});
  return plan;
}

const ClassPlan& PlanOf(BinaryDocumentReader& reader, BinaryWalkState& cache, const Type* type) {
  auto& recent = cache.recent[(reinterpret_cast<uintptr_t>(type) >> 4) % cache.recent.size()];
  if (recent.first == type) return *recent.second;
  auto found = cache.plans.find(type);
  if (found == cache.plans.end()) found = cache.plans.emplace(type, MakePlan(reader, type)).first;
  recent = {type, &found->second};
  return found->second;
}

// A number of tag `tag` stored as `Stored` when it lies in the range of `Range`, as the narrow
// reads of the reader interface do; otherwise `object` is left alone.
template <typename Range, typename Stored, typename Wide>
bool ReadNumber(BinaryDocumentReader& reader, int32_t name, uint32_t tag, void* object) {
  const BinaryDocumentNode* node = reader.FindValue(name, tag);
  if (node == nullptr) return false;
  Wide wide;
  std::memcpy(&wide, reader.Value(*node), sizeof wide);
  if constexpr (sizeof(Range) < sizeof(Wide)) {
    if (wide < Wide(std::numeric_limits<Range>::min()) || wide > Wide(std::numeric_limits<Range>::max())) return false;
  }
  *static_cast<Stored*>(object) = Stored(wide);
  return true;
}

bool ReadDirect(BinaryDocumentReader& reader, int32_t name, BasicValueKind kind, void* object) {
  if (name < 0) return false;
  switch (kind) {
  case BasicValueKind::Bool: {
    const BinaryDocumentNode* node = reader.FindValue(name, BinaryTagBool);
    if (node == nullptr) return false;
    *static_cast<bool*>(object) = reader.Value(*node)[0] != 0;
    return true;
  }
  case BasicValueKind::Char: return ReadNumber<int8_t, char, int32_t>(reader, name, BinaryTagInt, object);
  case BasicValueKind::Short: return ReadNumber<int16_t, int16_t, int32_t>(reader, name, BinaryTagInt, object);
  case BasicValueKind::Int: return ReadNumber<int32_t, int32_t, int32_t>(reader, name, BinaryTagInt, object);
  case BasicValueKind::UnsignedChar:
    return ReadNumber<uint8_t, uint8_t, uint32_t>(reader, name, BinaryTagUnsigned, object);
  case BasicValueKind::UnsignedShort:
    return ReadNumber<uint16_t, uint16_t, uint32_t>(reader, name, BinaryTagUnsigned, object);
  case BasicValueKind::UnsignedInt:
    return ReadNumber<uint32_t, uint32_t, uint32_t>(reader, name, BinaryTagUnsigned, object);
  case BasicValueKind::Float: return ReadNumber<float, float, float>(reader, name, BinaryTagFloat, object);
  case BasicValueKind::String: {
    const BinaryDocumentNode* node = reader.FindValue(name, BinaryTagString);
    if (node == nullptr) return false;
    static_cast<std::string*>(object)->assign(reader.GetStringValue(*node));
    return true;
  }
  case BasicValueKind::None: return false;
  }
  return false;
}

bool ReadValueField(BinaryDocumentReader& reader, void* object, const FieldStep& step, DeserializationContext* context) {
  if (step.direct != BasicValueKind::None) {
    if (void* value = step.field->GetPointer(object)) {
      if (ReadDirect(reader, step.name_index, step.direct, value)) return true;
      // What DeserializeField does with a value it could not read.
      return step.field->HasDefault() && step.field->SetValue(object, step.field->default_value);
    }
  }
  return DeserializeField(reader, object, step.field, context, step.name->c_str());
}

// The next field held in a scope from `at` on.
size_t NextScopedField(const ClassPlan& plan, size_t at) {
  while (at < plan.fields.size() && plan.fields[at].held_as_value) ++at;
  return at;
}

} // namespace

bool DeserializeBinaryClass(BinaryDocumentReader& reader, void* object, Type* type, DeserializationContext* context,
                            bool& abandoned) {
  BinaryWalkState& cache = StateOf(reader);
  const ClassPlan& plan = PlanOf(reader, cache, type);
  bool result = true;
  for (const FieldStep& step : plan.fields)
    if (step.held_as_value && !ReadValueField(reader, object, step, context)) result = false;

  if (!reader.EnterFirstChild()) return result;
  // The next scoped field is tried first; a document in another order costs a search.
  size_t expected = NextScopedField(plan, 0);
  do {
    const int32_t scope_name = reader.GetScopeNameIndex();
    size_t found = expected;
    if (found == plan.fields.size() || plan.fields[found].name_index != scope_name) {
      found = 0;
      while (found < plan.fields.size() && plan.fields[found].name_index != scope_name) ++found;
    }
    if (found < plan.fields.size()) {
      expected = NextScopedField(plan, found + 1);
      const FieldStep& step = plan.fields[found];
      if (!DeserializeField(reader, object, step.field, context, step.name->c_str())) result = false;
      continue;
    }
    for (const BaseStep& base : plan.bases) {
      if (base.name_index != scope_name) continue;
      if (!Deserialize(reader, type->CastToBase(object, base.base), base.base, context, "")) {
        abandoned = true;
        return false;
      }
      break;
    }
  } while (reader.EnterNextSibling());
  return result;
}

void DeserializeBinaryElements(BinaryDocumentReader& reader, void* object, const Type* type,
                               DeserializationContext* context) {
  const BinaryWalkState& cache = StateOf(reader);
  const std::unique_ptr<ContainerWriteInterface> elements = type->container_factory->MakeWriteInterface(object);
  uint32_t count = 0;
  for (const BinaryDocumentNode& node : reader.GetCurrentChildren()) count += node.IsScope() && node.name == cache.slot;
  if (!elements->Resize(count) || count == 0 || !reader.EnterFirstChild()) return;
  Type* element_type = elements->element_type;
  const BasicValueKind direct = DirectKind(element_type);
  // Foreign scopes between the slots are passed over, so the slots fill the elements densely.
  uint32_t index = 0;
  do {
    if (reader.GetScopeNameIndex() != cache.slot) continue;
    void* element = elements->GetPointer(index++);
    // A failed element stays as Resize made it.
    if (direct != BasicValueKind::None) ReadDirect(reader, cache.value, direct, element);
    else Deserialize(reader, element, element_type, context, "value");
  } while (reader.EnterNextSibling());
}

} // namespace tv
