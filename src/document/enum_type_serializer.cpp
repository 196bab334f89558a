#include "document/enum_type_serializer.h"

#include "reflection/math_type_names.h"

namespace tv {

void InstallValueTypeSerializers(TypeRegistry& registry) {
  InstallEnumSerializer<RotationOrder>(registry);
  InstallEnumSerializer<Axis>(registry);
}

} // namespace tv
