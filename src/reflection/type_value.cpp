#include "reflection/type_value.h"

#include <utility>

#include "foundation/globals.h"
#include "reflection/type.h"
#include "reflection/type_registry.h"

namespace tv {
namespace {

void* NewInstance(Type* type) {
  return type != nullptr && type->factory != nullptr ? type->factory->New() : nullptr;
}

void* CopyInstance(Type* type, const void* source) {
  void* instance = NewInstance(type);
  if (instance != nullptr && source != nullptr) type->factory->Copy(instance, source);
  return instance;
}

Type* GlobalType(const std::string& type_name) { return types != nullptr ? types->GetType(type_name) : nullptr; }

} // namespace

TypeValue::TypeValue(const std::string& type_name) : TypeValue(GlobalType(type_name)) {}

TypeValue::TypeValue(Type* value_type) : type(value_type), instance(NewInstance(value_type)) {}

TypeValue::TypeValue(Type* value_type, const void* source) : type(value_type), instance(CopyInstance(value_type, source)) {}

TypeValue::TypeValue(const std::string& type_name, const void* source) : TypeValue(GlobalType(type_name), source) {}

TypeValue::TypeValue(const TypeValue& other) : type(other.type), instance(CopyInstance(other.type, other.instance)) {}

TypeValue::TypeValue(TypeValue&& other) noexcept
    : type(std::exchange(other.type, nullptr)), instance(std::exchange(other.instance, nullptr)) {}

TypeValue& TypeValue::operator=(const TypeValue& other) {
  if (this != &other) {
    // Copy first: `other` may live inside the instance that Reset deletes.
    TypeValue copy(other);
    *this = std::move(copy);
  }
  return *this;
}

TypeValue& TypeValue::operator=(TypeValue&& other) noexcept {
  if (this != &other) {
    Reset();
    type = std::exchange(other.type, nullptr);
    instance = std::exchange(other.instance, nullptr);
  }
  return *this;
}

TypeValue::~TypeValue() { Reset(); }

void TypeValue::Reset() {
  if (instance != nullptr && type != nullptr && type->factory != nullptr) type->factory->Delete(instance);
  type = nullptr;
  instance = nullptr;
}

} // namespace tv
