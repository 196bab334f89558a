#pragma once
// A typed value that owns its instance: the currency of fields, methods and containers.

#include <string>

namespace tv {

class Type;

// Same type: the same object, or (between two copies of a registry entry, say in two modules)
// primary names with the same hash. Null is the same as nothing.
bool IsSameType(const Type* a, const Type* b);

// (type, instance), the instance made and deleted through the type's factory. Both null is no
// value. Only types with a factory can hold a value; for any other type the instance stays null.
class TypeValue {
public:
  TypeValue() = default;
  // A new default instance of the type registered under `type_name` in the `types` registry.
  explicit TypeValue(const std::string& type_name);
  explicit TypeValue(Type* type);
  // A new instance that is a copy of `*source` (which must be a T of the type).
  TypeValue(Type* type, const void* source);
  TypeValue(const std::string& type_name, const void* source);
  TypeValue(const TypeValue& other);
  TypeValue(TypeValue&& other) noexcept;
  TypeValue& operator=(const TypeValue& other);
  TypeValue& operator=(TypeValue&& other) noexcept;
  ~TypeValue();

  // Deletes the instance; both members become null.
  void Reset();
  bool IsEmpty() const { return type == nullptr; }

  // The instance as a T, unchecked: the caller knows the type.
  template <typename T>
  T& As() const {
    return *static_cast<T*>(instance);
  }

  Type* type = nullptr;
  void* instance = nullptr;
};

} // namespace tv
