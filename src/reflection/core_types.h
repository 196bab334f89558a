#pragma once
// Registration of the core's types into a registry, in the fixed order of start-up.

namespace tv {

class TypeRegistry;

// Steps 1 and 2: the basic types ("Bool" ... "String", "None", "Function", "CFunction") and the
// vectors of the basic types.
void RegisterBasicTypes(TypeRegistry& registry);
// Step 3: "BinaryData", then each math type followed by its vector, then "RotationOrder" and "Axis".
void RegisterMathTypes(TypeRegistry& registry);
// Every step, in order, on the calling thread, before any document is read.
void RegisterCoreTypes(TypeRegistry& registry);

} // namespace tv
