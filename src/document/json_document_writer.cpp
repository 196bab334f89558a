#include "document/json_document_writer.h"

#include <rapidjson/document.h>
#include <rapidjson/prettywriter.h>
#include <rapidjson/stringbuffer.h>

#include <cmath>
#include <cstdint>
#include <utility>
#include <vector>

#include "file/filesystem.h"
#include "foundation/globals.h"

namespace tv {

struct JSONDocumentWriter::Impl {
  rapidjson::Document document{nullptr, 1024};
  rapidjson::Value* root_value = nullptr;
  // Entered objects with their keys. Only the innermost object gains members, so the pointers to
  // the objects around it stay valid while its member array grows.
  std::vector<std::pair<rapidjson::Value*, std::string>> scope_stack;

  rapidjson::Value& CurrentObject() {
    if (!scope_stack.empty()) return *scope_stack.back().first;
    if (root_value == nullptr) {
      document.SetObject();
      root_value = &document;
    }
    return *root_value;
  }

  // Appends a member, even beside one of the same name; the added value, or null without a name.
  rapidjson::Value* Add(const char* name, rapidjson::Value&& value) {
    if (name == nullptr) return nullptr;
    rapidjson::Value& object = CurrentObject();
    rapidjson::Value key(name, document.GetAllocator());
    object.AddMember(key, value, document.GetAllocator());
    return &(object.MemberEnd() - 1)->value;
  }

  std::string Print() const {
    if (root_value == nullptr) return "{}";
    rapidjson::StringBuffer buffer;
    rapidjson::PrettyWriter<rapidjson::StringBuffer> writer(buffer);
    writer.SetIndent('\t', 1);
    // Only non-finite numbers make the printer fail, and no write lets one in.
    document.Accept(writer);
    return std::string(buffer.GetString(), buffer.GetSize());
  }
};

JSONDocumentWriter::JSONDocumentWriter() : impl_(std::make_unique<Impl>()) {}
JSONDocumentWriter::~JSONDocumentWriter() = default;

bool JSONDocumentWriter::EnterScope(const char* name) {
  rapidjson::Value* scope = impl_->Add(name, rapidjson::Value(rapidjson::kObjectType));
  if (scope == nullptr) return false;
  impl_->scope_stack.emplace_back(scope, name);
  return true;
}

bool JSONDocumentWriter::ExitScope() {
  if (impl_->scope_stack.empty()) return false;
  impl_->scope_stack.pop_back();
  return true;
}

bool JSONDocumentWriter::Write(const char* name, const std::string& value) {
  if (value.size() > UINT32_MAX) return false;
  rapidjson::Value text(value.data(), rapidjson::SizeType(value.size()), impl_->document.GetAllocator());
  return impl_->Add(name, std::move(text)) != nullptr;
}

bool JSONDocumentWriter::Write(const char* name, float value) {
  if (!std::isfinite(value)) return false;
  // Rounded up to 4 decimal places in double precision; the printer then gives the shortest text
  // that reads back as this double.
  const double rounded = std::ceil(double(value) * 10000.0) / 10000.0;
  return impl_->Add(name, rapidjson::Value(rounded)) != nullptr;
}

bool JSONDocumentWriter::Write(const char* name, unsigned int value) {
  return impl_->Add(name, rapidjson::Value(value)) != nullptr;
}

bool JSONDocumentWriter::Write(const char* name, int value) { return impl_->Add(name, rapidjson::Value(value)) != nullptr; }

bool JSONDocumentWriter::Write(const char* name, bool value) {
  return impl_->Add(name, rapidjson::Value(value)) != nullptr;
}

bool JSONDocumentWriter::Save(const std::string& path) {
  if (filesystem == nullptr) return false;
  const std::string text = impl_->Print();
  return filesystem->StringToFile(path, text);
}

std::string JSONDocumentWriter::SaveToString() const { return impl_->Print(); }

} // namespace tv
