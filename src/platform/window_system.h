#pragma once
// What happens to the process's windows, told through four signals, and which one has the focus.

#include <vector>

#include "foundation/signal.h"
#include "platform/window.h"

namespace tv {

class WindowSystem {
public:
  Window current;  // the window with the focus; empty if none
  Signal<void(const Window&)> new_window;
  Signal<void(const Window&, bool)> focus;  // got (true) or lost (false) the focus
  Signal<bool(const Window&)> close_request;  // any slot may refuse
  Signal<void(const Window&)> destroy;        // about to be destroyed
};

// The windows of this process in order of creation, kept by the slots that ConnectWindowSlots
// puts on the window system's own signals.
extern std::vector<Window> windows;

// Connects the slots that keep `windows` on `window_system`; DisconnectWindowSlots drops them.
void ConnectWindowSlots();
void DisconnectWindowSlots();

} // namespace tv
