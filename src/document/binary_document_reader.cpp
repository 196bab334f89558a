#include "document/binary_document_reader.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "file/filesystem.h"
#include "foundation/globals.h"
#include "foundation/log.h"

namespace tv {

static_assert(std::endian::native == std::endian::little, "values are copied out of the file image as they lie");

namespace {

uint16_t GetU16(const uint8_t* bytes) { return uint16_t(bytes[0] | bytes[1] << 8); }
uint32_t GetU32(const uint8_t* bytes) {
  return uint32_t(bytes[0]) | uint32_t(bytes[1]) << 8 | uint32_t(bytes[2]) << 16 | uint32_t(bytes[3]) << 24;
}

} // namespace

void BinaryDocumentReader::Clear() {
  position = 0;
  strings.clear();
  root_cursor = 0;
  root_children.clear();
  scope_stack.clear();
}

bool BinaryDocumentReader::Load(const std::string& path) {
  Clear();
  image.clear();
  if (filesystem == nullptr || !filesystem->FileToData(path, image)) return false;
  return Parse();
}

bool BinaryDocumentReader::Load(const BinaryData& data) {
  Clear();
  const size_t size = std::min<size_t>(data.size, data.data.size());
  image.assign(data.data.begin(), data.data.begin() + ptrdiff_t(size));
  return Parse();
}

bool BinaryDocumentReader::Parse() {
  Clear();
  if (image.size() < kBinaryDocumentHeadSize || image.size() > UINT32_MAX) return false;
  if (GetU32(image.data()) != kBinaryDocumentMagic) return false;
  const uint64_t dictionary_start = uint64_t(kBinaryDocumentHeadSize) + GetU32(image.data() + 4);
  if (dictionary_start > image.size()) return false;
  // The last entry's byte 0 ends the file. An empty document's last byte is its body size's.
  if (image.back() != 0) return false;

  strings.push_back(image.data() + dictionary_start);
  for (size_t at = size_t(dictionary_start); at < image.size(); ++at) {
    if (image[at] != 0) continue;
    // The byte 0 that ends entry 65534 would give an index that the writer never hands out.
    if (strings.size() == kBinaryDictionaryLimit) {
      error("String dictionary too large to load");
      Clear();
      return false;
    }
    strings.push_back(image.data() + at + 1);
  }

  if (!ParseRange(kBinaryDocumentHeadSize, uint32_t(dictionary_start), root_children, 0)) {
    Clear();
    return false;
  }
  return true;
}

bool BinaryDocumentReader::ParseRange(uint32_t begin, uint32_t end, std::vector<BinaryDocumentNode>& out,
                                      uint32_t depth) {
  const uint32_t saved = position;
  position = begin;
  bool good = true;
  while (good && position < end) good = ParseElement(end, out, depth);
  position = saved;
  return good;
}

bool BinaryDocumentReader::ParseElement(uint32_t end, std::vector<BinaryDocumentNode>& out, uint32_t depth) {
  // Entries of `strings` that start a text: all but the one past the last.
  const size_t text_count = strings.size() - 1;
  if (end - position < kBinaryElementHeadSize) return false;
  BinaryDocumentNode node;
  node.offset = position;
  node.name = GetU16(image.data() + position);
  node.tag = image[position + 2];
  position += kBinaryElementHeadSize;
  if (node.name >= text_count) return false;

  switch (node.tag) {
  case BinaryTagScope:
  case BinaryTagBinary:
    if (end - position < 4) return false;
    node.size = GetU32(image.data() + position);
    position += 4;
    break;
  case BinaryTagBool: node.size = 1; break;
  case BinaryTagInt:
  case BinaryTagUnsigned:
  case BinaryTagFloat: node.size = 4; break;
  case BinaryTagString: node.size = 2; break;
  default: node.size = 0; break;  // unknown: skipped as a bare head
  }
  if (node.size > end - position) return false;
  if (node.tag == BinaryTagString && GetU16(image.data() + position) >= text_count) return false;
  if (node.tag == BinaryTagScope) {
    if (depth + 1 > kMaxScopeDepth) return false;
    if (!ParseRange(position, position + node.size, node.children, depth + 1)) return false;
  }
  node.value = image.data() + position;
  position += node.size;
  out.push_back(std::move(node));
  return true;
}

std::vector<BinaryDocumentNode>& BinaryDocumentReader::CurrentChildren() {
  return scope_stack.empty() ? root_children : scope_stack.back()->children;
}

uint32_t& BinaryDocumentReader::CurrentCursor() {
  return scope_stack.empty() ? root_cursor : scope_stack.back()->cursor;
}

const char* BinaryDocumentReader::Text(uint32_t index, size_t& length) const {
  length = size_t(strings[index + 1] - strings[index]) - 1;
  return reinterpret_cast<const char*>(strings[index]);
}

std::string BinaryDocumentReader::GetScopeName() {
  if (scope_stack.empty()) return "root";
  size_t length;
  const char* text = Text(scope_stack.back()->name, length);
  return std::string(text, length);
}

bool BinaryDocumentReader::EnterFirstChild() {
  std::vector<BinaryDocumentNode>& children = CurrentChildren();
  uint32_t& cursor = CurrentCursor();
  cursor = 0;
  if (!BinaryDocumentNode::SkipToScope(children, cursor)) return false;
  scope_stack.push_back(&children[cursor]);
  return true;
}

bool BinaryDocumentReader::EnterNextSibling() {
  if (!ExitScope()) return false;
  std::vector<BinaryDocumentNode>& children = CurrentChildren();
  uint32_t& cursor = CurrentCursor();
  ++cursor;
  if (!BinaryDocumentNode::SkipToScope(children, cursor)) return false;
  scope_stack.push_back(&children[cursor]);
  return true;
}

bool BinaryDocumentReader::ExitScope() {
  if (scope_stack.empty()) return false;
  scope_stack.pop_back();
  return true;
}

const BinaryDocumentNode* BinaryDocumentReader::FindValue(const char* name, uint32_t tag) {
  if (name == nullptr) name = "";
  for (const BinaryDocumentNode& node : CurrentChildren()) {
    // Every entry ends with a byte 0 inside the image, so the comparison stays within it.
    if (std::strcmp(reinterpret_cast<const char*>(strings[node.name]), name) != 0) continue;
    // Only the first element of a name counts, whatever its kind.
    return node.tag == tag ? &node : nullptr;
  }
  return nullptr;
}

bool BinaryDocumentReader::Read(const char* name, BinaryData& out) {
  const BinaryDocumentNode* node = FindValue(name, BinaryTagBinary);
  if (node == nullptr) return false;
  out.Write(node->value, node->size);
  out.cursor = 0;
  return true;
}

bool BinaryDocumentReader::Read(const char* name, std::string& out) {
  const BinaryDocumentNode* node = FindValue(name, BinaryTagString);
  if (node == nullptr) return false;
  size_t length;
  const char* text = Text(GetU16(node->value), length);
  out.assign(text, length);
  return true;
}

bool BinaryDocumentReader::Read(const char* name, float& out) {
  const BinaryDocumentNode* node = FindValue(name, BinaryTagFloat);
  if (node == nullptr) return false;
  std::memcpy(&out, node->value, 4);
  return true;
}

bool BinaryDocumentReader::Read(const char* name, unsigned int& out) {
  const BinaryDocumentNode* node = FindValue(name, BinaryTagUnsigned);
  if (node == nullptr) return false;
  out = GetU32(node->value);
  return true;
}

bool BinaryDocumentReader::Read(const char* name, int& out) {
  const BinaryDocumentNode* node = FindValue(name, BinaryTagInt);
  if (node == nullptr) return false;
  out = int(GetU32(node->value));
  return true;
}

bool BinaryDocumentReader::Read(const char* name, bool& out) {
  const BinaryDocumentNode* node = FindValue(name, BinaryTagBool);
  if (node == nullptr) return false;
  out = node->value[0] != 0;
  return true;
}

bool BinaryDocumentReader::IsBinary() { return true; }

bool BinaryDocumentReader::ListValues(std::vector<DocumentValueInfo>& out) {
  out.clear();
  for (const BinaryDocumentNode& node : CurrentChildren()) {
    if (node.IsScope()) continue;
    DocumentValueKind kind = DocumentValueOther;
    switch (node.tag) {
    case BinaryTagBool: kind = DocumentValueBool; break;
    case BinaryTagInt: kind = DocumentValueInt; break;
    case BinaryTagUnsigned: kind = DocumentValueUnsigned; break;
    case BinaryTagFloat: kind = DocumentValueFloat; break;
    case BinaryTagString: kind = DocumentValueString; break;
    case BinaryTagBinary: kind = DocumentValueBinary; break;
    default: break;
    }
    size_t length;
    const char* text = Text(node.name, length);
    out.push_back({std::string(text, length), kind});
  }
  return true;
}

} // namespace tv
