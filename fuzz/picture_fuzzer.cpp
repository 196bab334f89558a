// Arbitrary bytes as a picture file: loaded through the STB codec from a memory file, as
// LoadPicture does it, then converted, drawn on, written as PNG and TGA and read back.

#include <cstddef>
#include <cstdint>
#include <memory>

#include "file/filesystem.h"
#include "file/memory_file_driver.h"
#include "foundation/globals.h"
#include "foundation/log_system.h"
#include "picture/picture.h"
#include "picture/picture_codec.h"
#include "picture/picture_filter.h"
#include "picture/picture_io.h"
#include "stb_picture_codec.h"

namespace {

struct Services {
  Services() {
    log.print = &tv::DiscardLogLine;
    tv::log_system = &log;
    tv::filesystem = &files;
    tv::picture_codecs = &codecs;
    files.Mount(memory);
    // A hostile header can claim a gigabyte of pixels; keep within the fuzzer's memory limit.
    codec.SetDecodeLimit(64u << 20);
    tv::RegisterCodec(&codec);
  }
  tv::LogSystem log;
  tv::Filesystem files;
  std::shared_ptr<tv::MemoryFileDriver> memory = std::make_shared<tv::MemoryFileDriver>();
  tv::PictureCodecRegistry codecs;
  tv::STBPictureCodec codec;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static Services services;
  services.memory->Delete("in.pic");
  if (!services.files.DataToFile("in.pic", data, uint32_t(size)) && size != 0) return 0;

  tv::Picture picture;
  if (!tv::LoadPicture(picture, "in.pic", "")) return 0;
  // What a decoded picture must satisfy whatever the input.
  if (picture.GetDataSize() != size_t(picture.GetStride()) * picture.GetHeight()) __builtin_trap();
  if (picture.GetWidth() > 512 || picture.GetHeight() > 512) return 0;

  picture.PutPixel(0, 0, tv::Color(1, 0, 0, 1));
  picture.Flip(true, true);
  for (const char* parameters : {"format: png", "format: tga"}) {
    services.memory->Delete("out.pic");
    if (!tv::SavePicture(picture, "out.pic", "STB", parameters)) continue;
    tv::Picture again;
    if (!tv::LoadPicture(again, "out.pic", "STB")) __builtin_trap();
  }
  if (picture.Convert(tv::RGBA8) || picture.Convert(tv::RGB8)) picture.Resize(17, 9, tv::FilterBicubic);
  return 0;
}
