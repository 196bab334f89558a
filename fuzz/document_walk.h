#pragma once
// Shared by the document fuzzers: walks every scope of a loaded reader, reads each value in every
// kind, and copies the tree into a writer, so that both sides meet every shape the parser lets in.

#include <cstdlib>
#include <set>
#include <string>
#include <vector>

#include "document/document_reader.h"
#include "document/document_scope.h"
#include "document/document_writer.h"

namespace tv_fuzz {

// Reads the value in every kind, narrow ones included, and copies it in its listed kind. The
// listed kind must read where `found_first` (no earlier value or scope of that name, which `Read`
// would find instead) and the name has no NUL byte (`Read` takes names as C strings).
inline void ReadEveryKind(tv::DocumentReader& reader, const tv::DocumentValueInfo& value, bool found_first,
                          tv::DocumentWriter* copy) {
  const char* name = value.name.c_str();
  std::string text;
  float real = 0;
  unsigned whole = 0;
  int number = 0;
  bool flag = false;
  int8_t i8 = 0;
  int16_t i16 = 0;
  uint8_t u8 = 0;
  uint16_t u16 = 0;
  tv::BinaryData data;
  const bool has_text = reader.Read(name, text);
  const bool has_real = reader.Read(name, real);
  const bool has_whole = reader.Read(name, whole);
  const bool has_number = reader.Read(name, number);
  const bool has_flag = reader.Read(name, flag);
  reader.Read(name, i8);
  reader.Read(name, i16);
  reader.Read(name, u8);
  reader.Read(name, u16);
  if (reader.Read(name, data)) std::abort();  // no text form holds binary blocks

  bool reads = true;
  switch (value.kind) {
  case tv::DocumentValueBool:
    reads = has_flag;
    if (reads && copy) copy->Write(name, flag);
    break;
  case tv::DocumentValueInt:
    reads = has_number;
    if (reads && copy) copy->Write(name, number);
    break;
  case tv::DocumentValueUnsigned:
    reads = has_whole;
    if (reads && copy) copy->Write(name, whole);
    break;
  case tv::DocumentValueFloat:
    reads = has_real;
    if (reads && copy) copy->Write(name, real);
    break;
  case tv::DocumentValueString:
    reads = has_text;
    if (reads && copy) copy->Write(name, text);
    break;
  default:
    break;
  }
  if (found_first && value.name.find('\0') == std::string::npos && !reads) std::abort();
}

// Depth first without recursion. Scopes that `skip_scope` names, and all below them, are walked
// but not copied.
template <typename Skip>
void WalkAndCopy(tv::DocumentReader& reader, tv::DocumentWriter& writer, Skip&& skip_scope) {
  std::vector<tv::DocumentValueInfo> values;
  std::vector<bool> copied;  // per entered level: whether the writer entered it too
  const auto visit = [&](bool copy) {
    // In JSON scopes and values share the names of one object: a scope may hide a value.
    std::set<std::string> scopes;
    if (reader.EnterFirstChild()) {
      do {
        scopes.insert(reader.GetScopeName());
      } while (reader.EnterNextSibling());
    }
    reader.ListValues(values);
    std::set<std::string> seen;
    for (const tv::DocumentValueInfo& value : values) {
      const bool found_first = seen.insert(value.name).second && scopes.count(value.name) == 0;
      ReadEveryKind(reader, value, found_first, copy ? &writer : nullptr);
    }
    std::string text;
    int number = 0;
    reader.Read("", text);
    reader.Read("no such value", number);
  };
  const auto enter = [&]() {
    const std::string name = reader.GetScopeName();
    const bool copy = (copied.empty() || copied.back()) && !skip_scope(name) && writer.EnterScope(name.c_str());
    copied.push_back(copy);
    visit(copy);
  };
  visit(true);
  for (;;) {
    if (reader.EnterFirstChild()) {
      enter();
      continue;
    }
    for (;;) {
      if (copied.empty()) {
        tv::CountChildScopes(reader);
        tv::EnterPath(reader, "a/b");
        return;
      }
      if (copied.back()) writer.ExitScope();
      copied.pop_back();
      if (reader.EnterNextSibling()) {
        enter();
        break;
      }
    }
  }
}

} // namespace tv_fuzz
