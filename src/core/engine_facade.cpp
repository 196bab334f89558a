#include "core/engine_facade.h"

#include "foundation/globals.h"
#include "platform/window_system.h"

namespace tv {

EngineFacade::EngineFacade() {
  if (window_system == nullptr) return;
  destroy_connection = window_system->destroy.Connect([this](const Window& destroyed) {
    if (destroyed != window) return;
    window = Window{};
    window_data = Window{};
    window_data_set = false;
  });
}

EngineFacade::~EngineFacade() {
  if (window_system != nullptr && destroy_connection != nullptr) window_system->destroy.Disconnect(destroy_connection);
}

} // namespace tv
