#pragma once
// What a plugin module says about itself, and the C signatures of its three exports.

#include <cstdint>

namespace tv {

struct CoreGlobals;

// Returned by value from PluginGetDescription. The texts are static strings of the module, valid
// until it is unloaded. (The fields are 32 bits wide on a 32-bit platform; here pointers are 64.)
struct PluginDescription {
  uint32_t api_version;                // version of the plugin interface; this host speaks 1
  const char* name;                    // short name; the identity tested for double loading
  const char* version;
  const char* description;             // line for the log
  uint32_t host_version;               // host version the plugin was built for
  const char* build_environment_name;  // printed by nobody and compared by nobody
  uint32_t build_environment;          // bit mask; the host requires bit 1 (value 2)
};

constexpr uint32_t kPluginApiVersion = 1;
constexpr uint32_t kPluginHostVersion = 1;
constexpr uint32_t kPluginBuildEnvironmentRequired = 2;

using PluginGetDescriptionFunction = PluginDescription (*)();
// 0 for success, anything else for failure. The table is read during the call only.
using PluginLoadFunction = int32_t (*)(const CoreGlobals* table);
using PluginUnloadFunction = void (*)();

} // namespace tv

// Marks the three exports of a plugin module: C linkage, default visibility (the rest of a module
// is hidden, and a linker version script keeps it so).
#define TV_PLUGIN_EXPORT extern "C" __attribute__((visibility("default")))
