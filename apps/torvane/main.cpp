// torvane: the host program of the engine core.

#include <cstdio>
#include <cstring>
#include <string>

#include "decode_command.h"

namespace {

void PrintHelp(std::FILE* to) {
  std::fprintf(to,
               "usage: torvane COMMAND [ARGS]\n"
               "\n"
               "commands:\n"
               "  decode FILE.wav [-o OUT] [--seek SECONDS] [--info]\n"
               "      decode a WAV file through the wav_audio_codec plugin into raw frames\n"
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
  std::fprintf(stderr, "torvane: unknown command '%s'; see torvane --help\n", command.c_str());
  return 1;
}
