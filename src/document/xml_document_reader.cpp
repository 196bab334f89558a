#include "document/xml_document_reader.h"

#include <tinyxml2.h>

#include <charconv>
#include <string_view>
#include <type_traits>
#include <vector>

#include "file/filesystem.h"
#include "foundation/globals.h"

namespace tv {

namespace {

// The text without the XML white space around it.
std::string_view TrimmedText(const char* text) {
  std::string_view view(text);
  const auto is_space = [](char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; };
  while (!view.empty() && is_space(view.front())) view.remove_prefix(1);
  while (!view.empty() && is_space(view.back())) view.remove_suffix(1);
  return view;
}

// Decimal text that must be used up whole. A leading "+" is taken as a C reader would, though
// the writer never makes one; a minus sign is refused by the unsigned form.
template <typename Number>
bool ParseNumber(const char* text, Number& out) {
  std::string_view view = TrimmedText(text);
  if (view.size() > 1 && view[0] == '+' && view[1] != '-') view.remove_prefix(1);
  Number value{};
  const char* end = view.data() + view.size();
  std::from_chars_result result;
  if constexpr (std::is_floating_point_v<Number>)
    result = std::from_chars(view.data(), end, value, std::chars_format::general);
  else
    result = std::from_chars(view.data(), end, value, 10);
  if (view.empty() || result.ec != std::errc() || result.ptr != end) return false;
  out = value;
  return true;
}

bool ParseBool(const char* text, bool& out) {
  const std::string_view view = TrimmedText(text);
  if (view == "true") {
    out = true;
    return true;
  }
  if (view == "false") {
    out = false;
    return true;
  }
  return false;
}

DocumentValueKind KindOfText(const char* text) {
  bool flag;
  int signed_number;
  unsigned unsigned_number;
  float real;
  if (ParseBool(text, flag)) return DocumentValueBool;
  if (ParseNumber(text, signed_number)) return DocumentValueInt;
  if (ParseNumber(text, unsigned_number)) return DocumentValueUnsigned;
  if (ParseNumber(text, real)) return DocumentValueFloat;
  return DocumentValueString;
}

} // namespace

struct XMLDocumentReader::Impl {
  tinyxml2::XMLDocument document{true, tinyxml2::PRESERVE_WHITESPACE};
  // Nodes of any kind: comments and text are scopes too.
  std::vector<const tinyxml2::XMLNode*> scope_stack;
  const tinyxml2::XMLElement* root_element = nullptr;

  // The element whose attributes are the current scope's values, or null.
  const tinyxml2::XMLElement* CurrentElement() {
    if (!scope_stack.empty()) return scope_stack.back()->ToElement();
    if (root_element == nullptr) root_element = document.FirstChildElement("Document");
    return root_element;
  }

  const char* FindValue(const char* name) {
    if (name == nullptr) return nullptr;
    const tinyxml2::XMLElement* element = CurrentElement();
    if (element == nullptr) return nullptr;
    const tinyxml2::XMLAttribute* attribute = element->FindAttribute(name);
    return attribute != nullptr ? attribute->Value() : nullptr;
  }

  template <typename Number>
  bool ReadNumber(const char* name, Number& out) {
    const char* text = FindValue(name);
    return text != nullptr && ParseNumber(text, out);
  }

  bool Parse(const std::string& text) {
    scope_stack.clear();
    root_element = nullptr;
    document.Parse(text.c_str());
    if (!document.Error()) return true;
    // Nothing half-parsed stays behind to be read.
    document.Clear();
    return false;
  }
};

XMLDocumentReader::XMLDocumentReader() : impl_(std::make_unique<Impl>()) {}
XMLDocumentReader::~XMLDocumentReader() = default;

std::string XMLDocumentReader::GetScopeName() {
  if (impl_->scope_stack.empty()) return "root";
  const tinyxml2::XMLElement* element = impl_->scope_stack.back()->ToElement();
  return element != nullptr ? element->Name() : "**invalid**";
}

bool XMLDocumentReader::EnterFirstChild() {
  const tinyxml2::XMLNode* parent =
      impl_->scope_stack.empty() ? &impl_->document : impl_->scope_stack.back();
  const tinyxml2::XMLNode* child = parent->FirstChild();
  if (child == nullptr) return false;
  impl_->scope_stack.push_back(child);
  return true;
}

bool XMLDocumentReader::EnterNextSibling() {
  if (impl_->scope_stack.empty()) return false;
  const tinyxml2::XMLNode* next = impl_->scope_stack.back()->NextSibling();
  impl_->scope_stack.pop_back();
  if (next == nullptr) return false;
  impl_->scope_stack.push_back(next);
  return true;
}

bool XMLDocumentReader::ExitScope() {
  if (impl_->scope_stack.empty()) return false;
  impl_->scope_stack.pop_back();
  return true;
}

bool XMLDocumentReader::Read(const char* name, std::string& out) {
  const char* text = impl_->FindValue(name);
  if (text == nullptr) return false;
  out = text;
  return true;
}

bool XMLDocumentReader::Read(const char* name, float& out) { return impl_->ReadNumber(name, out); }
bool XMLDocumentReader::Read(const char* name, unsigned int& out) { return impl_->ReadNumber(name, out); }
bool XMLDocumentReader::Read(const char* name, int& out) { return impl_->ReadNumber(name, out); }

bool XMLDocumentReader::Read(const char* name, bool& out) {
  const char* text = impl_->FindValue(name);
  return text != nullptr && ParseBool(text, out);
}

bool XMLDocumentReader::Load(const std::string& path) {
  std::vector<uint8_t> data;
  if (filesystem == nullptr || !filesystem->FileToData(path, data)) {
    impl_->Parse(std::string());
    return false;
  }
  return impl_->Parse(std::string(data.begin(), data.end()));
}

bool XMLDocumentReader::LoadFromString(const std::string& text) { return impl_->Parse(text); }

bool XMLDocumentReader::ListValues(std::vector<DocumentValueInfo>& out) {
  out.clear();
  const tinyxml2::XMLElement* element = impl_->CurrentElement();
  if (element == nullptr) return true;
  for (const tinyxml2::XMLAttribute* attribute = element->FirstAttribute(); attribute != nullptr;
       attribute = attribute->Next())
    out.push_back({attribute->Name(), KindOfText(attribute->Value())});
  return true;
}

} // namespace tv
