#pragma once
// Reads an XML document: elements are scopes, attributes of an element are its values, all of
// them text.
//
// Every child node counts as a scope, not only elements: a comment, text or the XML declaration
// is a scope named "**invalid**" that holds no values and no children the reader enters. Values
// at the root live in the first top-level element named "Document". Ints, unsigned ints and
// floats are read from decimal text that must be whole (surrounding XML white space allowed); an
// unsigned int refuses a minus sign, a float refuses a value beyond the float range but takes
// "nan" and "inf", which is how the writer prints floats that are not finite (the binary form
// carries them as they are too); bools are "true" and "false". Elements nested deeper than the parser allows (about 100) fail the load.

#include <memory>
#include <string>
#include <vector>

#include "document/document_reader.h"

namespace tv {

class XMLDocumentReader : public DocumentReader {
public:
  XMLDocumentReader();
  ~XMLDocumentReader() override;
  XMLDocumentReader(const XMLDocumentReader&) = delete;
  XMLDocumentReader& operator=(const XMLDocumentReader&) = delete;

  using DocumentReader::Read;

  std::string GetScopeName() override;
  bool EnterFirstChild() override;
  bool EnterNextSibling() override;
  bool ExitScope() override;
  bool Read(const char* name, std::string& out) override;
  bool Read(const char* name, float& out) override;
  bool Read(const char* name, unsigned int& out) override;
  bool Read(const char* name, int& out) override;
  bool Read(const char* name, bool& out) override;
  bool Load(const std::string& path) override;
  // Each attribute with the first kind of bool, int, unsigned int and float whose Read takes its
  // text, else string (XML carries no kinds, so this is what the text can be read as).
  bool ListValues(std::vector<DocumentValueInfo>& out) override;

  // As Load, from text in memory; the text ends at its first NUL byte.
  bool LoadFromString(const std::string& text);

private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

} // namespace tv
