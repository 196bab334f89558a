#include "document/json_document_reader.h"

#include <rapidjson/document.h>
#include <rapidjson/encodedstream.h>
#include <rapidjson/memorystream.h>
#include <rapidjson/reader.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <utility>
#include <vector>

#include "file/filesystem.h"
#include "foundation/globals.h"

namespace tv {

namespace {

// Hands the parser's events on to the document, and refuses to open a level beyond
// kMaxJSONDepth: the parser recurses once per level and stops at the first refused event, so
// hostile nesting ends as a parse error instead of exhausting the stack.
class DepthLimitedHandler {
public:
  explicit DepthLimitedHandler(rapidjson::Document& document) : document_(document) {}

  bool Null() { return document_.Null(); }
  bool Bool(bool value) { return document_.Bool(value); }
  bool Int(int value) { return document_.Int(value); }
  bool Uint(unsigned value) { return document_.Uint(value); }
  bool Int64(int64_t value) { return document_.Int64(value); }
  bool Uint64(uint64_t value) { return document_.Uint64(value); }
  bool Double(double value) { return document_.Double(value); }
  bool RawNumber(const char* text, rapidjson::SizeType length, bool copy) {
    return document_.RawNumber(text, length, copy);
  }
  bool String(const char* text, rapidjson::SizeType length, bool copy) { return document_.String(text, length, copy); }
  bool Key(const char* text, rapidjson::SizeType length, bool copy) { return document_.Key(text, length, copy); }
  bool StartObject() { return ++depth_ <= kMaxJSONDepth && document_.StartObject(); }
  bool EndObject(rapidjson::SizeType count) {
    --depth_;
    return document_.EndObject(count);
  }
  bool StartArray() { return ++depth_ <= kMaxJSONDepth && document_.StartArray(); }
  bool EndArray(rapidjson::SizeType count) {
    --depth_;
    return document_.EndArray(count);
  }

private:
  rapidjson::Document& document_;
  int depth_ = 0;
};

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

  // The position of the member whose value is at `value`, or the member count if none is. The
  // members of an object lie in one array, so the address gives the position without a search
  // (a search would make the child loop quadratic in the number of siblings).
  static size_t MemberIndexOf(const rapidjson::Value& object, const rapidjson::Value* value) {
    using Member = rapidjson::Value::Member;
    const size_t count = object.MemberCount();
    if (count == 0) return count;
    const Member* first = &*object.MemberBegin();
    const uintptr_t offset = reinterpret_cast<uintptr_t>(value) - reinterpret_cast<uintptr_t>(&first->value);
    const size_t index = offset / sizeof(Member);
    if (offset % sizeof(Member) != 0 || index >= count || &first[index].value != value) return count;
    return index;
  }

  bool Parse(const std::string& text) {
    scope_stack.clear();
    root_value = nullptr;
    // A fresh document, so that nothing of an earlier load stays in the allocator or is read.
    document = rapidjson::Document(nullptr, 1024);
    // As the document's own Parse(text, length) reads: from memory, past a UTF-8 byte order mark,
    // with the default flags; only the handler in between is ours.
    rapidjson::MemoryStream memory(text.data(), text.size());
    rapidjson::EncodedInputStream<rapidjson::UTF8<>, rapidjson::MemoryStream> stream(memory);
    rapidjson::ParseResult result;
    auto parse = [&](rapidjson::Document& events) {
      DepthLimitedHandler handler(events);
      rapidjson::Reader reader;
      result = reader.Parse<rapidjson::kParseDefaultFlags>(stream, handler);
      return !result.IsError();
    };
    document.Populate(parse);
    if (result.IsError()) {
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
  const size_t index = impl_->MemberIndexOf(*parent, current);
  if (index >= parent->MemberCount()) return false;
  return impl_->EnterObjectFrom(*parent, parent->MemberBegin() + index + 1);
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
