#include "decode_command.h"

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "audio/audio_codec.h"
#include "core_session.h"
#include "foundation/globals.h"
#include "foundation/profiler.h"

namespace tv {
namespace {

// One second of audio is the largest frame; refuse headers that would ask for absurd buffers.
constexpr uint32_t kLargestFrame = 256u << 20;

void PrintDecodeHelp(std::FILE* to) {
  std::fprintf(to,
               "usage: torvane decode FILE.wav [-o OUT] [--seek SECONDS] [--info]\n"
               "\n"
               "Decodes FILE.wav through the WAV codec of the wav_audio_codec plugin and writes the\n"
               "raw sample frames, exactly as the file holds them, to OUT (or to standard output).\n"
               "\n"
               "  -o OUT           write the frames to OUT (written whole or not at all)\n"
               "  --seek SECONDS   start decoding at this time\n"
               "  --info           print the stream's format and what was decoded; without -o the\n"
               "                   frames are decoded but not written\n");
}

int Fail(const std::string& message) {
  std::fprintf(stderr, "torvane decode: %s\n", message.c_str());
  return 1;
}

struct DecodeOptions {
  std::string input;
  std::string output;
  bool seek = false;
  time_ns seek_time = 0;
  bool info = false;
};

// Returns 0 when parsed, 2 for --help, 1 after printing an error.
int ParseOptions(int argc, char** argv, DecodeOptions& options) {
  for (int i = 0; i < argc; ++i) {
    const std::string arg = argv[i];
    if (arg == "-h" || arg == "--help") return 2;
    if (arg == "-o" || arg == "--seek") {
      if (i + 1 >= argc) return Fail("option " + arg + " needs a value");
      const std::string value = argv[++i];
      if (arg == "-o") {
        options.output = value;
        continue;
      }
      char* end = nullptr;
      errno = 0;
      const double seconds = std::strtod(value.c_str(), &end);
      if (value.empty() || *end != '\0' || errno != 0 || !std::isfinite(seconds) || seconds < 0 || seconds > 1e9)
        return Fail("--seek wants a number of seconds, not '" + value + "'");
      options.seek = true;
      options.seek_time = time_ns(std::llround(seconds * 1e9));
    } else if (arg == "--info") {
      options.info = true;
    } else if (!arg.empty() && arg[0] == '-') {
      return Fail("unknown option '" + arg + "'");
    } else if (options.input.empty()) {
      options.input = arg;
    } else {
      return Fail("one input file only, '" + arg + "' is one too many");
    }
  }
  if (options.input.empty()) return Fail("no input file; see torvane decode --help");
  return 0;
}

// Output that appears whole or not at all: frames go to a temporary file beside OUT, renamed at the end.
class FrameSink {
public:
  explicit FrameSink(std::string path) : path_(std::move(path)) {}
  ~FrameSink() {
    if (file_ != nullptr && file_ != stdout) std::fclose(file_);
    if (!temporary_.empty()) std::remove(temporary_.c_str());
  }

  bool Open(bool discard) {
    if (path_.empty()) {
      file_ = discard ? nullptr : stdout;
      return true;
    }
    temporary_ = path_ + ".partial";
    file_ = std::fopen(temporary_.c_str(), "wb");
    if (file_ == nullptr) temporary_.clear();
    return file_ != nullptr;
  }

  bool Write(const void* data, size_t size) { return file_ == nullptr || std::fwrite(data, 1, size, file_) == size; }

  bool Commit() {
    if (file_ == stdout) return std::fflush(stdout) == 0;
    if (file_ == nullptr) return true;
    const bool closed = std::fclose(file_) == 0;
    file_ = nullptr;
    if (!closed || std::rename(temporary_.c_str(), path_.c_str()) != 0) return false;
    temporary_.clear();
    return true;
  }

private:
  std::string path_;
  std::string temporary_;
  std::FILE* file_ = nullptr;
};

} // namespace

int RunDecodeCommand(int argc, char** argv, const HostOptions& host_options) {
  DecodeOptions options;
  const int parsed = ParseOptions(argc, argv, options);
  if (parsed == 2) {
    PrintDecodeHelp(stdout);
    return 0;
  }
  if (parsed != 0) return 1;

  CoreSession session(host_options);
  auto codec = audio_codecs->find("WAV");
  if (codec == audio_codecs->end())
    return Fail("no plugin registered a \"WAV\" codec (wav_audio_codec.so belongs beside torvane)");

  ProfilerPerfSection open_section("Decode.Open", options.input);
  std::shared_ptr<AudioData> stream = codec->second->Open(options.input);
  open_section.End();
  if (!stream) return Fail("cannot decode '" + options.input + "' as WAV");

  const AudioFormat audio_format = stream->GetFormat();
  const uint32_t frame_size = stream->GetFrameSize();
  if (frame_size > kLargestFrame)
    return Fail("'" + options.input + "' claims " + std::to_string(frame_size) + " bytes a second, too many");
  if (options.seek && !stream->Seek(options.seek_time)) return Fail("cannot seek in '" + options.input + "'");

  FrameSink sink(options.output);
  if (!sink.Open(options.info && options.output.empty()))
    return Fail("cannot write '" + options.output + "': " + std::strerror(errno));

  // Until the end of the samples, or until the file runs out: a header may claim more than it holds.
  ProfilerPerfSection frames_section("Decode.Frames", options.input);
  std::vector<uint8_t> buffer(frame_size);
  uint64_t decoded = 0;
  uint64_t frames = 0;
  time_ns first_time = -1;
  while (!stream->IsEnded()) {
    time_ns frame_time = 0;
    const uint32_t got = stream->GetFrame(buffer.data(), frame_time);
    if (got == 0) break;
    if (first_time < 0) first_time = frame_time;
    if (!sink.Write(buffer.data(), got)) return Fail("cannot write '" + options.output + "'");
    decoded += got;
    ++frames;
  }
  if (!sink.Commit()) return Fail("cannot write '" + options.output + "'");
  frames_section.End();

  if (options.info) {
    std::printf("file: %s\n", options.input.c_str());
    std::printf("format: encoding %u, %u channel(s), %u Hz, %u bit\n", unsigned(audio_format.encoding),
                unsigned(audio_format.channels), unsigned(audio_format.frequency), unsigned(audio_format.resolution));
    std::printf("frame size: %u bytes\n", unsigned(frame_size));
    std::printf("data size: %u bytes\n", unsigned(stream->GetDataSize()));
    std::printf("decoded: %llu bytes in %llu frame(s), starting at %.6f s\n", (unsigned long long)decoded,
                (unsigned long long)frames, first_time < 0 ? 0.0 : double(first_time) / 1e9);
  }
  return 0;
}

} // namespace tv
