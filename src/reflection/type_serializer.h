#pragma once
// A type's own document form, taking the generic field walk over for its values. The document
// classes are only named here; serializers are written with the documents.

namespace tv {

class Type;
class DocumentReader;
class DocumentWriter;
class SerializationContext;
class DeserializationContext;

class TypeSerializer {
public:
  virtual ~TypeSerializer() = default;
  // Reads the value at `object` (of `type`) stored under `name`; false if it could not.
  virtual bool Deserialize(DocumentReader& reader, void* object, Type* type, DeserializationContext* context,
                           const char* name) = 0;
  virtual bool Serialize(DocumentWriter& writer, const void* object, Type* type, SerializationContext* context,
                         const char* name) = 0;
  // How the value looks in a document: a basic type is one value under `name`; null or another
  // type means a scope of its own.
  virtual Type* GetStorageType() { return nullptr; }
};

} // namespace tv
