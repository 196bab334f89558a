#include "picture_command.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>

#include "core_session.h"
#include "foundation/globals.h"
#include "foundation/string_utils.h"
#include "output_file.h"
#include "picture/picture.h"
#include "picture/picture_codec.h"
#include "picture/picture_io.h"

namespace tv {
namespace {

void PrintPictureHelp(std::FILE* to) {
  std::fprintf(to,
               "usage: torvane picture info FILE\n"
               "       torvane picture convert IN OUT [--format NAME]\n"
               "\n"
               "Pictures through the codecs that plugins registered (stb_picture_codec reads PNG, TGA,\n"
               "JPEG and BMP, and writes PNG and TGA).\n"
               "\n"
               "  info FILE        load FILE with the first codec that takes it and print its size,\n"
               "                   pixel format and bytes\n"
               "  convert IN OUT   load IN and save it as OUT, written whole or not at all; OUT's\n"
               "                   extension, .png or .tga, picks the file format\n"
               "  --format NAME    convert the pixels to this format before saving: one of Gray8,\n"
               "                   Gray16, Gray32, RGB555, RGB565, RGB8, BGR8, RGBA8, BGRA8, ARGB8,\n"
               "                   ABGR8, RGB16, BGR16, RGBA16, BGRA16, ARGB16, ABGR16, RGB32, BGR32,\n"
               "                   RGBA32, BGRA32, ARGB32, ABGR32 (not every pair converts)\n");
}

int Fail(const std::string& message) {
  std::fprintf(stderr, "torvane picture: %s\n", message.c_str());
  return 1;
}

// The codec that saves, and the parameters that pick the file format from the extension.
constexpr const char* kSaveCodec = "STB";

bool SaveParametersFor(const std::string& path, std::string& parameters) {
  const size_t dot = path.find_last_of('.');
  const size_t slash = path.find_last_of('/');
  if (dot == std::string::npos || (slash != std::string::npos && dot < slash)) return false;
  const std::string extension = to_lower(path.substr(dot + 1));
  if (extension != "png" && extension != "tga") return false;
  parameters = "format: " + extension;
  return true;
}

int RunInfo(int argc, char** argv, const HostOptions& host_options) {
  if (argc != 1) return Fail("info takes one file; see torvane picture --help");
  const std::string path = argv[0];
  CoreSession session(host_options);
  Picture picture;
  if (!LoadPicture(picture, path, "")) return Fail("cannot load '" + path + "' as a picture");
  std::printf("file: %s\n", path.c_str());
  std::printf("size: %ux%u\n", picture.GetWidth(), picture.GetHeight());
  std::printf("format: %s (%u)\n", GetPictureFormatName(picture.GetFormat()), unsigned(picture.GetFormat()));
  std::printf("bytes per pixel: %u\n", Picture::GetBytesPerPixel(picture.GetFormat()));
  std::printf("stride: %u bytes\n", picture.GetStride());
  std::printf("data: %zu bytes\n", picture.GetDataSize());
  return 0;
}

int RunConvert(int argc, char** argv, const HostOptions& host_options) {
  std::string input;
  std::string output;
  std::string format_name;
  for (int i = 0; i < argc; ++i) {
    const std::string arg = argv[i];
    if (arg == "--format") {
      if (i + 1 >= argc) return Fail("option --format needs a value");
      format_name = argv[++i];
    } else if (!arg.empty() && arg[0] == '-') {
      return Fail("unknown option '" + arg + "'");
    } else if (input.empty()) {
      input = arg;
    } else if (output.empty()) {
      output = arg;
    } else {
      return Fail("convert takes two files, '" + arg + "' is one too many");
    }
  }
  if (output.empty()) return Fail("convert needs an input and an output file; see torvane picture --help");
  std::string parameters;
  if (!SaveParametersFor(output, parameters))
    return Fail("cannot tell the file format of '" + output + "': name it .png or .tga");
  const PictureFormat target = format_name.empty() ? InvalidPictureFormat : FindPictureFormat(format_name);
  if (!format_name.empty() && target == InvalidPictureFormat)
    return Fail("unknown picture format '" + format_name + "'; see torvane picture --help");

  CoreSession session(host_options);
  if (FindCodec(kSaveCodec) == nullptr)
    return Fail("no plugin registered an \"STB\" codec (stb_picture_codec.so belongs beside torvane)");
  Picture picture;
  if (!LoadPicture(picture, input, "")) return Fail("cannot load '" + input + "' as a picture");
  if (target != InvalidPictureFormat && !picture.Convert(target))
    return Fail(std::string("cannot convert ") + GetPictureFormatName(picture.GetFormat()) + " pixels to " +
                GetPictureFormatName(target));

  OutputFile file(output);
  if (!file.Open() || !SavePicture(picture, file.temporary(), kSaveCodec, parameters))
    return Fail("cannot write '" + output + "'");
  if (!file.Commit()) return Fail("cannot write '" + output + "': " + std::strerror(errno));
  return 0;
}

} // namespace

int RunPictureCommand(int argc, char** argv, const HostOptions& host_options) {
  for (int i = 0; i < argc; ++i) {
    const std::string arg = argv[i];
    if (arg == "-h" || arg == "--help") {
      PrintPictureHelp(stdout);
      return 0;
    }
  }
  if (argc < 1) return Fail("missing subcommand; see torvane picture --help");
  const std::string subcommand = argv[0];
  if (subcommand == "info") return RunInfo(argc - 1, argv + 1, host_options);
  if (subcommand == "convert") return RunConvert(argc - 1, argv + 1, host_options);
  return Fail("unknown subcommand '" + subcommand + "'; see torvane picture --help");
}

} // namespace tv
