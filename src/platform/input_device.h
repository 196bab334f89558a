#pragma once
// An input device polled once a frame, and a provider that opens devices on demand by name.
// "Was" and "Last" always mean the state before the last Update.

#include <memory>
#include <string>
#include <vector>

#include "math/matrix4.h"

namespace tv {

enum class InputDeviceType { Keyboard = 1, Mouse = 2, GameController = 3 };

class InputDevice {
public:
  virtual ~InputDevice() = default;
  virtual InputDeviceType GetType() const = 0;
  virtual void Update() = 0;
  virtual bool IsKeyDown(int) const { return false; }
  virtual bool WasKeyDown(int) const { return false; }
  virtual bool IsButtonDown(int) const { return false; }
  virtual bool WasButtonDown(int) const { return false; }
  virtual float GetValue(int) const { return 0; }
  virtual float GetLastValue(int) const { return 0; }
  virtual bool GetValueRange(int, float&, float&) const { return false; }
  virtual Matrix4 GetMatrix(int) const { return Matrix4::Identity; }
  virtual bool SetValue(int, float) { return false; }
  virtual bool SetEffect(int, float) { return false; }
  virtual bool IsConnected() const { return true; }
};

class InputDeviceProvider {
public:
  virtual ~InputDeviceProvider() = default;
  virtual std::vector<std::string> GetDevices() = 0;
  // Null for an unknown name.
  virtual std::shared_ptr<InputDevice> GetDevice(const std::string& name) = 0;
};

} // namespace tv
