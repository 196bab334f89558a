#pragma once
// Writes the binary form of a document: the body is collected in memory, and the dictionary of
// names and string values, known only at the end, follows it in the file image.
//
// Every distinct text is stored once, in the order of its first use. A document can hold at most
// 65535 texts; once the dictionary is full, every operation that needs a text fails with the
// error "String dictionary overflow", even for a text already stored. An operation that fails
// leaves what it had appended to the body so far (a partial element), so a writer that has failed
// once should not be saved.

#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "document/document_writer.h"

namespace tv {

class BinaryDocumentWriter : public DocumentWriter {
public:
  using DocumentWriter::Write;

  bool EnterScope(const char* name) override;
  bool ExitScope() override;
  // The block's first `size` bytes, whatever its cursor.
  bool Write(const char* name, const BinaryData& value) override;
  // A text holding a byte 0 is refused: the dictionary ends its entries with that byte.
  bool Write(const char* name, const std::string& value) override;
  bool Write(const char* name, float value) override;
  bool Write(const char* name, unsigned int value) override;
  bool Write(const char* name, int value) override;
  bool Write(const char* name, bool value) override;
  bool IsBinary() override;
  // The file image, written in one call; true if every byte was written. A scope still open keeps
  // a length of 0, so its content reads as elements of its parent.
  bool Save(const std::string& path) override;

  // Appends the whole file image to `out` at its cursor. False, with `out` unchanged, only for an
  // image of 4 GiB or more.
  bool Save(BinaryData& out) const;

  std::vector<std::pair<uint32_t, uint32_t>> scope_stack;  // (element start, its length field)
  std::vector<uint8_t> body;  // grows in steps of 32768 bytes; `position` bytes are valid
  uint32_t position = 0;
  std::vector<std::string> dictionary;

private:
  // Appends `count` bytes; false if the body would pass 4 GiB. The body grows by 32768 bytes at a
  // time, or in one step for a binary `block`.
  bool Append(const void* bytes, uint32_t count, bool block = false);
  // Appends the dictionary index of `text`, entering it first if it is new.
  bool AppendText(const char* text, size_t length);
  // Name index and tag of a new element.
  bool AppendHead(const char* name, uint8_t tag);

  // Index of each text in `dictionary`: the same answer as a search from the start, without the
  // quadratic cost on documents with many texts.
  std::unordered_map<std::string, uint16_t> dictionary_index_;
};

} // namespace tv
