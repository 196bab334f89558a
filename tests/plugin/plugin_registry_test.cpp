#include <gtest/gtest.h>

#include <dlfcn.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "audio/audio_codec.h"
#include "foundation/globals.h"
#include "foundation/log_system.h"
#include "plugin/imgui_signals.h"
#include "plugin/plugin_registry.h"

namespace {

const std::string kTestPlugins = TV_TEST_PLUGIN_DIR;
const std::string kFlawed = kTestPlugins + "/flawed/";
const std::string kOrdered = kTestPlugins + "/ordered/";

std::vector<std::string> g_lines;  // "type|message" of every log line

void CaptureLine(const std::string&, const std::string& message, const std::string& type, const std::string&,
                 uint32_t, bool) {
  g_lines.push_back(type + "|" + message);
}

bool IsMapped(const std::string& path) {
  void* handle = dlopen(path.c_str(), RTLD_NOW | RTLD_NOLOAD);
  if (handle == nullptr) return false;
  dlclose(handle);
  return true;
}

std::string ReadFile(const std::string& path) {
  std::ifstream in(path);
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

class PluginRegistryTest : public ::testing::Test {
protected:
  void SetUp() override {
    g_lines.clear();
    log_.print = &CaptureLine;
    tv::log_system = &log_;
    tv::plugins = &registry_;
    tv::audio_codecs = &codecs_;
    tv::imgui_signals = &imgui_;
    // One file per test process: CTest runs the tests of this program side by side.
    plugin_log_ = ::testing::TempDir() + "plugin_registry_log_" + std::to_string(getpid()) + ".txt";
    std::remove(plugin_log_.c_str());
    setenv("TV_TEST_PLUGIN_LOG", plugin_log_.c_str(), 1);
  }
  void TearDown() override {
    // Binding connects each plugin to the context signal; those slots are plugin code, so a host
    // that destroys its signals drops them while the plugins are still mapped.
    Unload();
    tv::SetSharedLibraryPath("");
    unsetenv("TV_TEST_PLUGIN_LOG");
    tv::imgui_signals = nullptr;
    tv::audio_codecs = nullptr;
    tv::plugins = nullptr;
    tv::log_system = nullptr;
  }
  void Unload() {
    imgui_.on_context_change.DisconnectAll();
    tv::UnloadPlugins();
  }
  bool Logged(const std::string& line) const {
    return std::find(g_lines.begin(), g_lines.end(), line) != g_lines.end();
  }

  tv::LogSystem log_;
  tv::PluginRegistry registry_;
  tv::AudioCodecRegistry codecs_;
  tv::ImGuiSignals imgui_;
  std::string plugin_log_;
};

TEST_F(PluginRegistryTest, EachFlawIsRefusedWithItsLineAndTheLibraryUnmapped) {
  const struct {
    const char* file;
    const char* line;
  } cases[] = {
      {"no_description.so", "Plugin description missing ('%1')"},
      {"no_load.so", "Plugin load entry point missing ('%1')"},
      {"no_unload.so", "Plugin unload entry point missing ('%1')"},
      {"api2.so", "Incompatible plugin API version ('%1')"},
      {"host2.so", "Incompatible plugin host version ('%1')"},
      {"environment.so", "Incompatible plugin build environment ('%1')"},
      {"load_fails.so", "Plugin failed while initializing ('%1')"},
      {"missing.so", "Plugin shared library load error ('%1')"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.file);
    const std::string path = kFlawed + c.file;
    g_lines.clear();
    EXPECT_FALSE(tv::LoadPlugin(path));
    std::string line = c.line;
    line.replace(line.find("%1"), 2, path);
    EXPECT_TRUE(Logged("debug|" + line)) << (g_lines.empty() ? "" : g_lines.back());
    EXPECT_FALSE(IsMapped(path));
  }
  EXPECT_TRUE(registry_.loaded.empty());
  // Only the mapping failure is also an error, with the loader's reason.
  EXPECT_TRUE(std::any_of(g_lines.begin(), g_lines.end(), [](const std::string& l) {
    return l.rfind("error|LoadSharedLibrary('" + kFlawed + "missing.so') failed, reason: ", 0) == 0;
  }));
  // Versions are checked before PluginLoad runs; only the failing one ran it.
  EXPECT_EQ(ReadFile(plugin_log_), "load Good\n");
}

TEST_F(PluginRegistryTest, AnOrdinaryLibraryIsNoPlugin) {
  // A copy of a system library, so that it is mapped fresh and unmapped again.
  const std::string copy = ::testing::TempDir() + "libz_copy_" + std::to_string(getpid()) + ".so";
  std::filesystem::copy_file("/lib/x86_64-linux-gnu/libz.so.1", copy,
                             std::filesystem::copy_options::overwrite_existing);
  EXPECT_FALSE(tv::LoadPlugin(copy));
  EXPECT_TRUE(Logged("debug|Plugin description missing ('" + copy + "')"));
  EXPECT_FALSE(IsMapped(copy));
  std::filesystem::remove(copy);
}

TEST_F(PluginRegistryTest, TheSameModuleTwiceIsRefusedAndItsMappingSurvives) {
  const std::string path = kOrdered + "a_first.so";
  ASSERT_TRUE(tv::LoadPlugin(path));
  EXPECT_TRUE(Logged("| - Plugin First [Test plugin] version 2.0"));
  EXPECT_FALSE(tv::LoadPlugin(path));
  EXPECT_TRUE(Logged("debug|Plugin already loaded ('" + path + "')"));
  ASSERT_EQ(registry_.loaded.size(), 1u);
  EXPECT_TRUE(IsMapped(path));
  EXPECT_EQ(registry_.loaded[0]->path, path);
  EXPECT_EQ(std::string(registry_.loaded[0]->description.name), "First");
}

TEST_F(PluginRegistryTest, FolderScanLoadsByNameOrderAndUnloadsInLoadOrder) {
  EXPECT_EQ(tv::LoadPlugins(kOrdered + "./"), 3u);
  EXPECT_TRUE(Logged("|Scanning for plugin in '" + kOrdered + "'..."));
  EXPECT_TRUE(Logged("|3 plugin(s) loaded"));
  ASSERT_EQ(registry_.loaded.size(), 3u);
  // Scanned plugins are loaded by bare name, found through the library folder.
  EXPECT_EQ(registry_.loaded[0]->path, "a_first.so");
  EXPECT_EQ(registry_.loaded[2]->path, "c_audio_thing.so");

  Unload();
  EXPECT_TRUE(registry_.loaded.empty());
  EXPECT_TRUE(Logged("debug|Unloading plugin First [Test plugin]"));
  EXPECT_EQ(ReadFile(plugin_log_),
            "load First\nload Second\nload AudioThing\nunload First\nunload Second\nunload AudioThing\n");
  EXPECT_FALSE(IsMapped(kOrdered + "a_first.so"));

  Unload();  // nothing loaded: nothing happens
  EXPECT_EQ(ReadFile(plugin_log_).size(), 84u);
}

TEST_F(PluginRegistryTest, BlacklistedNamesAreNeverMapped) {
  tv::BlacklistPlugins({"*audio*"});
  EXPECT_EQ(tv::LoadPlugins(kOrdered), 2u);
  EXPECT_TRUE(Logged("debug|Ignoring blacklisted plugin ('c_audio_thing.so') (matched against '*audio*')"));
  EXPECT_FALSE(IsMapped(kOrdered + "c_audio_thing.so"));
  EXPECT_EQ(registry_.loaded.size(), 2u);
}

TEST_F(PluginRegistryTest, AnEmptyFolderLoadsNothing) {
  EXPECT_EQ(tv::LoadPlugins(kTestPlugins + "/empty"), 0u);
  EXPECT_TRUE(Logged("|0 plugin(s) loaded"));
}

TEST_F(PluginRegistryTest, DefaultPathsSumTheirScansAndTakeTheEnvironmentsFolder) {
  unsetenv("TORVANE_PLUGINS_PATH");
  tv::PluginRegistry alone;
  tv::AddDefaultPluginPaths(alone, "/base/");
  EXPECT_EQ(alone.default_paths, (std::vector<std::string>{"/base/"}));

  setenv("TORVANE_PLUGINS_PATH", (kOrdered + ":" + kFlawed).c_str(), 1);
  tv::PluginRegistry both;
  tv::AddDefaultPluginPaths(both, "/base/");
  unsetenv("TORVANE_PLUGINS_PATH");
  // One folder, not a list.
  EXPECT_EQ(both.default_paths, (std::vector<std::string>{"/base/", kOrdered + ":" + kFlawed}));

  registry_.default_paths = {kOrdered, kFlawed, kTestPlugins + "/empty/"};
  EXPECT_EQ(tv::LoadPlugins(), 3u);
  EXPECT_TRUE(Logged("|Load plugins from 3 default paths"));
  EXPECT_EQ(g_lines.back(), "|3 plugin(s) loaded");
}

} // namespace
