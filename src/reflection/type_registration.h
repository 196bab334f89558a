#pragma once
// Helpers that register a C++ type in the order every registration follows: factory, size,
// native name and its alias; then serializer and enum cast; then fields. The caller adds fields
// and bases to the returned type.

#include <cstdint>
#include <initializer_list>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "reflection/type.h"
#include "reflection/type_registry.h"

namespace tv {

// Sets the native name and enters it as an alias, unless it is the primary name.
inline void SetNativeName(TypeRegistry& registry, Type* type, const std::string& native_name) {
  type->native_name = native_name;
  if (native_name != type->name) registry.AddAlias(native_name, type);
}

// A value type: made with new, copied by assignment. `native_name` empty: no alias.
template <typename T>
Type* RegisterValueType(TypeRegistry& registry, const std::string& native_name = {}) {
  Type* type = registry.GetType<T>();
  type->factory = std::make_unique<ConcreteTypeFactory<T>>(type);
  type->size = uint32_t(sizeof(T));
  if (!native_name.empty()) SetNativeName(registry, type, native_name);
  return type;
}

// A class that exists only behind shared pointers (a handle, a component, a system): no factory.
template <typename T>
Type* RegisterClassType(TypeRegistry& registry, const std::string& native_name) {
  Type* type = registry.GetType<T>();
  type->size = uint32_t(sizeof(T));
  SetNativeName(registry, type, native_name);
  return type;
}

// std::vector<T>, named "<element>Vector", with its element access.
template <typename T>
Type* RegisterVectorType(TypeRegistry& registry, const std::string& native_name = {}) {
  Type* type = RegisterValueType<std::vector<T>>(registry, native_name);
  type->container_factory = std::make_unique<StdVectorInterfaceFactory<T>>(registry.GetType<T>());
  return type;
}

// An enum with its names; several names may share a value.
template <typename E>
Type* RegisterEnumType(TypeRegistry& registry, const std::string& native_name,
                       std::initializer_list<std::pair<const char*, int32_t>> values) {
  Type* type = RegisterValueType<E>(registry, native_name);
  // The enum's document serializer is installed from the document layer (EnumTypeSerializer).
  type->enum_cast = std::make_unique<ConcreteEnumCast<E>>(type);
  for (const auto& [value_name, value] : values) type->AddEnumValue(value_name, value);
  return type;
}

// std::shared_ptr<T>; its native name is always the namespaced class inside std::shared_ptr<>.
template <typename T>
Type* RegisterSharedPtrType(TypeRegistry& registry, const std::string& native_class_name) {
  Type* type = RegisterValueType<std::shared_ptr<T>>(registry, "std::shared_ptr<" + native_class_name + ">");
  type->shared_ptr_accessor = std::make_unique<ConcreteSharedPtrAccessor<T>>(registry.GetType<T>());
  return type;
}

// A plain data member with the default that a default-constructed C gives it.
template <typename C, typename T>
void AddMemberField(Type* type, const std::string& field_name, T C::*member, const C& defaults = C{}) {
  type->AddField<T>(field_name, new ClassField<C, T>(member), defaults.*member);
}

} // namespace tv
