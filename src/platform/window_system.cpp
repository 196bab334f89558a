#include "platform/window_system.h"

#include <algorithm>

#include "foundation/globals.h"

namespace tv {

std::vector<Window> windows;

namespace {

Connection g_new_window_slot = nullptr;
Connection g_destroy_slot = nullptr;

} // namespace

void ConnectWindowSlots() {
  g_new_window_slot = window_system->new_window.Connect([](const Window& window) {
    if (std::find(windows.begin(), windows.end(), window) == windows.end()) windows.push_back(window);
  });
  g_destroy_slot = window_system->destroy.Connect([](const Window& window) {
    const auto found = std::find(windows.begin(), windows.end(), window);
    if (found != windows.end()) windows.erase(found);
  });
}

void DisconnectWindowSlots() {
  if (window_system == nullptr) return;
  window_system->new_window.Disconnect(g_new_window_slot);
  window_system->destroy.Disconnect(g_destroy_slot);
  g_new_window_slot = nullptr;
  g_destroy_slot = nullptr;
}

} // namespace tv
