#pragma once
// Registration of the core's types into a registry, in the fixed order of start-up.

namespace tv {

class TypeRegistry;

// Steps 1 and 2: the basic types ("Bool" ... "String", "None", "Function", "CFunction") and the
// vectors of the basic types.
void RegisterBasicTypes(TypeRegistry& registry);
// Step 3: "BinaryData", then each math type followed by its vector, then "RotationOrder" and "Axis".
void RegisterMathTypes(TypeRegistry& registry);
// Steps 1 to 3: the types of this layer. The later steps, and the whole order, belong to the
// core's start-up (RegisterCoreTypes).
void RegisterValueTypes(TypeRegistry& registry);

} // namespace tv
