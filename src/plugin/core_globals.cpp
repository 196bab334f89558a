#include "plugin/core_globals.h"

#include <imgui.h>

#include "plugin/imgui_signals.h"

namespace tv {

void BindCoreGlobals(const CoreGlobals* table) {
  // The assertion handler first, so that an assertion failing during the rest already reaches the host.
  assert_handler = table->assert_handler;

  plugins = table->plugins;
  types = table->types;
  log_system = table->log_system;
  task_system = table->task_system;
  timer_thread = table->timer_thread;
  filesystem = table->filesystem;
  input_system = table->input_system;
  engine_facade = table->engine_facade;
  window_system = table->window_system;
  profiler = table->profiler;
  engine_signals = table->engine_signals;
  component_factories = table->component_factories;
  factory_map_b = table->factory_map_b;
  factory_map_c = table->factory_map_c;
  factory_map_e = table->factory_map_e;
  factory_map_a = table->factory_map_a;
  factory_map_d = table->factory_map_d;
  audio_codecs = table->audio_codecs;
  picture_codecs = table->picture_codecs;
  imgui_signals = table->imgui_signals;
  gpu_resources = table->gpu_resources;

  // The table can't carry the current Dear ImGui context (it changes at run time): follow the
  // host's changes from now on. A context that is current already arrives with the next change.
  if (imgui_signals != nullptr)
    imgui_signals->on_context_change.Connect([](ImGuiContext* context) { ImGui::SetCurrentContext(context); });
}

CoreGlobals GetCoreGlobals() {
  return CoreGlobals{
      plugins,        types,          log_system,          task_system,   timer_thread,  filesystem,
      input_system,   engine_facade,  window_system,       profiler,      engine_signals, component_factories,
      factory_map_b,  factory_map_c,  factory_map_e,       factory_map_a, factory_map_d, audio_codecs,
      picture_codecs, imgui_signals,  gpu_resources,       assert_handler,
  };
}

} // namespace tv
