#include "document/document_open.h"

#include <cstring>

#include "document/binary_document_reader.h"
#include "document/binary_document_writer.h"
#include "document/json_document_reader.h"
#include "document/json_document_writer.h"
#include "document/xml_document_reader.h"
#include "document/xml_document_writer.h"
#include "file/filesystem.h"
#include "file/path.h"
#include "foundation/globals.h"
#include "foundation/log.h"
#include "foundation/string_utils.h"

namespace tv {

namespace {

// The lower-case text behind the last "." of the file name; empty when there is none.
std::string LowerExtension(const std::string& path) {
  const std::string name = GetFileName(path);
  const size_t dot = name.rfind('.');
  return dot == std::string::npos ? std::string() : to_lower(name.substr(dot + 1));
}

} // namespace

DocumentFormat GuessDocumentFormatForReading(const std::string& path) {
  const std::string extension = LowerExtension(path);
  if (extension == "bin") return DocumentFormatBinary;
  if (extension == "json") return DocumentFormatJSON;
  if (extension == "xml") return DocumentFormatXML;

  std::shared_ptr<FileHandle> file = filesystem != nullptr ? filesystem->Open(path, FileMode::Read) : nullptr;
  if (!file) {
    error(format("Unable to determine document '%1' type, file not found").arg(path));
    return DocumentFormatUnknown;
  }
  char head[4] = {};
  const uint32_t got = file->Read(head, sizeof(head));
  if (got < 2) return DocumentFormatUnknown;
  if (got == 4 && head[0] == 'N') return std::memcmp(head, "NBIN", 4) == 0 ? DocumentFormatBinary : DocumentFormatUnknown;
  if (head[0] == '{') return DocumentFormatJSON;
  if (head[0] == '<') return DocumentFormatXML;
  return DocumentFormatUnknown;
}

DocumentFormat GuessDocumentFormatForWriting(const std::string& path) {
  const std::string extension = LowerExtension(path);
  if (extension == "bin") return DocumentFormatBinary;
  if (extension == "json" || extension == "scn" || extension == "mat" || extension == "anm") return DocumentFormatJSON;
  if (extension == "xml") return DocumentFormatXML;
  return DocumentFormatUnknown;
}

DocumentFormat GuessDocumentFormat(const std::string& text) {
  if (text.empty()) return DocumentFormatUnknown;
  if (text[0] == '{') return DocumentFormatJSON;
  if (text[0] == '<') return DocumentFormatXML;
  return DocumentFormatUnknown;
}

std::unique_ptr<DocumentReader> OpenDocumentReader(const std::string& path, DocumentFormat format) {
  if (format == DocumentFormatUnknown) format = GuessDocumentFormatForReading(path);
  switch (format) {
  case DocumentFormatXML:
    return std::make_unique<XMLDocumentReader>();
  case DocumentFormatJSON:
    return std::make_unique<JSONDocumentReader>();
  case DocumentFormatBinary:
    return std::make_unique<BinaryDocumentReader>();
  default:
    return nullptr;
  }
}

std::unique_ptr<DocumentWriter> OpenDocumentWriter(const std::string& path, DocumentFormat format) {
  if (format == DocumentFormatUnknown) format = GuessDocumentFormatForWriting(path);
  switch (format) {
  case DocumentFormatXML:
    return std::make_unique<XMLDocumentWriter>();
  case DocumentFormatJSON:
    return std::make_unique<JSONDocumentWriter>();
  case DocumentFormatBinary:
    return std::make_unique<BinaryDocumentWriter>();
  default:
    return nullptr;
  }
}

} // namespace tv
