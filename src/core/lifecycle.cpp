#include "core/lifecycle.h"

#include <sys/resource.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <filesystem>
#include <system_error>

#include "audio/audio_codec.h"
#include "core/core_registration.h"
#include "core/engine_facade.h"
#include "foundation/engine_signals.h"
#include "engine/gpu_resource_registry.h"
#include "file/filesystem.h"
#include "file/path.h"
#include "foundation/assert.h"
#include "foundation/call_queue.h"
#include "foundation/format.h"
#include "foundation/globals.h"
#include "foundation/log.h"
#include "foundation/log_system.h"
#include "foundation/profiler.h"
#include "foundation/task_system.h"
#include "foundation/thread_name.h"
#include "foundation/timer_thread.h"
#include "platform/input_system.h"
#include "platform/window_system.h"
#include "plugin/imgui_signals.h"
#include "plugin/plugin_registry.h"
#include "reflection/type_registry.h"
#include "scene/component_registry.h"

namespace tv {

std::string base_folder;
std::thread::id main_thread_id;
Signal<void()> on_core_ready;

const char* const kCoreVersion = "1.1.0";
const char* const kSourceId = TV_SOURCE_ID;

namespace {

// Slots that Init puts on the engine's signals and Uninit takes off.
struct CoreConnections {
  Connection focus = nullptr;
  Connection end_frame = nullptr;
  Connection new_renderer = nullptr;
  Connection delete_renderer = nullptr;
};
CoreConnections g_connections;

std::string WorkingFolder() {
  std::error_code failed;
  const std::filesystem::path folder = std::filesystem::current_path(failed);
  return failed ? std::string(".") : folder.string();
}

// Nice values for the six priority classes. Linux keeps a nice value per thread, so every thread
// of the process is set; threads started later inherit it from their creator.
constexpr int kNiceOfClass[] = {19, 10, 0, -5, -10, -20};

} // namespace

std::string BaseFolderOf(const std::string& program_path) {
  std::string path = program_path;
  if (path.empty()) {
    path = WorkingFolder() + "/";
  } else if (path[0] != '/') {
    path = WorkingFolder() + "/" + path;
  }
  const size_t separator = path.find_last_of("/\\");
  const std::string folder = separator == std::string::npos || separator == 0 ? "./" : path.substr(0, separator + 1);
  return CleanPath(folder) + "/";
}

void Init(const std::string& program_path) {
  base_folder = BaseFolderOf(program_path);

  plugins = new PluginRegistry();
  AddDefaultPluginPaths(*plugins, base_folder);

  // The crash reporter installs itself here once it exists.

  SetCurrentThreadName("Main");
  main_thread_id = std::this_thread::get_id();
  SetMainThread(main_thread_id);

  engine_signals = new EngineSignals();
  engine_signals->frame_time.store(time_now());

  if (window_system == nullptr) window_system = new WindowSystem();
  ConnectWindowSlots();

  engine_facade = new EngineFacade();
  profiler = new Profiler();
  imgui_signals = new ImGuiSignals();
  gpu_resources = new GpuResourceRegistry();

  timer_thread = new class timer_thread("Timer");
  // No real pause between ticks but the system's sleep granularity.
  timer_thread->start(5);

  log_system = new LogSystem();
  log(format("Torvane core %1 (build %2 %3 %4)").arg(kCoreVersion).arg(kSourceId).arg(__DATE__).arg(__TIME__));

  filesystem = new Filesystem();
  task_system = new class task_system();
  input_system = new InputSystem();
  audio_codecs = new AudioCodecRegistry();
  picture_codecs = new PictureCodecRegistry();

  // Every type is known before a document can be read or a plugin can look one up.
  types = new TypeRegistry();
  RegisterCoreTypes(*types);

  factory_map_a = new FactoryMapA();
  factory_map_b = new FactoryMapB();
  factory_map_c = new FactoryMapC();
  factory_map_d = new FactoryMapD();
  factory_map_e = new FactoryMapE();

  component_factories = new ComponentFactories();
  RegisterCoreComponents(*component_factories);
  // The physics and post-process factories follow here as their classes arrive.

  if (!SetProcessPriority(4)) debug("Failed to raise process priority");
  if (!RaiseTimerResolution()) debug("Failed to raise OS timer resolution");

  g_connections.end_frame = engine_signals->end_frame.Connect([] { input_system->UpdateDevices(); });
  // The debug interface's render objects follow the renderer through new_renderer and
  // delete_renderer once the debug interface exists.
  g_connections.focus = window_system->focus.Connect([](const Window& window, bool focus_in) {
    debug(format("OnWindowFocus(handle: %1) focus_in: %2").arg(to_string(window.handle)).arg(uint32_t(focus_in)));
    // A keyboard whose window lost the focus reads all keys up at once.
    input_system->UpdateDevices();
  });
  // The engine debugger's slots are connected here once it exists.

  assert_handler = &ReportAssertion;
  // The keyboard, the mouse and the game controller provider are created here with the input
  // devices.

  on_core_ready.Emit();
}

void Uninit() {
  debug("tv::Uninit");
  DisconnectWindowSlots();
  // The engine debugger's slots go here; the render system's shutdown runs here on worker 0.
  // The type registry stays, like every service: types that plugins registered hold their code,
  // unmapped from here on, so TypeRegistry::Shutdown may only ever run before this point.
  UnloadPlugins();
  log_system->Shutdown();
  timer_thread->stop();
  task_system->stop();
  RestoreTimerResolution();
  SetProcessPriority(2);
  window_system->focus.Disconnect(g_connections.focus);
  engine_signals->end_frame.Disconnect(g_connections.end_frame);
  engine_signals->new_renderer.Disconnect(g_connections.new_renderer);
  engine_signals->delete_renderer.Disconnect(g_connections.delete_renderer);
  g_connections = CoreConnections{};
}

const std::string& GetBaseFolder() { return base_folder; }

void EndFrame() {
  engine_signals->end_frame.Emit();
  profiler->EndFrame();
  const time_ns now = time_now();
  engine_signals->frame_duration.store(now - engine_signals->frame_time.load());
  engine_signals->frame_time.store(now);
  task_system->frame.fetch_add(1);
  task_system->age_worker_tasks(1, 0);
}

time_ns GetLastFrameDuration() { return engine_signals->frame_duration.load(); }

float GetLastFrameDurationSec() { return float(GetLastFrameDuration()) / 1e9f; }

void ResetLastFrameDuration() {
  engine_signals->frame_duration.store(0);
  engine_signals->frame_time.store(time_now());
}

bool SetProcessPriority(uint32_t priority_class) {
  if (priority_class > 5) return false;
  const int nice = kNiceOfClass[priority_class];
  std::error_code failed;
  bool all = true;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/task", failed)) {
    const id_t thread = id_t(std::strtoul(entry.path().filename().c_str(), nullptr, 10));
    if (setpriority(PRIO_PROCESS, thread, nice) != 0) all = false;
  }
  if (failed) return setpriority(PRIO_PROCESS, 0, nice) == 0;
  return all;
}

// Linux timers already wake with microsecond precision: there is no coarser period to raise.
bool RaiseTimerResolution() { return true; }
bool RestoreTimerResolution() { return true; }

} // namespace tv
