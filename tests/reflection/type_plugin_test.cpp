// A type registered by a plugin module into the host's registry, and type identity between the
// registries of two modules.

#include <gtest/gtest.h>

#include "foundation/globals.h"
#include "foundation/log_system.h"
#include "math/vector3.h"
#include "plugin/imgui_signals.h"
#include "plugin/plugin_registry.h"
#include "reflection/core_types.h"
#include "reflection/type_registry.h"

namespace {

const std::string kTypePlugin = std::string(TV_TEST_PLUGIN_DIR) + "/types/type_plugin.so";

using OwnTypeProbe = const tv::Type* (*)(const char*);

TEST(TypesAcrossModules, PluginTypesAreFoundByNameAndAliasAndMatchByHash) {
  tv::LogSystem log;
  log.print = &tv::DiscardLogLine;
  tv::PluginRegistry plugins;
  tv::ImGuiSignals imgui;
  auto registry = std::make_unique<tv::TypeRegistry>();
  tv::RegisterValueTypes(*registry);
  tv::log_system = &log;
  tv::plugins = &plugins;
  tv::imgui_signals = &imgui;
  tv::types = registry.get();

  ASSERT_TRUE(tv::LoadPlugin(kTypePlugin)) << log.GetTail();
  tv::Type* circle = registry->FindType("ProbeCircle");
  tv::Type* shape = registry->FindType("ProbeShape");
  ASSERT_NE(circle, nullptr);
  ASSERT_NE(shape, nullptr);
  EXPECT_EQ(registry->FindType("tv::ProbeCircle"), circle);
  EXPECT_EQ(registry->FindType("tv::ProbeShape"), shape);
  EXPECT_TRUE(circle->IsA(shape));
  EXPECT_FALSE(shape->IsA(circle));

  // Instances come from the plugin's factory; its caster moves the pointer to the base inside.
  {
    tv::TypeValue value(circle);
    ASSERT_NE(value.instance, nullptr);
    EXPECT_TRUE(circle->IsDefault(value.instance));
    EXPECT_EQ(circle->FindField("Radius")->GetValue(value.instance).As<float>(), 1.0f);
    void* base = circle->Cast(value.instance, shape);
    ASSERT_NE(base, nullptr);
    EXPECT_NE(base, value.instance);
    const float area = 2.5f;
    ASSERT_TRUE(shape->FindField("Area")->SetValue(base, tv::TypeValue(registry->GetType("Float"), &area)));
    EXPECT_EQ(shape->Cast(base, circle), value.instance);
    EXPECT_FALSE(shape->IsDefault(base));
    // A copy goes through the plugin's factory too, base part included.
    const tv::TypeValue copy = value;
    EXPECT_EQ(shape->FindField("Area")->GetValue(circle->Cast(copy.instance, shape)).As<float>(), 2.5f);
  }

  // The plugin's own registry holds other objects of the same names: identity is the name hash.
  void* symbol = plugins.loaded.at(0)->library->GetFunctionPointer("ProbeOwnType");
  ASSERT_NE(symbol, nullptr);
  const auto own = reinterpret_cast<OwnTypeProbe>(symbol);
  const tv::Type* own_shape = own("ProbeShape");
  const tv::Type* own_circle = own("tv::ProbeCircle");
  ASSERT_NE(own_shape, nullptr);
  ASSERT_NE(own_circle, nullptr);
  EXPECT_NE(own_shape, shape);
  EXPECT_TRUE(circle->IsA(own_shape));
  EXPECT_TRUE(own_circle->IsA(shape));
  EXPECT_FALSE(own_shape->IsA(circle));
  tv::Vector3 point(1, 2, 3);
  tv::Type* vector3 = registry->FindType("Vector3");
  EXPECT_NE(own("Vector3"), vector3);
  EXPECT_EQ(vector3->Cast(&point, own("tv::Vector3")), &point);
  EXPECT_EQ(vector3->Cast(&point, own("Vector4")), nullptr);

  // Defaults and factories of the plugin's types are plugin code: the registry goes first.
  registry->Shutdown();
  imgui.on_context_change.DisconnectAll();
  tv::UnloadPlugins();
  EXPECT_TRUE(plugins.loaded.empty());
  tv::types = nullptr;
  tv::imgui_signals = nullptr;
  tv::plugins = nullptr;
  tv::log_system = nullptr;
}

} // namespace
