#include "foundation/globals.h"

namespace tv {

PluginRegistry* plugins = nullptr;
TypeRegistry* types = nullptr;
LogSystem* log_system = nullptr;
class task_system* task_system = nullptr;
class timer_thread* timer_thread = nullptr;
Filesystem* filesystem = nullptr;
InputSystem* input_system = nullptr;
EngineFacade* engine_facade = nullptr;
WindowSystem* window_system = nullptr;
Profiler* profiler = nullptr;
EngineSignals* engine_signals = nullptr;
ComponentFactories* component_factories = nullptr;
FactoryMapB* factory_map_b = nullptr;
FactoryMapC* factory_map_c = nullptr;
FactoryMapE* factory_map_e = nullptr;
FactoryMapA* factory_map_a = nullptr;
FactoryMapD* factory_map_d = nullptr;
AudioCodecRegistry* audio_codecs = nullptr;
PictureCodecRegistry* picture_codecs = nullptr;
ImGuiSignals* imgui_signals = nullptr;
GpuResourceRegistry* gpu_resources = nullptr;
AssertHandler assert_handler = &NullAssertHandler;

Renderer* g_renderer = nullptr;
RenderSystem* g_render_system = nullptr;

} // namespace tv
