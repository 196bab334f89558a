#pragma once
// Helpers over the document interface: counting, finding and entering scopes by name and path,
// and a guard that leaves a writer's scope on every path.

#include <string>

#include "document/document_reader.h"
#include "document/document_writer.h"

namespace tv {

// The count of child scopes of the current scope (of that name); the reader stays where it was.
int CountChildScopes(DocumentReader& reader);
int CountScopes(DocumentReader& reader, const std::string& name);

// Enters the first child scope of that name: true with it current, false with the reader where it
// was.
bool EnterScope(DocumentReader& reader, const std::string& name);
// Enters each "/"-separated part in turn; on a missing part leaves what it entered and answers
// false.
bool EnterPath(DocumentReader& reader, const std::string& path);
bool EnterPath(DocumentWriter& writer, const std::string& path);

// Calls ExitScope up to `count` times; false as soon as one fails (0 answers true).
bool ExitScopes(DocumentReader& reader, int count);
bool ExitScopes(DocumentWriter& writer, int count);

// Enters a writer's scope and leaves it when closed or destroyed, once, if it was entered.
class DocumentScope {
public:
  DocumentScope(DocumentWriter& writer, const char* name) : writer_(writer), entered_(writer.EnterScope(name)) {}
  ~DocumentScope() { Close(); }
  DocumentScope(const DocumentScope&) = delete;
  DocumentScope& operator=(const DocumentScope&) = delete;

  bool IsEntered() const { return entered_; }
  // True if this left a scope: it was entered, not closed yet, and the writer's ExitScope agreed.
  bool Close();

private:
  DocumentWriter& writer_;
  bool entered_;
};

} // namespace tv
