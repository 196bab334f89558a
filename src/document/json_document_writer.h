#pragma once
// Writes a JSON document: each scope is a member holding an object, each value a member holding
// a string, a number or true/false. The root object is made at the first write or scope.
//
// Several scopes or values of one name are several members with that key, in writing order. A
// float is stored as the double ceil(v * 10000) / 10000 (rounded up to 4 decimal places, so a
// negative value towards zero) and printed shortest, a whole one as "1.0" so that it reads back as
// a float; a float that is not finite has no JSON form and its write answers false. The printer
// indents by one tab a level.

#include <memory>
#include <string>

#include "document/document_writer.h"

namespace tv {

class JSONDocumentWriter : public DocumentWriter {
public:
  JSONDocumentWriter();
  ~JSONDocumentWriter() override;
  JSONDocumentWriter(const JSONDocumentWriter&) = delete;
  JSONDocumentWriter& operator=(const JSONDocumentWriter&) = delete;

  using DocumentWriter::Write;

  bool EnterScope(const char* name) override;
  bool ExitScope() override;
  bool Write(const char* name, const std::string& value) override;
  bool Write(const char* name, float value) override;
  bool Write(const char* name, unsigned int value) override;
  bool Write(const char* name, int value) override;
  bool Write(const char* name, bool value) override;
  // Pretty-prints the document and writes it whole; false if it can't be written. An empty
  // writer saves "{}".
  bool Save(const std::string& path) override;

  // The text that Save writes.
  std::string SaveToString() const;

private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

} // namespace tv
