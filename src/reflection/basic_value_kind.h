#pragma once
// The nine value types that documents hold as values, told apart once, by their registered names,
// when their Type is made: the walks and the value texts then switch on one small number instead
// of comparing names.

#include <cstdint>
#include <string_view>

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

// The kind of the type registered as `type_name`.
BasicValueKind BasicValueKindOfName(std::string_view type_name);

} // namespace tv
