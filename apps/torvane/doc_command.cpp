#include "doc_command.h"

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "document/binary_document_reader.h"
#include "document/document_copy.h"
#include "document/document_open.h"
#include "document/document_reader.h"
#include "document/document_writer.h"
#include "file/filesystem.h"
#include "foundation/globals.h"
#include "output_file.h"

namespace tv {
namespace {

constexpr const char* kDocUsage =
    "usage: torvane doc cat FILE\n"
    "       torvane doc convert IN OUT [--format xml|json|binary]\n"
    "\n"
    "The forms of a document are XML, JSON and binary; a file's form comes from its extension\n"
    "(.xml, .json, .bin), else from its first bytes, and a file whose form can't be told is tried\n"
    "as binary.\n"
    "\n"
    "cat prints a document as an indented tree, read through the engine's document interface.\n"
    "Each scope is a line with its name, followed by its values, one a line as NAME: KIND = VALUE,\n"
    "and then by its child scopes, two spaces further in. Kinds are bool, int, unsigned, float (9\n"
    "significant digits), string (quoted, with C escapes) and binary (its size); \"other\" is a\n"
    "value that no read takes, such as a JSON array. XML has no kinds: a value shows the first kind\n"
    "whose read takes its text. A name repeated in one scope is marked, since a reader only finds\n"
    "the first. XML nodes that are no element (comments, text) show as **invalid**.\n"
    "\n"
    "convert copies a document into another form, scope by scope and value by value. The form of\n"
    "OUT comes from --format, else from its extension (.xml; .json, .scn, .mat, .anm; .bin). Values\n"
    "go before the child scopes of their scope, a value whose name came earlier in its scope is\n"
    "dropped (no reader finds it), comments are dropped, XML values take the first kind their text\n"
    "reads as, and JSON keeps floats to 4 decimals, rounded up. Binary blocks go only into a binary\n"
    "document: converting one to text is refused. OUT is written whole or not at all.\n";
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

// Loads the document at `path` in the form guessed from it, as binary when none can be told.
// Null after a line on standard error.
std::unique_ptr<DocumentReader> LoadInput(const std::string& path) {
  if (!filesystem->Exists(path)) {
    Fail("cannot open '" + path + "'");
    return nullptr;
  }
  const DocumentFormat format = GuessDocumentFormatForReading(path);
  std::unique_ptr<DocumentReader> reader = OpenDocumentReader(path, format);
  if (!reader) reader = std::make_unique<BinaryDocumentReader>();
  if (reader->Load(path)) return reader;
  if (format == DocumentFormatUnknown)
    Fail("the format of '" + path + "' is not known, and it is no well-formed binary document");
  else
    Fail("'" + path + "' is no well-formed " + std::string(FormatName(format)) + " document");
  return nullptr;
}

int RunCat(const std::string& path) {
  std::unique_ptr<DocumentReader> reader = LoadInput(path);
  if (!reader) return 1;
  PrintTree(*reader);
  return std::fflush(stdout) == 0 ? 0 : Fail("cannot write the output");
}

bool ParseFormat(const std::string& text, DocumentFormat& format) {
  if (text == "xml") format = DocumentFormatXML;
  else if (text == "json") format = DocumentFormatJSON;
  else if (text == "binary") format = DocumentFormatBinary;
  else return false;
  return true;
}

int RunConvert(const std::string& in, const std::string& out, DocumentFormat format) {
  if (format == DocumentFormatUnknown) format = GuessDocumentFormatForWriting(out);
  if (format == DocumentFormatUnknown)
    return Fail("the format of '" + out + "' is not known; name it .xml, .json or .bin, or give --format");

  std::unique_ptr<DocumentReader> reader = LoadInput(in);
  if (!reader) return 1;
  std::unique_ptr<DocumentWriter> writer = OpenDocumentWriter(out, format);
  std::string error;
  if (!CopyDocument(*reader, *writer, error)) return Fail("cannot convert '" + in + "': " + error);

  OutputFile file(out);
  if (!file.Open() || !writer->Save(file.temporary())) return Fail("cannot write '" + out + "'");
  // What a form can't carry but its writer takes (names that are no XML names, an XML document of
  // nothing) only shows when the file is read again.
  std::unique_ptr<DocumentReader> check = OpenDocumentReader(file.temporary(), format);
  if (!check->Load(file.temporary())) {
    std::string why = "the " + std::string(FormatName(format)) + " made from it does not load again";
    if (format == DocumentFormatXML)
      why += " (XML names can't hold spaces and the like, and a document of nothing has no XML form)";
    return Fail("cannot convert '" + in + "': " + why);
  }
  if (!file.Commit()) return Fail("cannot write '" + out + "'");
  return 0;
}

} // namespace

int RunDocCommand(int argc, char** argv, const HostOptions& host_options) {
  std::vector<std::string> words;
  DocumentFormat format = DocumentFormatUnknown;
  bool format_given = false;
  for (int i = 0; i < argc; ++i) {
    const std::string arg = argv[i];
    if (arg == "-h" || arg == "--help") {
      std::fputs(kDocUsage, stdout);
      return 0;
    }
    if (arg == "--format" || arg.rfind("--format=", 0) == 0) {
      std::string value;
      if (arg == "--format") {
        if (i + 1 == argc) return Fail("--format wants xml, json or binary");
        value = argv[++i];
      } else {
        value = arg.substr(9);
      }
      if (!ParseFormat(value, format)) return Fail("--format wants xml, json or binary, not '" + value + "'");
      format_given = true;
      continue;
    }
    if (arg.size() > 1 && arg[0] == '-') return Fail("unknown option '" + arg + "'; see torvane doc --help");
    words.push_back(arg);
  }
  if (words.empty()) return Fail("missing operands; see torvane doc --help");
  const std::string& verb = words[0];
  if (verb == "cat") {
    if (format_given) return Fail("--format belongs to doc convert; see torvane doc --help");
    if (words.size() < 2) return Fail("missing FILE; see torvane doc --help");
    if (words.size() > 2) return Fail("too many operands; see torvane doc --help");
    CoreSession session(host_options);
    return RunCat(words[1]);
  }
  if (verb == "convert") {
    if (words.size() < 3) return Fail("missing IN or OUT; see torvane doc --help");
    if (words.size() > 3) return Fail("too many operands; see torvane doc --help");
    CoreSession session(host_options);
    return RunConvert(words[1], words[2], format);
  }
  return Fail("unknown verb '" + verb + "'; see torvane doc --help");
}

} // namespace tv
