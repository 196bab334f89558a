#include <gtest/gtest.h>

#include "core/engine_facade.h"
#include "foundation/globals.h"
#include "platform/window_system.h"

namespace {

using tv::Window;

Window MakeWindow(uintptr_t handle) {
  Window window;
  window.handle = reinterpret_cast<void*>(handle);
  return window;
}

class WindowSystemTest : public ::testing::Test {
protected:
  void SetUp() override {
    tv::window_system = &system_;
    tv::windows.clear();
  }
  void TearDown() override {
    tv::DisconnectWindowSlots();
    tv::windows.clear();
    tv::window_system = nullptr;
  }
  tv::WindowSystem system_;
};

TEST_F(WindowSystemTest, SlotsKeepTheListOfWindowsWithoutDuplicates) {
  tv::ConnectWindowSlots();
  system_.new_window.Emit(MakeWindow(1));
  system_.new_window.Emit(MakeWindow(2));
  system_.new_window.Emit(MakeWindow(1));
  EXPECT_EQ(tv::windows, (std::vector<Window>{MakeWindow(1), MakeWindow(2)}));

  system_.destroy.Emit(MakeWindow(1));
  system_.destroy.Emit(MakeWindow(7));  // unknown: nothing happens
  EXPECT_EQ(tv::windows, (std::vector<Window>{MakeWindow(2)}));

  tv::DisconnectWindowSlots();
  system_.new_window.Emit(MakeWindow(3));
  EXPECT_EQ(tv::windows.size(), 1u);
  EXPECT_EQ(system_.new_window.GetSlotCount(), 0u);
}

TEST_F(WindowSystemTest, WindowsCompareByEveryField) {
  Window a = MakeWindow(5);
  Window b = MakeWindow(5);
  EXPECT_EQ(a, b);
  b.hook = &b;
  EXPECT_NE(a, b);
  EXPECT_TRUE(Window{}.IsEmpty());
  EXPECT_FALSE(a.IsEmpty());
}

TEST_F(WindowSystemTest, FacadeForgetsItsWindowWhenItIsDestroyed) {
  {
    tv::EngineFacade facade;
    EXPECT_EQ(facade.font_path, "@core/fonts/default.ttf");
    EXPECT_EQ(facade.material_path, "@core/materials/default.mat");
    facade.window = MakeWindow(9);
    facade.window_data = MakeWindow(9);
    facade.window_data_set = true;

    system_.destroy.Emit(MakeWindow(4));  // another window
    EXPECT_EQ(facade.window, MakeWindow(9));

    system_.destroy.Emit(MakeWindow(9));
    EXPECT_TRUE(facade.window.IsEmpty());
    EXPECT_TRUE(facade.window_data.IsEmpty());
    EXPECT_FALSE(facade.window_data_set);
  }
  // A facade that is gone leaves no slot behind to call into it.
  EXPECT_EQ(system_.destroy.GetSlotCount(), 0u);
}

} // namespace
