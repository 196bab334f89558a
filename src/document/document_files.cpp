#include "document/document_files.h"

#include <memory>

#include "document/binary_document_reader.h"
#include "document/binary_document_writer.h"
#include "document/document_open.h"
#include "document/json_document_reader.h"
#include "document/type_serialization.h"
#include "document/xml_document_reader.h"
#include "foundation/globals.h"
#include "reflection/type_registry.h"

namespace tv {

bool LoadObject(void* object, Type* type, const std::string& path, DocumentFormat format,
                DeserializationContext& context) {
  if (object == nullptr || type == nullptr) return false;
  std::unique_ptr<DocumentReader> reader = OpenDocumentReader(path, format);
  if (!reader) reader = std::make_unique<BinaryDocumentReader>();
  if (!reader->Load(path)) return false;
  return Deserialize(*reader, object, type, &context, "");
}

bool LoadObject(void* object, Type* type, const std::string& path, DocumentFormat format) {
  DeserializationContext context;
  return LoadObject(object, type, path, format, context);
}

bool LoadObjectFromString(void* object, Type* type, const std::string& text, DocumentFormat format,
                          DeserializationContext& context) {
  if (object == nullptr || type == nullptr) return false;
  if (format == DocumentFormatXML) {
    XMLDocumentReader reader;
    return reader.LoadFromString(text) && Deserialize(reader, object, type, &context, "");
  }
  if (format == DocumentFormatJSON) {
    JSONDocumentReader reader;
    return reader.LoadFromString(text) && Deserialize(reader, object, type, &context, "");
  }
  return false;
}

bool LoadObjectFromString(void* object, Type* type, const std::string& text, DocumentFormat format) {
  DeserializationContext context;
  return LoadObjectFromString(object, type, text, format, context);
}

bool SaveObject(const void* object, Type* type, const std::string& path, DocumentFormat format,
                SerializationContext& context) {
  if (object == nullptr || type == nullptr) return false;
  std::unique_ptr<DocumentWriter> writer = OpenDocumentWriter(path, format);
  if (!writer) writer = std::make_unique<BinaryDocumentWriter>();
  return Serialize(*writer, object, type, &context, "") && writer->Save(path);
}

bool SaveObject(const void* object, Type* type, const std::string& path, DocumentFormat format) {
  SerializationContext context;
  return SaveObject(object, type, path, format, context);
}

Type* document_files_detail::FindTypeOfName(const std::string& type_name) {
  return types != nullptr ? types->FindType(type_name) : nullptr;
}

} // namespace tv
