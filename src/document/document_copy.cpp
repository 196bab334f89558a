#include "document/document_copy.h"

#include <cstring>
#include <set>
#include <type_traits>
#include <variant>
#include <vector>

namespace tv {

namespace {

// The XML reader's name for a node that is no element.
constexpr const char* kInvalidScopeName = "**invalid**";
// The XML element that holds the values of the root.
constexpr const char* kRootValuesScopeName = "Document";

struct Value {
  std::string name;
  std::variant<bool, int, unsigned, float, std::string, BinaryData> content;
};

// Floats by their bits and blocks by their bytes: the same value read twice is the same.
bool SameContent(bool a, bool b) { return a == b; }
bool SameContent(int a, int b) { return a == b; }
bool SameContent(unsigned a, unsigned b) { return a == b; }
bool SameContent(float a, float b) { return std::memcmp(&a, &b, sizeof(float)) == 0; }
bool SameContent(const std::string& a, const std::string& b) { return a == b; }
bool SameContent(const BinaryData& a, const BinaryData& b) {
  return a.size == b.size && (a.size == 0 || std::memcmp(a.data.data(), b.data.data(), a.size) == 0);
}

bool SameValue(const Value& a, const Value& b) {
  if (a.name != b.name || a.content.index() != b.content.index()) return false;
  return std::visit(
      [&](const auto& content) { return SameContent(content, std::get<std::decay_t<decltype(content)>>(b.content)); },
      a.content);
}

bool SameValues(const std::vector<Value>& a, const std::vector<Value>& b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i)
    if (!SameValue(a[i], b[i])) return false;
  return true;
}

class DocumentCopy {
public:
  DocumentCopy(DocumentReader& reader, DocumentWriter& writer, std::string& error)
      : reader_(reader), writer_(writer), error_(error) {}

  bool Run() {
    std::vector<Value> start_values;
    if (!ReadValues(start_values) || !WriteValues(start_values)) return false;
    bool descend = reader_.EnterFirstChild();
    bool root_values_scope_seen = false;
    for (;;) {
      if (descend) {
        // The reader stands in a new child scope, which the writer has not entered yet.
        const std::string name = reader_.GetScopeName();
        if (name == kInvalidScopeName) {
          descend = reader_.EnterNextSibling();
          continue;
        }
        path_.push_back(name);
        if (name.find('\0') != std::string::npos) return Fail("the name of the scope " + Where() + " holds a NUL byte");
        std::vector<Value> values;
        if (!ReadValues(values)) return false;
        if (path_.size() == 1 && name == kRootValuesScopeName && !root_values_scope_seen) {
          root_values_scope_seen = true;
          if (SameValues(values, start_values) && !HasChildScope()) {
            path_.pop_back();
            descend = reader_.EnterNextSibling();
            continue;
          }
        }
        if (!writer_.EnterScope(name.c_str())) return Fail("cannot enter the scope " + Where());
        if (!WriteValues(values)) return false;
        descend = reader_.EnterFirstChild();
        continue;
      }
      // The current scope has no child left: leave it, and go on with its next sibling.
      if (path_.empty()) return true;
      if (!writer_.ExitScope()) return Fail("cannot leave the scope " + Where());
      path_.pop_back();
      descend = reader_.EnterNextSibling();
    }
  }

private:
  std::string Where() const {
    if (path_.empty()) return "the root scope";
    std::string where = "'";
    for (size_t i = 0; i < path_.size(); ++i) where += (i == 0 ? "" : "/") + path_[i];
    return where + "'";
  }

  bool Fail(const std::string& message) {
    error_ = message;
    return false;
  }

  bool HasChildScope() {
    if (!reader_.EnterFirstChild()) return false;
    reader_.ExitScope();
    return true;
  }

  template <typename T>
  bool ReadAs(const DocumentValueInfo& info, std::vector<Value>& out) {
    T value{};
    if (!reader_.Read(info.name.c_str(), value))
      return Fail("'" + info.name + "' in " + Where() + " cannot be read: a scope of that name stands before it");
    out.push_back({info.name, std::move(value)});
    return true;
  }

  // The readable values of the current scope, the first of each name.
  bool ReadValues(std::vector<Value>& out) {
    out.clear();
    if (!reader_.ListValues(listed_)) return Fail("the values of " + Where() + " cannot be listed");
    std::set<std::string> seen;
    for (const DocumentValueInfo& info : listed_) {
      if (!seen.insert(info.name).second) continue;
      if (info.name.find('\0') != std::string::npos)
        return Fail("a value name in " + Where() + " holds a NUL byte");
      bool read = false;
      switch (info.kind) {
      case DocumentValueBool: read = ReadAs<bool>(info, out); break;
      case DocumentValueInt: read = ReadAs<int>(info, out); break;
      case DocumentValueUnsigned: read = ReadAs<unsigned>(info, out); break;
      case DocumentValueFloat: read = ReadAs<float>(info, out); break;
      case DocumentValueString: read = ReadAs<std::string>(info, out); break;
      case DocumentValueBinary:
        if (!writer_.IsBinary())
          return Fail("'" + info.name + "' in " + Where() +
                      " is a binary block, which only a binary document can hold");
        read = ReadAs<BinaryData>(info, out);
        break;
      default:
        return Fail("'" + info.name + "' in " + Where() + " is of a kind that no read takes (such as a JSON array)");
      }
      if (!read) return false;
    }
    return true;
  }

  bool WriteValues(const std::vector<Value>& values) {
    for (const Value& value : values) {
      const bool written = std::visit([&](const auto& content) { return writer_.Write(value.name.c_str(), content); },
                                      value.content);
      if (!written) return Fail("cannot write '" + value.name + "' in " + Where());
    }
    return true;
  }

  DocumentReader& reader_;
  DocumentWriter& writer_;
  std::string& error_;
  std::vector<std::string> path_;  // names of the scopes entered below the start scope
  std::vector<DocumentValueInfo> listed_;
};

} // namespace

bool CopyDocument(DocumentReader& reader, DocumentWriter& writer, std::string& error) {
  error.clear();
  return DocumentCopy(reader, writer, error).Run();
}

} // namespace tv
