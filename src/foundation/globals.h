#pragma once
// The module's core globals: one plain pointer per service, in one place.
//
// Every module (the host and each plugin) has its own copy of these variables, and all core code
// of the module reaches a service through them only. They are null until the host's Init builds
// the services or a plugin's BindCoreGlobals copies the host's pointers in; assert_handler is the
// one entry with a useful value (a handler that does nothing) before that. The services are
// declared here only by name, so that this lowest layer does not depend on the subsystems.

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "foundation/assert.h"

struct ImGuiContext;

namespace tv {

class PluginRegistry;
class TypeRegistry;
class LogSystem;
class task_system;
class timer_thread;
class Filesystem;
class InputSystem;
class EngineFacade;
class WindowSystem;
class Profiler;
struct EngineSignals;
struct ComponentInfo;
struct AudioCodec;
class PictureCodec;
struct ImGuiSignals;
class GpuResourceRegistry;
class Renderer;
class RenderSystem;

// The component registry: one entry per registered component class, in registration order.
using ComponentFactories = std::vector<std::shared_ptr<ComponentInfo>>;

// Five maps from a text key to a factory function, for the host and closed plugins. The core
// creates them and passes them on; it never reads them. One function type each.
using FactoryMapA = std::map<std::string, std::function<std::shared_ptr<void>()>>;
using FactoryMapB = std::map<std::string, std::function<std::shared_ptr<void>(const std::string&)>>;
using FactoryMapC = std::map<std::string, std::function<void*()>>;
using FactoryMapD = std::map<std::string, std::function<bool(void*)>>;
using FactoryMapE = std::map<std::string, std::function<void()>>;

// Codecs by registry name ("WAV"), owned by the registry.
using AudioCodecRegistry = std::map<std::string, std::unique_ptr<AudioCodec>>;
// Picture codecs in order of registration.
using PictureCodecRegistry = std::vector<PictureCodec*>;

extern PluginRegistry* plugins;
extern TypeRegistry* types;
extern LogSystem* log_system;
// These two share their names with their classes; name the classes as `class task_system` where a
// variable of this name is in scope.
extern class task_system* task_system;
extern class timer_thread* timer_thread;
extern Filesystem* filesystem;
extern InputSystem* input_system;
extern EngineFacade* engine_facade;
extern WindowSystem* window_system;
extern Profiler* profiler;
extern EngineSignals* engine_signals;
extern ComponentFactories* component_factories;
extern FactoryMapB* factory_map_b;
extern FactoryMapC* factory_map_c;
extern FactoryMapE* factory_map_e;
extern FactoryMapA* factory_map_a;
extern FactoryMapD* factory_map_d;
extern AudioCodecRegistry* audio_codecs;
extern PictureCodecRegistry* picture_codecs;
extern ImGuiSignals* imgui_signals;
extern GpuResourceRegistry* gpu_resources;
// assert_handler is declared in foundation/assert.h.

// Not in the table: the open renderer and render system of this process, null until they exist.
extern Renderer* g_renderer;
extern RenderSystem* g_render_system;

} // namespace tv
