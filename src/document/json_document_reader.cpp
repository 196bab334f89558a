#include "document/json_document_reader.h"

#include <rapidjson/document.h>

#include <cmath>
#include <cstring>
#include <utility>
#include <vector>

#include "file/filesystem.h"
#include "foundation/globals.h"

namespace tv {

namespace {

// The library's parser recurses once per nesting level. The nesting is counted here first, by
// brackets outside strings: up to the first syntax error (where the parser stops) this is exactly
// the parser's own view of the text.
bool NestsWithin(const std::string& text, int limit) {
  int depth = 0;
  bool in_string = false;
  for (size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (in_string) {
      if (c == '\\')
        ++i;
      else if (c == '"')
        in_string = false;
      continue;
    }
    if (c == '"') {
      in_string = true;
    } else if (c == '{' || c == '[') {
      if (++depth > limit) return false;
    } else if (c == '}' || c == ']') {
      --depth;
    }
  }
  return true;
}

std::string NameOf(const rapidjson::Value& name) { return std::string(name.GetString(), name.GetStringLength()); }

DocumentValueKind KindOf(const rapidjson::Value& value) {
  if (value.IsBool()) return DocumentValueBool;
  if (value.IsString()) return DocumentValueString;
  if (value.IsInt()) return DocumentValueInt;
  if (value.IsUint()) return DocumentValueUnsigned;
  if (value.IsDouble() && !std::isinf(float(value.GetDouble()))) return DocumentValueFloat;
  return DocumentValueOther;
}

} // namespace

struct JSONDocumentReader::Impl {
  rapidjson::Document document{nullptr, 1024};
  const rapidjson::Value* root_value = nullptr;
  // Entered objects with their keys; every pointer is a member value of the entry below it.
  std::vector<std::pair<const rapidjson::Value*, std::string>> scope_stack;

  const rapidjson::Value* CurrentObject() const { return scope_stack.empty() ? root_value : scope_stack.back().first; }

  // The first member of that name in the current object, or null.
  const rapidjson::Value* FindValue(const char* name) const {
    const rapidjson::Value* object = CurrentObject();
    if (object == nullptr || name == nullptr) return nullptr;
    const size_t length = std::strlen(name);
    for (auto member = object->MemberBegin(); member != object->MemberEnd(); ++member) {
      if (member->name.GetStringLength() == length && std::memcmp(member->name.GetString(), name, length) == 0)
        return &member->value;
    }
    return nullptr;
  }

  // Enters the first member from `member` on that holds an object.
  bool EnterObjectFrom(const rapidjson::Value& parent, rapidjson::Value::ConstMemberIterator member) {
    for (; member != parent.MemberEnd(); ++member) {
      if (member->value.IsObject()) {
        scope_stack.emplace_back(&member->value, NameOf(member->name));
        return true;
      }
    }
    return false;
  }

  bool Parse(const std::string& text) {
    scope_stack.clear();
    root_value = nullptr;
    // A fresh document, so that nothing of an earlier load stays in the allocator or is read.
    document = rapidjson::Document(nullptr, 1024);
    if (!NestsWithin(text, kMaxJSONDepth)) return false;
    document.Parse(text.data(), text.size());
    if (document.HasParseError()) {
      document.SetNull();
      return false;
    }
    if (document.IsObject()) root_value = &document;
    return true;
  }
};

JSONDocumentReader::JSONDocumentReader() : impl_(std::make_unique<Impl>()) {}
JSONDocumentReader::~JSONDocumentReader() = default;

std::string JSONDocumentReader::GetScopeName() {
  return impl_->scope_stack.empty() ? std::string("root") : impl_->scope_stack.back().second;
}

bool JSONDocumentReader::EnterFirstChild() {
  const rapidjson::Value* object = impl_->CurrentObject();
  return object != nullptr && impl_->EnterObjectFrom(*object, object->MemberBegin());
}

bool JSONDocumentReader::EnterNextSibling() {
  if (impl_->scope_stack.empty()) return false;
  const rapidjson::Value* current = impl_->scope_stack.back().first;
  impl_->scope_stack.pop_back();
  const rapidjson::Value* parent = impl_->CurrentObject();
  auto member = parent->MemberBegin();
  while (member != parent->MemberEnd() && &member->value != current) ++member;
  if (member == parent->MemberEnd()) return false;
  return impl_->EnterObjectFrom(*parent, member + 1);
}

bool JSONDocumentReader::ExitScope() {
  if (impl_->scope_stack.empty()) return false;
  impl_->scope_stack.pop_back();
  return true;
}

bool JSONDocumentReader::Read(const char* name, std::string& out) {
  const rapidjson::Value* value = impl_->FindValue(name);
  if (value == nullptr || !value->IsString()) return false;
  out.assign(value->GetString(), value->GetStringLength());
  return true;
}

bool JSONDocumentReader::Read(const char* name, float& out) {
  const rapidjson::Value* value = impl_->FindValue(name);
  if (value == nullptr || !value->IsDouble()) return false;
  const float narrowed = float(value->GetDouble());
  if (std::isinf(narrowed)) return false;
  out = narrowed;
  return true;
}

bool JSONDocumentReader::Read(const char* name, unsigned int& out) {
  const rapidjson::Value* value = impl_->FindValue(name);
  if (value == nullptr || !value->IsUint()) return false;
  out = value->GetUint();
  return true;
}

bool JSONDocumentReader::Read(const char* name, int& out) {
  const rapidjson::Value* value = impl_->FindValue(name);
  if (value == nullptr || !value->IsInt()) return false;
  out = value->GetInt();
  return true;
}

bool JSONDocumentReader::Read(const char* name, bool& out) {
  const rapidjson::Value* value = impl_->FindValue(name);
  if (value == nullptr || !value->IsBool()) return false;
  out = value->GetBool();
  return true;
}

bool JSONDocumentReader::Load(const std::string& path) {
  std::vector<uint8_t> data;
  if (filesystem == nullptr || !filesystem->FileToData(path, data)) {
    impl_->Parse(std::string());
    return false;
  }
  return impl_->Parse(std::string(data.begin(), data.end()));
}

bool JSONDocumentReader::LoadFromString(const std::string& text) { return impl_->Parse(text); }

bool JSONDocumentReader::ListValues(std::vector<DocumentValueInfo>& out) {
  out.clear();
  const rapidjson::Value* object = impl_->CurrentObject();
  if (object == nullptr) return true;
  for (auto member = object->MemberBegin(); member != object->MemberEnd(); ++member) {
    if (!member->value.IsObject()) out.push_back({NameOf(member->name), KindOf(member->value)});
  }
  return true;
}

} // namespace tv
