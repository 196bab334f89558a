#pragma once
// One-line text of a typed value, for people: listings, the inspector, diagnostics. Not a
// document form: documents are written by the serializers.

#include <string>

namespace tv {

class Type;

// Basic values as numbers, "true"/"false" or a quoted string; enums by name (the number where no
// name has it); types with fields as "{name: value, ...}" in field order; vectors as
// "[N elements]"; shared pointers as "null" or "set". An unknown type or a null value: "?".
std::string DescribeValue(const Type* type, const void* value);

} // namespace tv
