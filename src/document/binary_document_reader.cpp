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
  name_seen_in_.clear();
  sibling_lists_ = 0;
  root = OpenScope{};
  nodes.clear();
  scope_first_child.clear();
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
  const uint8_t* const image_end = image.data() + image.size();
  for (const uint8_t* at = image.data() + dictionary_start; at < image_end; ++at) {
    at = static_cast<const uint8_t*>(std::memchr(at, 0, size_t(image_end - at)));
    if (at == nullptr) break;
    // The byte 0 that ends entry 65534 would give an index that the writer never hands out.
    if (strings.size() == kBinaryDictionaryLimit) {
      error("String dictionary too large to load");
      Clear();
      return false;
    }
    strings.push_back(at + 1);
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
    const size_t length = EntryLength(index);
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
  // Literals lie a few bytes apart, so the address is mixed before it picks a slot.
  const uint64_t mixed = uint64_t(reinterpret_cast<uintptr_t>(name)) * 0x9e3779b97f4a7c15ull;
  NameCacheEntry& entry = name_cache_[size_t(mixed >> 56)];
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

bool BinaryDocumentReader::ParseBody(uint32_t begin, uint32_t end) {
  // Nodes refer to each other by index, so the array may grow as it fills. Documents average
  // about 7 bytes an element; reserving for 6 spares most of the growth without touching memory
  // that a bound of 3 bytes an element would reserve and never use.
  nodes.reserve((end - begin) / 6);
  name_seen_in_.assign(strings.size() - 1, 0);
  // Breadth first: the children of each scope are appended side by side, one scope after another
  // in the order the scopes were found, and `level_end` marks where those of the next depth begin.
  std::vector<ChildRange> scopes;
  if (!ParseChildren(begin, end, scopes)) return false;
  root.child_count = uint32_t(nodes.size());
  uint32_t depth = 1;
  size_t level_end = scopes.size();
  scope_first_child.reserve(scopes.size() + 1);
  for (size_t at = 0; at < scopes.size(); ++at) {
    if (at == level_end) {
      ++depth;
      level_end = scopes.size();
    }
    if (depth > kMaxScopeDepth) return false;
    scope_first_child.push_back(uint32_t(nodes.size()));
    const ChildRange range = scopes[at];  // a copy: `scopes` grows in the call
    if (!ParseChildren(range.begin, range.end, scopes)) return false;
  }
  scope_first_child.push_back(uint32_t(nodes.size()));
  return true;
}

bool BinaryDocumentReader::ParseChildren(uint32_t begin, uint32_t end, std::vector<ChildRange>& scopes) {
  ++sibling_lists_;
  // Locals rather than members in the loop: the image is bytes, which may alias anything, so a
  // member would be stored and loaded again around every write of a node.
  const uint8_t* const data = image.data();
  const uint32_t text_count = uint32_t(strings.size() - 1);  // entries that start a text
  uint32_t* const seen_in = name_seen_in_.data();
  const uint32_t list = sibling_lists_;
  uint32_t at = begin;
  // A malformed element fails the whole load, which drops what was parsed. Each case checks that
  // its payload lies within the range before reading it.
  while (at < end) {
    if (end - at < kBinaryElementHeadSize) return false;
    const uint16_t name = GetU16(data + at);
    const uint8_t tag = data[at + 2];
    at += kBinaryElementHeadSize;
    if (name >= text_count) return false;
    uint32_t payload = 0;
    switch (tag) {
    case BinaryTagScope:
    case BinaryTagBinary: {
      if (end - at < 4) return false;
      const uint32_t length = GetU32(data + at);
      at += 4;
      if (length > end - at) return false;
      if (tag == BinaryTagScope) {
        payload = uint32_t(scopes.size());
        scopes.push_back(ChildRange{at, at + length});
      } else {
        payload = at;
      }
      at += length;
      break;
    }
    case BinaryTagBool:
      if (end - at < 1) return false;
      payload = data[at];
      at += 1;
      break;
    case BinaryTagInt:
    case BinaryTagUnsigned:
    case BinaryTagFloat:
      if (end - at < 4) return false;
      payload = GetU32(data + at);
      at += 4;
      break;
    case BinaryTagString:
      if (end - at < 2) return false;
      payload = GetU16(data + at);
      if (payload >= text_count) return false;
      at += 2;
      break;
    default: break;  // an unknown tag: a bare head
    }
    const bool first_of_name = seen_in[name] != list;
    seen_in[name] = list;
    nodes.push_back(BinaryDocumentNode{name, tag, first_of_name, payload});
  }
  position = at;
  return true;
}

std::string BinaryDocumentReader::GetScopeName() {
  if (scope_stack.empty()) return "root";
  return std::string(GetText(scope_stack.back().name));
}

const BinaryDocumentNode* BinaryDocumentReader::FindValue(const char* name, uint32_t tag) {
  if (name == nullptr) name = "";
  if (!compare_texts_) {
    // Before a load the table is empty, and so is the document.
    if (text_table_.empty()) return nullptr;
    const int32_t index = FindTextCached(name);
    return index < 0 ? nullptr : FindValue(index, tag);
  }
  OpenScope& scope = Current();
  for (uint32_t at = 0; at < scope.child_count; ++at) {
    // Every entry ends with a byte 0 inside the image, so the comparison stays within it.
    const uint16_t text = nodes[scope.first_child + at].name;
    if (std::strcmp(reinterpret_cast<const char*>(strings[text]), name) == 0) return Found(scope, at, tag);
  }
  return nullptr;
}

bool BinaryDocumentReader::Read(const char* name, BinaryData& out) {
  const BinaryDocumentNode* node = FindValue(name, BinaryTagBinary);
  if (node == nullptr) return false;
  // The length stands just before the bytes; both were checked against the scope's range at load.
  out.Write(image.data() + node->payload, GetU32(image.data() + node->payload - 4));
  out.cursor = 0;
  return true;
}

bool BinaryDocumentReader::Read(const char* name, std::string& out) {
  const BinaryDocumentNode* node = FindValue(name, BinaryTagString);
  if (node == nullptr) return false;
  out.assign(GetStringValue(*node));
  return true;
}

bool BinaryDocumentReader::Read(const char* name, float& out) {
  const BinaryDocumentNode* node = FindValue(name, BinaryTagFloat);
  if (node == nullptr) return false;
  std::memcpy(&out, &node->payload, 4);
  return true;
}

bool BinaryDocumentReader::Read(const char* name, unsigned int& out) {
  const BinaryDocumentNode* node = FindValue(name, BinaryTagUnsigned);
  if (node == nullptr) return false;
  out = node->payload;
  return true;
}

bool BinaryDocumentReader::Read(const char* name, int& out) {
  const BinaryDocumentNode* node = FindValue(name, BinaryTagInt);
  if (node == nullptr) return false;
  out = int(node->payload);
  return true;
}

bool BinaryDocumentReader::Read(const char* name, bool& out) {
  const BinaryDocumentNode* node = FindValue(name, BinaryTagBool);
  if (node == nullptr) return false;
  out = node->payload != 0;
  return true;
}

bool BinaryDocumentReader::IsBinary() { return true; }

bool BinaryDocumentReader::ListValues(std::vector<DocumentValueInfo>& out) {
  out.clear();
  for (const BinaryDocumentNode& node : Children(Current())) {
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
    out.push_back({std::string(GetText(node.name)), kind});
  }
  return true;
}

} // namespace tv
