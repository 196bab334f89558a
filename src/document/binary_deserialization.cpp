#include "document/binary_deserialization.h"

#include <array>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <limits>
#include <memory>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "document/basic_storage.h"
#include "document/binary_document_reader.h"
#include "document/enum_type_serializer.h"
#include "document/serialization_context.h"
#include "document/type_serialization.h"
#include "reflection/type.h"

namespace tv {

namespace {

// How the walk reads a value of a type, decided once per type: the routes other than Shared do
// here what the shared walk's Deserialize would, without its dispatch.
enum class Route : uint8_t {
  Direct,     // one of the nine basic values: copied out of its node
  Enum,       // through an enum serializer: its name looked up by dictionary index
  Class,      // a class without serializer or scope of its own: this walk, in the current scope
  Container,  // a container without serializer or scope of its own: this walk's elements
  Shared,     // anything else: the shared walk
};

// The enum values of the dictionary's texts, found as the walk meets them.
struct EnumLookup {
  static constexpr int64_t kUnresolved = std::numeric_limits<int64_t>::min();
  static constexpr int64_t kNoValue = kUnresolved + 1;
  std::vector<int64_t> by_text;  // by dictionary index
};

// A field of a class as the walk meets it. Fields reached through an adapter, without an address
// or under an empty name take the shared walk.
struct FieldStep {
  const std::string* name;
  const TypeField* field;
  int64_t offset;      // the field's fixed offset, or -1 where it has none
  int32_t name_index;  // -1 where the document never uses the name
  Route route;
  BasicValueKind direct;                  // for Direct
  const EnumSerializer* enum_serializer;  // for Enum
  EnumLookup* enum_lookup;                // for Enum
};

struct BaseStep {
  int32_t name_index;
  Type* base;
};

struct ClassPlan {
  // In field order, the order the writer puts them in: the values of the class's own scope, then
  // the fields that each have a scope.
  std::vector<FieldStep> values;
  std::vector<FieldStep> scoped;
  std::vector<BaseStep> bases;
};

} // namespace

// Types are read-only once built, so a plan holds for the whole walk.
struct BinaryWalkState {
  // Node-based: a plan stays where it is while the walk of a nested type adds another.
  std::unordered_map<const Type*, ClassPlan> plans;
  std::unordered_map<const Type*, EnumLookup> enums;
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

// The route of a value of `type` that Deserialize would be given.
Route RouteOf(const Type* type) {
  if (type == nullptr || !type->document_scope.empty()) return Route::Shared;
  if (type->serializer != nullptr)
    return dynamic_cast<const EnumSerializer*>(type->serializer.get()) != nullptr ? Route::Enum : Route::Shared;
  if (type->container_factory != nullptr) return Route::Container;
  return type->IsBasic() ? Route::Direct : Route::Class;
}

FieldStep MakeStep(BinaryDocumentReader& reader, BinaryWalkState& state, const std::string& name,
                   const TypeField& field) {
  FieldStep step{&name,         &field,  field.GetFixedOffset(), reader.FindName(name), Route::Shared,
                 BasicValueKind::None, nullptr, nullptr};
  if (field.adapter != nullptr || name.empty()) return step;
  step.route = RouteOf(field.type);
  if (step.route == Route::Direct) step.direct = field.type->GetBasicValueKind();
  if (step.route == Route::Enum) {
    step.enum_serializer = static_cast<const EnumSerializer*>(field.type->serializer.get());
    step.enum_lookup = &state.enums[field.type];
    step.enum_lookup->by_text.resize(reader.strings.size() - 1, EnumLookup::kUnresolved);
  }
  return step;
}

ClassPlan MakePlan(BinaryDocumentReader& reader, BinaryWalkState& state, const Type* type) {
  ClassPlan plan;
  for (const auto& [name, field] : type->fields)
    (IsBasicStorage(*field) ? plan.values : plan.scoped).push_back(MakeStep(reader, state, name, *field));
  for (const auto& [base, caster] : type->bases)
    if (base != nullptr) plan.bases.push_back(BaseStep{reader.FindName(base->name), base});
  return plan;
}

const ClassPlan& PlanOf(BinaryDocumentReader& reader, BinaryWalkState& state, const Type* type) {
  auto& recent = state.recent[(reinterpret_cast<uintptr_t>(type) >> 4) % state.recent.size()];
  if (recent.first == type) return *recent.second;
  auto found = state.plans.find(type);
  if (found == state.plans.end()) found = state.plans.emplace(type, MakePlan(reader, state, type)).first;
  recent = {type, &found->second};
  return found->second;
}

// The tag that a value of each kind is read from, as the narrow reads of the interface take it.
constexpr uint8_t kTagOfKind[] = {BinaryTagBool,     BinaryTagInt,      BinaryTagInt,
                                  BinaryTagInt,      BinaryTagUnsigned, BinaryTagUnsigned,
                                  BinaryTagUnsigned, BinaryTagFloat,    BinaryTagString};
static_assert(std::size(kTagOfKind) == size_t(BasicValueKind::None));

uint8_t TagOf(BasicValueKind kind) { return kind == BasicValueKind::None ? 0xff : kTagOfKind[size_t(kind)]; }

// The number of `node` stored as `Stored` when it lies in the range of `Range`; otherwise `object`
// is left alone.
template <typename Range, typename Stored, typename Wide>
bool StoreNumber(const BinaryDocumentNode& node, void* object) {
  Wide wide;
  std::memcpy(&wide, &node.payload, sizeof wide);
  if constexpr (sizeof(Range) < sizeof(Wide)) {
    if (wide < Wide(std::numeric_limits<Range>::min()) || wide > Wide(std::numeric_limits<Range>::max())) return false;
  }
  *static_cast<Stored*>(object) = Stored(wide);
  return true;
}

// Stores the value of `node`, found under the tag of `kind` (or null), as a value of `kind`.
[[gnu::always_inline]] inline bool StoreDirect(const BinaryDocumentReader& reader, const BinaryDocumentNode* node,
                                               BasicValueKind kind, void* object) {
  if (node == nullptr) return false;
  switch (kind) {
  case BasicValueKind::Bool: *static_cast<bool*>(object) = node->payload != 0; return true;
  case BasicValueKind::Char: return StoreNumber<int8_t, char, int32_t>(*node, object);
  case BasicValueKind::Short: return StoreNumber<int16_t, int16_t, int32_t>(*node, object);
  case BasicValueKind::Int: return StoreNumber<int32_t, int32_t, int32_t>(*node, object);
  case BasicValueKind::UnsignedChar: return StoreNumber<uint8_t, uint8_t, uint32_t>(*node, object);
  case BasicValueKind::UnsignedShort: return StoreNumber<uint16_t, uint16_t, uint32_t>(*node, object);
  case BasicValueKind::UnsignedInt: return StoreNumber<uint32_t, uint32_t, uint32_t>(*node, object);
  case BasicValueKind::Float: return StoreNumber<float, float, float>(*node, object);
  case BasicValueKind::String: static_cast<std::string*>(object)->assign(reader.GetStringValue(*node)); return true;
  case BasicValueKind::None: return false;
  }
  return false;
}

// As Read does in the current scope: the value under `name`, if it has the tag of `kind`.
[[gnu::always_inline]] inline bool ReadDirect(BinaryDocumentReader& reader, int32_t name, BasicValueKind kind,
                                              void* object) {
  return name >= 0 && StoreDirect(reader, reader.FindValue(name, TagOf(kind)), kind, object);
}

// As the enum serializer reads: a string under the name, holding one of the enum's names.
bool ReadEnum(BinaryDocumentReader& reader, const FieldStep& step, const Type* type, void* object) {
  if (step.name_index < 0) return false;
  const BinaryDocumentNode* node = reader.FindValue(step.name_index, BinaryTagString);
  if (node == nullptr) return false;
  int64_t& value = step.enum_lookup->by_text[node->payload];
  if (value == EnumLookup::kUnresolved) {
    const auto found = type->enum_values.find(std::string(reader.GetText(node->payload)));
    value = found == type->enum_values.end() ? EnumLookup::kNoValue : found->second;
  }
  if (value == EnumLookup::kNoValue) return false;
  step.enum_serializer->Assign(object, int32_t(value));
  return true;
}

// Deserialize of a class or container that has no serializer or scope of its own, in the scope
// that holds it; the context's stack holds the value meanwhile, as Deserialize keeps it.
bool ReadScopeValue(BinaryDocumentReader& reader, Route route, void* value, Type* type,
                    DeserializationContext* context) {
  const ContextStackEntry<DeserializationContext, void*> entry(context, type, value);
  if (route == Route::Container) {
    DeserializeBinaryElements(reader, value, type, context);
    return true;
  }
  bool abandoned = false;
  return DeserializeBinaryClass(reader, value, type, context, abandoned);
}

// DeserializeField, by the field's route.
bool ReadField(BinaryDocumentReader& reader, void* object, const FieldStep& step, DeserializationContext* context) {
  void* value = step.route == Route::Shared ? nullptr
                : step.offset >= 0            ? static_cast<char*>(object) + step.offset
                                              : step.field->GetPointer(object);
  if (value == nullptr) return DeserializeField(reader, object, step.field, context, step.name->c_str());
  bool read = false;
  switch (step.route) {
  case Route::Direct: read = ReadDirect(reader, step.name_index, step.direct, value); break;
  case Route::Enum: read = ReadEnum(reader, step, step.field->type, value); break;
  case Route::Class:
  case Route::Container: read = ReadScopeValue(reader, step.route, value, step.field->type, context); break;
  case Route::Shared: break;
  }
  if (read) return true;
  // What DeserializeField does with a value it could not read.
  return step.field->HasDefault() && step.field->SetValue(object, step.field->default_value);
}

const FieldStep* FindStep(const std::vector<FieldStep>& steps, int32_t name_index) {
  for (const FieldStep& step : steps)
    if (step.name_index == name_index) return &step;
  return nullptr;
}

} // namespace

bool DeserializeBinaryClass(BinaryDocumentReader& reader, void* object, Type* type, DeserializationContext* context,
                            bool& abandoned) {
  BinaryWalkState& state = StateOf(reader);
  const ClassPlan& plan = PlanOf(reader, state, type);
  bool result = true;
  for (const FieldStep& step : plan.values)
    if (!ReadField(reader, object, step, context)) result = false;

  if (!reader.EnterFirstChild()) return result;
  // The next scoped field is tried first; a document in another order costs a search.
  size_t expected = 0;
  const size_t count = plan.scoped.size();
  do {
    const int32_t scope_name = reader.GetScopeNameIndex();
    const FieldStep* step = expected < count && plan.scoped[expected].name_index == scope_name
                                ? &plan.scoped[expected]
                                : FindStep(plan.scoped, scope_name);
    if (step != nullptr) expected = size_t(step - plan.scoped.data()) + 1;
    // A scope named as a field held as a value is read as that field, in that scope.
    else step = FindStep(plan.values, scope_name);
    if (step != nullptr) {
      if (!ReadField(reader, object, *step, context)) result = false;
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
  const BinaryWalkState& state = StateOf(reader);
  const ContainerInterfaceFactory& factory = *type->container_factory;
  uint32_t count = 0;
  for (const BinaryDocumentNode& node : reader.GetCurrentChildren()) count += node.IsScope() && node.name == state.slot;
  // Elements side by side are reached by their size; others through an interface.
  std::unique_ptr<ContainerWriteInterface> elements;
  void* first = nullptr;
  size_t element_size = 0;
  if (!factory.ResizeContiguous(object, count, first, element_size)) {
    elements = factory.MakeWriteInterface(object);
    if (!elements->Resize(count)) return;
  }
  const auto element_at = [&](uint32_t index) {
    return first != nullptr ? static_cast<char*>(first) + size_t(index) * element_size : elements->GetPointer(index);
  };
  if (count == 0) return;
  Type* element_type = factory.element_type;
  const Route route = RouteOf(element_type);
  if (route == Route::Direct) {
    // Each slot's value is found among its children without entering it, which the walk of the
    // scopes would do only to leave at once: the reader's scopes and read positions stay as a
    // walk that entered and left each slot leaves them, but for the cursor of this scope, which
    // the next entry resets.
    const BasicValueKind direct = element_type->GetBasicValueKind();
    const uint8_t tag = TagOf(direct);
    uint32_t index = 0;
    for (const BinaryDocumentNode& node : reader.GetCurrentChildren()) {
      if (!node.IsScope() || node.name != state.slot) continue;
      StoreDirect(reader, reader.FindChildValue(node, state.value, tag), direct, element_at(index++));
    }
    return;
  }
  if (!reader.EnterFirstChild()) return;
  // Foreign scopes between the slots are passed over, so the slots fill the elements densely.
  uint32_t index = 0;
  do {
    if (reader.GetScopeNameIndex() != state.slot) continue;
    void* element = element_at(index++);
    // A failed element stays as Resize made it.
    switch (route) {
    case Route::Class:
    case Route::Container: ReadScopeValue(reader, route, element, element_type, context); break;
    case Route::Direct:
    case Route::Enum:
    case Route::Shared: Deserialize(reader, element, element_type, context, "value"); break;
    }
  } while (reader.EnterNextSibling());
}

} // namespace tv
