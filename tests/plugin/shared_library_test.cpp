#include <gtest/gtest.h>

#include "plugin/shared_library.h"

namespace tv {
namespace {

TEST(DlSharedLibrary, ResolvesExportsAndRefusesWhatIsMissing) {
  DlSharedLibrary library;
  ASSERT_TRUE(library.Open(std::string(TV_PLUGIN_DIR) + "/wav_audio_codec.so")) << library.GetError();
  EXPECT_TRUE(library.IsOpen());
  EXPECT_NE(library.GetSymbol("PluginLoad"), nullptr);
  // Hidden inside the module: the core's own functions are not reachable by name.
  EXPECT_EQ(library.GetSymbol("_ZN2tv15BindCoreGlobalsEPKNS_11CoreGlobalsE"), nullptr);
  EXPECT_NE(library.GetError().find("undefined symbol"), std::string::npos) << library.GetError();
  library.Close();
  EXPECT_FALSE(library.IsOpen());
  EXPECT_EQ(library.GetSymbol("PluginLoad"), nullptr);
}

TEST(DlSharedLibrary, ReportsTheLoaderReason) {
  DlSharedLibrary library;
  EXPECT_FALSE(library.Open("/nonexistent/folder/plugin.so"));
  EXPECT_NE(library.GetError().find("No such file"), std::string::npos) << library.GetError();

  // A file that is not a shared object at all.
  EXPECT_FALSE(library.Open("/etc/hostname"));
  EXPECT_FALSE(library.GetError().empty());
  EXPECT_FALSE(library.IsOpen());
}

} // namespace
} // namespace tv
