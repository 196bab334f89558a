#pragma once
// Reads a JSON document: a member whose value is an object is a scope named by its key; a member
// holding a string, a number or true/false is a value. The root is an object.
//
// Repeated keys are kept in document order, so several scopes of one name are walked in turn, and
// `Read` takes the first member of a name (a scope of that name before a value hides it). Kinds
// are checked strictly: an int or unsigned int is a number written without fraction or exponent
// that fits 32 bits (so -1 is no unsigned int); a float is a number written with one, or a whole
// number beyond 64 bits (so the plain 1 is no float, and 1.0 no int), and it must fit the float
// range. Arrays and null are members that no `Read` takes and no scope.
//
// Text is parsed with the library's default flags: no comments, no trailing commas, nothing but
// white space after the root. A leading UTF-8 byte order mark is skipped, and a NUL byte ends the
// text. A root that is no object loads as an empty document. Arrays and objects nested deeper than
// kMaxJSONDepth fail the load, so that hostile text can't exhaust the stack of the recursive
// parser.

#include <memory>
#include <string>
#include <vector>

#include "document/document_reader.h"

namespace tv {

inline constexpr int kMaxJSONDepth = 1000;

class JSONDocumentReader : public DocumentReader {
public:
  JSONDocumentReader();
  ~JSONDocumentReader() override;
  JSONDocumentReader(const JSONDocumentReader&) = delete;
  JSONDocumentReader& operator=(const JSONDocumentReader&) = delete;

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
  // Each member that is no scope; a number written without fraction reports int when it fits,
  // else unsigned when it fits, else other, and one written with a fraction float when it fits
  // the float range, else other.
  bool ListValues(std::vector<DocumentValueInfo>& out) override;

  // As Load, from text in memory.
  bool LoadFromString(const std::string& text);

private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

} // namespace tv
