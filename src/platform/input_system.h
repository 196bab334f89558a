#pragma once
// The registry of input devices: found by name, or opened by a provider under
// "provider.device". A device is polled from its first successful look-up on.
//
// No lock: devices are registered, looked up and polled on the main thread.

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "foundation/signal.h"
#include "platform/input_device.h"

namespace tv {

class InputSystem {
public:
  Signal<void(const std::string&)> on_text_input;  // one typed character, UTF-8
  std::map<std::string, std::shared_ptr<InputDevice>> devices;
  std::map<std::string, std::unique_ptr<InputDeviceProvider>> providers;
  std::map<std::string, std::shared_ptr<InputDevice>> opened;  // every device found; these are polled

  // False, with nothing changed, when the name is taken.
  bool RegisterDevice(const std::string& name, std::shared_ptr<InputDevice> device);
  // Leaves the device in `opened`: whoever found it may still hold it.
  void UnregisterDevice(const std::string& name);
  // Replaces (and destroys) a provider under the same name.
  void RegisterProvider(const std::string& name, std::unique_ptr<InputDeviceProvider> provider);
  void UnregisterProvider(const std::string& name);

  std::shared_ptr<InputDevice> GetDevice(const std::string& name);
  // The registered names, then each provider's devices as "provider.device", in key order.
  std::vector<std::string> GetDeviceNames();
  // Polls every opened device, in key order.
  void UpdateDevices();
};

} // namespace tv
