#pragma once
// Named fields of a type: a member at an offset (ClassField) or a pair of static accessors
// (ClassProperty), each with an optional default and its comparator.

#include <bit>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "reflection/type_name.h"
#include "reflection/type_value.h"

namespace tv {

class Type;
class SerializationContext;
class DeserializationContext;

// Equality of two values of one C++ type, for IsDefault.
class TypeValueComparator {
public:
  virtual ~TypeValueComparator() = default;
  // True when both values are of the comparator's type and equal (floats: exactly).
  virtual bool Equal(const TypeValue& a, const TypeValue& b) const = 0;
};

template <typename T>
class ConcreteTypeValueComparator final : public TypeValueComparator {
public:
  explicit ConcreteTypeValueComparator(Type* compared) : type(compared) {}
  bool Equal(const TypeValue& a, const TypeValue& b) const override {
    if (a.instance == nullptr || b.instance == nullptr) return false;
    if (!IsSameType(a.type, type) || !IsSameType(b.type, type)) return false;
    return *static_cast<const T*>(a.instance) == *static_cast<const T*>(b.instance);
  }

  Type* type;
};

// Transforms a field's value on its way to and from a document; no field of the core has one.
class FieldAdapter {
public:
  virtual ~FieldAdapter() = default;
  // A value to write instead of the field's value at `value`.
  virtual TypeValue MakeWriteValue(Type* field_type, const void* value, SerializationContext* context) const = 0;
  // Fixes up a value that was just read into `value`.
  virtual void ProcessReadValue(Type* field_type, void* value, DeserializationContext* context) const = 0;
};

class TypeField {
public:
  explicit TypeField(std::string field_type_name, std::string field_hint = {})
      : type_name(std::move(field_type_name)), hint(std::move(field_hint)) {}
  TypeField(const TypeField&) = delete;
  TypeField& operator=(const TypeField&) = delete;

  virtual ~TypeField() = default;
  // Copies the field of `object` into `out`, an instance of `type`.
  virtual void Get(const void* object, void* out) const = 0;
  // Copies `in`, an instance of `type`, into the field of `object`.
  virtual void Set(void* object, const void* in) const = 0;
  // The field's address inside `object`; null for a field without one (a property).
  virtual const void* GetConstPointer(const void* object) const;
  virtual void* GetPointer(void* object) const;
  // The field's distance in bytes from the start of its object where every object holds it at
  // the same place (a data member), so that walks over many objects need no call for each; -1
  // for any other field.
  virtual int64_t GetFixedOffset() const { return -1; }

  // A new value of the field's type holding the field of `object`.
  TypeValue GetValue(const void* object) const;
  // Stores `value` into the field: a value of the field's type; an Int into an enum field; a
  // value of the pointee type, or no value (clearing), into a shared pointer field. False, with
  // the field left alone, for anything else.
  bool SetValue(void* object, const TypeValue& value) const;
  bool HasDefault() const { return !default_value.IsEmpty(); }

  Type* type = nullptr;  // resolved from type_name by Type::AddField
  std::string type_name;
  std::string hint;  // "file", "geometry", "data" or empty: a tag for tools
  TypeValue default_value;
  std::unique_ptr<TypeValueComparator> comparator;  // set together with default_value
  std::unique_ptr<FieldAdapter> adapter;
};

// Offset of a data member. Itanium C++ ABI: a pointer to data member holds the offset; unlike
// offsetof it also works on classes with virtual functions.
template <typename C, typename T>
uint32_t MemberOffset(T C::*member) {
  static_assert(sizeof(member) == sizeof(ptrdiff_t));
  return uint32_t(std::bit_cast<ptrdiff_t>(member));
}

// A member of C of type T at a fixed offset.
template <typename C, typename T>
class ClassField final : public TypeField {
public:
  explicit ClassField(T C::*member, std::string field_hint = {})
      : ClassField(MemberOffset(member), TypeName<T>(), std::move(field_hint)) {}
  // For members that are not plain data members (array elements) or named otherwise than T.
  ClassField(uint32_t member_offset, std::string field_type_name, std::string field_hint = {})
      : TypeField(std::move(field_type_name), std::move(field_hint)), offset(member_offset), field_size(sizeof(T)) {}

  void Get(const void* object, void* out) const override {
    *static_cast<T*>(out) = *static_cast<const T*>(GetConstPointer(object));
  }
  void Set(void* object, const void* in) const override { *static_cast<T*>(GetPointer(object)) = *static_cast<const T*>(in); }
  const void* GetConstPointer(const void* object) const override { return static_cast<const char*>(object) + offset; }
  void* GetPointer(void* object) const override { return static_cast<char*>(object) + offset; }
  int64_t GetFixedOffset() const override { return offset; }

  uint32_t offset;
  uint32_t field_size;
};

// A value of C reached through Accessor's static `T Get(const C&)` and `void Set(C&, const T&)`.
// It has no address: reading and writing it go through a temporary value.
template <typename C, typename T, typename Accessor>
class ClassProperty final : public TypeField {
public:
  explicit ClassProperty(std::string field_hint = {}) : TypeField(TypeName<T>(), std::move(field_hint)) {}
  ClassProperty(std::string field_type_name, std::string field_hint)
      : TypeField(std::move(field_type_name), std::move(field_hint)) {}

  void Get(const void* object, void* out) const override {
    *static_cast<T*>(out) = Accessor::Get(*static_cast<const C*>(object));
  }
  void Set(void* object, const void* in) const override { Accessor::Set(*static_cast<C*>(object), *static_cast<const T*>(in)); }
};

} // namespace tv
