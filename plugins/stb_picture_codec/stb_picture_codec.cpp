#include "stb_picture_codec.h"

#include <climits>
#include <cstring>
#include <memory>
#include <vector>

#include "foundation/format.h"
#include "foundation/log.h"
#include "foundation/string_utils.h"
#include "picture/picture.h"
#include "stb_image_library.h"

namespace tv {
namespace {

enum class SaveFormat { Png, Tga };

// Parses the save parameters; false, with an error line, for anything but "format: png|tga".
bool ParseSaveParameters(const std::string& parameters, SaveFormat& save_format) {
  save_format = SaveFormat::Png;
  std::string entry;
  for (size_t at = 0; at <= parameters.size(); ++at) {
    const char c = at < parameters.size() ? parameters[at] : ';';
    if (c != ';' && c != ',' && c != '\n' && c != '\r') {
      entry += c;
      continue;
    }
    const std::string trimmed = rstrip(lstrip(entry));
    entry.clear();
    if (trimmed.empty()) continue;
    const size_t colon = trimmed.find(':');
    const std::string key = colon == std::string::npos ? trimmed : to_lower(rstrip(trimmed.substr(0, colon)));
    const std::string value = colon == std::string::npos ? std::string() : to_lower(lstrip(trimmed.substr(colon + 1)));
    if (colon == std::string::npos || key != "format") {
      error(format("STB codec: unknown save parameter '%1'").arg(trimmed));
      return false;
    }
    if (value == "png") {
      save_format = SaveFormat::Png;
    } else if (value == "tga") {
      save_format = SaveFormat::Tga;
    } else {
      error(format("STB codec: cannot save pictures as '%1', only as 'png' or 'tga'").arg(value));
      return false;
    }
  }
  return true;
}

uint8_t UnitToByte(float v) {
  const float clamped = v > 1.0f ? 1.0f : (v > 0.0f ? v : 0.0f);  // NaN gives 0
  return uint8_t(clamped * 255.0f + 0.5f);
}

bool IsGray(PictureFormat format) { return format == Gray8 || format == Gray16 || format == Gray32; }

// The picture in a layout the encoders take: 1, 3 or 4 channels of 8 bits, rows without padding.
struct EncoderPixels {
  const uint8_t* pixels = nullptr;
  int channels = 0;
  Picture converted;      // when the picture's own pixels don't fit
  std::vector<uint8_t> read;  // when no conversion fits either
};

void PrepareForEncoder(const Picture& picture, EncoderPixels& out) {
  switch (picture.GetFormat()) {
    case Gray8: out.channels = 1; out.pixels = picture.GetData(); return;
    case RGB8: out.channels = 3; out.pixels = picture.GetData(); return;
    case RGBA8: out.channels = 4; out.pixels = picture.GetData(); return;
    default: break;
  }
  out.converted = picture;
  if (out.converted.Convert(RGBA8) || out.converted.Convert(RGB8)) {
    out.channels = out.converted.GetFormat() == RGBA8 ? 4 : 3;
    out.pixels = out.converted.GetData();
    return;
  }
  // The copy has a fresh renderer, so its clip box is the whole picture and GetPixel reads all.
  out.channels = IsGray(picture.GetFormat()) ? 1 : 4;
  const uint32_t width = out.converted.GetWidth();
  const uint32_t height = out.converted.GetHeight();
  out.read.resize(size_t(width) * height * uint32_t(out.channels));
  uint8_t* p = out.read.data();
  for (uint32_t y = 0; y < height; ++y) {
    for (uint32_t x = 0; x < width; ++x) {
      const Color c = out.converted.GetPixel(int(x), int(y));
      if (out.channels == 1) {
        *p++ = UnitToByte(c.r);
      } else {
        *p++ = UnitToByte(c.r);
        *p++ = UnitToByte(c.g);
        *p++ = UnitToByte(c.b);
        *p++ = UnitToByte(c.a);
      }
    }
  }
  out.pixels = out.read.data();
}

struct WriteContext {
  FileHandle* handle = nullptr;
  bool failed = false;
};

void WriteToHandle(void* context, void* data, int size) {
  auto* write = static_cast<WriteContext*>(context);
  if (write->failed || size <= 0) return;
  if (write->handle->Write(data, uint32_t(size)) != uint32_t(size)) write->failed = true;
}

// Puts the handle back where Load found it; a codec that refuses leaves it as it was.
bool Refuse(FileHandle& handle, uint32_t start) {
  handle.Seek(int(start), SeekRef::Start);
  return false;
}

} // namespace

std::string STBPictureCodec::GetName() const { return "STB"; }

bool STBPictureCodec::Load(FileHandle& handle, Picture& picture) {
  const uint32_t start = handle.Tell();
  const uint32_t size = handle.GetSize();
  // stb takes the length as an int. A file larger than the pixels it may decode to is not read
  // into memory at all.
  if (start >= size || size - start > uint32_t(INT_MAX) || size - start > decode_limit_) return Refuse(handle, start);
  std::vector<uint8_t> bytes(size - start);
  if (handle.Read(bytes.data(), uint32_t(bytes.size())) != bytes.size()) return Refuse(handle, start);
  const int length = int(bytes.size());

  int width = 0;
  int height = 0;
  int channels = 0;
  if (!stb::Info(bytes.data(), length, width, height, channels)) return Refuse(handle, start);
  const bool wide = stb::Is16Bit(bytes.data(), length);
  // Gray with alpha has no format of its own: it widens to RGBA.
  const int wanted = channels == 1 ? 1 : (channels == 3 ? 3 : 4);
  const uint64_t decoded_size = uint64_t(width) * uint64_t(height) * uint64_t(wanted) * (wide ? 2u : 1u);
  if (width <= 0 || height <= 0 || width > 65535 || height > 65535 || decoded_size > decode_limit_) {
    debug(format("STB codec: a %1x%2 picture is too large to load").arg(int32_t(width)).arg(int32_t(height)));
    return Refuse(handle, start);
  }

  PictureFormat picture_format = InvalidPictureFormat;
  std::unique_ptr<void, void (*)(void*)> pixels(nullptr, &stb::Free);
  int decoded_width = 0;
  int decoded_height = 0;
  if (wide) {
    pixels.reset(stb::Load16(bytes.data(), length, decoded_width, decoded_height, wanted));
    picture_format = wanted == 1 ? Gray16 : (wanted == 3 ? RGB16 : RGBA16);
  } else {
    pixels.reset(stb::Load8(bytes.data(), length, decoded_width, decoded_height, wanted));
    picture_format = wanted == 1 ? Gray8 : (wanted == 3 ? RGB8 : RGBA8);
  }
  if (!pixels) {
    debug(format("STB codec: cannot decode the picture: %1").arg(stb::FailureReason()));
    return Refuse(handle, start);
  }
  // The header read by Info and the one the decoder followed are the same bytes; check anyway,
  // since the copy below trusts the size.
  if (decoded_width != width || decoded_height != height) return Refuse(handle, start);
  if (!picture.Allocate(uint32_t(width), uint32_t(height), picture_format)) return Refuse(handle, start);
  std::memcpy(picture.GetData(), pixels.get(), picture.GetDataSize());
  return true;
}

bool STBPictureCodec::Save(FileHandle& handle, const Picture& picture, const std::string& parameters) {
  SaveFormat save_format = SaveFormat::Png;
  if (!ParseSaveParameters(parameters, save_format)) return false;
  if (picture.GetWidth() == 0 || picture.GetHeight() == 0 || picture.GetFormat() >= kPictureFormatCount) {
    error("STB codec: cannot save a picture without pixels");
    return false;
  }
  EncoderPixels encoder;
  PrepareForEncoder(picture, encoder);
  WriteContext context{&handle, false};
  const int width = int(picture.GetWidth());
  const int height = int(picture.GetHeight());
  const bool encoded =
      save_format == SaveFormat::Png
          ? stb::WritePng(&WriteToHandle, &context, width, height, encoder.channels, encoder.pixels)
          : stb::WriteTga(&WriteToHandle, &context, width, height, encoder.channels, encoder.pixels);
  if (!encoded || context.failed) {
    error("STB codec: failed to write the picture");
    return false;
  }
  return true;
}

} // namespace tv
