#pragma once
// The core's registrations, in their fixed order: every type, then the component factories.

namespace tv {

class TypeRegistry;

// Every step of the type registration order, on the calling thread, before any document is read.
void RegisterCoreTypes(TypeRegistry& registry);

} // namespace tv
