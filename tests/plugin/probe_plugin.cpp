// A plugin module built only for the tests: it binds like any plugin and exports a few probes
// that show what the module's own copy of the core sees.

#include <imgui.h>

#include "file/filesystem.h"
#include "foundation/globals.h"
#include "foundation/log.h"
#include "plugin/core_globals.h"
#include "plugin/plugin_description.h"

TV_PLUGIN_EXPORT tv::PluginDescription PluginGetDescription() {
  return tv::PluginDescription{tv::kPluginApiVersion, "Probe", "0.1", "Test probe", tv::kPluginHostVersion, "GCC",
                               tv::kPluginBuildEnvironmentRequired};
}

TV_PLUGIN_EXPORT int32_t PluginLoad(const tv::CoreGlobals* table) {
  tv::BindCoreGlobals(table);
  return 0;
}

TV_PLUGIN_EXPORT void PluginUnload() {}

TV_PLUGIN_EXPORT void ProbeLog(const char* message) { tv::log(message); }
TV_PLUGIN_EXPORT const void* ProbeLogSystem() { return tv::log_system; }
TV_PLUGIN_EXPORT ImGuiContext* ProbeImGuiContext() { return ImGui::GetCurrentContext(); }
TV_PLUGIN_EXPORT bool ProbeExists(const char* path) { return tv::filesystem != nullptr && tv::filesystem->Exists(path); }
TV_PLUGIN_EXPORT void ProbeAssertFalse() { __ASSERT_MSG__(1 == 2, "probe"); }
