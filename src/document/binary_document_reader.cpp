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

// Probes beyond this many slots mean texts made to collide: the table is dropped for comparisons
// of texts, which keeps a hostile dictionary from making the load quadratic.
constexpr uint32_t kMaxTextProbes = 64;

// FNV-1a over `length` bytes.
constexpr uint32_t kTextHashStart = 2166136261u;
constexpr uint32_t kTextHashFactor = 16777619u;
uint32_t HashText(const uint8_t* text, size_t length) {
  uint32_t hash = kTextHashStart;
  for (size_t i = 0; i < length; ++i) hash = (hash ^ text[i]) * kTextHashFactor;
  return hash;
}

} // namespace

void BinaryDocumentReader::Clear() {
  position = 0;
  strings.clear();
  text_table_.clear();
  compare_texts_ = false;
  name_cache_.fill(NameCacheEntry{});
  root_cursor = 0;
  root_children = {};
  nodes.clear();
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

  if (!ParseBody(kBinaryDocumentHeadSize, uint32_t(dictionary_start))) {
    Clear();
    return false;
  }
  IndexDictionary();
  return true;
}

void BinaryDocumentReader::IndexDictionary() {
  const uint32_t count = uint32_t(strings.size() - 1);
  uint32_t slots = 16;
  while (slots < count * 2) slots *= 2;
  text_table_.assign(slots, TextSlot{});
  const uint32_t mask = slots - 1;
  for (uint32_t index = 0; index < count; ++index) {
    const size_t length = size_t(strings[index + 1] - strings[index]) - 1;
    const uint32_t hash = HashText(strings[index], length);
    uint32_t slot = hash & mask;
    for (uint32_t probes = 0;; ++probes, slot = (slot + 1) & mask) {
      const TextSlot held = text_table_[slot];
      if (held.entry == 0) {
        text_table_[slot] = TextSlot{hash, index + 1};
        break;
      }
      const bool same = held.hash == hash && EntryLength(held.entry - 1) == length &&
                        std::memcmp(strings[held.entry - 1], strings[index], length) == 0;
      if (same || probes == kMaxTextProbes) {
        compare_texts_ = true;
        text_table_.clear();
        return;
      }
    }
  }
}

int32_t BinaryDocumentReader::FindText(const char* name) const {
  // Hash and length in one pass over the name.
  const uint8_t* bytes = reinterpret_cast<const uint8_t*>(name);
  uint32_t hash = kTextHashStart;
  size_t length = 0;
  for (; bytes[length] != 0; ++length) hash = (hash ^ bytes[length]) * kTextHashFactor;
  const uint32_t mask = uint32_t(text_table_.size() - 1);
  for (uint32_t slot = hash & mask;; slot = (slot + 1) & mask) {
    const TextSlot held = text_table_[slot];
    if (held.entry == 0) return -1;
    if (held.hash != hash || EntryLength(held.entry - 1) != length) continue;
    const uint8_t* text = strings[held.entry - 1];
    size_t at = 0;
    while (at < length && text[at] == bytes[at]) ++at;
    if (at == length) return int32_t(held.entry - 1);
  }
}

int32_t BinaryDocumentReader::FindTextCached(const char* name) {
  // Names mostly come from the same few strings of the caller (a type's field names), so the
  // last index found for a pointer is tried first; it counts only if its entry holds the text.
  NameCacheEntry& entry = name_cache_[(reinterpret_cast<uintptr_t>(name) >> 3) % kNameCacheSize];
  if (entry.name == name) {
    const uint8_t* text = strings[entry.index];
    const uint8_t* bytes = reinterpret_cast<const uint8_t*>(name);
    size_t at = 0;
    while (text[at] == bytes[at] && bytes[at] != 0) ++at;
    if (text[at] == bytes[at]) return int32_t(entry.index);
  }
  const int32_t index = FindText(name);
  if (index >= 0) entry = NameCacheEntry{name, uint32_t(index)};
  return index;
}

