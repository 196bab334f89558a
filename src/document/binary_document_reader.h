#pragma once
// Reads the binary form of a document. Load reads the whole file image once, indexes its
// dictionary and builds a node for every element, all in one array; the reads then only copy
// values out of the image, which the reader keeps while it lives. A read by name looks first where
// the last read of its scope stopped, so reads in the order of the file each find their value at
// once; the node found is always the first of its name, as if searched from the start.
//
// Any file is taken as hostile. Load refuses, answering false with nothing loaded, a file that:
// is shorter than its 8-byte head; lacks the magic; has a body size that runs past its end; does
// not end with a byte 0; holds 65535 strings or more (error "String dictionary too large to
// load"); has an element whose head, payload or scope length runs past the range that holds it;
// uses a name or string index that has no dictionary entry; or nests scopes more than
// kMaxScopeDepth deep. Elements of an unknown tag are kept as 3-byte elements without payload,
// which no read takes and no child walk enters.

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "document/binary_document_node.h"
#include "document/document_reader.h"

namespace tv {

class BinaryDocumentReader final : public DocumentReader {
public:
  using DocumentReader::Read;

  BinaryDocumentReader() = default;
  // The nodes point into the image and into each other.
  BinaryDocumentReader(const BinaryDocumentReader&) = delete;
  BinaryDocumentReader& operator=(const BinaryDocumentReader&) = delete;

  // Deeper nesting is refused, so that hostile files cannot exhaust the stack of the recursive
  // parse; the writer has no such limit, but no document of the core comes near it.
  static constexpr uint32_t kMaxScopeDepth = 1024;

  std::string GetScopeName() override;
  // Inline: the walks take them for every scope of a document, through this final class.
  bool EnterFirstChild() override {
    OpenScope& scope = Current();
    scope.cursor = 0;
    return EnterScopeFromCursor(scope);
  }
  bool EnterNextSibling() override {
    if (!ExitScope()) return false;
    OpenScope& scope = Current();
    if (scope.cursor < scope.child_count) ++scope.cursor;
    return EnterScopeFromCursor(scope);
  }
  bool ExitScope() override {
    if (scope_stack.empty()) return false;
    scope_stack.pop_back();
    return true;
  }
  // Appends the block at the target's cursor, then sets the cursor to 0.
  bool Read(const char* name, BinaryData& out) override;
  bool Read(const char* name, std::string& out) override;
  bool Read(const char* name, float& out) override;
  bool Read(const char* name, unsigned int& out) override;
  bool Read(const char* name, int& out) override;
  bool Read(const char* name, bool& out) override;
  bool IsBinary() override;
  // Every element of the current scope that is no scope, in file order, by its tag; an element of
  // an unknown tag is listed as other.
  bool ListValues(std::vector<DocumentValueInfo>& out) override;
  // Through the file system.
  bool Load(const std::string& path) override;
  // From the `size` bytes of a buffer (its cursor has no effect).
  bool Load(const BinaryData& data);
  // The elements of the current scope (the root's at the root), in file order.
  std::span<const BinaryDocumentNode> GetCurrentChildren() const {
    return Children(scope_stack.empty() ? root : scope_stack.back());
  }

  // Names as dictionary indices, for walks that match many elements against the same few names.
  // True when each text has one index: always for files from the writer, but a hostile file may
  // hold a text twice, and its elements then have to be matched by text.
  bool HasUniqueNames() const { return !compare_texts_ && !text_table_.empty(); }
  // The dictionary index of `name`, or -1 when the document never uses that text.
  int32_t FindName(const std::string& name) const { return HasUniqueNames() ? FindText(name.c_str()) : -1; }
  // The dictionary index of the innermost entered scope's name; -1 at the root.
  int32_t GetScopeNameIndex() const { return scope_stack.empty() ? -1 : int32_t(scope_stack.back().name); }
  // As a Read finds its element: the first element of the current scope with the name of index
  // `name`, if it has `tag`; else null. The read position of the scope moves past it.
  const BinaryDocumentNode* FindValue(int32_t name, uint32_t tag) {
    OpenScope& scope = Current();
    const BinaryDocumentNode* children = nodes.data() + scope.first_child;
    // One element of each name is marked the first, so starting at the hint finds the same one.
    uint32_t at = scope.hint;
    for (; at < scope.child_count; ++at)
      if (children[at].name == name && children[at].first_of_name) return Found(scope, at, tag);
    for (at = 0; at < scope.hint && at < scope.child_count; ++at)
      if (children[at].name == name && children[at].first_of_name) return Found(scope, at, tag);
    return nullptr;
  }
  // As FindValue in the scope `scope`, without entering it: its first child with the name of index
  // `name`, if it has `tag`; else null. No read position moves.
  const BinaryDocumentNode* FindChildValue(const BinaryDocumentNode& scope, int32_t name, uint32_t tag) const {
    const uint32_t end = scope_first_child[scope.payload + 1];
    for (uint32_t at = scope_first_child[scope.payload]; at < end; ++at)
      if (nodes[at].name == name) return nodes[at].tag == tag ? &nodes[at] : nullptr;
    return nullptr;
  }
  // The text that a string element holds.
  std::string_view GetStringValue(const BinaryDocumentNode& node) const { return GetText(node.payload); }
  // The text of dictionary entry `index`, which a loaded node's name or string value always is.
  std::string_view GetText(uint32_t index) const {
    return {reinterpret_cast<const char*>(strings[index]), EntryLength(index)};
  }

