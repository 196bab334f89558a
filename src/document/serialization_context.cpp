#include "document/serialization_context.h"

namespace tv {

const std::string& SerializationContext::GetName() const {
  static const std::string name("SerializationContext");
  return name;
}

const std::string& DeserializationContext::GetName() const {
  static const std::string name("DeserializationContext");
  return name;
}

} // namespace tv
