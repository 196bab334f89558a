#pragma once
// Which fields documents hold as values rather than in scopes of their own: both walks of a class
// sort its fields by it.

#include "reflection/type.h"
#include "reflection/type_serializer.h"

namespace tv {

// Whether a field is held as a value: its serializer's storage type, else its own type, is one of
// the nine basic value types.
inline bool IsBasicStorage(const TypeField& field) {
  const Type* storage = field.type;
  if (storage != nullptr && storage->serializer != nullptr) storage = storage->serializer->GetStorageType();
  return storage != nullptr && storage->IsBasic();
}

} // namespace tv
