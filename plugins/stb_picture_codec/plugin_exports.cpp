// The three exports of the stb_picture_codec module.

#include <algorithm>
#include <memory>

#include "plugin/core_globals.h"
#include "plugin/plugin_description.h"
#include "stb_picture_codec.h"

namespace {

// The codec this module put in the host's registry; the registry only points to it.
tv::STBPictureCodec* g_codec = nullptr;

// Takes the codec out of the registry before freeing it: its code goes with this module.
void DropCodec() {
  if (g_codec == nullptr) return;
  if (tv::picture_codecs != nullptr) std::erase(*tv::picture_codecs, static_cast<tv::PictureCodec*>(g_codec));
  delete g_codec;
  g_codec = nullptr;
}

} // namespace

// No side effect and no global touched: the host calls this before binding, even for a plugin
// it will refuse.
TV_PLUGIN_EXPORT tv::PluginDescription PluginGetDescription() {
  return tv::PluginDescription{tv::kPluginApiVersion, "STB", "1.0.0", "PNG, TGA, JPEG and BMP pictures",
                               tv::kPluginHostVersion, "MSVC", tv::kPluginBuildEnvironmentRequired};
}

TV_PLUGIN_EXPORT int32_t PluginLoad(const tv::CoreGlobals* table) {
  if (table == nullptr) return 1;
  tv::BindCoreGlobals(table);
  if (tv::picture_codecs == nullptr) return 1;
  // Loaded again: the newer codec takes the older one's place.
  DropCodec();
  auto codec = std::make_unique<tv::STBPictureCodec>();
  // Another module's "STB" codec stands already: this one has nothing to offer.
  if (!tv::RegisterCodec(codec.get())) return 1;
  g_codec = codec.release();
  return 0;
}

TV_PLUGIN_EXPORT void PluginUnload() { DropCodec(); }
