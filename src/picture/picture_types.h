#pragma once
// Picture in the type registry: "Picture" (alias "tv::Picture") with a factory and no fields, and
// its shared pointer. Part of step 4 of the core's registration order, the content types.

#include <memory>

#include "reflection/type_name.h"

namespace tv {

class Picture;
class TypeRegistry;

TV_TYPE_NAME(Picture, "Picture");

void RegisterPictureTypes(TypeRegistry& registry);

} // namespace tv
