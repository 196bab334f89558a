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
};
struct JSONForm {
  using Reader = tv::JSONDocumentReader;
  using Writer = tv::JSONDocumentWriter;
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
// or '?') written as `text`.
struct ScriptStep {
  char what;
  std::string name = "";
  char kind = 0;
  std::string text = "";
};

inline std::vector<ScriptStep> ParseScript(const std::string& script) {
  std::vector<ScriptStep> steps;
  for (size_t at = 0; (at = script.find_first_not_of(' ', at)) != std::string::npos;) {
    if (script[at] == '}') {
      steps.push_back({'}'});
      ++at;
      continue;
    }
    const size_t mark = script.find_first_of("={", at);
    ScriptStep step{script.at(mark), script.substr(at, mark - at)};
    at = mark + 1;
    if (step.what == '=') {
      size_t end = script.find_first_of(" }", at);
      if (script[at] == '\'') {
        const auto closes = [&](size_t i) {
          return script[i] == '\'' && (script[i + 1] == ' ' || script[i + 1] == '}');
        };
        for (end = at + 1; end + 1 < script.size() && !closes(end);) ++end;
        ++end;
      }
      const std::string text = step.text = script.substr(at, end - at);
      at = end;
      step.kind = text == "true" || text == "false" ? 'b' : text[0] == '\'' ? 's' : text[0] == '#' ? 'x'
                  : text[0] == '?' ? '?' : text.back() == 'u' ? 'u' : text.back() == 'f' ? 'f' : 'i';
    }
    steps.push_back(step);
  }
  return steps;
}

inline bool WriteScript(tv::DocumentWriter& writer, const std::string& script) {
  bool ok = true;
  for (const ScriptStep& step : ParseScript(script)) {
    const char* name = step.name.c_str();
    const std::string& text = step.text;
    tv::BinaryData block;
    switch (step.what == '=' ? step.kind : step.what) {
    case '{': ok &= writer.EnterScope(name); break;
    case '}': ok &= writer.ExitScope(); break;
    case 's': ok &= writer.Write(name, text.substr(1, text.size() - 2)); break;
    case 'b': ok &= writer.Write(name, text == "true"); break;
    case 'u': ok &= writer.Write(name, unsigned(std::stoul(text))); break;
    case 'f': ok &= writer.Write(name, std::stof(text)); break;
    case 'i': ok &= writer.Write(name, std::stoi(text)); break;
    case 'x':
      for (size_t i = 1; i + 1 < text.size(); i += 2) block.Write(uint8_t(std::stoul(text.substr(i, 2), nullptr, 16)));
      ok &= writer.Write(name, block);
    }
  }
  return ok;
}

// The script's text for a value; from `reader` when given (read with the step's kind), else from
// the step itself.
inline std::string ValueText(const ScriptStep& step, tv::DocumentReader* reader = nullptr) {
  const char* name = step.name.c_str();
  char text[32];
  int i;
  unsigned u;
  float f;
  bool b;
  std::string s;
  tv::BinaryData x;
  switch (step.kind) {
  case 'i':
    if (!reader) return std::to_string(std::stoi(step.text));
    return reader->Read(name, i) ? std::to_string(i) : "(no int)";
  case 'u':
    if (!reader) return std::to_string(std::stoul(step.text)) + "u";
    return reader->Read(name, u) ? std::to_string(u) + "u" : "(no unsigned)";
  case 'b': return !reader ? step.text : reader->Read(name, b) ? (b ? "true" : "false") : "(no bool)";
  case 's': return !reader ? step.text : reader->Read(name, s) ? "'" + s + "'" : "(no string)";
  case 'f':
    if (reader && !reader->Read(name, f)) return "(no float)";
    std::snprintf(text, sizeof(text), "%.9gf", double(reader ? f : std::stof(step.text)));
    return text;
  case 'x':
    if (!reader) return step.text;
    if (!reader->Read(name, x)) return "(no block)";
    s = "#";
    for (uint32_t at = 0; at < x.size; ++at) {
      std::snprintf(text, sizeof(text), "%02x", x.data[at]);
      s += text;
    }
    return s;
  default:
    if (!reader || KindsThatRead(*reader, name).empty()) return "?";
    return "(read as " + KindsThatRead(*reader, name) + ")";
  }
}

// Checks that the current scope holds what `script` writes: each value read with its kind, the
// child scopes in order and no others, and the values in order as `ListValues` shows them (where
// it can). Values must stand before the scopes in each scope. The reader ends where it started.
inline void ExpectScript(tv::DocumentReader& reader, const std::string& script) {
  SCOPED_TRACE("script: " + script);
  std::vector<std::pair<std::string, bool>> levels(1);  // per open scope: value names, a child entered
  const auto close = [&](const std::pair<std::string, bool>& level) {
    EXPECT_FALSE(level.second ? reader.EnterNextSibling() : reader.EnterFirstChild())
        << "a scope beyond the script after " << reader.GetScopeName();
    std::vector<tv::DocumentValueInfo> values;
    std::string listed;
    if (reader.ListValues(values)) {
      for (const tv::DocumentValueInfo& value : values) listed += value.name + " ";
      EXPECT_EQ(listed, level.first) << "values in " << reader.GetScopeName();
    }
  };
  for (const ScriptStep& step : ParseScript(script)) {
    auto& [names, in_child] = levels.back();
    if (step.what == '=') {
      EXPECT_FALSE(in_child) << "script has a value behind a scope: " << step.name;
      names += step.name + " ";
      EXPECT_EQ(ValueText(step, &reader), ValueText(step)) << step.name << " in " << reader.GetScopeName();
    } else if (step.what == '{') {
      ASSERT_TRUE(in_child ? reader.EnterNextSibling() : reader.EnterFirstChild()) << "no scope " << step.name;
      in_child = true;
      EXPECT_EQ(reader.GetScopeName(), step.name);
      levels.emplace_back();
    } else {
      close(levels.back());
      levels.pop_back();
    }
  }
  close(levels.back());
}

inline Bytes ImageOfScript(const std::string& script) {
  tv::BinaryDocumentWriter writer;
  EXPECT_TRUE(WriteScript(writer, script));
  return ImageOf(writer);
}
inline void ExpectImage(const Bytes& image, const std::string& script) {
  tv::BinaryDocumentReader reader;
  ASSERT_TRUE(LoadBytes(reader, image));
  ExpectScript(reader, script);
}

} // namespace tv_test
