#include "doc_command.h"

#include <cstdio>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "document/document_open.h"
#include "document/document_reader.h"
#include "file/filesystem.h"
#include "foundation/globals.h"

namespace tv {
namespace {

constexpr const char* kDocUsage =
    "usage: torvane doc cat FILE\n"
    "\n"
    "Prints a document as an indented tree, read through the engine's document interface. The\n"
    "form (XML or JSON) comes from the extension, else from the first bytes. Each scope is a line\n"
    "with its name, followed by its values, one a line as NAME: KIND = VALUE, and then by its\n"
    "child scopes, two spaces further in. Kinds are bool, int, unsigned, float (9 significant\n"
    "digits), string (quoted, with C escapes) and binary (its size); \"other\" is a value that no\n"
    "read takes, such as a JSON array. XML has no kinds: a value shows the first kind whose read\n"
    "takes its text. A name repeated in one scope is marked, since a reader only finds the first.\n"
    "XML nodes that are no element (comments, text) show as **invalid**.\n";

int Fail(const std::string& message) {
  std::fprintf(stderr, "torvane doc: %s\n", message.c_str());
  return 1;
}

// Control bytes, quotes and backslashes as C escapes; other bytes (UTF-8 included) as they are.
std::string Escaped(const std::string& text, bool quote) {
  std::string out = quote ? "\"" : "";
  for (const char c : text) {
    const unsigned char byte = static_cast<unsigned char>(c);
    if (c == '\n') {
      out += "\\n";
    } else if (c == '\t') {
      out += "\\t";
    } else if (c == '\r') {
      out += "\\r";
    } else if (c == '\\' || (quote && c == '"')) {
      out += '\\';
      out += c;
    } else if (byte < 0x20 || byte == 0x7f) {
      char hex[8];
      std::snprintf(hex, sizeof(hex), "\\x%02x", byte);
      out += hex;
    } else {
      out += c;
    }
  }
  if (quote) out += '"';
  return out;
}

std::string DescribeValue(DocumentReader& reader, const DocumentValueInfo& value) {
  const char* name = value.name.c_str();
  char text[64];
  switch (value.kind) {
  case DocumentValueBool: {
    bool flag = false;
    if (reader.Read(name, flag)) return std::string("bool = ") + (flag ? "true" : "false");
    break;
  }
  case DocumentValueInt: {
    int number = 0;
    if (reader.Read(name, number)) return "int = " + std::to_string(number);
    break;
  }
  case DocumentValueUnsigned: {
    unsigned number = 0;
    if (reader.Read(name, number)) return "unsigned = " + std::to_string(number);
    break;
  }
  case DocumentValueFloat: {
    float number = 0;
    if (reader.Read(name, number)) {
      std::snprintf(text, sizeof(text), "float = %.9g", double(number));
      return text;
    }
    break;
  }
  case DocumentValueString: {
    std::string string;
    if (reader.Read(name, string)) return "string = " + Escaped(string, true);
    break;
  }
  case DocumentValueBinary: {
    BinaryData data;
    if (reader.Read(name, data)) return "binary = " + std::to_string(data.size) + " bytes";
    break;
  }
  case DocumentValueOther:
    return "other";
  }
  // A JSON value hidden by an earlier scope of its name (a read finds the first member), or a
  // name with a NUL byte.
  return "unreadable";
}

void PrintScope(DocumentReader& reader, int depth) {
  const std::string indent(size_t(depth) * 2, ' ');
  std::printf("%s%s\n", indent.c_str(), Escaped(reader.GetScopeName(), false).c_str());
  std::vector<DocumentValueInfo> values;
  reader.ListValues(values);
  std::set<std::string> seen;
  for (const DocumentValueInfo& value : values) {
    const std::string name = Escaped(value.name, false);
    if (!seen.insert(value.name).second)
      std::printf("%s  %s: repeated, a reader finds the first\n", indent.c_str(), name.c_str());
    else
      std::printf("%s  %s: %s\n", indent.c_str(), name.c_str(), DescribeValue(reader, value).c_str());
  }
}

// Depth first, without recursion: a document may nest deeper than the stack would like.
void PrintTree(DocumentReader& reader) {
  int depth = 0;
  PrintScope(reader, depth);
  for (;;) {
    if (reader.EnterFirstChild()) {
      PrintScope(reader, ++depth);
      continue;
    }
    // No child: on to the next sibling, climbing while there is none.
    for (;;) {
      if (depth == 0) return;
      if (reader.EnterNextSibling()) {
        PrintScope(reader, depth);
        break;
      }
      --depth;
    }
  }
}

const char* FormatName(DocumentFormat format) {
  switch (format) {
  case DocumentFormatXML:
    return "XML";
  case DocumentFormatJSON:
    return "JSON";
  case DocumentFormatBinary:
    return "binary";
  default:
    return "unknown";
  }
}

} // namespace

int RunDocCommand(int argc, char** argv, const HostOptions& host_options) {
  std::vector<std::string> words;
  for (int i = 0; i < argc; ++i) {
    const std::string arg = argv[i];
    if (arg == "-h" || arg == "--help") {
      std::fputs(kDocUsage, stdout);
      return 0;
    }
    if (arg.size() > 1 && arg[0] == '-') return Fail("unknown option '" + arg + "'; see torvane doc --help");
    words.push_back(arg);
  }
  if (words.empty()) return Fail("missing operands; see torvane doc --help");
  if (words[0] != "cat") return Fail("unknown verb '" + words[0] + "'; see torvane doc --help");
  if (words.size() < 2) return Fail("missing FILE; see torvane doc --help");
  if (words.size() > 2) return Fail("too many operands; see torvane doc --help");
  const std::string& path = words[1];

  CoreSession session(host_options);
  if (!filesystem->Exists(path)) return Fail("cannot open '" + path + "'");
  const DocumentFormat format = GuessDocumentFormatForReading(path);
  std::unique_ptr<DocumentReader> reader = OpenDocumentReader(path, format);
  if (!reader) return Fail("the format of '" + path + "' is not known");
  if (!reader->Load(path))
    return Fail("'" + path + "' is no well-formed " + std::string(FormatName(format)) + " document");
  PrintTree(*reader);
  return std::fflush(stdout) == 0 ? 0 : Fail("cannot write the output");
}

} // namespace tv
