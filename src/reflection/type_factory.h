#pragma once
// The operations on instances that a Type holds: creation and copy (TypeFactory), enum integers
// (EnumCast) and shared pointer objects (SharedPtrAccessor). Slot orders are part of the module
// contract: a plugin's registered objects are called by the host through these tables.

#include <cstdint>
#include <memory>
#include <type_traits>

#include "reflection/type_value.h"

namespace tv {

class Type;

class TypeFactory {
public:
  virtual ~TypeFactory() = default;
  virtual void* New() const = 0;
  virtual void Delete(void* instance) const = 0;
  virtual void Copy(void* destination, const void* source) const = 0;
};

template <typename T>
class ConcreteTypeFactory final : public TypeFactory {
public:
  explicit ConcreteTypeFactory(Type* served) : type(served) {}
  void* New() const override { return new T(); }
  void Delete(void* instance) const override { delete static_cast<T*>(instance); }
  void Copy(void* destination, const void* source) const override {
    *static_cast<T*>(destination) = *static_cast<const T*>(source);
  }

  Type* type;
};

class EnumCast {
public:
  virtual ~EnumCast() = default;
  // A value of the enum type holding `value`, narrowed to the enum's width.
  virtual TypeValue ToValue(int32_t value) const = 0;
  // The integer of the enum instance at `instance`.
  virtual int32_t ToInt(const void* instance) const = 0;
};

template <typename E>
class ConcreteEnumCast final : public EnumCast {
  static_assert(std::is_enum_v<E>);

public:
  explicit ConcreteEnumCast(Type* served) : type(served) {}
  TypeValue ToValue(int32_t value) const override {
    const E narrowed = static_cast<E>(static_cast<std::underlying_type_t<E>>(value));
    return TypeValue(type, &narrowed);
  }
  int32_t ToInt(const void* instance) const override {
    return instance == nullptr ? 0 : int32_t(*static_cast<const E*>(instance));
  }

  Type* type;
};

// Works on std::shared_ptr<T> objects of a shared pointer type.
class SharedPtrAccessor {
public:
  virtual ~SharedPtrAccessor() = default;
  // The raw pointee of the shared pointer object at `pointer_object`.
  virtual void* Get(const void* pointer_object) const = 0;
  // *destination = *source, both shared pointer objects.
  virtual void Assign(void* destination, const void* source) const = 0;
  virtual Type* GetPointeeType() const = 0;
  // Points the shared pointer object at a new shared copy of the pointee value at `value`; false,
  // with the pointer left alone, when the pointee cannot be copied (abstract or not copyable).
  // A value of the pointee type is thus stored into a pointer field without sharing the caller's
  // instance, which its TypeValue keeps owning.
  virtual bool AssignCopy(void* destination, const void* value) const = 0;
};

template <typename T>
class ConcreteSharedPtrAccessor final : public SharedPtrAccessor {
public:
  explicit ConcreteSharedPtrAccessor(Type* pointee) : pointee_type(pointee) {}
  void* Get(const void* pointer_object) const override {
    return const_cast<std::remove_const_t<T>*>(static_cast<const std::shared_ptr<T>*>(pointer_object)->get());
  }
  void Assign(void* destination, const void* source) const override {
    *static_cast<std::shared_ptr<T>*>(destination) = *static_cast<const std::shared_ptr<T>*>(source);
  }
  Type* GetPointeeType() const override { return pointee_type; }
  bool AssignCopy(void* destination, const void* value) const override {
    if constexpr (std::is_copy_constructible_v<T> && !std::is_abstract_v<T>) {
      *static_cast<std::shared_ptr<T>*>(destination) = std::make_shared<T>(*static_cast<const T*>(value));
      return true;
    } else {
      return false;
    }
  }

  Type* pointee_type;
};

} // namespace tv
