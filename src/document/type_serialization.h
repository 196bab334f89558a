#pragma once
// The generic walk between typed objects and documents: fields, bases, vectors and basic values,
// driven by the type system, for any document format.
//
// Document forms: a basic value is one value under `name` (Char and Short as int, the unsigned
// narrow types as unsigned); a class writes its fields in the current scope, a field of a basic
// storage type as a value under the field's name and any other field in a child scope of that
// name; a base that is not all defaults gets a child scope named after the base type; a vector
// writes one "slot" scope per element, a basic element as the value "value" inside it. A field
// whose value equals its default is not written, and one the registry excludes never is.
// A type with a TypeSerializer takes the walk over for its values; the walk stands at the top of
// a document with an empty name, which a class or serializer accepts and a basic value refuses.
//
// Reading goes by what the document holds: a missing basic value gives its field the default (or
// makes the answer false where there is none, the walk going on), unknown scopes are ignored, a
// failed vector element stays as the resize made it, and a failed base scope ends the walk at once
// with false, with that base's scope left current.
//
// Containers addressed by key and their map_container_factory are not walked: no type has one.

#include "document/document_reader.h"
#include "document/document_writer.h"
#include "document/serialization_context.h"

namespace tv {

class Type;
class TypeField;

// Writes the value at `object`, of `type`, under `name`. `skip_serializer` runs the generic walk
// even if the type has a serializer (for a serializer that wants it for the rest of a value).
// False when a value could not be written: the document then stands as written so far.
bool Serialize(DocumentWriter& writer, const void* object, Type* type, SerializationContext* context,
               const char* name, bool skip_serializer = false);
// Reads the value under `name` into `object`, of `type`. False when a basic value was missing or
// refused, or a base failed; as much as could be read is stored.
bool Deserialize(DocumentReader& reader, void* object, Type* type, DeserializationContext* context,
                 const char* name, bool skip_serializer = false);
// Reads one field of `object` under `name`; a failed read stores the field's default, if it has
// one, and answers whether that could be stored.
bool DeserializeField(DocumentReader& reader, void* object, const TypeField* field, DeserializationContext* context,
                      const char* name);

} // namespace tv
