#pragma once
// The plugin host: the registry of loaded plugins, the checks that a library must pass to become
// one, folder scans, and the unloading at shut-down. All of it works on the `plugins` global and
// runs on one thread (normally the main thread): the registry has no lock, and the folder where
// bare library names are looked up is process-wide.

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "plugin/plugin_description.h"
#include "plugin/shared_library.h"

namespace tv {

// One loaded library.
struct Plugin {
  std::string path;  // as given to the loader: the bare file name for a scanned plugin
  std::unique_ptr<SharedLibrary> library;
  PluginDescription description{};  // its texts point into the module
  PluginLoadFunction load = nullptr;
  PluginUnloadFunction unload = nullptr;
};

class PluginRegistry {
public:
  std::vector<std::unique_ptr<Plugin>> loaded;  // in load order
  std::vector<std::string> default_paths;
  std::vector<std::string> blacklist;  // wildcard patterns, matched against the path given
};

// Fills the default paths: the program's folder, then the folder named by TORVANE_PLUGINS_PATH
// if it is set (one folder, not a list).
void AddDefaultPluginPaths(PluginRegistry& registry, const std::string& base_folder);

// Maps a library; a bare name is looked up in the folder of SetSharedLibraryPath first. Null, with
// an error line, on failure.
std::unique_ptr<SharedLibrary> LoadSharedLibrary(const std::string& path);
// Makes `folder` the place where bare library names are looked up; empty resets to the loader's
// own search.
bool SetSharedLibraryPath(const std::string& folder);

// Maps, checks, binds and registers one plugin. Each refusal is a debug line and unmaps again;
// when PluginLoad itself fails, the codecs and Dear ImGui slots it added are dropped first (picture
// codecs only leave the registry, which does not own them).
bool LoadPlugin(const std::string& path);
// Loads every "*.so" of `folder`, in name order; returns how many loaded.
uint32_t LoadPlugins(const std::string& folder);
// Loads from each default path in turn.
uint32_t LoadPlugins();
// Waits until the task system is idle (a task may run plugin code), then unloads every plugin,
// oldest first. What loaded plugins registered with the host (codecs, signal slots) is their code
// and is left alone here: the host drops it before calling this.
void UnloadPlugins();
void BlacklistPlugins(const std::vector<std::string>& patterns);

} // namespace tv
