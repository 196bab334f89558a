#pragma once
// The run-time description of one type: how to make and copy its instances, its named fields and
// methods, its bases, enum names, and how documents and containers reach it.
//
// Types live in a TypeRegistry and are never removed on their own. Two Type objects are the same
// type when their primary names hash alike (IsSameType), so the entry of one module's registry
// matches the entry of another's. No lock: a type is built on one thread at start-up and only read
// afterwards, from any thread.

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "reflection/basic_value_kind.h"
#include "reflection/container_interface.h"
#include "reflection/type_factory.h"
#include "reflection/type_field.h"
#include "reflection/type_method.h"
#include "reflection/type_name.h"
#include "reflection/type_serializer.h"
#include "reflection/type_value.h"

namespace tv {

class TypeRegistry;

class Type {
public:
  // Turns a pointer between the type and one of its direct bases.
  class TypeCaster;

  Type(TypeRegistry* owner, const std::string& type_name);
  ~Type();
  Type(const Type&) = delete;
  Type& operator=(const Type&) = delete;

  uint32_t GetNameHash() const { return name_hash_; }
  bool IsEnum() const { return !enum_values.empty(); }
  // One of the nine value types of documents: Bool, Char, Short, Int, UnsignedChar, UnsignedShort,
  // UnsignedInt, Float and String. Known from the name, so settled at construction: every walk of
  // a document asks it for each value.
  bool IsBasic() const { return basic_kind_ != BasicValueKind::None; }
  // Which of the nine; None for any other type.
  BasicValueKind GetBasicValueKind() const { return basic_kind_; }

  // Stores `field` (taking ownership) under `field_name`, replacing and deleting a field of that
  // name, and resolves its type by name. A field with `serialize` false is never written.
  Type& AddField(const std::string& field_name, TypeField* field, bool serialize = true);
  // The same, with a default value: the field gets a copy of it and a comparator for T.
  template <typename T>
  Type& AddField(const std::string& field_name, TypeField* field, const T& default_value, bool serialize = true);
  Type& AddBase(Type* base, TypeCaster* caster);
  Type& AddMethod(const std::string& method_name, TypeMethod* method);
  // Enters or replaces the value of an enum name.
  Type& AddEnumValue(const std::string& value_name, int32_t value);

  TypeField* FindField(const std::string& field_name) const;
  // The first enum name, in name order, with `value`; null if none has it.
  const std::string* GetEnumName(int32_t value) const;

  // The same type, or a base of it at any depth.
  bool IsA(const Type* other) const;
  // `object` as a `target`, up or down the hierarchy; null between unrelated types. A pointer
  // cast to its own type comes back unchanged, even null.
  void* Cast(void* object, const Type* target) const;
  // `object`, of this type, as its base `base`, through each caster on the way in turn. Where a
  // class has several routes the first in `bases` order is taken.
  void* CastToBase(void* object, const Type* base) const;
  // `object`, a `base` inside an object of this (derived) type, as this type.
  void* CastToDerived(void* object, const Type* base) const;

  // True when every field has a default and holds it; a type without fields always is default.
  bool IsDefault(const void* object) const;
  // Sets every field to its default; a field without one is reset field by field in turn.
  void ResetToDefault(void* object) const;

  TypeRegistry* registry;
  std::unique_ptr<TypeFactory> factory;  // null for abstract classes and handles
  std::string name;
  std::string native_name;  // the C++ spelling, entered as an alias by registration
  uint32_t size = 0;
  std::vector<std::pair<Type*, std::unique_ptr<TypeCaster>>> bases;  // in registration order
  std::unique_ptr<SharedPtrAccessor> shared_ptr_accessor;
  std::map<std::string, std::unique_ptr<TypeField>> fields;  // byte-wise name order: the written order
  std::map<std::string, std::unique_ptr<TypeMethod>> methods;
  std::map<std::string, int32_t> enum_values;
  std::unique_ptr<EnumCast> enum_cast;
  std::unique_ptr<TypeSerializer> serializer;
  std::unique_ptr<ContainerInterfaceFactory> container_factory;
  std::unique_ptr<ContainerInterfaceFactory> map_container_factory;
  std::string document_scope;  // if set, values are read and written inside a scope of this name

private:
  // Walks from this type to `base`: the caster of each step, outermost first.
  std::vector<TypeCaster*> CastersTo(const Type* base) const;

  uint32_t name_hash_;
  BasicValueKind basic_kind_;
};

class Type::TypeCaster {
public:
  virtual const void* ToBase(const void* object) const = 0;
  virtual void* ToBase(void* object) const = 0;
  virtual const void* ToDerived(const void* object) const = 0;
  virtual void* ToDerived(void* object) const = 0;
  // Last, unlike in every other interface: the slot order is part of the module contract.
  virtual ~TypeCaster() = default;
};

template <typename Derived, typename Base>
class ConcreteTypeCaster final : public Type::TypeCaster {
public:
  const void* ToBase(const void* object) const override {
    return static_cast<const Base*>(static_cast<const Derived*>(object));
  }
  void* ToBase(void* object) const override { return static_cast<Base*>(static_cast<Derived*>(object)); }
  const void* ToDerived(const void* object) const override {
    return static_cast<const Derived*>(static_cast<const Base*>(object));
  }
  void* ToDerived(void* object) const override { return static_cast<Derived*>(static_cast<Base*>(object)); }
};

// Defined with the registry, which resolves T's type.
Type* GetTypeOfName(TypeRegistry& registry, const std::string& type_name);

template <typename T>
Type& Type::AddField(const std::string& field_name, TypeField* field, const T& default_value, bool serialize) {
  Type* value_type = GetTypeOfName(*registry, TypeName<T>());
  field->default_value = TypeValue(value_type, &default_value);
  field->comparator = std::make_unique<ConcreteTypeValueComparator<T>>(value_type);
  return AddField(field_name, field, serialize);
}

} // namespace tv
