#include "info_command.h"

#include <cstdio>
#include <string>

#include "audio/audio_codec.h"
#include "core/lifecycle.h"
#include "file/filesystem.h"
#include "file/std_file_driver.h"
#include "foundation/globals.h"
#include "foundation/task_system.h"
#include "picture/picture_codec.h"
#include "plugin/plugin_registry.h"

namespace tv {
namespace {

constexpr const char* kInfoUsage =
    "usage: torvane info\n"
    "\n"
    "Starts the core as every command does and prints what it has: the core's version, the plugins\n"
    "loaded (name, description, version, file), the audio and picture codecs, the file system's\n"
    "mounts and the task workers.\n";

std::string DescribeDriver(const std::shared_ptr<FileDriver>& driver) {
  if (auto std_driver = std::dynamic_pointer_cast<StdFileDriver>(driver))
    return "operating system files" +
           (std_driver->base_path.empty() ? std::string(" (working folder)") : " below " + std_driver->base_path);
  return "driver";
}

} // namespace

int RunInfoCommand(int argc, char** argv, const HostOptions& host_options) {
  for (int i = 0; i < argc; ++i) {
    const std::string arg = argv[i];
    if (arg == "-h" || arg == "--help") {
      std::fputs(kInfoUsage, stdout);
      return 0;
    }
    std::fprintf(stderr, "torvane info: unexpected argument '%s'; see torvane info --help\n", arg.c_str());
    return 1;
  }

  CoreSession session(host_options);
  std::printf("Torvane core %s (build %s)\n", kCoreVersion, kSourceId);
  std::printf("base folder: %s\n", GetBaseFolder().c_str());

  std::printf("plugins: %zu\n", plugins->loaded.size());
  for (const auto& plugin : plugins->loaded) {
    const PluginDescription& d = plugin->description;
    std::printf("  %s [%s] version %s (%s)\n", d.name, d.description, d.version, plugin->path.c_str());
  }
  std::printf("plugin paths:");
  for (const std::string& folder : host_options.plugin_paths.empty() ? plugins->default_paths : host_options.plugin_paths)
    std::printf(" %s", folder.c_str());
  std::printf("\n");

  std::printf("audio codecs: %zu\n", audio_codecs->size());
  for (const auto& [name, codec] : *audio_codecs) std::printf("  %s\n", name.c_str());
  std::printf("picture codecs: %zu\n", picture_codecs->size());
  for (const PictureCodec* codec : *picture_codecs) std::printf("  %s\n", codec->GetName().c_str());

  std::printf("mounts: %zu\n", filesystem->mounts.size() + filesystem->root_drivers.size());
  for (const FileMount& mount : filesystem->mounts)
    std::printf("  %s -> %s\n", mount.prefix.c_str(), DescribeDriver(mount.driver).c_str());
  for (const auto& driver : filesystem->root_drivers) std::printf("  (root) -> %s\n", DescribeDriver(driver).c_str());

  std::printf("workers: %u\n", task_system->get_worker_count());
  return 0;
}

} // namespace tv
