#pragma once
// The table of the host's live services that a plugin receives in PluginLoad.
//
// The 22 entries and their order are the whole contract between host and plugin modules; a module
// built against another order is incompatible (api_version says so). Entries are non-owning:
// the host builds the objects and destroys them, a plugin never frees one.

#include "foundation/globals.h"

namespace tv {

struct CoreGlobals {
  PluginRegistry* plugins;                   // 0
  TypeRegistry* types;                       // 1
  LogSystem* log_system;                     // 2
  class task_system* task_system;            // 3
  class timer_thread* timer_thread;          // 4
  Filesystem* filesystem;                    // 5
  InputSystem* input_system;                 // 6
  EngineFacade* engine_facade;               // 7
  WindowSystem* window_system;               // 8
  Profiler* profiler;                        // 9
  EngineSignals* engine_signals;             // 10
  ComponentFactories* component_factories;   // 11
  FactoryMapB* factory_map_b;                // 12
  FactoryMapC* factory_map_c;                // 13
  FactoryMapE* factory_map_e;                // 14
  FactoryMapA* factory_map_a;                // 15
  FactoryMapD* factory_map_d;                // 16
  AudioCodecRegistry* audio_codecs;          // 17
  PictureCodecRegistry* picture_codecs;      // 18
  ImGuiSignals* imgui_signals;               // 19
  GpuResourceRegistry* gpu_resources;        // 20
  AssertHandler assert_handler;              // 21
};

static_assert(sizeof(CoreGlobals) == 22 * sizeof(void*), "CoreGlobals is 22 pointer-sized entries");

// Module side: copies the table into this module's globals (entry 21 first, then 0 to 20) and
// connects this module's Dear ImGui current context to the host's context signal. Called first
// in every PluginLoad. The connection is never kept: the host stops emitting before it unmaps
// plugins.
void BindCoreGlobals(const CoreGlobals* table);

// Host side, the mirror of binding: a table of this module's globals.
CoreGlobals GetCoreGlobals();

} // namespace tv
