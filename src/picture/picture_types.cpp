#include "picture/picture_types.h"

#include "picture/picture.h"
#include "reflection/type_registration.h"

namespace tv {

void RegisterPictureTypes(TypeRegistry& registry) {
  RegisterValueType<Picture>(registry, "tv::Picture");
  RegisterSharedPtrType<Picture>(registry, "tv::Picture");
}

} // namespace tv
