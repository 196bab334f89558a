#pragma once
// Shared by the document and serialization tests: a file system over a temporary folder with the
// log recorded; the two text forms for typed tests; binary file images as byte vectors; and
// documents written from, and checked against, a one-line script.
//
// Script: items separated by spaces. `Name{ ... }` is a scope, `Name=value` a value: 12 int,
// 12u unsigned, 1.5f float (also inff, nanf), true/false bool, 'text' string (it ends at a quote
// before a space, a } or the end), #6162 binary block, ? a value that no read takes (checks only).
// Names may hold spaces but not = { }.

#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "document/binary_document_reader.h"
#include "document/binary_document_writer.h"
#include "document/json_document_reader.h"
#include "document/json_document_writer.h"
#include "document/xml_document_reader.h"
#include "document/xml_document_writer.h"
#include "file/filesystem.h"
#include "file/log_capture.h"
#include "file/std_file_driver.h"
#include "file/temp_folder.h"
#include "foundation/globals.h"

namespace tv_test {

class DocumentTest : public LogCaptureTest {
protected:
  void SetUp() override {
    LogCaptureTest::SetUp();
    files.Mount(std::make_shared<tv::StdFileDriver>(temp.path));
    tv::filesystem = &files;
    TakeLog();
  }
  void TearDown() override {
    tv::filesystem = nullptr;
    LogCaptureTest::TearDown();
  }

