#include "plugin/plugin_registry.h"

#include <dlfcn.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <typeinfo>
#include <utility>

#include "file/path.h"
#include "file/std_file_driver.h"
#include "foundation/format.h"
#include "foundation/globals.h"
#include "foundation/log.h"
#include "foundation/string_utils.h"
#include "foundation/task_system.h"
#include "plugin/core_globals.h"
#include "plugin/imgui_signals.h"
#include "audio/audio_codec.h"

namespace tv {
namespace {

// Where bare names are looked up; empty for the loader's own search.
std::string g_library_folder;

// What stood in the host's registries before a PluginLoad, so that what a failing one left there
// (and which would call into code about to be unmapped) can be taken out again.
struct RegistryMarks {
  size_t context_slots = 0;
  size_t atlas_slots = 0;
  std::vector<std::pair<std::string, const AudioCodec*>> codecs;
  std::vector<const PictureCodec*> picture_codecs;
};

RegistryMarks MarkRegistries() {
  RegistryMarks marks;
  if (audio_codecs != nullptr)
    for (const auto& [name, codec] : *audio_codecs) marks.codecs.emplace_back(name, codec.get());
  if (picture_codecs != nullptr) marks.picture_codecs.assign(picture_codecs->begin(), picture_codecs->end());
  if (imgui_signals != nullptr) {
    marks.context_slots = imgui_signals->on_context_change.GetSlotCount();
    marks.atlas_slots = imgui_signals->on_font_atlas.GetSlotCount();
  }
  return marks;
}

// Base address of the module that holds `address`, or null.
const void* ModuleOf(const void* address) {
  Dl_info info{};
  return dladdr(address, &info) != 0 ? info.dli_fbase : nullptr;
}

template <typename Signal>
void TruncateSlots(Signal& signal, size_t count) {
  std::lock_guard<std::mutex> lock(signal.mutex);
  if (signal.slots.size() > count) signal.slots.resize(count);
}

// Runs while `module` is still mapped: dropping a codec runs its destructor, which is module code.
void RollBackRegistries(const RegistryMarks& marks, const void* module) {
  if (audio_codecs != nullptr) {
    std::erase_if(*audio_codecs, [&](const auto& entry) {
      const std::pair<std::string, const AudioCodec*> key(entry.first, entry.second.get());
      // A codec replaced under a known name may sit at the old one's address; its class (found
      // through its type information) still gives it away as the module's.
      return std::find(marks.codecs.begin(), marks.codecs.end(), key) == marks.codecs.end() ||
             (module != nullptr && ModuleOf(&typeid(*entry.second)) == module);
    });
  }
  // Picture codecs belong to whoever registered them: the entries go, the objects are the module's.
  if (picture_codecs != nullptr) {
    std::erase_if(*picture_codecs, [&](const PictureCodec* codec) {
      return std::find(marks.picture_codecs.begin(), marks.picture_codecs.end(), codec) == marks.picture_codecs.end();
    });
  }
  if (imgui_signals == nullptr) return;
  TruncateSlots(imgui_signals->on_context_change, marks.context_slots);
  TruncateSlots(imgui_signals->on_font_atlas, marks.atlas_slots);
}

bool HasFolder(const std::string& path) { return path.find('/') != std::string::npos; }

} // namespace

void AddDefaultPluginPaths(PluginRegistry& registry, const std::string& base_folder) {
  registry.default_paths.push_back(base_folder);
  if (const char* extra = std::getenv("TORVANE_PLUGINS_PATH")) registry.default_paths.push_back(extra);
}

std::unique_ptr<SharedLibrary> LoadSharedLibrary(const std::string& path) {
  auto library = std::make_unique<DlSharedLibrary>();
  std::string where = path;
  if (!HasFolder(path) && !g_library_folder.empty() && access((g_library_folder + path).c_str(), F_OK) == 0)
    where = g_library_folder + path;
  if (!library->Open(where)) {
    error(format("LoadSharedLibrary('%1') failed, reason: %2").arg(path).arg(library->GetError()));
    return nullptr;
  }
  return library;
}

bool SetSharedLibraryPath(const std::string& folder) {
  g_library_folder = folder.empty() ? std::string() : CleanPath(folder) + "/";
  return true;
}

bool LoadPlugin(const std::string& path) {
  for (const std::string& pattern : plugins->blacklist) {
    if (match_wildcard(path, pattern)) {
      debug(format("Ignoring blacklisted plugin ('%1') (matched against '%2')").arg(path).arg(pattern));
      return false;
    }
  }
  auto plugin = std::make_unique<Plugin>();
  auto refuse = [&](const char* line) {
    debug(format(line).arg(path));
    return false;  // `plugin` goes with its library: the mapping is released
  };
  plugin->library = LoadSharedLibrary(path);
  if (!plugin->library) return refuse("Plugin shared library load error ('%1')");
  auto describe =
      reinterpret_cast<PluginGetDescriptionFunction>(plugin->library->GetFunctionPointer("PluginGetDescription"));
  if (describe == nullptr) return refuse("Plugin description missing ('%1')");
  plugin->load = reinterpret_cast<PluginLoadFunction>(plugin->library->GetFunctionPointer("PluginLoad"));
  if (plugin->load == nullptr) return refuse("Plugin load entry point missing ('%1')");
  plugin->unload = reinterpret_cast<PluginUnloadFunction>(plugin->library->GetFunctionPointer("PluginUnload"));
  if (plugin->unload == nullptr) return refuse("Plugin unload entry point missing ('%1')");

  plugin->path = path;
  plugin->description = describe();
  // The same module mapped again hands back the same mapping, hence the same name pointer.
  for (const auto& loaded : plugins->loaded)
    if (loaded->description.name == plugin->description.name) return refuse("Plugin already loaded ('%1')");
  if (plugin->description.api_version != kPluginApiVersion) return refuse("Incompatible plugin API version ('%1')");
  if (plugin->description.host_version != kPluginHostVersion)
    return refuse("Incompatible plugin host version ('%1')");
  if ((plugin->description.build_environment & kPluginBuildEnvironmentRequired) == 0)
    return refuse("Incompatible plugin build environment ('%1')");

  const RegistryMarks marks = MarkRegistries();
  const CoreGlobals table = GetCoreGlobals();
  if (plugin->load(&table) != 0) {
    RollBackRegistries(marks, ModuleOf(reinterpret_cast<const void*>(plugin->load)));
    return refuse("Plugin failed while initializing ('%1')");
  }
  const PluginDescription& d = plugin->description;
  log(format(" - Plugin %1 [%2] version %3").arg(d.name).arg(d.description).arg(d.version));
  plugins->loaded.push_back(std::move(plugin));
  return true;
}

uint32_t LoadPlugins(const std::string& folder_path) {
  const std::string folder = CleanPath(folder_path) + "/";
  log(format("Scanning for plugin in '%1'...").arg(folder));
  std::vector<DirEntry> entries;
  {
    StdFileDriver driver;
    entries = driver.Dir(folder, "*.so", kDirFiles);
  }
  SetSharedLibraryPath(folder);
  uint32_t count = 0;
  for (const DirEntry& entry : entries)
    if (LoadPlugin(entry.name)) ++count;
  log(format("%1 plugin(s) loaded").arg(count));
  return count;
}

uint32_t LoadPlugins() {
  log(format("Load plugins from %1 default paths").arg(uint64_t(plugins->default_paths.size())));
  uint32_t count = 0;
  for (const std::string& folder : plugins->default_paths) count += LoadPlugins(folder);
  log(format("%1 plugin(s) loaded").arg(count));
  return count;
}

void UnloadPlugins() {
  if (plugins == nullptr) return;
  if (task_system != nullptr) task_system->wait_for_all();
  for (const auto& plugin : plugins->loaded) {
    debug(format("Unloading plugin %1 [%2]").arg(plugin->description.name).arg(plugin->description.description));
    plugin->unload();
    plugin->library.reset();
  }
  plugins->loaded.clear();
}

void BlacklistPlugins(const std::vector<std::string>& patterns) {
  plugins->blacklist.insert(plugins->blacklist.end(), patterns.begin(), patterns.end());
}

} // namespace tv
