#include "core/core_registration.h"

#include "document/enum_type_serializer.h"
#include "picture/picture_types.h"
#include "reflection/core_types.h"
#include "scene/scene_types.h"

namespace tv {

void RegisterCoreTypes(TypeRegistry& registry) {
  RegisterValueTypes(registry);  // steps 1 to 3: basic types, their vectors, math types
  // The enums of step 3 get their document form here: the type system does not know documents.
  InstallValueTypeSerializers(registry);
  // Step 4, content types: TangentFrame, Picture, the texture enums and TextureUnitConfig,
  // Material, Polygon, GeometrySkin, GeometryFlag, Geometry, ShaderType.
  RegisterPictureTypes(registry);
  // Step 5, GPU handles. Step 6, render classes.
  RegisterSceneTypes(registry);  // step 7: scene, component and system classes
  // Step 8, the serializers of geometry, material, render handles, scene, node, script parameter
  // lists and decorators.
}

} // namespace tv
