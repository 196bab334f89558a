#pragma once
// Registration of the scene, node, component and system classes into a type registry: step 7 of
// the core's registration order.

namespace tv {

class TypeRegistry;

void RegisterSceneTypes(TypeRegistry& registry);

} // namespace tv
