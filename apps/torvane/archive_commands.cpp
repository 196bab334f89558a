#include "archive_commands.h"

#include <cstdio>
#include <string>
#include <vector>

#include "file/core_resources.h"
#include "file/zip_file_driver.h"
#include "core_session.h"
#include "file/filesystem.h"
#include "foundation/globals.h"

namespace tv {
namespace {

const char kZipUsage[] =
    "usage: torvane zip ls ARCHIVE [PATH] [WILDCARD] [-r] [--password PW]\n"
    "       torvane zip cat ARCHIVE ENTRY [--password PW]\n"
    "\n"
    "Lists or prints the entries of a zip archive, read through the file system's zip driver.\n"
    "ls prints one entry a line below PATH (default: the top), folders with a trailing \"/\";\n"
    "WILDCARD (default \"*\") filters the files; -r descends into the folders. cat writes the\n"
    "entry's bytes to standard output. --password opens encrypted entries.\n";

const char kCoreUsage[] =
    "usage: torvane core ls [PATH] [WILDCARD] [-r]\n"
    "       torvane core cat ENTRY\n"
    "\n"
    "Lists or prints the files of the core archive built into the engine, as mounted on \"@core/\".\n";

int Fail(const char* command, const std::string& message) {
  std::fprintf(stderr, "torvane %s: %s\n", command, message.c_str());
  return 1;
}

struct ArchiveOptions {
  std::vector<std::string> words;  // operands, in order
  bool recursive = false;
  std::string password;
  bool help = false;
};

bool ParseArchiveOptions(const char* command, int argc, char** argv, ArchiveOptions& options) {
  for (int i = 0; i < argc; ++i) {
    const std::string arg = argv[i];
    if (arg == "-h" || arg == "--help") {
      options.help = true;
    } else if (arg == "-r") {
      options.recursive = true;
    } else if (arg == "--password") {
      if (i + 1 >= argc) return Fail(command, "option --password needs a value") == 0;
      options.password = argv[++i];
    } else if (arg.size() > 1 && arg[0] == '-') {
      return Fail(command, "unknown option '" + arg + "'") == 0;
    } else {
      options.words.push_back(arg);
    }
  }
  return true;
}

// Prints the entries below `folder` (a path on a mount, "" or ending in "/"), relative to `shown`.
void List(Filesystem& files, const std::string& folder, const std::string& shown, const std::string& wildcard,
          bool recursive) {
  for (const DirEntry& entry : files.Dir(folder, wildcard, kDirAll)) {
    if (entry.type == DirEntry::kDirectory) {
      std::printf("%s%s/\n", shown.c_str(), entry.name.c_str());
      if (recursive) List(files, folder + entry.name + "/", shown + entry.name + "/", wildcard, true);
    } else {
      std::printf("%s%s\n", shown.c_str(), entry.name.c_str());
    }
  }
}

std::string AsFolder(std::string path) {
  while (!path.empty() && path.front() == '/') path.erase(0, 1);
  if (!path.empty() && path.back() != '/') path += '/';
  return path;
}

int RunLs(const char* command, const std::string& prefix, const ArchiveOptions& options, size_t first) {
  if (options.words.size() > first + 2) return Fail(command, "too many operands; see --help");
  const std::string path = options.words.size() > first ? AsFolder(options.words[first]) : std::string();
  const std::string wildcard = options.words.size() > first + 1 ? options.words[first + 1] : std::string("*");
  if (!path.empty() && !filesystem->IsDir(prefix + path) && filesystem->Dir(prefix + path, "*", kDirAll).empty())
    return Fail(command, "no folder '" + path + "' in the archive");
  List(*filesystem, prefix + path, "", wildcard, options.recursive);
  return 0;
}

int RunCat(const char* command, const std::string& prefix, const std::string& entry) {
  std::shared_ptr<FileHandle> handle = filesystem->Open(prefix + entry, FileMode::Read);
  if (!handle) return Fail(command, "cannot read '" + entry + "' from the archive");
  std::vector<char> buffer(1 << 16);
  for (;;) {
    const uint32_t got = handle->Read(buffer.data(), uint32_t(buffer.size()));
    if (got == 0) break;
    if (std::fwrite(buffer.data(), 1, got, stdout) != got) return Fail(command, "cannot write the output");
  }
  return std::fflush(stdout) == 0 ? 0 : Fail(command, "cannot write the output");
}

} // namespace

int RunZipCommand(int argc, char** argv, const HostOptions& host_options) {
  ArchiveOptions options;
  if (!ParseArchiveOptions("zip", argc, argv, options)) return 1;
  if (options.help) {
    std::fputs(kZipUsage, stdout);
    return 0;
  }
  if (options.words.size() < 2) return Fail("zip", "missing operands; see torvane zip --help");
  const std::string& verb = options.words[0];
  if (verb != "ls" && verb != "cat") return Fail("zip", "unknown verb '" + verb + "'; see torvane zip --help");

  CoreSession session(host_options);
  std::shared_ptr<FileHandle> archive = filesystem->Open(options.words[1], FileMode::Read);
  if (!archive) return Fail("zip", "cannot open '" + options.words[1] + "'");
  auto driver = std::make_shared<ZipFileDriver>(nullptr);
  if (!driver->SetArchive(archive, options.password))
    return Fail("zip", "'" + options.words[1] + "' is not a zip archive this driver can read");
  filesystem->Mount(driver, "@zip/");
  if (verb == "ls") return RunLs("zip", "@zip/", options, 2);
  if (options.words.size() != 3) return Fail("zip", "zip cat wants ARCHIVE and ENTRY");
  return RunCat("zip", "@zip/", options.words[2]);
}

int RunCoreCommand(int argc, char** argv, const HostOptions& host_options) {
  ArchiveOptions options;
  if (!ParseArchiveOptions("core", argc, argv, options)) return 1;
  if (options.help) {
    std::fputs(kCoreUsage, stdout);
    return 0;
  }
  if (options.words.empty()) return Fail("core", "missing verb; see torvane core --help");
  const std::string& verb = options.words[0];
  CoreSession session(host_options);
  if (!MountCoreResources()) return Fail("core", "cannot mount the core archive");
  if (verb == "ls") return RunLs("core", "@core/", options, 1);
  if (verb != "cat") return Fail("core", "unknown verb '" + verb + "'; see torvane core --help");
  if (options.words.size() != 2) return Fail("core", "core cat wants one ENTRY");
  return RunCat("core", "@core/", options.words[1]);
}

} // namespace tv