namespace {

// The element heads of [begin, end) and of every scope inside it, in file order: the scopes are
// entered, not skipped. For a body that parses, exactly its count of elements.
size_t CountHeads(const std::vector<uint8_t>& image, uint32_t begin, uint32_t end) {
  size_t count = 0;
  uint32_t at = begin;
  while (end - at >= kBinaryElementHeadSize) {
    const uint8_t tag = image[at + 2];
    at += kBinaryElementHeadSize;
    ++count;
    uint64_t size = 0;
    switch (tag) {
    case BinaryTagScope: size = 4; break;  // its children are counted next
    case BinaryTagBinary:
      if (end - at < 4) return count;
      size = 4 + uint64_t(GetU32(image.data() + at));
      break;
    case BinaryTagBool: size = 1; break;
    case BinaryTagInt:
    case BinaryTagUnsigned:
    case BinaryTagFloat: size = 4; break;
    case BinaryTagString: size = 2; break;
    default: break;
    }
    if (size > end - at) return count;
    at += uint32_t(size);
  }
  return count;
}

} // namespace

bool BinaryDocumentReader::ParseBody(uint32_t begin, uint32_t end) {
  // Reserved once, so that the spans into `nodes` stay valid; a body whose parse would need more
  // nodes than it has heads is malformed.
  nodes.reserve(CountHeads(image, begin, end));
  if (!ParseChildren(begin, end)) return false;
  root_children = std::span<BinaryDocumentNode>(nodes.data(), nodes.size());
  // Breadth first, with `nodes` as its own queue: the children of each scope are appended side by
  // side, and `level_end` marks where the scopes of the next depth begin.
  uint32_t depth = 1;
  size_t level_end = nodes.size();
  for (size_t index = 0; index < nodes.size(); ++index) {
    if (index == level_end) {
      ++depth;
      level_end = nodes.size();
    }
    if (!nodes[index].IsScope()) continue;
    if (depth > kMaxScopeDepth) return false;
    const size_t first = nodes.size();
    const uint32_t children_begin = uint32_t(nodes[index].value - image.data());
    if (!ParseChildren(children_begin, children_begin + nodes[index].size)) return false;
    nodes[index].children = std::span<BinaryDocumentNode>(nodes.data() + first, nodes.size() - first);
  }
  return true;
}

bool BinaryDocumentReader::ParseChildren(uint32_t begin, uint32_t end) {
  position = begin;
  while (position < end)
    if (!ParseElement(end)) return false;
  return true;
}

bool BinaryDocumentReader::ParseElement(uint32_t end) {
  // Entries of `strings` that start a text: all but the one past the last.
  const size_t text_count = strings.size() - 1;
  if (end - position < kBinaryElementHeadSize || nodes.size() == nodes.capacity()) return false;
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
  node.value = image.data() + position;
  position += node.size;
  nodes.push_back(node);
  return true;
}

std::span<BinaryDocumentNode> BinaryDocumentReader::CurrentChildren() {
  return scope_stack.empty() ? root_children : scope_stack.back()->children;
}

uint32_t& BinaryDocumentReader::CurrentCursor() {
  return scope_stack.empty() ? root_cursor : scope_stack.back()->cursor;
}

size_t BinaryDocumentReader::EntryLength(uint32_t index) const {
  return size_t(strings[index + 1] - strings[index]) - 1;
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
  const std::span<BinaryDocumentNode> children = CurrentChildren();
  uint32_t& cursor = CurrentCursor();
  cursor = 0;
  if (!BinaryDocumentNode::SkipToScope(children, cursor)) return false;
  scope_stack.push_back(&children[cursor]);
  return true;
}

bool BinaryDocumentReader::EnterNextSibling() {
  if (!ExitScope()) return false;
  const std::span<BinaryDocumentNode> children = CurrentChildren();
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
  if (!compare_texts_) {
    // Before a load the table is empty, and so is the document.
    if (text_table_.empty()) return nullptr;
    const int32_t index = FindTextCached(name);
    if (index < 0) return nullptr;
    for (const BinaryDocumentNode& node : CurrentChildren()) {
      if (node.name == index) return node.tag == tag ? &node : nullptr;
    }
    return nullptr;
  }
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
