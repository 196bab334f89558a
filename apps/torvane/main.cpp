// torvane: the host program of the engine core.

#include <cstdio>
#include <cstring>
#include <string>

#include "archive_commands.h"
#include "core_session.h"
#include "decode_command.h"
#include "demo_command.h"
#include "doc_command.h"
#include "info_command.h"
#include "picture_command.h"
#include "types_command.h"

namespace {

void PrintHelp(std::FILE* to) {
  std::fprintf(to,
               "usage: torvane [OPTIONS] COMMAND [ARGS]\n"
               "\n"
               "commands:\n"
               "  info\n"
               "      start the core and print its version, plugins, codecs, mounts and workers\n"
               "  types [NAME]\n"
               "      list the registered types, or one type with its aliases, fields and enum values\n"
               "  decode FILE.wav [-o OUT] [--seek SECONDS] [--info]\n"
               "      decode a WAV file through the wav_audio_codec plugin into raw frames\n"
               "  zip ls ARCHIVE [PATH] [WILDCARD] [-r] | zip cat ARCHIVE ENTRY\n"
               "      list or print the entries of a zip archive through the zip driver\n"
               "  core ls [PATH] [WILDCARD] [-r] | core cat ENTRY\n"
               "      list or print the files of the core archive built into the engine\n"
               "  demo [--nodes N] [--depth D] [--frames F]\n"
               "      run a built-in scene of animated hierarchies and print frame times and profile\n"
               "  doc cat FILE\n"
               "      print an XML, JSON or binary document as a tree of scopes and typed values\n"
               "  doc convert IN OUT [--format xml|json|binary]\n"
               "      copy a document into another form, the form of OUT from --format or its extension\n"
               "  picture info FILE | picture convert IN OUT [--format NAME]\n"
               "      print a picture's size and pixel format, or convert it to a PNG or TGA file\n"
               "\n"
               "%s"
               "\n"
               "Every command starts the core, loads the plugins and stops it again; the log goes to\n"
               "standard error. torvane COMMAND --help tells more about one command.\n",
               tv::HostOptionsHelp());
}

} // namespace

int main(int argc, char** argv) {
  tv::HostOptions options;
  int count = argc - 1;
  if (!tv::ParseHostOptions(count, argv + 1, options)) return 1;
  if (count < 1) {
    PrintHelp(stderr);
    return 1;
  }
  char** args = argv + 1;
  const std::string command = args[0];
  if (command == "-h" || command == "--help" || command == "help") {
    PrintHelp(stdout);
    return 0;
  }
  if (command == "info") return tv::RunInfoCommand(count - 1, args + 1, options);
  if (command == "types") return tv::RunTypesCommand(count - 1, args + 1, options);
  if (command == "decode") return tv::RunDecodeCommand(count - 1, args + 1, options);
  if (command == "zip") return tv::RunZipCommand(count - 1, args + 1, options);
  if (command == "core") return tv::RunCoreCommand(count - 1, args + 1, options);
  if (command == "demo") return tv::RunDemoCommand(count - 1, args + 1, options);
  if (command == "doc") return tv::RunDocCommand(count - 1, args + 1, options);
  if (command == "picture") return tv::RunPictureCommand(count - 1, args + 1, options);
  std::fprintf(stderr, "torvane: unknown command '%s'; see torvane --help\n", command.c_str());
  return 1;
}
