#pragma once
// The host side of this first cut: the services a plugin binds to, and one plugin module mapped
// from beside the executable and bound through PluginLoad. (The core's start-up and the plugin
// host proper will take this over.)

#include <memory>
#include <string>

#include "audio/audio_codec.h"
#include "file/filesystem.h"
#include "foundation/log_system.h"
#include "plugin/imgui_signals.h"
#include "plugin/shared_library.h"

namespace tv {

class Host {
public:
  // Builds the services, points this module's globals at them and mounts the working folder.
  // With `log_to_stderr`, log lines go to standard error (standard output may carry data).
  explicit Host(bool log_to_stderr = false);
  // Drops the codecs (their code lives in the plugin), unloads the plugin, clears the globals.
  ~Host();
  Host(const Host&) = delete;
  Host& operator=(const Host&) = delete;

  // Maps `file_name` from the executable's folder and binds it. False with a reason in `why`.
  bool LoadPlugin(const std::string& file_name, std::string& why);

private:
  LogSystem log_;
  Filesystem filesystem_;
  AudioCodecRegistry codecs_;
  ImGuiSignals imgui_signals_;
  SharedLibrary plugin_;
  bool plugin_loaded_ = false;
};

// Folder of the running executable, with a trailing "/".
std::string GetExecutableFolder();

} // namespace tv
