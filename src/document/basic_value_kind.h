#pragma once
// The nine value types that documents hold as values, told apart by their registered names, so
// that the walks switch on one small number instead of comparing types; and which fields are held
// as values.

#include <cstdint>

#include "reflection/type.h"

namespace tv {

enum class BasicValueKind : uint8_t {
  Bool,
  Char,
  Short,
  Int,
  UnsignedChar,
  UnsignedShort,
  UnsignedInt,
  Float,
  String,
  None,  // not one of the nine
};

inline BasicValueKind GetBasicValueKind(const Type* type) {
  if (type == nullptr || !type->IsBasic()) return BasicValueKind::None;
  switch (type->GetNameHash()) {
  case TypeNameHash("Bool"): return BasicValueKind::Bool;
  case TypeNameHash("Char"): return BasicValueKind::Char;
  case TypeNameHash("Short"): return BasicValueKind::Short;
  case TypeNameHash("Int"): return BasicValueKind::Int;
  case TypeNameHash("UnsignedChar"): return BasicValueKind::UnsignedChar;
  case TypeNameHash("UnsignedShort"): return BasicValueKind::UnsignedShort;
  case TypeNameHash("UnsignedInt"): return BasicValueKind::UnsignedInt;
  case TypeNameHash("Float"): return BasicValueKind::Float;
  case TypeNameHash("String"): return BasicValueKind::String;
  default: return BasicValueKind::None;
  }
}

// Whether a field is held as a value rather than in a scope of its own: its serializer's storage
// type, else its own type, is one of the nine.
inline bool IsBasicStorage(const TypeField& field) {
  const Type* storage = field.type;
  if (storage != nullptr && storage->serializer != nullptr) storage = storage->serializer->GetStorageType();
  return storage != nullptr && storage->IsBasic();
}

} // namespace tv
