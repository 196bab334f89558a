// Arbitrary bytes as a binary document: load from memory, walk every scope, read every element
// in every kind, then copy what loaded through the writer and require the copy to load again.

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string>
#include <vector>

#include "document/binary_document_reader.h"
#include "document/binary_document_writer.h"
#include "foundation/globals.h"
#include "foundation/log_system.h"

namespace {

struct Services {
  Services() {
    log.print = &tv::DiscardLogLine;
    tv::log_system = &log;
  }
  tv::LogSystem log;
};

std::string NameOf(const tv::BinaryDocumentReader& reader, const tv::BinaryDocumentNode& node) {
  return reinterpret_cast<const char*>(reader.strings[node.name]);
}

// Reads each element of the current scope in every kind through the interface, enters each child
// scope, and writes what it read to `copy`.
void Walk(tv::BinaryDocumentReader& reader, tv::BinaryDocumentWriter& copy) {
  // A copy: the reads below move the scope's read position, never its nodes.
  const std::span<const tv::BinaryDocumentNode> children = reader.GetCurrentChildren();
  for (const tv::BinaryDocumentNode& node : children) {
    const std::string name = NameOf(reader, node);
    std::string text;
    float f = 0;
    unsigned u = 0;
    int i = 0;
    bool b = false;
    int8_t i8 = 0;
    int16_t i16 = 0;
    uint8_t u8 = 0;
    uint16_t u16 = 0;
    tv::BinaryData block;
    reader.Read(name.c_str(), i8);
    reader.Read(name.c_str(), i16);
    reader.Read(name.c_str(), u8);
    reader.Read(name.c_str(), u16);
    // Only the first element of a name is readable; later ones of that name are copied as read.
    if (reader.Read(name.c_str(), text)) copy.Write(name.c_str(), text);
    if (reader.Read(name.c_str(), f)) copy.Write(name.c_str(), f);
    if (reader.Read(name.c_str(), u)) copy.Write(name.c_str(), u);
    if (reader.Read(name.c_str(), i)) copy.Write(name.c_str(), i);
    if (reader.Read(name.c_str(), b)) copy.Write(name.c_str(), b);
    if (reader.Read(name.c_str(), block)) copy.Write(name.c_str(), block);
  }
  if (!reader.EnterFirstChild()) return;
  do {
    copy.EnterScope(reader.GetScopeName().c_str());
    Walk(reader, copy);
    copy.ExitScope();
  } while (reader.EnterNextSibling());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static Services services;
  if (size > (1u << 20)) return 0;
  tv::BinaryData input;
  input.Write(data, uint32_t(size));

  tv::BinaryDocumentReader reader;
  if (!reader.Load(input)) return 0;
  tv::BinaryDocumentWriter copy;
  Walk(reader, copy);
  if (reader.GetScopeName() != "root" || reader.ExitScope()) __builtin_trap();

  // What the writer makes from a loaded document always loads.
  tv::BinaryData image;
  if (!copy.Save(image)) __builtin_trap();
  tv::BinaryDocumentReader again;
  if (!again.Load(image)) __builtin_trap();
  return 0;
}
