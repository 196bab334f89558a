// The core's start-up and shut-down, run once in this process as a host would run them.

#include <gtest/gtest.h>

#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "audio/audio_codec.h"
#include "core/engine_facade.h"
#include "foundation/engine_signals.h"
#include "core/lifecycle.h"
#include "file/filesystem.h"
#include "file/std_file_driver.h"
#include "foundation/assert.h"
#include "foundation/globals.h"
#include "foundation/log.h"
#include "foundation/log_system.h"
#include "foundation/profiler.h"
#include "foundation/task_system.h"
#include "foundation/thread_name.h"
#include "foundation/timer_thread.h"
#include "platform/input_system.h"
#include "platform/window_system.h"
#include "math/matrix4.h"
#include "plugin/plugin_registry.h"
#include "reflection/type_registry.h"

namespace {

std::string WorkingFolder() { return std::filesystem::current_path().string(); }

TEST(BaseFolder, IsTheProgramsFolderMadeAbsoluteWithOneTrailingSlash) {
  const std::string cwd = WorkingFolder();
  EXPECT_EQ(tv::BaseFolderOf(""), cwd + "/");
  EXPECT_EQ(tv::BaseFolderOf("torvane"), cwd + "/");
  EXPECT_EQ(tv::BaseFolderOf("bin/torvane"), cwd + "/bin/");
  EXPECT_EQ(tv::BaseFolderOf("./bin/../tools/torvane"), cwd + "/tools/");
  EXPECT_EQ(tv::BaseFolderOf("/opt/torvane/bin/torvane"), "/opt/torvane/bin/");
  // The last piece always goes: a folder given without a trailing "/" loses its own name.
  EXPECT_EQ(tv::BaseFolderOf("data/plugins"), cwd + "/data/");
  EXPECT_EQ(tv::BaseFolderOf("data/plugins/"), cwd + "/data/plugins/");
  // A program at the root has the root as its folder.
  EXPECT_EQ(tv::BaseFolderOf("/torvane"), "/");
}

class CountingDevice : public tv::InputDevice {
public:
  tv::InputDeviceType GetType() const override { return tv::InputDeviceType::Keyboard; }
  void Update() override { ++updates; }
  int updates = 0;
};

// Init is made to run once per process; the stages of a host's run are checked in their order.
TEST(Lifecycle, StartsRunsFramesAndStopsLikeAHost) {
  ASSERT_EQ(setenv("TORVANE_PLUGINS_PATH", "/nonexistent/plugins", 1), 0);
  int ready = 0;
  tv::on_core_ready.Connect([&] { ++ready; });
  const std::string program = std::string(TV_PLUGIN_DIR) + "/lifecycle_tests";

  tv::Init(program);
  unsetenv("TORVANE_PLUGINS_PATH");

  // Every service of the table exists, and the ready signal came last.
  EXPECT_EQ(ready, 1);
  for (const void* service :
       {(const void*)tv::plugins, (const void*)tv::types, (const void*)tv::log_system, (const void*)tv::task_system, (const void*)tv::timer_thread,
        (const void*)tv::filesystem, (const void*)tv::input_system, (const void*)tv::engine_facade,
        (const void*)tv::window_system, (const void*)tv::profiler, (const void*)tv::engine_signals,
        (const void*)tv::component_factories, (const void*)tv::factory_map_a, (const void*)tv::factory_map_b,
        (const void*)tv::factory_map_c, (const void*)tv::factory_map_d, (const void*)tv::factory_map_e,
        (const void*)tv::audio_codecs, (const void*)tv::picture_codecs, (const void*)tv::imgui_signals,
        (const void*)tv::gpu_resources})
    EXPECT_NE(service, nullptr);
  EXPECT_NE(tv::assert_handler, &tv::NullAssertHandler);
  // The core's types are there before any plugin loads, under name and alias.
  ASSERT_NE(tv::types->FindType("Vector3"), nullptr);
  EXPECT_EQ(tv::types->FindType("tv::Vector3"), tv::types->FindType("Vector3"));
  EXPECT_TRUE(tv::types->FindType("RotationOrder")->IsEnum());
  EXPECT_EQ(tv::GetThreadName(std::this_thread::get_id()), "Main");
  EXPECT_EQ(tv::main_thread_id, std::this_thread::get_id());

  // The base folder leads the default plugin paths, the environment's folder follows.
  EXPECT_EQ(tv::GetBaseFolder(), std::string(TV_PLUGIN_DIR) + "/");
  EXPECT_EQ(tv::plugins->default_paths,
            (std::vector<std::string>{tv::GetBaseFolder(), "/nonexistent/plugins"}));

  // Nothing logged before the log system existed: the banner is the first text of the log.
  const std::string tail = tv::log_system->GetTail();
  EXPECT_EQ(tail.rfind("Torvane core 1.1.0 (build ", 0), 0u) << tail;
  EXPECT_EQ(std::string(tv::kSourceId).size(), 40u);

  // The host's part: workers, a mount, plugins.
  ASSERT_TRUE(tv::task_system->start(2));
  tv::filesystem->Mount(std::make_shared<tv::StdFileDriver>());
  EXPECT_GE(tv::LoadPlugins(), 1u);  // the WAV plugin sits beside this program
  EXPECT_EQ(tv::audio_codecs->count("WAV"), 1u);

  // Frames: the end-of-frame signal polls opened devices, the profiler publishes, durations hold.
  auto keyboard = std::make_shared<CountingDevice>();
  tv::input_system->RegisterDevice("keyboard", keyboard);
  ASSERT_EQ(tv::input_system->GetDevice("keyboard"), keyboard);
  const uint32_t profiled = tv::profiler->frame;
  const uint32_t task_frame = tv::task_system->frame.load();
  tv::EndFrame();
  std::this_thread::sleep_for(std::chrono::milliseconds(20));
  const tv::time_ns before = tv::time_now();
  tv::EndFrame();
  const tv::time_ns after = tv::time_now();
  EXPECT_EQ(keyboard->updates, 2);
  EXPECT_EQ(tv::profiler->frame, profiled + 2);
  EXPECT_EQ(tv::task_system->frame.load(), task_frame + 2);
  EXPECT_GE(tv::GetLastFrameDuration(), 20'000'000);
  EXPECT_LE(tv::GetLastFrameDuration(), 20'000'000 + (after - tv::start_time));
  EXPECT_GE(tv::engine_signals->frame_time.load(), before);
  EXPECT_NEAR(tv::GetLastFrameDurationSec(), float(tv::GetLastFrameDuration()) / 1e9f, 1e-6f);
  tv::ResetLastFrameDuration();
  EXPECT_EQ(tv::GetLastFrameDuration(), 0);

  // A focus change polls the devices too, and says so in the debug log.
  tv::log_system->SetLogFilter(0);
  tv::Window window;
  window.handle = reinterpret_cast<void*>(0x1234);
  tv::window_system->focus.Emit(window, true);
  EXPECT_EQ(keyboard->updates, 3);
  EXPECT_NE(tv::log_system->GetTail().find("OnWindowFocus(handle: 0x1234) focus_in: 1"), std::string::npos);

  // A task still running when Uninit starts is waited for before plugins go.
  std::atomic<bool> ran{false};
  class SlowTask : public tv::task {
  public:
    explicit SlowTask(std::atomic<bool>& ran) : ran_(ran) {}
    void run() override {
      std::this_thread::sleep_for(std::chrono::milliseconds(30));
      ran_ = true;
    }

  private:
    std::atomic<bool>& ran_;
  };
  tv::task_system->run_task(std::make_shared<SlowTask>(ran), nullptr, tv::task::kAnyWorker, 0);

  tv::Uninit();
  EXPECT_TRUE(ran.load());
  EXPECT_TRUE(tv::plugins->loaded.empty());
  EXPECT_EQ(tv::task_system->get_worker_count(), 0u);
  EXPECT_EQ(tv::engine_signals->end_frame.GetSlotCount(), 0u);
  EXPECT_EQ(tv::window_system->focus.GetSlotCount(), 0u);
  EXPECT_EQ(tv::window_system->new_window.GetSlotCount(), 0u);
  // Stopped, not freed: the services stay reachable for whatever still points at them.
  EXPECT_NE(tv::log_system, nullptr);
  EXPECT_NE(tv::filesystem, nullptr);
  // The registry outlives the plugins, with its defaults intact.
  const tv::Type* matrix = tv::types->FindType("Matrix4");
  ASSERT_NE(matrix, nullptr);
  const tv::Matrix4 identity;
  EXPECT_TRUE(matrix->IsDefault(&identity));
}

} // namespace
