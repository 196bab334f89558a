#include <gtest/gtest.h>

#include <dlfcn.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "audio/audio_codec.h"
#include "foundation/globals.h"
#include "foundation/log_system.h"
#include "foundation/task_system.h"
#include "plugin/imgui_signals.h"
#include "plugin/plugin_registry.h"

namespace {

const std::string kTestPlugins = TV_TEST_PLUGIN_DIR;
const std::string kFlawed = kTestPlugins + "/flawed/";
const std::string kOrdered = kTestPlugins + "/ordered/";
const std::string kTwin = kTestPlugins + "/twin/";

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

void AppendToFile(const std::string& path, const std::string& text) {
  std::ofstream(path, std::ios::app) << text;
}

struct HostCodec : tv::AudioCodec {
  std::shared_ptr<tv::AudioData> Open(const std::string&) override { return nullptr; }
  std::string GetExtension() override { return "host"; }
};

class SlowTask : public tv::task {
public:
  explicit SlowTask(std::string log) : log_(std::move(log)) {}
  void run() override {
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    AppendToFile(log_, "task done\n");
  }

private:
  std::string log_;
};

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
      {"no_entry_points.so", "Plugin load entry point missing ('%1')"},
      {"api2.so", "Incompatible plugin API version ('%1')"},
      {"all_versions.so", "Incompatible plugin API version ('%1')"},
      {"host2.so", "Incompatible plugin host version ('%1')"},
      {"host_environment.so", "Incompatible plugin host version ('%1')"},
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
    // Exactly one refusal line, that of the first failing check.
    const auto debug_lines = std::count_if(g_lines.begin(), g_lines.end(),
                                           [](const std::string& l) { return l.rfind("debug|", 0) == 0; });
    EXPECT_EQ(debug_lines, 1);
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

// What a failing PluginLoad put into the host's registries is code of a module about to be
// unmapped: it must be gone again, or the host calls into unmapped memory later.
TEST_F(PluginRegistryTest, AFailedLoadLeavesNothingOfItsCodeInTheHostsRegistries) {
  codecs_["Kept"] = std::make_unique<HostCodec>();
  codecs_["Shared"] = std::make_unique<HostCodec>();
  const tv::AudioCodec* kept = codecs_["Kept"].get();
  const auto slots_before = imgui_.on_context_change.GetSlotCount();

  EXPECT_FALSE(tv::LoadPlugin(kFlawed + "load_fails.so"));
  EXPECT_EQ(ReadFile(plugin_log_), "load Good\n");  // it did run, bind and register
  ASSERT_EQ(codecs_.size(), 1u);
  ASSERT_EQ(codecs_.count("Kept"), 1u);
  EXPECT_EQ(codecs_["Kept"].get(), kept);
  EXPECT_EQ(codecs_["Kept"]->GetExtension(), "host");
  EXPECT_EQ(imgui_.on_context_change.GetSlotCount(), slots_before);
  EXPECT_FALSE(IsMapped(kFlawed + "load_fails.so"));
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

// Double loading is judged by the name pointer, so another module that merely carries the same
// name text is a plugin of its own.
TEST_F(PluginRegistryTest, AnotherModuleWithTheSameNameTextLoads) {
  ASSERT_TRUE(tv::LoadPlugin(kOrdered + "a_first.so"));
  ASSERT_TRUE(tv::LoadPlugin(kTwin + "a_first.so"));
  ASSERT_EQ(registry_.loaded.size(), 2u);
  EXPECT_STREQ(registry_.loaded[0]->description.name, registry_.loaded[1]->description.name);
  EXPECT_TRUE(IsMapped(kOrdered + "a_first.so"));
  EXPECT_TRUE(IsMapped(kTwin + "a_first.so"));
}

TEST_F(PluginRegistryTest, BareNamesAreLookedUpInTheLibraryFolderThenByTheLoader) {
  EXPECT_EQ(tv::LoadSharedLibrary("b_second.so"), nullptr);
  EXPECT_TRUE(std::any_of(g_lines.begin(), g_lines.end(), [](const std::string& l) {
    return l.rfind("error|LoadSharedLibrary('b_second.so') failed, reason: ", 0) == 0 &&
           l.find("cannot open shared object file") != std::string::npos;
  }));

  ASSERT_TRUE(tv::SetSharedLibraryPath(kOrdered + "."));
  auto second = tv::LoadSharedLibrary("b_second.so");
  ASSERT_NE(second, nullptr);
  EXPECT_NE(second->GetFunctionPointer("PluginLoad"), nullptr);
  EXPECT_TRUE(IsMapped(kOrdered + "b_second.so"));
  second.reset();
  EXPECT_FALSE(IsMapped(kOrdered + "b_second.so"));

  // Not in the folder: the loader's own search still finds system libraries.
  EXPECT_NE(tv::LoadSharedLibrary("libz.so.1"), nullptr);

  ASSERT_TRUE(tv::SetSharedLibraryPath(""));
  EXPECT_EQ(tv::LoadSharedLibrary("b_second.so"), nullptr);

  // A scan leaves its folder in force.
  tv::LoadPlugins(kTwin);
  EXPECT_NE(tv::LoadSharedLibrary("a_first.so"), nullptr);
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

  // The host's own folder: the WAV plugin stays out, and the first matching pattern is named.
  tv::BlacklistPlugins({"*"});
  g_lines.clear();
  EXPECT_EQ(tv::LoadPlugins(TV_PLUGIN_DIR), 0u);
  EXPECT_TRUE(Logged("debug|Ignoring blacklisted plugin ('wav_audio_codec.so') (matched against '*audio*')"));
  EXPECT_TRUE(Logged("|0 plugin(s) loaded"));
  EXPECT_FALSE(IsMapped(std::string(TV_PLUGIN_DIR) + "/wav_audio_codec.so"));
  EXPECT_TRUE(codecs_.empty());

  // A path given to LoadPlugin is matched whole.
  EXPECT_FALSE(tv::LoadPlugin(kTwin + "a_first.so"));
  EXPECT_TRUE(Logged("debug|Ignoring blacklisted plugin ('" + kTwin + "a_first.so') (matched against '*')"));
  EXPECT_FALSE(IsMapped(kTwin + "a_first.so"));
}

// A task may be running plugin code: unloading waits until the task system is idle.
TEST_F(PluginRegistryTest, UnloadingWaitsForRunningTasks) {
  class tv::task_system tasks;
  ASSERT_TRUE(tasks.start(1));
  tv::task_system = &tasks;
  ASSERT_TRUE(tv::LoadPlugin(kOrdered + "a_first.so"));
  tasks.run_task(std::make_shared<SlowTask>(plugin_log_));
  Unload();
  tv::task_system = nullptr;
  tasks.stop();
  EXPECT_EQ(ReadFile(plugin_log_), "load First\ntask done\nunload First\n");
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
