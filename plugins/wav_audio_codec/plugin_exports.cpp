// The three exports of the wav_audio_codec module.

#include "plugin/core_globals.h"
#include "plugin/plugin_description.h"
#include "wav_audio_codec.h"

// No side effect and no global touched: the host calls this before binding, even for a plugin
// it will refuse.
TV_PLUGIN_EXPORT tv::PluginDescription PluginGetDescription() {
  // The build environment name is a fixed marker of the interface; nobody prints or compares it.
  return tv::PluginDescription{tv::kPluginApiVersion, "WAV", "1.0.0", "WAV decoder", tv::kPluginHostVersion,
                               "MSVC", tv::kPluginBuildEnvironmentRequired};
}

TV_PLUGIN_EXPORT int32_t PluginLoad(const tv::CoreGlobals* table) {
  if (table == nullptr) return 1;
  tv::BindCoreGlobals(table);
  // A host without a codec registry can't take what this plugin offers; the host reports the
  // failed load.
  if (tv::audio_codecs == nullptr) return 1;
  (*tv::audio_codecs)["WAV"] = std::make_unique<tv::WAVAudioCodec>();
  return 0;
}

TV_PLUGIN_EXPORT void PluginUnload() {}
