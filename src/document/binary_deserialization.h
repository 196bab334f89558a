#pragma once
// The Deserialize walk's steps for a class and for a container over a binary document whose names
// each have one dictionary index. Element names are matched as indices, resolved once per type and
// loaded document, and values of the nine basic types are copied straight out of the loaded nodes.
// All else (bases, serializers, properties, adapters, nested values) goes back through the walk
// that every reader shares, so a binary document reads into the same objects as its text forms.

#include <memory>

namespace tv {

class BinaryDocumentReader;
class DeserializationContext;
class Type;
struct BinaryWalkState;

// Gives the reader the state of the binary walk for the length of the outermost Deserialize call
// over it; the calls inside it find the reader's state already there and share it.
class BinaryWalkSession {
public:
  explicit BinaryWalkSession(BinaryDocumentReader& reader);
  ~BinaryWalkSession();
  BinaryWalkSession(const BinaryWalkSession&) = delete;
  BinaryWalkSession& operator=(const BinaryWalkSession&) = delete;

private:
  BinaryDocumentReader& reader_;
  std::unique_ptr<BinaryWalkState> owned_;  // null inside a walk that an outer call began
};

// Both need a BinaryWalkSession open on `reader`.
// As the shared walk does for a class in the current scope: the fields held as values, then the
// child scopes in document order. A failed base sets `abandoned` and leaves its scope current.
bool DeserializeBinaryClass(BinaryDocumentReader& reader, void* object, Type* type, DeserializationContext* context,
                            bool& abandoned);
// As the shared walk does for a container: resized to the count of "slot" scopes, which fill the
// elements in order; a failed element stays as the resize made it.
void DeserializeBinaryElements(BinaryDocumentReader& reader, void* object, const Type* type,
                               DeserializationContext* context);

} // namespace tv
