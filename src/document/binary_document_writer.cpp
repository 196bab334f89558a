#include "document/binary_document_writer.h"

#include <cstdint>
#include <cstring>

#include "document/binary_document_node.h"
#include "file/filesystem.h"
#include "foundation/globals.h"
#include "foundation/log.h"

namespace tv {

namespace {

constexpr uint32_t kBodyGrowth = 32768;

} // namespace

bool BinaryDocumentWriter::Append(const void* bytes, uint32_t count, bool block) {
  const uint64_t end = uint64_t(position) + count;
  if (end > UINT32_MAX) return false;
  if (end > body.size()) {
    if (block) {
      body.resize(body.size() + kBodyGrowth + count);
    } else {
      while (end > body.size()) body.resize(body.size() + kBodyGrowth);
    }
  }
  if (count != 0) std::memcpy(body.data() + position, bytes, count);
  position = uint32_t(end);
  return true;
}

bool BinaryDocumentWriter::AppendText(const char* text, size_t length) {
  // The limit is checked before the search, so a full dictionary refuses even a known text.
  if (dictionary.size() >= kBinaryDictionaryLimit) {
    error("String dictionary overflow");
    return false;
  }
  std::string key(text, length);
  uint16_t index;
  auto found = dictionary_index_.find(key);
  if (found != dictionary_index_.end()) {
    index = found->second;
  } else {
    index = uint16_t(dictionary.size());
    dictionary.push_back(key);
    dictionary_index_.emplace(std::move(key), index);
  }
  const uint8_t bytes[2] = {uint8_t(index), uint8_t(index >> 8)};
  return Append(bytes, 2);
}

bool BinaryDocumentWriter::AppendHead(const char* name, uint8_t tag) {
  if (name == nullptr) name = "";
  return AppendText(name, std::strlen(name)) && Append(&tag, 1);
}

namespace {

void PutU32(uint8_t* out, uint32_t value) {
  out[0] = uint8_t(value);
  out[1] = uint8_t(value >> 8);
  out[2] = uint8_t(value >> 16);
  out[3] = uint8_t(value >> 24);
}

} // namespace

bool BinaryDocumentWriter::EnterScope(const char* name) {
  const uint32_t start = position;
  if (!AppendHead(name, BinaryTagScope)) return false;
  const uint32_t length_field = position;
  const uint8_t zero[4] = {0, 0, 0, 0};
  if (!Append(zero, 4)) return false;
  scope_stack.emplace_back(start, length_field);
  return true;
}

bool BinaryDocumentWriter::ExitScope() {
  if (scope_stack.empty()) return false;
  const uint32_t length_field = scope_stack.back().second;
  PutU32(body.data() + length_field, position - length_field - 4);
  scope_stack.pop_back();
  return true;
}

bool BinaryDocumentWriter::Write(const char* name, const BinaryData& value) {
  const uint32_t size = value.size <= value.data.size() ? value.size : uint32_t(value.data.size());
  uint8_t length[4];
  PutU32(length, size);
  return AppendHead(name, BinaryTagBinary) && Append(length, 4) && Append(value.data.data(), size, true);
}

bool BinaryDocumentWriter::Write(const char* name, const std::string& value) {
  // A byte 0 inside the text would end its dictionary entry early and shift every later index.
  if (value.find('\0') != std::string::npos) return false;
  return AppendHead(name, BinaryTagString) && AppendText(value.data(), value.size());
}

bool BinaryDocumentWriter::Write(const char* name, float value) {
  uint32_t bits;
  std::memcpy(&bits, &value, 4);
  uint8_t bytes[4];
  PutU32(bytes, bits);
  return AppendHead(name, BinaryTagFloat) && Append(bytes, 4);
}

bool BinaryDocumentWriter::Write(const char* name, unsigned int value) {
  uint8_t bytes[4];
  PutU32(bytes, value);
  return AppendHead(name, BinaryTagUnsigned) && Append(bytes, 4);
}

bool BinaryDocumentWriter::Write(const char* name, int value) {
  uint8_t bytes[4];
  PutU32(bytes, uint32_t(value));
  return AppendHead(name, BinaryTagInt) && Append(bytes, 4);
}

bool BinaryDocumentWriter::Write(const char* name, bool value) {
  const uint8_t byte = value ? 1 : 0;
  return AppendHead(name, BinaryTagBool) && Append(&byte, 1);
}

bool BinaryDocumentWriter::IsBinary() { return true; }

bool BinaryDocumentWriter::Save(BinaryData& out) const {
  uint64_t dictionary_size = 0;
  for (const std::string& text : dictionary) dictionary_size += text.size() + 1;
  const uint64_t total = kBinaryDocumentHeadSize + uint64_t(position) + dictionary_size;
  if (uint64_t(out.cursor) + total > UINT32_MAX) return false;

  out.Reserve(uint64_t(out.cursor) + total);
  uint8_t head[kBinaryDocumentHeadSize];
  PutU32(head, kBinaryDocumentMagic);
  PutU32(head + 4, position);
  out.Write(head, kBinaryDocumentHeadSize);
  out.Write(body.data(), position);
  // Each text with the byte 0 that ends it; std::string keeps that byte behind its characters.
  for (const std::string& text : dictionary) out.Write(text.c_str(), uint32_t(text.size() + 1));
  return true;
}

bool BinaryDocumentWriter::Save(const std::string& path) {
  if (filesystem == nullptr) return false;
  BinaryData image;
  if (!Save(image)) return false;
  return filesystem->DataToFile(path, image.data.data(), image.size);
}

} // namespace tv