  TempFolder temp;
  tv::Filesystem files;
};

struct XMLForm {
  using Reader = tv::XMLDocumentReader;
  using Writer = tv::XMLDocumentWriter;
  static constexpr const char* kExtension = "xml";
};
struct JSONForm {
  using Reader = tv::JSONDocumentReader;
  using Writer = tv::JSONDocumentWriter;
  static constexpr const char* kExtension = "json";
};

using Bytes = std::vector<uint8_t>;

inline Bytes ImageOf(const tv::BinaryDocumentWriter& writer) {
  tv::BinaryData image;
  EXPECT_TRUE(writer.Save(image));
  return Bytes(image.data.begin(), image.data.begin() + image.size);
}
inline tv::BinaryData ToData(const Bytes& bytes) {
  tv::BinaryData data;
  data.Write(bytes.data(), uint32_t(bytes.size()));
  return data;
}
inline bool LoadBytes(tv::BinaryDocumentReader& reader, const Bytes& bytes) { return reader.Load(ToData(bytes)); }

// The scope names met by a child loop over the current scope.
inline std::vector<std::string> ChildNames(tv::DocumentReader& reader) {
  std::vector<std::string> names;
  if (!reader.EnterFirstChild()) return names;
  do {
    names.push_back(reader.GetScopeName());
  } while (reader.EnterNextSibling());
  return names;
}

// Which reads take the value `name`: letters of i(nt) u(nsigned) f(loat) b(ool) s(tring) x (block).
// A refused read must leave its target unchanged.
inline std::string KindsThatRead(tv::DocumentReader& reader, const char* name) {
  std::string kinds;
  int i = 77;
  unsigned u = 77;
  float f = 77;
  bool b = true;
  std::string s = "unchanged";
  tv::BinaryData x;
  if (reader.Read(name, i)) kinds += 'i'; else EXPECT_EQ(i, 77);
  if (reader.Read(name, u)) kinds += 'u'; else EXPECT_EQ(u, 77u);
  if (reader.Read(name, f)) kinds += 'f'; else EXPECT_EQ(f, 77.0f);
  if (reader.Read(name, b)) kinds += 'b'; else EXPECT_TRUE(b);
  if (reader.Read(name, s)) kinds += 's'; else EXPECT_EQ(s, "unchanged");
  if (reader.Read(name, x)) kinds += 'x'; else EXPECT_EQ(x.size, 0u);
  return kinds;
}

// One step of a script: '{' a scope entered, '}' left, '=' a value of `kind` (a letter as above,
// or '?') given by `text`.
struct ScriptStep {
  char what;
  std::string name;
  char kind = 0;
  std::string text = "";
};

inline std::vector<ScriptStep> ParseScript(const std::string& script) {
  std::vector<ScriptStep> steps;
  size_t at = 0;
  while ((at = script.find_first_not_of(' ', at)) != std::string::npos) {
    if (script[at] == '}') {
      steps.push_back({'}', ""});
      ++at;
      continue;
    }
    const size_t mark = script.find_first_of("={", at);
    ScriptStep step{script.at(mark), script.substr(at, mark - at)};
    at = mark + 1;
    if (step.what == '=') {
      size_t end = script.find_first_of(" }", at);
      if (script[at] == '\'') {  // up to a quote before a space, a } or the end
        for (end = at + 1; end + 1 < script.size() && !(script[end] == '\'' && (script[end + 1] == ' ' || script[end + 1] == '}'));)
          ++end;
        ++end;
      }
      step.text = script.substr(at, end - at);
      at = end;
      const char first = step.text.empty() ? 0 : step.text[0], last = step.text.empty() ? 0 : step.text.back();
      step.kind = step.text == "true" || step.text == "false" ? 'b'
                  : first == '\'' ? 's' : first == '#' ? 'x' : first == '?' ? '?' : last == 'u' ? 'u' : last == 'f' ? 'f' : 'i';
    }
    steps.push_back(step);
  }
  return steps;
}

// The text of a block as a script writes it.
inline std::string BlockText(const tv::BinaryData& block) {
  std::string text = "#";
  char hex[3];
  for (uint32_t i = 0; i < block.size; ++i) {
    std::snprintf(hex, sizeof(hex), "%02x", block.data[i]);
    text += hex;
  }
  return text;
}

inline bool WriteScript(tv::DocumentWriter& writer, const std::string& script) {
  bool ok = true;
  for (const ScriptStep& step : ParseScript(script)) {
    const char* name = step.name.c_str();
    const std::string& text = step.text;
    if (step.what == '{') ok &= writer.EnterScope(name);
    else if (step.what == '}') ok &= writer.ExitScope();
    else if (step.kind == 's') ok &= writer.Write(name, text.substr(1, text.size() - 2));
    else if (step.kind == 'b') ok &= writer.Write(name, text == "true");
    else if (step.kind == 'u') ok &= writer.Write(name, unsigned(std::stoul(text)));
    else if (step.kind == 'f') ok &= writer.Write(name, std::stof(text));
    else if (step.kind == 'i') ok &= writer.Write(name, std::stoi(text));
    else if (step.kind == 'x') {
      tv::BinaryData block;
      for (size_t i = 1; i + 1 < text.size(); i += 2) block.Write(uint8_t(std::stoul(text.substr(i, 2), nullptr, 16)));
      ok &= writer.Write(name, block);
    }
  }
  return ok;
}

// The value `step` names, read with the step's kind and written as a script writes that kind.
inline std::string ReadAsScript(tv::DocumentReader& reader, const ScriptStep& step) {
  const char* name = step.name.c_str();
  char text[32];
  int i;
  unsigned u;
  float f;
  bool b;
  std::string s;
  tv::BinaryData x;
  switch (step.kind) {
  case 'i': return reader.Read(name, i) ? std::to_string(i) : "(no int)";
  case 'u': return reader.Read(name, u) ? std::to_string(u) + "u" : "(no unsigned)";
  case 'b': return reader.Read(name, b) ? (b ? "true" : "false") : "(no bool)";
  case 's': return reader.Read(name, s) ? "'" + s + "'" : "(no string)";
  case 'x': return reader.Read(name, x) ? BlockText(x) : "(no block)";
  case 'f':
    if (!reader.Read(name, f)) return "(no float)";
    std::snprintf(text, sizeof(text), "%.9gf", double(f));
    return text;
  default: return KindsThatRead(reader, name).empty() ? "?" : "(read as " + KindsThatRead(reader, name) + ")";
  }
}

// A value's text as `ReadAsScript` gives it back.
inline std::string CanonicalText(const ScriptStep& step) {
  char text[32];
  if (step.kind == 'i') return std::to_string(std::stoi(step.text));
  if (step.kind == 'u') return std::to_string(std::stoul(step.text)) + "u";
  if (step.kind != 'f') return step.text;
  std::snprintf(text, sizeof(text), "%.9gf", double(std::stof(step.text)));
  return text;
}

// Checks that the current scope holds what `script` writes: each value read with its kind, the
// child scopes in order and no others, and as many values as `ListValues` shows (where it can).
// Values must stand before the scopes in each scope. The reader ends where it started.
inline void ExpectScript(tv::DocumentReader& reader, const std::string& script) {
  SCOPED_TRACE("script: " + script);
  struct Level {
    size_t values = 0;
    bool in_child = false;
  };
  std::vector<Level> levels(1);
  const auto close = [&](const Level& level) {
    EXPECT_FALSE(level.in_child ? reader.EnterNextSibling() : reader.EnterFirstChild())
        << "a scope beyond the script after " << reader.GetScopeName();
    std::vector<tv::DocumentValueInfo> values;
    if (reader.ListValues(values)) {
      EXPECT_EQ(values.size(), level.values) << "values in " << reader.GetScopeName();
    }
  };
  for (const ScriptStep& step : ParseScript(script)) {
    Level& level = levels.back();
    if (step.what == '=') {
      EXPECT_FALSE(level.in_child) << "script has a value behind a scope: " << step.name;
      ++level.values;
      EXPECT_EQ(ReadAsScript(reader, step), CanonicalText(step)) << step.name << " in " << reader.GetScopeName();
    } else if (step.what == '{') {
      ASSERT_TRUE(level.in_child ? reader.EnterNextSibling() : reader.EnterFirstChild()) << "no scope " << step.name;
      level.in_child = true;
      EXPECT_EQ(reader.GetScopeName(), step.name);
      levels.emplace_back();
    } else {
      close(level);
      levels.pop_back();
    }
  }
  close(levels.back());
}

} // namespace tv_test
