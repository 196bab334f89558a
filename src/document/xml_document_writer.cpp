#include "document/xml_document_writer.h"

#include <tinyxml2.h>

#include <cstdio>
#include <vector>

#include "file/filesystem.h"
#include "foundation/globals.h"

namespace tv {

struct XMLDocumentWriter::Impl {
  tinyxml2::XMLDocument document{true, tinyxml2::PRESERVE_WHITESPACE};
  std::vector<tinyxml2::XMLElement*> scope_stack;
  tinyxml2::XMLElement* root_element = nullptr;

  tinyxml2::XMLElement* CurrentElement() {
    if (!scope_stack.empty()) return scope_stack.back();
    if (root_element == nullptr) root_element = document.InsertEndChild(document.NewElement("Document"))->ToElement();
    return root_element;
  }

  bool WriteText(const char* name, const char* text) {
    if (name == nullptr) return false;
    CurrentElement()->SetAttribute(name, text);
    return true;
  }

  // Default printer options: indented, not compact. Its text ends with a NUL that files don't get.
  void Print(tinyxml2::XMLPrinter& printer) const { document.Print(&printer); }
};

XMLDocumentWriter::XMLDocumentWriter() : impl_(std::make_unique<Impl>()) {}
XMLDocumentWriter::~XMLDocumentWriter() = default;

bool XMLDocumentWriter::EnterScope(const char* name) {
  if (name == nullptr) return false;
  tinyxml2::XMLNode* parent = impl_->scope_stack.empty() ? static_cast<tinyxml2::XMLNode*>(&impl_->document)
                                                         : impl_->scope_stack.back();
  impl_->scope_stack.push_back(parent->InsertEndChild(impl_->document.NewElement(name))->ToElement());
  return true;
}

bool XMLDocumentWriter::ExitScope() {
  if (impl_->scope_stack.empty()) return false;
  impl_->scope_stack.pop_back();
  return true;
}

bool XMLDocumentWriter::Write(const char* name, const std::string& value) {
  return impl_->WriteText(name, value.c_str());
}

bool XMLDocumentWriter::Write(const char* name, float value) {
  char text[32];
  std::snprintf(text, sizeof(text), "%.8g", double(value));
  return impl_->WriteText(name, text);
}

bool XMLDocumentWriter::Write(const char* name, unsigned int value) {
  char text[16];
  std::snprintf(text, sizeof(text), "%u", value);
  return impl_->WriteText(name, text);
}

bool XMLDocumentWriter::Write(const char* name, int value) {
  char text[16];
  std::snprintf(text, sizeof(text), "%d", value);
  return impl_->WriteText(name, text);
}

bool XMLDocumentWriter::Write(const char* name, bool value) { return impl_->WriteText(name, value ? "true" : "false"); }

bool XMLDocumentWriter::Save(const std::string& path) {
  if (filesystem == nullptr) return false;
  tinyxml2::XMLPrinter printer;
  impl_->Print(printer);
  return filesystem->DataToFile(path, printer.CStr(), uint32_t(printer.CStrSize() - 1));
}

std::string XMLDocumentWriter::SaveToString() const {
  tinyxml2::XMLPrinter printer;
  impl_->Print(printer);
  return std::string(printer.CStr(), size_t(printer.CStrSize() - 1));
}

} // namespace tv
