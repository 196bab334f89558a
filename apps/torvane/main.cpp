// torvane: the host program of the engine core.

#include <cstdio>
#include <cstring>
#include <string>

#include "archive_commands.h"
#include "decode_command.h"

namespace {

void PrintHelp(std::FILE* to) {
  std::fprintf(to,
               "usage: torvane COMMAND [ARGS]\n"
               "\n"
               "commands:\n"
               "  decode FILE.wav [-o OUT] [--seek SECONDS] [--info]\n"
               "      decode a WAV file through the wav_audio_codec plugin into raw frames\n"
               "  zip ls ARCHIVE [PATH] [WILDCARD] [-r] | zip cat ARCHIVE ENTRY\n"
               "      list or print the entries of a zip archive through the zip driver\n"
               "  core ls [PATH] [WILDCARD] [-r] | core cat ENTRY\n"
               "      list or print the files of the core archive built into the engine\n"
               "\n"
               "torvane COMMAND --help tells more about one command.\n");
}

} // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    PrintHelp(stderr);
    return 1;
  }
  const std::string command = argv[1];
  if (command == "-h" || command == "--help" || command == "help") {
    PrintHelp(stdout);
    return 0;
  }
  if (command == "decode") return tv::RunDecodeCommand(argc - 2, argv + 2);
  if (command == "zip") return tv::RunZipCommand(argc - 2, argv + 2);
  if (command == "core") return tv::RunCoreCommand(argc - 2, argv + 2);
  std::fprintf(stderr, "torvane: unknown command '%s'; see torvane --help\n", command.c_str());
  return 1;
}
