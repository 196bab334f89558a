#include "document/type_serialization.h"

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <typeinfo>

#include "document/basic_storage.h"
#include "document/binary_deserialization.h"
#include "document/binary_document_reader.h"
#include "document/document_scope.h"
#include "document/serialization_context.h"
#include "reflection/type.h"
#include "reflection/type_registry.h"

namespace tv {

namespace {

// A field's value seen in place as a TypeValue, for the comparator, without copying it.
class BorrowedValue {
public:
  BorrowedValue(Type* type, const void* instance) {
    value.type = type;
    value.instance = const_cast<void*>(instance);
  }
  ~BorrowedValue() {
    value.type = nullptr;
    value.instance = nullptr;
  }
  BorrowedValue(const BorrowedValue&) = delete;
  BorrowedValue& operator=(const BorrowedValue&) = delete;

  TypeValue value;
};

template <typename T>
const T& As(const void* object) {
  return *static_cast<const T*>(object);
}

bool WriteBasic(DocumentWriter& writer, const void* object, const Type* type, const char* name) {
  switch (type->GetBasicValueKind()) {
  case BasicValueKind::Bool: return writer.Write(name, As<bool>(object));
  // Char is signed on every target the core builds for; the cast keeps it so everywhere.
  case BasicValueKind::Char: return writer.Write(name, int(static_cast<signed char>(As<char>(object))));
  case BasicValueKind::Short: return writer.Write(name, int(As<int16_t>(object)));
  case BasicValueKind::Int: return writer.Write(name, int(As<int32_t>(object)));
  case BasicValueKind::UnsignedChar: return writer.Write(name, unsigned(As<uint8_t>(object)));
  case BasicValueKind::UnsignedShort: return writer.Write(name, unsigned(As<uint16_t>(object)));
  case BasicValueKind::UnsignedInt: return writer.Write(name, unsigned(As<uint32_t>(object)));
  case BasicValueKind::Float: return writer.Write(name, As<float>(object));
  case BasicValueKind::String: return writer.Write(name, As<std::string>(object));
  case BasicValueKind::None: return false;
  }
  return false;
}

// Reads into a temporary first, so that a failed or refused read leaves the object alone.
template <typename Read, typename Stored>
bool ReadInto(DocumentReader& reader, const char* name, void* object) {
  Read value{};
  if (!reader.Read(name, value)) return false;
  *static_cast<Stored*>(object) = Stored(value);
  return true;
}

bool ReadBasic(DocumentReader& reader, void* object, const Type* type, const char* name) {
  switch (type->GetBasicValueKind()) {
  case BasicValueKind::Bool: return ReadInto<bool, bool>(reader, name, object);
  // The narrow reads refuse values outside the target's range.
  case BasicValueKind::Char: return ReadInto<int8_t, char>(reader, name, object);
  case BasicValueKind::Short: return ReadInto<int16_t, int16_t>(reader, name, object);
  case BasicValueKind::Int: return ReadInto<int, int32_t>(reader, name, object);
  case BasicValueKind::UnsignedChar: return ReadInto<uint8_t, uint8_t>(reader, name, object);
  case BasicValueKind::UnsignedShort: return ReadInto<uint16_t, uint16_t>(reader, name, object);
  case BasicValueKind::UnsignedInt: return ReadInto<unsigned, uint32_t>(reader, name, object);
  case BasicValueKind::Float: return ReadInto<float, float>(reader, name, object);
  case BasicValueKind::String: return reader.Read(name, *static_cast<std::string*>(object));
  case BasicValueKind::None: return false;
  }
  return false;
}

constexpr std::string_view kSlotName = "slot";

// Names are a few bytes long: compared inline they spare the walk a call to memcmp for each scope,
// which std::string's comparison makes.
bool SameName(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i)
    if (a[i] != b[i]) return false;
  return true;
}

bool SerializeElements(DocumentWriter& writer, const void* object, const Type* type, SerializationContext* context) {
  const std::unique_ptr<ContainerReadInterface> elements = type->container_factory->MakeReadInterface(object);
  const uint32_t count = elements->GetSize();
  for (uint32_t index = 0; index < count; ++index) {
    if (!writer.EnterScope("slot")) return false;
    const bool written = Serialize(writer, elements->GetPointer(index), elements->element_type, context, "value");
    writer.ExitScope();
    if (!written) return false;
  }
  return true;
}

bool SerializeField(DocumentWriter& writer, const void* object, const std::string& field_name, const TypeField& field,
                    SerializationContext* context) {
  if (field.type == nullptr) return false;
  // A field without an address (a property) is read once, into a temporary.
  TypeValue temporary;
  const void* value = field.GetConstPointer(object);
  if (value == nullptr) {
    temporary = field.GetValue(object);
    value = temporary.instance;
    if (value == nullptr) return false;
  }
  if (field.comparator != nullptr) {
    const BorrowedValue current(field.type, value);
    if (field.comparator->Equal(current.value, field.default_value)) return true;
  }
  TypeValue adapted;
  if (field.adapter != nullptr) {
    adapted = field.adapter->MakeWriteValue(field.type, value, context);
    value = adapted.instance;
  }

  if (IsBasicStorage(field)) return Serialize(writer, value, field.type, context, field_name.c_str());
  if (!writer.EnterScope(field_name.c_str())) return false;
  const bool written = Serialize(writer, value, field.type, context, field_name.c_str());
  writer.ExitScope();
  return written;
}

bool SerializeClass(DocumentWriter& writer, const void* object, Type* type, SerializationContext* context) {
  for (const auto& [base, caster] : type->bases) {
    if (base == nullptr) continue;
    const void* base_object = type->CastToBase(const_cast<void*>(object), base);
    // A base whose fields all hold their defaults leaves no scope behind.
    if (base_object == nullptr || base->IsDefault(base_object)) continue;
    if (!writer.EnterScope(base->name.c_str())) return false;
    // What the base writes is kept whatever it answers.
    Serialize(writer, base_object, base, context, "");
    writer.ExitScope();
  }
  for (const auto& [field_name, field] : type->fields) {
    // Only the type's own fields are looked up among the excluded ones.
    if (type->registry != nullptr && !type->registry->IsSerialized(type, field.get())) continue;
    if (!SerializeField(writer, object, field_name, *field, context)) return false;
  }
  return true;
}

void DeserializeElements(DocumentReader& reader, void* object, const Type* type, DeserializationContext* context) {
  const std::unique_ptr<ContainerWriteInterface> elements = type->container_factory->MakeWriteInterface(object);
  const int count = CountScopes(reader, std::string(kSlotName));
  if (!elements->Resize(uint32_t(count)) || count == 0 || !reader.EnterFirstChild()) return;
  // Foreign scopes between the slots are passed over, so the slots fill the elements densely.
  uint32_t index = 0;
  do {
    if (!SameName(reader.GetScopeName(), kSlotName)) continue;
    // A failed element stays as Resize made it.
    Deserialize(reader, elements->GetPointer(index), elements->element_type, context, "value");
    ++index;
  } while (reader.EnterNextSibling());
}

Type* FindBase(const Type* type, const std::string& base_name) {
  for (const auto& [base, caster] : type->bases)
    if (base != nullptr && base->name == base_name) return base;
  return nullptr;
}

// Fields of basic storage from the current scope, then the child scopes in document order. A
// failed base ends the walk at once: `abandoned` is then set and the base's scope stays current.
bool DeserializeClass(DocumentReader& reader, void* object, Type* type, DeserializationContext* context,
                      bool& abandoned) {
  // The scoped fields in field order, noted while the basic ones are read: the writer puts their
  // scopes in that order, so the next of them is tried before a lookup by name, and a document in
  // another order only costs the lookups. Types with more scoped fields look the rest up.
  using FieldEntry = decltype(type->fields)::value_type;
  constexpr size_t kNotedFields = 32;
  const FieldEntry* scoped[kNotedFields];
  size_t scoped_count = 0;
  bool result = true;
  for (const FieldEntry& entry : type->fields) {
    if (!IsBasicStorage(*entry.second)) {
      if (scoped_count < kNotedFields) scoped[scoped_count++] = &entry;
    } else if (!DeserializeField(reader, object, entry.second.get(), context, entry.first.c_str())) {
      result = false;
    }
  }
  if (!reader.EnterFirstChild()) return result;
  size_t expected = 0;
  do {
    const std::string scope_name = reader.GetScopeName();
    const TypeField* field = nullptr;
    if (expected < scoped_count && SameName(scoped[expected]->first, scope_name)) {
      field = scoped[expected++]->second.get();
    } else if (const auto found = type->fields.find(scope_name); found != type->fields.end()) {
      field = found->second.get();
      for (size_t at = 0; at < scoped_count; ++at)
        if (scoped[at] == &*found) expected = at + 1;
    }
    if (field != nullptr) {
      if (!DeserializeField(reader, object, field, context, scope_name.c_str())) result = false;
    } else if (Type* base = FindBase(type, scope_name)) {
      if (!Deserialize(reader, type->CastToBase(object, base), base, context, "")) {
        abandoned = true;
        return false;
      }
    }
  } while (reader.EnterNextSibling());
  return result;
}

} // namespace