  // What the Deserialize walk has worked out about this document (its names resolved to indices),
  // set by the outermost walk over it for as long as that walk runs, and owned by it: nothing of
  // it outlives the call, so no module's code is left to free it later.
  void* walk_state = nullptr;

  std::vector<uint8_t> image;
  uint32_t position = 0;
  // Start of each dictionary entry in `image`, and one more entry just past the last.
  std::vector<const uint8_t*> strings;
  // An entered scope: its children in `nodes`, its name, the child walk's position, and the
  // position after the value that the last read found, where the next read starts looking.
  struct OpenScope {
    uint32_t first_child = 0;
    uint32_t child_count = 0;
    uint32_t cursor = 0;
    uint32_t hint = 0;
    uint16_t name = 0;
  };
  OpenScope root;  // its children are the first nodes of `nodes`
  std::vector<OpenScope> scope_stack;
  // Every node of the document, the children of each scope side by side: one allocation for a
  // load, however many scopes it has.
  std::vector<BinaryDocumentNode> nodes;
  // The children of scope k (a scope node's payload) are the nodes from entry k to entry k + 1:
  // scopes are parsed breadth first, each one's children appended behind the last one's.
  std::vector<uint32_t> scope_first_child;

private:
  // Indexes the dictionary and parses the body of `image`.
  bool Parse();
  // Parses the body [begin, end) into `nodes`; false for a malformed element or too deep a scope.
  bool ParseBody(uint32_t begin, uint32_t end);
  // The range of the image that holds a scope's children.
  struct ChildRange {
    uint32_t begin;
    uint32_t end;
  };
  // Appends the elements of [begin, end) to `nodes`, marks the first of each name among them and
  // appends the child range of each scope to `scopes`, whose index becomes the scope's payload;
  // false for a malformed element.
  bool ParseChildren(uint32_t begin, uint32_t end, std::vector<ChildRange>& scopes);
  // The current scope (the root at the root), and its children.
  OpenScope& Current() { return scope_stack.empty() ? root : scope_stack.back(); }
  std::span<const BinaryDocumentNode> Children(const OpenScope& scope) const {
    return {nodes.data() + scope.first_child, scope.child_count};
  }
  // Moves the cursor of `scope` from where it stands onto the next scope and enters it.
  bool EnterScopeFromCursor(OpenScope& scope) {
    const BinaryDocumentNode* children = nodes.data() + scope.first_child;
    while (scope.cursor < scope.child_count && !children[scope.cursor].IsScope()) ++scope.cursor;
    if (scope.cursor == scope.child_count) return false;
    const BinaryDocumentNode& node = children[scope.cursor];
    const uint32_t first = scope_first_child[node.payload];
    // `scope` may lie in the stack that grows here.
    scope_stack.push_back(OpenScope{first, scope_first_child[node.payload + 1] - first, 0, 0, node.name});
    return true;
  }
  // The first element named `name` in the current scope, if it has `tag`; else null.
  const BinaryDocumentNode* FindValue(const char* name, uint32_t tag);
  const BinaryDocumentNode* Found(OpenScope& scope, uint32_t at, uint32_t tag) {
    scope.hint = at + 1;
    const BinaryDocumentNode& node = nodes[scope.first_child + at];
    return node.tag == tag ? &node : nullptr;
  }
  size_t EntryLength(uint32_t index) const { return size_t(strings[index + 1] - strings[index]) - 1; }

  // Reads look names up once in a hash table of the dictionary and then compare 16-bit indices,
  // not texts. A dictionary that holds a text twice (the writer never makes one) or whose texts
  // collide too often is left to comparing texts, which answers the same.
  void IndexDictionary();
  // The dictionary index of `name`, or -1 when no entry holds it.
  int32_t FindText(const char* name) const;
  int32_t FindTextCached(const char* name);

  void Clear();

  struct TextSlot {
    uint32_t hash = 0;
    uint32_t entry = 0;  // dictionary index + 1; 0 where the slot is free
  };
  std::vector<TextSlot> text_table_;  // open addressing by the hash of the text
  struct NameCacheEntry {
    const char* name = nullptr;  // the caller's pointer, compared by address
    uint32_t index = 0;
  };
  static constexpr size_t kNameCacheSize = 256;  // the top 8 bits of a mixed address
  std::array<NameCacheEntry, kNameCacheSize> name_cache_{};
  bool compare_texts_ = false;
  // For each dictionary entry, the last sibling list (numbered from 1) that used it as a name:
  // finds the first element of each name while the load goes, in one pass.
  std::vector<uint32_t> name_seen_in_;
  uint32_t sibling_lists_ = 0;
};

} // namespace tv
