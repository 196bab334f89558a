#pragma once
// Enums in documents: a string value holding the enum name, so files survive renumbering.
// Where several names share a value, the first in name order is written ("Default" for value 4
// of RotationOrder); every name reads back.

#include <cstdint>
#include <string>
#include <type_traits>

#include "document/document_reader.h"
#include "document/document_writer.h"
#include "reflection/type.h"
#include "reflection/type_registry.h"

namespace tv {

// What every enum serializer shares, so that a walk can recognise one and store a value it has
// looked up itself.
class EnumSerializer : public TypeSerializer {
public:
  // Stores `value`, narrowed to the enum's width, into the enum at `object`.
  virtual void Assign(void* object, int32_t value) const = 0;
};

template <typename E>
class EnumTypeSerializer final : public EnumSerializer {
  static_assert(std::is_enum_v<E>);

public:
  // `storage` is the "String" type of the registry the enum lives in. It is kept here rather than
  // in a static, since a static would outlive a registry that is dropped (as tests do).
  explicit EnumTypeSerializer(Type* storage) : storage_type_(storage) {}

  // An unknown name, or no string under `name`, answers false with the value unchanged.
  bool Deserialize(DocumentReader& reader, void* object, Type* type, DeserializationContext*,
                   const char* name) override {
    std::string value_name;
    if (!reader.Read(name, value_name)) return false;
    const auto found = type->enum_values.find(value_name);
    if (found == type->enum_values.end()) return false;
    Assign(object, found->second);
    return true;
  }
  void Assign(void* object, int32_t value) const override {
    *static_cast<E*>(object) = static_cast<E>(static_cast<std::underlying_type_t<E>>(value));
  }
  // A value without a name answers false and writes nothing.
  bool Serialize(DocumentWriter& writer, const void* object, Type* type, SerializationContext*,
                 const char* name) override {
    const std::string* value_name = type->GetEnumName(int32_t(*static_cast<const E*>(object)));
    return value_name != nullptr && writer.Write(name, *value_name);
  }
  Type* GetStorageType() override { return storage_type_; }

private:
  Type* storage_type_;
};

// Installs the enum serializer on E's registered type, replacing any serializer it had.
template <typename E>
void InstallEnumSerializer(TypeRegistry& registry) {
  registry.GetType<E>()->serializer = std::make_unique<EnumTypeSerializer<E>>(registry.GetType("String"));
}

// The enum serializers of the value types (RotationOrder, Axis). Called by the core's
// registration right after those types exist: the type system does not know documents.
void InstallValueTypeSerializers(TypeRegistry& registry);

} // namespace tv
