#include "host.h"

#include <unistd.h>

#include <climits>
#include <cstdio>

#include "file/std_file_driver.h"
#include "foundation/log.h"
#include "plugin/core_globals.h"
#include "plugin/plugin_description.h"

namespace tv {
namespace {

void StandardErrorPrint(const std::string& timestamp, const std::string& message, const std::string& type,
                        const std::string& details, uint32_t filter, bool print_details) {
  const std::string line = FormatLogLine(timestamp, message, type, details, filter, print_details);
  if (!line.empty()) std::fwrite(line.data(), 1, line.size(), stderr);
}

} // namespace

std::string GetExecutableFolder() {
  char buffer[PATH_MAX];
  const ssize_t length = readlink("/proc/self/exe", buffer, sizeof(buffer) - 1);
  if (length <= 0) return "./";
  std::string path(buffer, size_t(length));
  return path.substr(0, path.find_last_of('/') + 1);
}

Host::Host(bool log_to_stderr) {
  if (log_to_stderr) log_.print = &StandardErrorPrint;
  log_system = &log_;
  filesystem = &filesystem_;
  audio_codecs = &codecs_;
  imgui_signals = &imgui_signals_;
  // Relative paths resolve against the working folder, absolute ones as they are.
  filesystem_.Mount(std::make_shared<StdFileDriver>());
}

Host::~Host() {
  // Codec objects run code of the plugin: destroy them before it is unmapped, and make sure the
  // context signal can no longer call into it.
  codecs_.clear();
  imgui_signals_.on_context_change.DisconnectAll();
  if (plugin_loaded_) {
    if (auto unload = reinterpret_cast<PluginUnloadFunction>(plugin_.GetSymbol("PluginUnload"))) unload();
  }
  plugin_.Close();
  filesystem_.root_drivers.clear();
  filesystem_.mounts.clear();
  imgui_signals = nullptr;
  audio_codecs = nullptr;
  filesystem = nullptr;
  log_system = nullptr;
}

bool Host::LoadPlugin(const std::string& file_name, std::string& why) {
  if (plugin_loaded_) {
    why = "a plugin is loaded already";
    return false;
  }
  const std::string path = GetExecutableFolder() + file_name;
  if (!plugin_.Open(path)) {
    why = plugin_.GetError();
    return false;
  }
  auto describe = reinterpret_cast<PluginGetDescriptionFunction>(plugin_.GetSymbol("PluginGetDescription"));
  auto load = reinterpret_cast<PluginLoadFunction>(plugin_.GetSymbol("PluginLoad"));
  if (describe == nullptr || load == nullptr) {
    why = "'" + path + "' is not a plugin module";
    plugin_.Close();
    return false;
  }
  const PluginDescription description = describe();
  if (description.api_version != kPluginApiVersion) {
    why = "'" + path + "' speaks another plugin interface";
    plugin_.Close();
    return false;
  }
  const size_t slots_before = imgui_signals_.on_context_change.GetSlotCount();
  const CoreGlobals table = GetCoreGlobals();
  if (load(&table) != 0) {
    // What the plugin left in the host's registries runs its code: take it out before unmapping.
    {
      std::lock_guard<std::mutex> lock(imgui_signals_.on_context_change.mutex);
      imgui_signals_.on_context_change.slots.resize(slots_before);
    }
    codecs_.clear();
    plugin_.Close();
    error(format("Plugin failed while initializing ('%1')").arg(path));
    why = "the plugin failed while initializing";
    return false;
  }
  plugin_loaded_ = true;
  return true;
}

} // namespace tv
