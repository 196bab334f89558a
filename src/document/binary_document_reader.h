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
#include <vector>

#include "document/binary_document_node.h"
#include "document/document_reader.h"

namespace tv {

class BinaryDocumentReader : public DocumentReader {
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
  bool EnterFirstChild() override;
  bool EnterNextSibling() override;
  bool ExitScope() override;
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

private:
  // Indexes the dictionary and parses the body of `image`.
  bool Parse();
  // Parses the body [begin, end) into `nodes`; false for a malformed element or too deep a scope.
  bool ParseBody(uint32_t begin, uint32_t end);
  // Appends the elements of [begin, end) to `nodes` and marks the first of each name among them;
  // false for a malformed element.
  bool ParseChildren(uint32_t begin, uint32_t end);
  // Appends the element at `position`, which lies below `end`.
  bool ParseElement(uint32_t end);
  // The current scope (the root at the root), and its children.
  OpenScope& Current() { return scope_stack.empty() ? root : scope_stack.back(); }
  std::span<const BinaryDocumentNode> Children(const OpenScope& scope) const {
    return {nodes.data() + scope.first_child, scope.child_count};
  }
  // Moves the cursor of `scope` from where it stands onto the next scope and enters it.
  bool EnterScopeFromCursor(OpenScope& scope);
  // The first element named `name` in the current scope, if it has `tag`; else null.
  const BinaryDocumentNode* FindValue(const char* name, uint32_t tag);
  const uint8_t* Value(const BinaryDocumentNode& node) const { return image.data() + node.ValueOffset(); }
  // The text of dictionary entry `index` (checked at load) and its length.
  const char* Text(uint32_t index, size_t& length) const;
  size_t EntryLength(uint32_t index) const;

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
