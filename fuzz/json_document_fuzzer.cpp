// Arbitrary bytes as a JSON document: load from memory, walk every scope and read every value in
// every kind; then the tree, copied into a JSON writer, must load again with as many scopes.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "document/document_scope.h"
#include "document/json_document_reader.h"
#include "document/json_document_writer.h"
#include "document_walk.h"

namespace {

int CountAllScopes(tv::DocumentReader& reader) {
  int count = 0;
  int depth = 0;
  for (;;) {
    if (reader.EnterFirstChild()) {
      ++count;
      ++depth;
      continue;
    }
    for (;;) {
      if (depth == 0) return count;
      if (reader.EnterNextSibling()) {
        ++count;
        break;
      }
      --depth;
    }
  }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  tv::JSONDocumentReader reader;
  if (!reader.LoadFromString(std::string(reinterpret_cast<const char*>(data), size))) {
    if (reader.GetScopeName() != "root" || reader.EnterFirstChild()) std::abort();
    return 0;
  }
  tv::JSONDocumentWriter writer;
  tv_fuzz::WalkAndCopy(reader, writer, [](const std::string&) { return false; });
  if (reader.GetScopeName() != "root") std::abort();

  // Any name and any value the reader gives, the writer prints as JSON that loads again.
  const int scopes = CountAllScopes(reader);
  tv::JSONDocumentReader copy;
  if (!copy.LoadFromString(writer.SaveToString())) std::abort();
  if (CountAllScopes(copy) != scopes) std::abort();
  return 0;
}
