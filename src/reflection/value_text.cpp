#include "reflection/value_text.h"

#include <cstdint>
#include <cstdio>

#include "reflection/type.h"

namespace tv {
namespace {

std::string FloatText(float value) {
  // Shortest text that reads back as the same float.
  char text[32];
  for (int precision = 6; precision <= 9; ++precision) {
    std::snprintf(text, sizeof(text), "%.*g", precision, double(value));
    float back = 0;
    if (std::sscanf(text, "%g", &back) == 1 && back == value) break;
  }
  return text;
}

std::string BasicText(const Type* type, const void* value) {
  switch (type->GetBasicValueKind()) {
  case BasicValueKind::Bool: return *static_cast<const bool*>(value) ? "true" : "false";
  case BasicValueKind::Char: return std::to_string(int(*static_cast<const char*>(value)));
  case BasicValueKind::Short: return std::to_string(*static_cast<const int16_t*>(value));
  case BasicValueKind::Int: return std::to_string(*static_cast<const int32_t*>(value));
  case BasicValueKind::UnsignedChar: return std::to_string(*static_cast<const uint8_t*>(value));
  case BasicValueKind::UnsignedShort: return std::to_string(*static_cast<const uint16_t*>(value));
  case BasicValueKind::UnsignedInt: return std::to_string(*static_cast<const uint32_t*>(value));
  case BasicValueKind::Float: return FloatText(*static_cast<const float*>(value));
  case BasicValueKind::String: return "\"" + *static_cast<const std::string*>(value) + "\"";
  case BasicValueKind::None: break;
  }
  return "?";
}

} // namespace

std::string DescribeValue(const Type* type, const void* value) {
  if (type == nullptr || value == nullptr) return "?";
  if (type->IsBasic()) return BasicText(type, value);
  if (type->IsEnum()) {
    const int32_t number = type->enum_cast != nullptr ? type->enum_cast->ToInt(value) : 0;
    const std::string* value_name = type->GetEnumName(number);
    return value_name != nullptr ? *value_name : std::to_string(number);
  }
  if (type->container_factory != nullptr) {
    const uint32_t count = type->container_factory->MakeReadInterface(value)->GetSize();
    std::string text = "[";
    text += std::to_string(count);
    text += count == 1 ? " element]" : " elements]";
    return text;
  }
  if (type->shared_ptr_accessor != nullptr) return type->shared_ptr_accessor->Get(value) != nullptr ? "set" : "null";
  if (type->fields.empty()) return "?";
  std::string text = "{";
  for (const auto& [field_name, field] : type->fields) {
    if (text.size() > 1) text += ", ";
    const void* pointer = field->GetConstPointer(value);
    if (pointer != nullptr) {
      text += field_name + ": " + DescribeValue(field->type, pointer);
    } else {
      const TypeValue copy = field->GetValue(value);
      text += field_name + ": " + DescribeValue(field->type, copy.instance);
    }
  }
  return text + "}";
}

} // namespace tv
