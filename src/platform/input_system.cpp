#include "platform/input_system.h"

namespace tv {

bool InputSystem::RegisterDevice(const std::string& name, std::shared_ptr<InputDevice> device) {
  return devices.emplace(name, std::move(device)).second;
}

void InputSystem::UnregisterDevice(const std::string& name) { devices.erase(name); }

void InputSystem::RegisterProvider(const std::string& name, std::unique_ptr<InputDeviceProvider> provider) {
  providers[name] = std::move(provider);
}

void InputSystem::UnregisterProvider(const std::string& name) { providers.erase(name); }

std::shared_ptr<InputDevice> InputSystem::GetDevice(const std::string& name) {
  if (const auto found = opened.find(name); found != opened.end()) return found->second;
  std::shared_ptr<InputDevice> device;
  const size_t dot = name.find('.');
  if (dot == std::string::npos) {
    const auto found = devices.find(name);
    if (found == devices.end()) return nullptr;
    device = found->second;
  } else {
    const auto provider = providers.find(name.substr(0, dot));
    if (provider == providers.end() || !provider->second) return nullptr;
    device = provider->second->GetDevice(name.substr(dot + 1));
  }
  if (device) opened[name] = device;
  return device;
}

std::vector<std::string> InputSystem::GetDeviceNames() {
  std::vector<std::string> names;
  for (const auto& [name, device] : devices) names.push_back(name);
  for (const auto& [provider_name, provider] : providers) {
    if (!provider) continue;
    for (const std::string& device : provider->GetDevices()) names.push_back(provider_name + "." + device);
  }
  return names;
}

void InputSystem::UpdateDevices() {
  for (const auto& [name, device] : opened)
    if (device) device->Update();
}

} // namespace tv
