#include "document/document_scope.h"

#include "foundation/string_utils.h"

namespace tv {

namespace {

template <typename Visit>
void ForEachChildScope(DocumentReader& reader, Visit&& visit) {
  if (!reader.EnterFirstChild()) return;
  do {
    visit(reader.GetScopeName());
  } while (reader.EnterNextSibling());
}

template <typename Document>
bool ExitScopesOf(Document& document, int count) {
  for (int i = 0; i < count; ++i) {
    if (!document.ExitScope()) return false;
  }
  return true;
}

} // namespace

int CountChildScopes(DocumentReader& reader) {
  int count = 0;
  ForEachChildScope(reader, [&](const std::string&) { ++count; });
  return count;
}

int CountScopes(DocumentReader& reader, const std::string& name) {
  int count = 0;
  ForEachChildScope(reader, [&](const std::string& scope_name) { count += scope_name == name; });
  return count;
}

bool EnterScope(DocumentReader& reader, const std::string& name) {
  if (!reader.EnterFirstChild()) return false;
  do {
    if (reader.GetScopeName() == name) return true;
  } while (reader.EnterNextSibling());
  return false;
}

bool EnterPath(DocumentReader& reader, const std::string& path) {
  int entered = 0;
  for (const std::string& part : split(path, "/")) {
    if (!EnterScope(reader, part)) {
      ExitScopes(reader, entered);
      return false;
    }
    ++entered;
  }
  return true;
}

bool EnterPath(DocumentWriter& writer, const std::string& path) {
  int entered = 0;
  for (const std::string& part : split(path, "/")) {
    if (!writer.EnterScope(part.c_str())) {
      ExitScopes(writer, entered);
      return false;
    }
    ++entered;
  }
  return true;
}

bool ExitScopes(DocumentReader& reader, int count) { return ExitScopesOf(reader, count); }
bool ExitScopes(DocumentWriter& writer, int count) { return ExitScopesOf(writer, count); }

bool DocumentScope::Close() {
  if (!entered_) return false;
  entered_ = false;
  return writer_.ExitScope();
}

} // namespace tv
