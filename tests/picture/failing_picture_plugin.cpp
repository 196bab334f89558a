// A plugin that registers a picture codec and then reports a failed load: the host must take the
// codec out of its registry again before it unmaps the module.

#include "picture/picture_codec.h"
#include "plugin/core_globals.h"
#include "plugin/plugin_description.h"

namespace {

class LeftBehindCodec : public tv::PictureCodec {
public:
  bool Load(tv::FileHandle&, tv::Picture&) override { return false; }
  bool Save(tv::FileHandle&, const tv::Picture&, const std::string&) override { return false; }
  std::string GetName() const override { return "LeftBehind"; }
};

LeftBehindCodec g_codec;

} // namespace

TV_PLUGIN_EXPORT tv::PluginDescription PluginGetDescription() {
  return tv::PluginDescription{tv::kPluginApiVersion, "FailingPictures", "1.0", "Fails after registering",
                               tv::kPluginHostVersion, "GCC", tv::kPluginBuildEnvironmentRequired};
}

TV_PLUGIN_EXPORT int32_t PluginLoad(const tv::CoreGlobals* table) {
  tv::BindCoreGlobals(table);
  tv::RegisterCodec(&g_codec);
  return 3;
}

TV_PLUGIN_EXPORT void PluginUnload() {}
