// The plugin boundary with real shared libraries: the WAV plugin and a probe plugin of the tests,
// mapped with the dynamic loader and bound to this process's services through the globals table.

#include <gtest/gtest.h>
#include <imgui.h>

#include <cstring>
#include <deque>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "audio/audio_codec.h"
#include "elf_symbols.h"
#include "file/filesystem.h"
#include "file/memory_file_driver.h"
#include "foundation/format.h"
#include "foundation/globals.h"
#include "foundation/log_system.h"
#include "plugin/core_globals.h"
#include "plugin/imgui_signals.h"
#include "plugin/plugin_description.h"
#include "plugin/shared_library.h"

namespace tv {
namespace {

const std::string kWavPlugin = std::string(TV_PLUGIN_DIR) + "/wav_audio_codec.so";
const std::string kProbePlugin = std::string(TV_TEST_PLUGIN_DIR) + "/probe/probe_plugin.so";

std::mutex g_lines_mutex;
std::vector<std::pair<std::string, std::string>> g_lines;  // (type, message)

void RecordLine(const std::string&, const std::string& message, const std::string& type, const std::string&,
                uint32_t, bool) {
  std::lock_guard<std::mutex> lock(g_lines_mutex);
  g_lines.emplace_back(type, message);
}

bool Logged(const std::string& type, const std::string& message) {
  std::lock_guard<std::mutex> lock(g_lines_mutex);
  for (const auto& line : g_lines)
    if (line.first == type && line.second == message) return true;
  return false;
}

std::vector<std::string> g_asserts;
void RecordAssert(const char*, int, const char*, const char* condition, const char* detail) {
  g_asserts.push_back(std::string(condition) + "|" + (detail ? detail : ""));
}

// The services of a host, installed in this module's globals for the length of a test.
class PluginBoundary : public ::testing::Test {
protected:
  void SetUp() override {
    g_lines.clear();
    g_asserts.clear();
    log_.print = &RecordLine;
    log_system = &log_;
    filesystem = &filesystem_;
    audio_codecs = &codecs_;
    imgui_signals = &imgui_signals_;
    assert_handler = &RecordAssert;
  }

