#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "platform/input_system.h"

namespace {

using tv::InputDevice;
using tv::InputDeviceType;
using tv::InputSystem;

class CountingDevice : public InputDevice {
public:
  explicit CountingDevice(std::vector<std::string>* log = nullptr, std::string name = {})
      : log_(log), name_(std::move(name)) {}
  InputDeviceType GetType() const override { return InputDeviceType::GameController; }
  void Update() override {
    ++updates;
    if (log_) log_->push_back(name_);
  }
  int updates = 0;

private:
  std::vector<std::string>* log_;
  std::string name_;
};

class PadProvider : public tv::InputDeviceProvider {
public:
  explicit PadProvider(int* destroyed = nullptr) : destroyed_(destroyed) {}
  ~PadProvider() override {
    if (destroyed_) ++*destroyed_;
  }
  std::vector<std::string> GetDevices() override { return {"pad 2", "pad 1"}; }
  std::shared_ptr<InputDevice> GetDevice(const std::string& name) override {
    ++lookups;
    if (name != "pad 1" && name != "pad 2") return nullptr;
    return std::make_shared<CountingDevice>();
  }
  int lookups = 0;

private:
  int* destroyed_;
};

TEST(InputSystem, RegisteredNamesAreUniqueAndAFoundDeviceStaysOpened) {
  InputSystem input;
  auto keyboard = std::make_shared<CountingDevice>();
  EXPECT_TRUE(input.RegisterDevice("keyboard", keyboard));
  EXPECT_FALSE(input.RegisterDevice("keyboard", std::make_shared<CountingDevice>()));
  EXPECT_EQ(input.devices.at("keyboard"), keyboard);  // the first stays

  EXPECT_EQ(input.GetDevice("mouse"), nullptr);
  EXPECT_TRUE(input.opened.empty());
  EXPECT_EQ(input.GetDevice("keyboard"), keyboard);

  // Unregistering doesn't close what was found: it is still polled and still answers by name.
  input.UnregisterDevice("keyboard");
  EXPECT_TRUE(input.devices.empty());
  EXPECT_EQ(input.GetDevice("keyboard"), keyboard);
  input.UpdateDevices();
  EXPECT_EQ(keyboard->updates, 1);
}

TEST(InputSystem, DottedNamesOpenThroughTheProviderOnce) {
  InputSystem input;
  auto provider = std::make_unique<PadProvider>();
  PadProvider* pads = provider.get();
  input.RegisterProvider("dinput8", std::move(provider));

  EXPECT_EQ(input.GetDevice("nothing.pad 1"), nullptr);
  EXPECT_EQ(input.GetDevice("dinput8.pad 9"), nullptr);
  EXPECT_EQ(input.opened.size(), 0u);

  // The device name is everything behind the first dot.
  const auto pad = input.GetDevice("dinput8.pad 1");
  ASSERT_NE(pad, nullptr);
  EXPECT_EQ(input.GetDevice("dinput8.pad 1"), pad);
  EXPECT_EQ(pads->lookups, 2);  // the failed one and the first success; the repeat came from `opened`
  EXPECT_EQ(input.opened.count("dinput8.pad 1"), 1u);
}

TEST(InputSystem, NamesListDevicesThenProviderDevicesAndProvidersAreReplaced) {
  InputSystem input;
  input.RegisterDevice("mouse", std::make_shared<CountingDevice>());
  input.RegisterDevice("keyboard", std::make_shared<CountingDevice>());
  int destroyed = 0;
  input.RegisterProvider("pads", std::make_unique<PadProvider>(&destroyed));
  EXPECT_EQ(input.GetDeviceNames(), (std::vector<std::string>{"keyboard", "mouse", "pads.pad 2", "pads.pad 1"}));

  input.RegisterProvider("pads", std::make_unique<PadProvider>(&destroyed));
  EXPECT_EQ(destroyed, 1);
  input.UnregisterProvider("pads");
  EXPECT_EQ(destroyed, 2);
  EXPECT_EQ(input.GetDeviceNames(), (std::vector<std::string>{"keyboard", "mouse"}));
}

TEST(InputSystem, UpdatePollsOpenedDevicesInKeyOrder) {
  InputSystem input;
  std::vector<std::string> polled;
  for (const char* name : {"b", "a", "c"}) input.RegisterDevice(name, std::make_shared<CountingDevice>(&polled, name));
  input.GetDevice("c");
  input.GetDevice("a");
  input.UpdateDevices();
  EXPECT_EQ(polled, (std::vector<std::string>{"a", "c"}));  // "b" was never looked up
}

TEST(InputDevice, BaseAnswersAreTheNeutralOnes) {
  CountingDevice device;
  float low = 1, high = 2;
  EXPECT_FALSE(device.IsKeyDown(3));
  EXPECT_FALSE(device.WasButtonDown(0));
  EXPECT_EQ(device.GetValue(0), 0.0f);
  EXPECT_FALSE(device.GetValueRange(0, low, high));
  EXPECT_EQ(low, 1.0f);
  EXPECT_EQ(device.GetMatrix(0), tv::Matrix4::Identity);
  EXPECT_FALSE(device.SetEffect(0, 1.0f));
  EXPECT_TRUE(device.IsConnected());
}

} // namespace
