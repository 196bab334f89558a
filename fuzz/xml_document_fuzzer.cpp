// Arbitrary bytes as an XML document: load from memory, walk every scope and read every value in
// every kind; then the elements, copied into an XML writer, must load again.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "document/xml_document_reader.h"
#include "document/xml_document_writer.h"
#include "document_walk.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  tv::XMLDocumentReader reader;
  if (!reader.LoadFromString(std::string(reinterpret_cast<const char*>(data), size))) {
    if (reader.GetScopeName() != "root" || reader.EnterFirstChild()) std::abort();
    return 0;
  }
  // Nodes that are no element (comments, text) have no form in the writer.
  tv::XMLDocumentWriter writer;
  tv_fuzz::WalkAndCopy(reader, writer, [](const std::string& name) { return name == "**invalid**"; });
  if (reader.GetScopeName() != "root") std::abort();

  // Names that parsed are XML names, and the printer escapes what values need: the copy loads,
  // unless nothing was copied (an empty text is no XML document).
  const std::string text = writer.SaveToString();
  tv::XMLDocumentReader copy;
  if (!text.empty() && !copy.LoadFromString(text)) std::abort();
  return 0;
}
