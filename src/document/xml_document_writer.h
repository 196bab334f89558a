#pragma once
// Writes an XML document: each scope is an element, each value an attribute of the element of
// the current scope: ints as "%d", unsigned ints as "%u", floats as "%.8g", bools as "true" or
// "false", strings as they are (escaped by the printer).
//
// Scope and value names go out as given, so they must be valid XML names for the file to load
// again. A value written at the root goes into a top-level element "Document", made at the first
// such write; scopes entered at the root stand beside it as further top-level elements. A second
// value of one name in one scope replaces the first. A writer given nothing saves an empty text,
// which no reader loads. Strings go out as they are: the XML reader here gives back tabs and line
// breaks in them, where other XML tools read each as a space, and bytes below 0x20 other than
// those make the file unreadable to other tools.

#include <memory>
#include <string>

#include "document/document_writer.h"

namespace tv {

class XMLDocumentWriter : public DocumentWriter {
public:
  XMLDocumentWriter();
  ~XMLDocumentWriter() override;
  XMLDocumentWriter(const XMLDocumentWriter&) = delete;
  XMLDocumentWriter& operator=(const XMLDocumentWriter&) = delete;

  using DocumentWriter::Write;

  bool EnterScope(const char* name) override;
  bool ExitScope() override;
  bool Write(const char* name, const std::string& value) override;
  bool Write(const char* name, float value) override;
  bool Write(const char* name, unsigned int value) override;
  bool Write(const char* name, int value) override;
  bool Write(const char* name, bool value) override;
  // Prints the document with indentation and writes it whole; false if it can't be written.
  bool Save(const std::string& path) override;

  // The text that Save writes.
  std::string SaveToString() const;

private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

} // namespace tv
