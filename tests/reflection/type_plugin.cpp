// A plugin module built only for the tests: PluginLoad registers two classes into the host's
// type registry, and a probe hands out entries of a registry of the module's own.

#include "plugin/core_globals.h"
#include "plugin/plugin_description.h"
#include "reflection/core_types.h"
#include "reflection/type_registration.h"
#include "reflection/type_registry.h"

namespace {

// The circle has another base in front, so that the cast really moves the pointer.
struct ProbeShape {
  float area = 0;
};
struct ProbePadding {
  double padding[3] = {};
};
struct ProbeCircle : ProbePadding, ProbeShape {
  float radius = 1;
};

} // namespace

namespace tv {
TV_TYPE_NAME(ProbeShape, "ProbeShape");
TV_TYPE_NAME(ProbeCircle, "ProbeCircle");
} // namespace tv

namespace {

void RegisterProbeTypes(tv::TypeRegistry& registry) {
  tv::Type* shape = tv::RegisterValueType<ProbeShape>(registry, "tv::ProbeShape");
  tv::AddMemberField(shape, "Area", &ProbeShape::area);
  tv::Type* circle = tv::RegisterValueType<ProbeCircle>(registry, "tv::ProbeCircle");
  circle->AddBase(shape, new tv::ConcreteTypeCaster<ProbeCircle, ProbeShape>());
  tv::AddMemberField(circle, "Radius", &ProbeCircle::radius);
}

} // namespace

TV_PLUGIN_EXPORT tv::PluginDescription PluginGetDescription() {
  return tv::PluginDescription{tv::kPluginApiVersion, "TypeProbe", "0.1", "Registers test types",
                               tv::kPluginHostVersion, "GCC", tv::kPluginBuildEnvironmentRequired};
}

TV_PLUGIN_EXPORT int32_t PluginLoad(const tv::CoreGlobals* table) {
  tv::BindCoreGlobals(table);
  if (tv::types == nullptr) return 1;
  RegisterProbeTypes(*tv::types);
  return 0;
}

TV_PLUGIN_EXPORT void PluginUnload() {}

// An entry of this module's own registry, which is not the host's: same names, other objects.
TV_PLUGIN_EXPORT const tv::Type* ProbeOwnType(const char* name) {
  static tv::TypeRegistry own;
  if (own.types.empty()) {
    tv::RegisterValueTypes(own);
    RegisterProbeTypes(own);
  }
  return own.FindType(name);
}
