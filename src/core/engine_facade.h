#pragma once
// The convenience object that a host or a closed plugin may use for quick drawing. The core only
// builds it and hands it on through the plugin table; nothing of the core reads it afterwards.
//
// Its two immediate-mode pens arrive with simple graphics; until then the facade holds the rest.

#include <map>
#include <memory>
#include <string>

#include "core/frame_clock.h"
#include "foundation/signal.h"
#include "platform/window.h"

namespace tv {

class EngineFacade {
public:
  // Connects the slot that forgets `window` when the window system destroys it.
  EngineFacade();
  ~EngineFacade();
  EngineFacade(const EngineFacade&) = delete;
  EngineFacade& operator=(const EngineFacade&) = delete;

  std::shared_ptr<void> objects[4];  // held for the host; empty at creation
  Window window;
  Window window_data;  // a record as wide as a Window, and whether it is set
  bool window_data_set = false;
  Connection destroy_connection = nullptr;
  std::string font_path = "@core/fonts/default.ttf";
  std::map<std::string, std::shared_ptr<void>> fonts;
  FrameClock<8> clock;
  std::string material_path = "@core/materials/default.mat";
};

} // namespace tv
