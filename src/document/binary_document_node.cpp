#include "document/binary_document_node.h"

namespace tv {

bool BinaryDocumentNode::SkipToScope(std::span<const BinaryDocumentNode> list, uint32_t& cursor) {
  while (cursor < list.size() && !list[cursor].IsScope()) ++cursor;
  return cursor < list.size();
}

} // namespace tv