  void TearDown() override {
    // Codec objects and context slots point into the plugins: drop them before unmapping.
    codecs_.clear();
    imgui_signals_.on_context_change.DisconnectAll();
    for (DlSharedLibrary& library : libraries_) library.Close();
    log_system = nullptr;
    filesystem = nullptr;
    audio_codecs = nullptr;
    imgui_signals = nullptr;
    assert_handler = &NullAssertHandler;
  }

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
  AudioCodecRegistry codecs_;
  ImGuiSignals imgui_signals_;
  std::deque<DlSharedLibrary> libraries_;  // a deque: libraries neither copy nor move
};

TEST(PluginModule, ExportsExactlyTheThreeEntryPoints) {
  const std::set<std::string> exported = ExportedSymbols(kWavPlugin);
  EXPECT_EQ(exported, (std::set<std::string>{"PluginGetDescription", "PluginLoad", "PluginUnload"}));
}

TEST_F(PluginBoundary, WavDescriptionIsStableAcrossLoad) {
  DlSharedLibrary& wav = Map(kWavPlugin);
  auto describe = Symbol<PluginGetDescriptionFunction>(wav, "PluginGetDescription");
  const PluginDescription before = describe();
  EXPECT_EQ(before.api_version, 1u);
  EXPECT_STREQ(before.name, "WAV");
  EXPECT_STREQ(before.version, "1.0.0");
  EXPECT_STREQ(before.description, "WAV decoder");
  EXPECT_EQ(before.host_version, 1u);
  EXPECT_EQ(before.build_environment & 2u, 2u);

  ASSERT_EQ(Load(wav), 0);
  // Field by field: the record has padding between its 32-bit numbers and its pointers.
  const PluginDescription after = describe();
  EXPECT_EQ(after.api_version, before.api_version);
  EXPECT_EQ(after.name, before.name);
  EXPECT_EQ(after.version, before.version);
  EXPECT_EQ(after.description, before.description);
  EXPECT_EQ(after.host_version, before.host_version);
  EXPECT_EQ(after.build_environment_name, before.build_environment_name);
  EXPECT_EQ(after.build_environment, before.build_environment);
}

TEST_F(PluginBoundary, WavLoadRegistersOneCodecAndReloadReplacesIt) {
  DlSharedLibrary& wav = Map(kWavPlugin);
  ASSERT_EQ(Load(wav), 0);
  ASSERT_EQ(codecs_.size(), 1u);
  ASSERT_EQ(codecs_.count("WAV"), 1u);
  EXPECT_EQ(codecs_["WAV"]->GetExtension(), "wav");
  EXPECT_EQ(imgui_signals_.on_context_change.GetSlotCount(), 1u);
  const AudioCodec* first = codecs_["WAV"].get();

  ASSERT_EQ(Load(wav), 0);
  EXPECT_EQ(codecs_.size(), 1u);
  EXPECT_NE(codecs_["WAV"].get(), first);
  // Each binding connects one more slot to the context signal.
  EXPECT_EQ(imgui_signals_.on_context_change.GetSlotCount(), 2u);
}

TEST_F(PluginBoundary, WavCodecOpensHostFilesAndLogsThroughTheHost) {
  auto memory = std::make_shared<MemoryFileDriver>();
  ASSERT_TRUE(filesystem_.Mount(memory, "@mem/"));
  // 44-byte canonical header, 16-bit stereo at 8000 Hz, 8 sample bytes.
  const uint8_t wav_bytes[] = {'R', 'I', 'F', 'F', 44, 0, 0, 0, 'W', 'A', 'V', 'E', 'f', 'm', 't', ' ', 16, 0, 0, 0, 1, 0,
                               2,   0,   0x40, 0x1f, 0, 0, 0, 0, 0, 0, 4, 0, 16, 0, 'd', 'a', 't', 'a', 8, 0, 0, 0,
                               1,   2,   3,   4,   5,   6,   7,   8};
  ASSERT_TRUE(filesystem_.DataToFile("@mem/a.wav", wav_bytes, sizeof(wav_bytes)));

  DlSharedLibrary& wav = Map(kWavPlugin);
  ASSERT_EQ(Load(wav), 0);
  log_.SetLogFilter(0xffff);
  std::shared_ptr<AudioData> stream = codecs_["WAV"]->Open("@mem/a.wav");
  ASSERT_TRUE(stream);
  EXPECT_TRUE(Logged("debug", "WAV '@mem/a.wav' - 8000hz 16bit 2 channel(s)"));
  uint8_t frame[32000];
  time_ns frame_time = -1;
  EXPECT_EQ(stream->GetFrame(frame, frame_time), 8u);
  EXPECT_EQ(frame_time, 0);
  EXPECT_EQ(frame[7], 8);

  EXPECT_FALSE(codecs_["WAV"]->Open("@mem/missing.wav"));
  EXPECT_TRUE(Logged("warn", "Failed to open '@mem/missing.wav' on driver " + to_string(memory.get()) +
                                 " (prefix match: @mem/)"));
}

// The module's globals are its own: nothing of the host reaches the probe before binding, and
// after binding it uses the host's very objects.
TEST_F(PluginBoundary, ModuleGlobalsAreItsOwnUntilBound) {
  DlSharedLibrary& probe = Map(kProbePlugin);
  auto probe_log = Symbol<void (*)(const char*)>(probe, "ProbeLog");
  auto probe_log_system = Symbol<const void* (*)()>(probe, "ProbeLogSystem");
  auto probe_exists = Symbol<bool (*)(const char*)>(probe, "ProbeExists");
  auto probe_assert = Symbol<void (*)()>(probe, "ProbeAssertFalse");

  auto memory = std::make_shared<MemoryFileDriver>();
  ASSERT_TRUE(filesystem_.Mount(memory, "@host/"));
  ASSERT_TRUE(filesystem_.StringToFile("@host/seen.txt", "x"));

  EXPECT_EQ(probe_log_system(), nullptr);
  probe_log("before binding");
  EXPECT_FALSE(Logged("", "before binding"));
  EXPECT_FALSE(probe_exists("@host/seen.txt"));
  probe_assert();
  EXPECT_TRUE(g_asserts.empty());

  ASSERT_EQ(Load(probe), 0);
  EXPECT_EQ(probe_log_system(), &log_);
  probe_log("after binding");
  EXPECT_TRUE(Logged("", "after binding"));
  EXPECT_TRUE(probe_exists("@host/seen.txt"));
  probe_assert();
  ASSERT_EQ(g_asserts.size(), 1u);
  EXPECT_EQ(g_asserts[0], "1 == 2|probe");
}

TEST_F(PluginBoundary, ContextChangesAfterLoadReachTheModule) {
  ImGuiContext* current = ImGui::CreateContext();
  ImGui::SetCurrentContext(current);

  DlSharedLibrary& probe = Map(kProbePlugin);
  auto probe_context = Symbol<ImGuiContext* (*)()>(probe, "ProbeImGuiContext");
  ASSERT_EQ(Load(probe), 0);
  // Already current before the load: not seen until the next change.
  EXPECT_EQ(probe_context(), nullptr);

  ImGuiContext* next = ImGui::CreateContext();
  ImGui::SetCurrentContext(next);
  imgui_signals_.on_context_change.Emit(next);
  EXPECT_EQ(probe_context(), next);

  imgui_signals_.on_context_change.Emit(current);
  EXPECT_EQ(probe_context(), current);
  ImGui::DestroyContext(next);
  ImGui::DestroyContext(current);
}

TEST_F(PluginBoundary, TableHoldsTheModuleGlobalsInOrder) {
  const CoreGlobals table = GetCoreGlobals();
  EXPECT_EQ(table.log_system, &log_);
  EXPECT_EQ(table.filesystem, &filesystem_);
  EXPECT_EQ(table.audio_codecs, &codecs_);
  EXPECT_EQ(table.imgui_signals, &imgui_signals_);
  EXPECT_EQ(table.assert_handler, &RecordAssert);
  // Entry 2 is the log system, 5 the file system, 17 the codecs, 19 the context signals, 21 the handler.
  const void* const* slots = reinterpret_cast<const void* const*>(&table);
  EXPECT_EQ(slots[2], &log_);
  EXPECT_EQ(slots[5], &filesystem_);
  EXPECT_EQ(slots[17], &codecs_);
  EXPECT_EQ(slots[19], &imgui_signals_);
  EXPECT_EQ(slots[21], reinterpret_cast<const void*>(&RecordAssert));
}

} // namespace
} // namespace tv
