// The plugin boundary with real shared libraries: the WAV plugin and the tests' own plugin modules,
// mapped with the dynamic loader, bound to this process's services through the globals table, and
// loaded, refused and unloaded by the plugin registry.

#include <gtest/gtest.h>
#include <dlfcn.h>
#include <imgui.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <deque>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "audio/audio_codec.h"
#include "elf_symbols.h"
#include "file/filesystem.h"
#include "file/memory_file_driver.h"
#include "foundation/format.h"
#include "foundation/globals.h"
#include "foundation/log_system.h"
#include "foundation/task_system.h"
#include "plugin/core_globals.h"
#include "plugin/imgui_signals.h"
#include "plugin/plugin_description.h"
#include "plugin/plugin_registry.h"
#include "plugin/shared_library.h"

namespace tv {
namespace {

const std::string kWavPlugin = std::string(TV_PLUGIN_DIR) + "/wav_audio_codec.so";
const std::string kTestPlugins = TV_TEST_PLUGIN_DIR;
const std::string kProbePlugin = kTestPlugins + "/probe/probe_plugin.so";
const std::string kFlawed = kTestPlugins + "/flawed/";
const std::string kOrdered = kTestPlugins + "/ordered/";
const std::string kTwin = kTestPlugins + "/twin/";

std::vector<std::string> g_lines;  // "type|message" of every log line
std::vector<std::string> g_asserts;

void CaptureLine(const std::string&, const std::string& message, const std::string& type, const std::string&,
                 uint32_t, bool) {
  g_lines.push_back(type + "|" + message);
}

void RecordAssert(const char*, int, const char*, const char* condition, const char* detail) {
  g_asserts.push_back(std::string(condition) + "|" + (detail ? detail : ""));
}

bool IsMapped(const std::string& path) {
  void* handle = dlopen(path.c_str(), RTLD_NOW | RTLD_NOLOAD);
  if (handle != nullptr) dlclose(handle);
  return handle != nullptr;
}

std::string ReadFile(const std::string& path) {
  std::ifstream in(path);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

struct HostCodec : AudioCodec {
  std::shared_ptr<AudioData> Open(const std::string&) override { return nullptr; }
  std::string GetExtension() override { return "host"; }
};

// The services of a host, installed in this module's globals for the length of a test.
class PluginHost : public ::testing::Test {
protected:
  void SetUp() override {
    g_lines.clear();
    g_asserts.clear();
    log_.print = &CaptureLine;
    log_system = &log_, filesystem = &filesystem_, plugins = &registry_, audio_codecs = &codecs_;
    imgui_signals = &imgui_, assert_handler = &RecordAssert;
    // One file per test process: CTest runs the tests of this program side by side.
    plugin_log_ = ::testing::TempDir() + "plugin_log_" + std::to_string(getpid()) + ".txt";
    std::remove(plugin_log_.c_str());
    setenv("TV_TEST_PLUGIN_LOG", plugin_log_.c_str(), 1);
  }
  void TearDown() override {
    // Codec objects and context slots are plugin code: drop them while the plugins are still mapped.
    Unload();
    codecs_.clear();
    for (DlSharedLibrary& library : libraries_) library.Close();
    SetSharedLibraryPath("");
    unsetenv("TV_TEST_PLUGIN_LOG");
    log_system = nullptr, filesystem = nullptr, plugins = nullptr, audio_codecs = nullptr, imgui_signals = nullptr;
    assert_handler = &NullAssertHandler;
  }
  void Unload() {
    imgui_.on_context_change.DisconnectAll();
    UnloadPlugins();
  }
  bool Logged(const std::string& line) const { return std::find(g_lines.begin(), g_lines.end(), line) != g_lines.end(); }
  bool LoggedStart(const std::string& start) const {
    return std::any_of(g_lines.begin(), g_lines.end(), [&](const std::string& l) { return l.rfind(start, 0) == 0; });
  }

  // Maps a library by hand, as the registry would, and resolves its symbols.
  DlSharedLibrary& Map(const std::string& path) {
    DlSharedLibrary& library = libraries_.emplace_back();
    EXPECT_TRUE(library.Open(path)) << library.GetError();
    return library;
  }
  template <typename Function>
  Function Symbol(DlSharedLibrary& library, const char* name) {
    void* address = library.GetSymbol(name);
    EXPECT_NE(address, nullptr) << name << ": " << library.GetError();
    return reinterpret_cast<Function>(address);
  }
  int32_t Load(DlSharedLibrary& library) {
    const CoreGlobals table = GetCoreGlobals();
    return Symbol<PluginLoadFunction>(library, "PluginLoad")(&table);
  }

  LogSystem log_;
  Filesystem filesystem_;
  PluginRegistry registry_;
  AudioCodecRegistry codecs_;
  ImGuiSignals imgui_;
  std::deque<DlSharedLibrary> libraries_;  // a deque: libraries neither copy nor move
  std::string plugin_log_;
};

// A plugin exports only its three entry points; the core inside it is hidden; the loader's reason
// is kept for whatever it refuses.
TEST(DlSharedLibrary, ResolvesOnlyExportsAndReportsTheLoaderReason) {
  EXPECT_EQ(ExportedSymbols(kWavPlugin), (std::set<std::string>{"PluginGetDescription", "PluginLoad", "PluginUnload"}));
  DlSharedLibrary library;
  ASSERT_TRUE(library.Open(kWavPlugin)) << library.GetError();
  EXPECT_NE(library.GetSymbol("PluginLoad"), nullptr);
  EXPECT_EQ(library.GetSymbol("_ZN2tv15BindCoreGlobalsEPKNS_11CoreGlobalsE"), nullptr);
  EXPECT_NE(library.GetError().find("undefined symbol"), std::string::npos) << library.GetError();
  library.Close();
  EXPECT_FALSE(library.IsOpen());
  EXPECT_EQ(library.GetSymbol("PluginLoad"), nullptr);
  EXPECT_FALSE(library.Open("/nonexistent/folder/plugin.so"));
  EXPECT_NE(library.GetError().find("No such file"), std::string::npos) << library.GetError();
  EXPECT_FALSE(library.Open("/etc/hostname"));
  EXPECT_FALSE(library.GetError().empty());
  EXPECT_FALSE(library.IsOpen());
}

// The table holds the module's globals at fixed slots: 0 the plugins, 2 the log system, 5 the file system,
// 17 the codecs, 19 the context signals, 21 the assert handler.
TEST_F(PluginHost, TableHoldsTheModuleGlobalsInOrder) {
  const CoreGlobals table = GetCoreGlobals();
  const void* const* slots = reinterpret_cast<const void* const*>(&table);
  EXPECT_EQ((std::vector<const void*>{slots[0], slots[2], slots[5], slots[17], slots[19], slots[21]}),
            (std::vector<const void*>{&registry_, &log_, &filesystem_, &codecs_, &imgui_,
                                      reinterpret_cast<const void*>(&RecordAssert)}));
}

// The WAV plugin describes itself the same before and after its load; each load registers one
// codec in place of the last and connects one more context slot; its codec opens host files and
// logs through the host.
TEST_F(PluginHost, WavPluginServesTheHost) {
  auto memory = std::make_shared<MemoryFileDriver>();
  ASSERT_TRUE(filesystem_.Mount(memory, "@mem/"));
  // 44-byte canonical header, 16-bit stereo at 8000 Hz, 8 sample bytes.
  const uint8_t wav_bytes[] = {'R', 'I', 'F', 'F', 44, 0, 0, 0, 'W', 'A', 'V', 'E', 'f', 'm', 't', ' ', 16, 0, 0, 0,
                               1, 0, 2, 0, 0x40, 0x1f, 0, 0, 0, 0, 0, 0, 4, 0, 16, 0, 'd', 'a', 't', 'a', 8, 0, 0, 0,
                               1, 2, 3, 4, 5, 6, 7, 8};
  ASSERT_TRUE(filesystem_.DataToFile("@mem/a.wav", wav_bytes, sizeof(wav_bytes)));

  DlSharedLibrary& wav = Map(kWavPlugin);
  auto describe = [&] {
    const PluginDescription d = Symbol<PluginGetDescriptionFunction>(wav, "PluginGetDescription")();
    return format("%1 %2 %3 %4 %5 %6 %7")
        .arg(d.api_version).arg(d.name).arg(d.version).arg(d.description).arg(d.host_version)
        .arg(to_string(d.build_environment_name)).arg(d.build_environment & 2u).str();
  };
  const std::string before = describe();
  EXPECT_EQ(before.substr(0, 26), "1 WAV 1.0.0 WAV decoder 1 ");
  EXPECT_EQ(before.back(), '2');
  ASSERT_EQ(Load(wav), 0);
  EXPECT_EQ(describe(), before);
  ASSERT_EQ(codecs_.size(), 1u);
  EXPECT_EQ(codecs_["WAV"]->GetExtension(), "wav");
  const AudioCodec* first = codecs_["WAV"].get();
  ASSERT_EQ(Load(wav), 0);
  EXPECT_EQ(codecs_.size(), 1u);
  EXPECT_NE(codecs_["WAV"].get(), first);
  EXPECT_EQ(imgui_.on_context_change.GetSlotCount(), 2u);

  log_.SetLogFilter(0xffff);
  std::shared_ptr<AudioData> stream = codecs_["WAV"]->Open("@mem/a.wav");
  ASSERT_TRUE(stream);
  EXPECT_TRUE(Logged("debug|WAV '@mem/a.wav' - 8000hz 16bit 2 channel(s)"));
  uint8_t frame[32000];
  time_ns frame_time = -1;
  EXPECT_EQ(stream->GetFrame(frame, frame_time), 8u);
  EXPECT_TRUE(frame_time == 0 && frame[7] == 8);
  EXPECT_FALSE(codecs_["WAV"]->Open("@mem/missing.wav"));
  EXPECT_TRUE(Logged("warn|Failed to open '@mem/missing.wav' on driver " + to_string(memory.get()) + " (prefix match: @mem/)"));
}

// The module's globals are its own: nothing of the host reaches the probe before binding; after it,
// the probe uses the host's very objects, and context changes after the load reach it.
TEST_F(PluginHost, ModuleGlobalsAreItsOwnUntilBound) {
  DlSharedLibrary& probe = Map(kProbePlugin);
  auto probe_log = Symbol<void (*)(const char*)>(probe, "ProbeLog");
  auto probe_log_system = Symbol<const void* (*)()>(probe, "ProbeLogSystem");
  auto probe_exists = Symbol<bool (*)(const char*)>(probe, "ProbeExists");
  auto probe_assert = Symbol<void (*)()>(probe, "ProbeAssertFalse");
  auto probe_context = Symbol<ImGuiContext* (*)()>(probe, "ProbeImGuiContext");
  ASSERT_TRUE(filesystem_.Mount(std::make_shared<MemoryFileDriver>(), "@host/"));
  ASSERT_TRUE(filesystem_.StringToFile("@host/seen.txt", "x"));
  ImGuiContext* current = ImGui::CreateContext();
  ImGui::SetCurrentContext(current);

  EXPECT_EQ(probe_log_system(), nullptr);
  probe_log("before binding");
  EXPECT_FALSE(probe_exists("@host/seen.txt"));
  probe_assert();
  EXPECT_FALSE(Logged("|before binding"));
  EXPECT_TRUE(g_asserts.empty());

  ASSERT_EQ(Load(probe), 0);
  EXPECT_EQ(probe_log_system(), &log_);
  probe_log("after binding");
  EXPECT_TRUE(Logged("|after binding"));
  EXPECT_TRUE(probe_exists("@host/seen.txt"));
  probe_assert();
  EXPECT_EQ(g_asserts, std::vector<std::string>{"1 == 2|probe"});
  EXPECT_EQ(probe_context(), nullptr);  // already current before the load: not seen until the next change
  ImGuiContext* next = ImGui::CreateContext();
  imgui_.on_context_change.Emit(next);
  EXPECT_EQ(probe_context(), next);
  imgui_.on_context_change.Emit(current);
  EXPECT_EQ(probe_context(), current);
  ImGui::DestroyContext(next), ImGui::DestroyContext(current);
}

// Each flaw is refused with the one line of the first failing check, and the library unmapped;
// versions are checked before PluginLoad runs; an ordinary library is no plugin.
TEST_F(PluginHost, EachFlawIsRefusedWithItsLineAndTheLibraryUnmapped) {
  const std::string libz = ::testing::TempDir() + "libz_copy_" + std::to_string(getpid()) + ".so";
  std::filesystem::copy_file("/lib/x86_64-linux-gnu/libz.so.1", libz, std::filesystem::copy_options::overwrite_existing);
  const std::pair<std::string, const char*> cases[] = {
      {kFlawed + "no_description.so", "Plugin description missing ('%1')"},
      {kFlawed + "no_load.so", "Plugin load entry point missing ('%1')"},
      {kFlawed + "no_unload.so", "Plugin unload entry point missing ('%1')"},
      {kFlawed + "no_entry_points.so", "Plugin load entry point missing ('%1')"},
      {kFlawed + "api2.so", "Incompatible plugin API version ('%1')"},
      {kFlawed + "all_versions.so", "Incompatible plugin API version ('%1')"},
      {kFlawed + "host2.so", "Incompatible plugin host version ('%1')"},
      {kFlawed + "host_environment.so", "Incompatible plugin host version ('%1')"},
      {kFlawed + "environment.so", "Incompatible plugin build environment ('%1')"},
      {kFlawed + "load_fails.so", "Plugin failed while initializing ('%1')"},
      {kFlawed + "missing.so", "Plugin shared library load error ('%1')"},
      {libz, "Plugin description missing ('%1')"},
  };
  for (const auto& [path, line] : cases) {
    SCOPED_TRACE(path);
    g_lines.clear();
    EXPECT_FALSE(LoadPlugin(path));
    EXPECT_EQ(std::count_if(g_lines.begin(), g_lines.end(), [](const std::string& l) { return l.rfind("debug|", 0) == 0; }), 1);
    EXPECT_TRUE(Logged("debug|" + format(line).arg(path).str())) << (g_lines.empty() ? "" : g_lines.back());
    EXPECT_FALSE(IsMapped(path));
  }
  std::filesystem::remove(libz);
  EXPECT_TRUE(registry_.loaded.empty());
  // Only the mapping failure is also an error, with the loader's reason.
  g_lines.clear();
  LoadPlugin(kFlawed + "missing.so");
  EXPECT_TRUE(LoggedStart("error|LoadSharedLibrary('" + kFlawed + "missing.so') failed, reason: "));
  EXPECT_EQ(ReadFile(plugin_log_), "load Good\n");
}

// What a failing PluginLoad put into the host's registries is code of a module about to be
// unmapped: it must be gone again, or the host calls into unmapped memory later.
TEST_F(PluginHost, AFailedLoadLeavesNothingOfItsCodeInTheHostsRegistries) {
  codecs_["Kept"] = std::make_unique<HostCodec>();
  codecs_["Shared"] = std::make_unique<HostCodec>();
  const AudioCodec* kept = codecs_["Kept"].get();
  const auto slots_before = imgui_.on_context_change.GetSlotCount();
  EXPECT_FALSE(LoadPlugin(kFlawed + "load_fails.so"));
  EXPECT_EQ(ReadFile(plugin_log_), "load Good\n");  // it did run, bind and register
  ASSERT_EQ(codecs_.size(), 1u);
  EXPECT_EQ(codecs_["Kept"].get(), kept);
  EXPECT_EQ(codecs_["Kept"]->GetExtension(), "host");
  EXPECT_EQ(imgui_.on_context_change.GetSlotCount(), slots_before);
  EXPECT_FALSE(IsMapped(kFlawed + "load_fails.so"));
}

// The same module twice is refused and its mapping survives; double loading is judged by the name
// pointer, so another module that merely carries the same name text loads.
TEST_F(PluginHost, TheSameModuleTwiceIsRefused) {
  const std::string path = kOrdered + "a_first.so";
  ASSERT_TRUE(LoadPlugin(path));
  EXPECT_TRUE(Logged("| - Plugin First [Test plugin] version 2.0"));
  EXPECT_FALSE(LoadPlugin(path));
  EXPECT_TRUE(Logged("debug|Plugin already loaded ('" + path + "')"));
  ASSERT_EQ(registry_.loaded.size(), 1u);
  EXPECT_TRUE(IsMapped(path));
  EXPECT_EQ(registry_.loaded[0]->path, path);
  ASSERT_TRUE(LoadPlugin(kTwin + "a_first.so"));
  ASSERT_EQ(registry_.loaded.size(), 2u);
  EXPECT_STREQ(registry_.loaded[1]->description.name, "First");
  EXPECT_TRUE(IsMapped(kTwin + "a_first.so"));
}

// Bare names are looked up in the library folder, then by the loader; a scan leaves its folder in force.
TEST_F(PluginHost, BareNamesAreLookedUpInTheLibraryFolderThenByTheLoader) {
  EXPECT_EQ(LoadSharedLibrary("b_second.so"), nullptr);
  EXPECT_TRUE(LoggedStart("error|LoadSharedLibrary('b_second.so') failed, reason: "));
  EXPECT_NE(g_lines.back().find("cannot open shared object file"), std::string::npos) << g_lines.back();
  ASSERT_TRUE(SetSharedLibraryPath(kOrdered + "."));
  auto second = LoadSharedLibrary("b_second.so");
  ASSERT_NE(second, nullptr);
  EXPECT_NE(second->GetFunctionPointer("PluginLoad"), nullptr);
  EXPECT_TRUE(IsMapped(kOrdered + "b_second.so"));
  second.reset();
  EXPECT_FALSE(IsMapped(kOrdered + "b_second.so"));
  EXPECT_NE(LoadSharedLibrary("libz.so.1"), nullptr);
  ASSERT_TRUE(SetSharedLibraryPath(""));
  EXPECT_EQ(LoadSharedLibrary("b_second.so"), nullptr);
  LoadPlugins(kTwin);
  EXPECT_NE(LoadSharedLibrary("a_first.so"), nullptr);
}

// A folder scan loads by name order, through the library folder, and unloading goes in load order;
// an empty folder loads nothing; the default paths add up, the environment's folder taken whole.
TEST_F(PluginHost, ScansLoadInNameOrderAndUnloadInLoadOrder) {
  EXPECT_EQ(LoadPlugins(kOrdered + "./"), 3u);
  EXPECT_TRUE(Logged("|Scanning for plugin in '" + kOrdered + "'..."));
  EXPECT_TRUE(Logged("|3 plugin(s) loaded"));
  ASSERT_EQ(registry_.loaded.size(), 3u);
  EXPECT_EQ(registry_.loaded[0]->path, "a_first.so");
  EXPECT_EQ(registry_.loaded[2]->path, "c_audio_thing.so");
  Unload();
  EXPECT_TRUE(registry_.loaded.empty());
  EXPECT_TRUE(Logged("debug|Unloading plugin First [Test plugin]"));
  const std::string cycle = "load First\nload Second\nload AudioThing\nunload First\nunload Second\nunload AudioThing\n";
  EXPECT_EQ(ReadFile(plugin_log_), cycle);
  EXPECT_FALSE(IsMapped(kOrdered + "a_first.so"));
  Unload();  // nothing loaded: nothing happens
  EXPECT_EQ(ReadFile(plugin_log_), cycle);
  g_lines.clear();
  EXPECT_EQ(LoadPlugins(kTestPlugins + "/empty"), 0u);
  EXPECT_EQ(g_lines.back(), "|0 plugin(s) loaded");

  unsetenv("TORVANE_PLUGINS_PATH");
  PluginRegistry alone;
  AddDefaultPluginPaths(alone, "/base/");
  EXPECT_EQ(alone.default_paths, (std::vector<std::string>{"/base/"}));
  setenv("TORVANE_PLUGINS_PATH", (kOrdered + ":" + kFlawed).c_str(), 1);
  PluginRegistry both;
  AddDefaultPluginPaths(both, "/base/");
  unsetenv("TORVANE_PLUGINS_PATH");
  EXPECT_EQ(both.default_paths, (std::vector<std::string>{"/base/", kOrdered + ":" + kFlawed}));
  Unload();
  registry_.default_paths = {kOrdered, kFlawed, kTestPlugins + "/empty/"};
  EXPECT_EQ(LoadPlugins(), 3u);
  EXPECT_TRUE(Logged("|Load plugins from 3 default paths"));
  EXPECT_EQ(g_lines.back(), "|3 plugin(s) loaded");
}

// Blacklisted names are never mapped, the first matching pattern named; a path given to LoadPlugin
// is matched whole.
TEST_F(PluginHost, BlacklistedNamesAreNeverMapped) {
  BlacklistPlugins({"*audio*"});
  EXPECT_EQ(LoadPlugins(kOrdered), 2u);
  EXPECT_TRUE(Logged("debug|Ignoring blacklisted plugin ('c_audio_thing.so') (matched against '*audio*')"));
  EXPECT_FALSE(IsMapped(kOrdered + "c_audio_thing.so"));
  BlacklistPlugins({"*"});
  EXPECT_EQ(LoadPlugins(TV_PLUGIN_DIR), 0u);
  EXPECT_TRUE(Logged("debug|Ignoring blacklisted plugin ('wav_audio_codec.so') (matched against '*audio*')"));
  EXPECT_FALSE(IsMapped(kWavPlugin));
  EXPECT_TRUE(codecs_.empty());
  EXPECT_FALSE(LoadPlugin(kTwin + "a_first.so"));
  EXPECT_TRUE(Logged("debug|Ignoring blacklisted plugin ('" + kTwin + "a_first.so') (matched against '*')"));
  EXPECT_FALSE(IsMapped(kTwin + "a_first.so"));
}

// A task may be running plugin code: unloading waits until the task system is idle.
TEST_F(PluginHost, UnloadingWaitsForRunningTasks) {
  struct SlowTask : task {
    explicit SlowTask(std::string log) : log(std::move(log)) {}
    void run() override {
      std::this_thread::sleep_for(std::chrono::milliseconds(100));
      std::ofstream(log, std::ios::app) << "task done\n";
    }
    std::string log;
  };
  class task_system tasks;
  ASSERT_TRUE(tasks.start(1));
  task_system = &tasks;
  ASSERT_TRUE(LoadPlugin(kOrdered + "a_first.so"));
  tasks.run_task(std::make_shared<SlowTask>(plugin_log_));
  Unload();
  task_system = nullptr;
  tasks.stop();
  EXPECT_EQ(ReadFile(plugin_log_), "load First\ntask done\nunload First\n");
}

} // namespace
} // namespace tv
