#pragma once
// Whole documents in and out of typed objects: a file or a text is read, or written, and the
// object is walked with Deserialize or Serialize at the top of the document (the empty name). These
// are the loads and saves of every resource that is one object of a registered type.
//
// A file's form comes from `format`, or from its path and first bytes when it is Unknown; a form
// that can't be told is read and written as binary, so a file of no form fails at its Load. The
// operations report nothing in words themselves: the document layer and the serializers do. A
// save whose walk fails writes nothing; a load whose walk fails may leave the object half read.

#include <string>

#include "document/document_format.h"
#include "document/serialization_context.h"
#include "reflection/type_name.h"

namespace tv {

class Type;

// Loads the document at `path` into `object`, of `type`. False when the type is null, when the
// document can't be read or parsed (the object untouched), or when the walk answers false.
bool LoadObject(void* object, Type* type, const std::string& path, DocumentFormat format,
                DeserializationContext& context);
// As LoadObject, with a context made for the call.
bool LoadObject(void* object, Type* type, const std::string& path, DocumentFormat format = DocumentFormatUnknown);

// Loads a text in memory, of the form XML or JSON only; any other format answers false.
bool LoadObjectFromString(void* object, Type* type, const std::string& text, DocumentFormat format,
                          DeserializationContext& context);
bool LoadObjectFromString(void* object, Type* type, const std::string& text, DocumentFormat format);

// Writes `object`, of `type`, as a document at `path`. False when the type is null, when the walk
// fails (nothing is saved then) or when the file can't be written.
bool SaveObject(const void* object, Type* type, const std::string& path, DocumentFormat format,
                SerializationContext& context);
bool SaveObject(const void* object, Type* type, const std::string& path,
                DocumentFormat format = DocumentFormatUnknown);

namespace document_files_detail {
// The type registered under a primary name in the global registry, or null; creates nothing.
Type* FindTypeOfName(const std::string& type_name);
} // namespace document_files_detail

// Typed forms for objects of a registered C++ type; an unregistered type answers false. An object
// with a string member `name`, as resources have, is named by its path before it is loaded.
template <typename T>
bool LoadObject(T& object, const std::string& path, DocumentFormat format = DocumentFormatUnknown) {
  if constexpr (requires { object.name = path; }) object.name = path;
  return LoadObject(&object, document_files_detail::FindTypeOfName(TypeName<T>()), path, format);
}

template <typename T>
bool LoadObjectFromString(T& object, const std::string& text, DocumentFormat format) {
  return LoadObjectFromString(&object, document_files_detail::FindTypeOfName(TypeName<T>()), text, format);
}

template <typename T>
bool SaveObject(const T& object, const std::string& path, DocumentFormat format = DocumentFormatUnknown) {
  return SaveObject(&object, document_files_detail::FindTypeOfName(TypeName<T>()), path, format);
}

} // namespace tv
