#pragma once
// The Deserialize walk's steps for a class and for a container over a binary document whose names
// each have one dictionary index. Element names are matched as indices, resolved once per type and
// loaded document, and values of the nine basic types are copied straight out of the file image.
// All else (bases, serializers, properties, adapters, nested values) goes back through the walk
// that every reader shares, so a binary document reads into the same objects as its text forms.

namespace tv {

class BinaryDocumentReader;
class DeserializationContext;
class Type;

// As the shared walk does for a class in the current scope: the fields held as values, then the
// child scopes in document order. A failed base sets `abandoned` and leaves its scope current.
bool DeserializeBinaryClass(BinaryDocumentReader& reader, void* object, Type* type, DeserializationContext* context,
                            bool& abandoned);
// As the shared walk does for a container: resized to the count of "slot" scopes, which fill the
// elements in order; a failed element stays as the resize made it.
void DeserializeBinaryElements(BinaryDocumentReader& reader, void* object, const Type* type,
                               DeserializationContext* context);

} // namespace tv
