// One plugin source built into several modules by the tests, each with a flaw chosen by a macro.

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

#include "audio/audio_codec.h"
#include "plugin/core_globals.h"
#include "plugin/plugin_description.h"

#ifndef TEST_PLUGIN_NAME
#define TEST_PLUGIN_NAME "Good"
#endif
#ifndef TEST_API_VERSION
#define TEST_API_VERSION 1
#endif
#ifndef TEST_HOST_VERSION
#define TEST_HOST_VERSION 1
#endif
#ifndef TEST_BUILD_ENVIRONMENT
#define TEST_BUILD_ENVIRONMENT 2
#endif
#ifndef TEST_LOAD_RESULT
#define TEST_LOAD_RESULT 0
#endif

namespace {

// Appends a word to the file named by TV_TEST_PLUGIN_LOG, so a test sees what ran and in what order.
[[maybe_unused]] void Record(const char* what) {
  const char* path = std::getenv("TV_TEST_PLUGIN_LOG");
  if (path == nullptr) return;
  if (std::FILE* file = std::fopen(path, "a")) {
    std::fprintf(file, "%s %s\n", what, TEST_PLUGIN_NAME);
    std::fclose(file);
  }
}

#ifdef TEST_REGISTER_CODECS
struct TestCodec : tv::AudioCodec {
  std::shared_ptr<tv::AudioData> Open(const std::string&) override { return nullptr; }
  std::string GetExtension() override { return "test"; }
};

// Leaves code of this module in the host's codec registry: a codec of its own name, and one put
// in place of the host's "Shared" (erased first, so the new one may well reuse its address).
void RegisterCodecs() {
  if (tv::audio_codecs == nullptr) return;
  tv::audio_codecs->erase("Shared");
  (*tv::audio_codecs)["Shared"] = std::make_unique<TestCodec>();
  (*tv::audio_codecs)[TEST_PLUGIN_NAME] = std::make_unique<TestCodec>();
}
#endif

} // namespace

#ifndef TEST_NO_DESCRIPTION
TV_PLUGIN_EXPORT tv::PluginDescription PluginGetDescription() {
  return tv::PluginDescription{TEST_API_VERSION, TEST_PLUGIN_NAME, "2.0", "Test plugin", TEST_HOST_VERSION, "GCC",
                               TEST_BUILD_ENVIRONMENT};
}
#endif

#ifndef TEST_NO_LOAD
TV_PLUGIN_EXPORT int32_t PluginLoad(const tv::CoreGlobals* table) {
  tv::BindCoreGlobals(table);
  Record("load");
#ifdef TEST_REGISTER_CODECS
  RegisterCodecs();
#endif
  return TEST_LOAD_RESULT;
}
#endif

#ifndef TEST_NO_UNLOAD
TV_PLUGIN_EXPORT void PluginUnload() { Record("unload"); }
#endif