bool Serialize(DocumentWriter& writer, const void* object, Type* type, SerializationContext* context,
               const char* name, bool skip_serializer) {
  if (type == nullptr || object == nullptr) return false;
  if (name == nullptr) name = "";
  const ContextStackEntry<SerializationContext, const void*> entry(context, type, object);
  if (!skip_serializer && type->serializer != nullptr)
    return type->serializer->Serialize(writer, object, type, context, name);

  const bool scoped = !type->document_scope.empty();
  if (scoped && !writer.EnterScope(type->document_scope.c_str())) return false;
  bool written;
  if (type->container_factory != nullptr) {
    written = SerializeElements(writer, object, type, context);
  } else if (!type->IsBasic()) {
    written = SerializeClass(writer, object, type, context);
  } else {
    // A basic value needs a key.
    written = name[0] != '\0' && WriteBasic(writer, object, type, name);
  }
  if (!written) return false;
  if (scoped) writer.ExitScope();
  return true;
}

bool Deserialize(DocumentReader& reader, void* object, Type* type, DeserializationContext* context, const char* name,
                 bool skip_serializer) {
  if (type == nullptr || object == nullptr) return false;
  if (name == nullptr) name = "";
  const ContextStackEntry<DeserializationContext, void*> entry(context, type, object);
  if (!skip_serializer && type->serializer != nullptr)
    return type->serializer->Deserialize(reader, object, type, context, name);

  const bool scoped = !type->document_scope.empty();
  if (scoped && !EnterScope(reader, type->document_scope)) return false;
  bool result = true;
  // A binary document from the writer has one index for each name: its walk matches by index. The
  // class is final, so comparing the dynamic type is exact, and far cheaper than a cast that
  // searches the hierarchy on every call.
  BinaryDocumentReader* binary =
      typeid(reader) == typeid(BinaryDocumentReader) ? static_cast<BinaryDocumentReader*>(&reader) : nullptr;
  if (binary != nullptr && !binary->HasUniqueNames()) binary = nullptr;
  std::optional<BinaryWalkSession> session;
  if (binary != nullptr) session.emplace(*binary);
  if (type->container_factory != nullptr) {
    if (binary != nullptr) DeserializeBinaryElements(*binary, object, type, context);
    else DeserializeElements(reader, object, type, context);
  } else if (!type->IsBasic()) {
    bool abandoned = false;
    result = binary != nullptr ? DeserializeBinaryClass(*binary, object, type, context, abandoned)
                               : DeserializeClass(reader, object, type, context, abandoned);
    if (abandoned) return false;
  } else {
    result = name[0] != '\0' && ReadBasic(reader, object, type, name);
  }
  if (scoped) reader.ExitScope();
  return result;
}

bool DeserializeField(DocumentReader& reader, void* object, const TypeField* field, DeserializationContext* context,
                      const char* name) {
  if (object == nullptr || field == nullptr || field->type == nullptr) return false;
  // A field without an address is read into a new value and stored through the field.
  TypeValue temporary;
  void* value = field->GetPointer(object);
  if (value == nullptr) {
    temporary = TypeValue(field->type);
    value = temporary.instance;
  }
  if (value != nullptr && Deserialize(reader, value, field->type, context, name)) {
    if (field->adapter != nullptr) field->adapter->ProcessReadValue(field->type, value, context);
    if (!temporary.IsEmpty()) field->SetValue(object, temporary);
    return true;
  }
  if (field->HasDefault()) return field->SetValue(object, field->default_value);
  return false;
}

} // namespace tv
