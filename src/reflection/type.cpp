#include "reflection/type.h"

#include <algorithm>
#include <iterator>

#include "reflection/type_registry.h"

namespace tv {

bool IsSameType(const Type* a, const Type* b) {
  if (a == b) return true;
  return a != nullptr && b != nullptr && a->GetNameHash() == b->GetNameHash();
}

BasicValueKind BasicValueKindOfName(std::string_view type_name) {
  // In the order of the kinds.
  static constexpr std::string_view kNames[] = {"Bool",          "Char",        "Short", "Int",   "UnsignedChar",
                                                "UnsignedShort", "UnsignedInt", "Float", "String"};
  static_assert(std::size(kNames) == size_t(BasicValueKind::None));
  for (size_t kind = 0; kind < std::size(kNames); ++kind)
    if (type_name == kNames[kind]) return BasicValueKind(kind);
  return BasicValueKind::None;
}

Type::Type(TypeRegistry* owner, const std::string& type_name)
    : registry(owner), name(type_name), native_name(type_name), name_hash_(TypeNameHash(type_name)),
      basic_kind_(BasicValueKindOfName(type_name)) {}

Type::~Type() = default;

Type& Type::AddField(const std::string& field_name, TypeField* field, bool serialize) {
  field->type = registry->GetType(field->type_name);
  auto found = fields.find(field_name);
  if (found != fields.end()) {
    // The replaced field must not stay listed as excluded: its pointer dies here.
    auto excluded = registry->excluded_fields.find(this);
    if (excluded != registry->excluded_fields.end()) std::erase(excluded->second, found->second.get());
    found->second.reset(field);
  } else {
    fields.emplace(field_name, std::unique_ptr<TypeField>(field));
  }
  if (!serialize) registry->excluded_fields[this].push_back(field);
  return *this;
}

Type& Type::AddBase(Type* base, TypeCaster* caster) {
  bases.emplace_back(base, std::unique_ptr<TypeCaster>(caster));
  return *this;
}

Type& Type::AddMethod(const std::string& method_name, TypeMethod* method) {
  methods[method_name].reset(method);
  return *this;
}

Type& Type::AddEnumValue(const std::string& value_name, int32_t value) {
  enum_values[value_name] = value;
  return *this;
}

TypeField* Type::FindField(const std::string& field_name) const {
  auto found = fields.find(field_name);
  return found == fields.end() ? nullptr : found->second.get();
}

const std::string* Type::GetEnumName(int32_t value) const {
  for (const auto& [value_name, v] : enum_values)
    if (v == value) return &value_name;
  return nullptr;
}

bool Type::IsA(const Type* other) const {
  if (IsSameType(this, other)) return true;
  if (other == nullptr) return false;
  for (const auto& [base, caster] : bases)
    if (base != nullptr && base->IsA(other)) return true;
  return false;
}

void* Type::Cast(void* object, const Type* target) const {
  if (IsSameType(this, target)) return object;
  if (target != nullptr && target->IsA(this)) return target->CastToDerived(object, this);
  if (IsA(target)) return CastToBase(object, target);
  return nullptr;
}

std::vector<Type::TypeCaster*> Type::CastersTo(const Type* base) const {
  std::vector<TypeCaster*> casters;
  const Type* at = this;
  while (!IsSameType(at, base)) {
    const auto step = std::find_if(at->bases.begin(), at->bases.end(),
                                   [base](const auto& entry) { return entry.first != nullptr && entry.first->IsA(base); });
    // IsA(base) held for `at`, so some base leads on; the guard only keeps a broken graph finite.
    if (step == at->bases.end()) {
      casters.push_back(nullptr);
      break;
    }
    casters.push_back(step->second.get());
    at = step->first;
  }
  return casters;
}

void* Type::CastToBase(void* object, const Type* base) const {
  if (IsSameType(this, base)) return object;
  if (base == nullptr || !IsA(base)) return nullptr;
  for (const TypeCaster* caster : CastersTo(base)) object = caster != nullptr ? caster->ToBase(object) : nullptr;
  return object;
}

void* Type::CastToDerived(void* object, const Type* base) const {
  if (IsSameType(this, base)) return object;
  if (base == nullptr || !IsA(base)) return nullptr;
  // The same route, walked from the base back down: innermost caster first.
  const std::vector<TypeCaster*> casters = CastersTo(base);
  for (auto caster = casters.rbegin(); caster != casters.rend(); ++caster)
    object = *caster != nullptr ? (*caster)->ToDerived(object) : nullptr;
  return object;
}

bool Type::IsDefault(const void* object) const {
  if (object == nullptr) return false;
  for (const auto& [field_name, field] : fields) {
    if (field->comparator == nullptr) return false;
    if (!field->comparator->Equal(field->GetValue(object), field->default_value)) return false;
  }
  return true;
}

void Type::ResetToDefault(void* object) const {
  if (object == nullptr) return;
  for (const auto& [field_name, field] : fields) {
    if (field->HasDefault()) {
      field->SetValue(object, field->default_value);
      continue;
    }
    if (field->type == nullptr) continue;
    void* pointer = field->GetPointer(object);
    if (pointer != nullptr) {
      field->type->ResetToDefault(pointer);
      continue;
    }
    // A property has no address: reset a copy and store it back.
    TypeValue temporary = field->GetValue(object);
    if (temporary.instance == nullptr) continue;
    field->type->ResetToDefault(temporary.instance);
    field->SetValue(object, temporary);
  }
}

} // namespace tv
