#pragma once
// The picture codec registered as "STB": PNG, TGA, JPEG and BMP in, PNG and TGA out, over the
// stb_image and stb_image_write libraries.
//
// Load decodes from the handle's position to the end of the file: 8-bit gray as Gray8, gray with
// alpha and RGBA as RGBA8, RGB as RGB8; 16-bit PNG as Gray16, RGBA16 (with alpha) or RGB16. A
// file it refuses leaves the handle where it was. Pictures whose pixels would take more bytes
// than the decode limit are refused before decoding, and so are files larger than the limit.
//
// Save takes parameters as entries "key: value", separated by ';', ',' or line breaks, with
// spaces around keys and values ignored and both compared without case. The one key is "format",
// with the values "png" (the default, also for empty parameters) and "tga" (run-length encoded,
// rows stored bottom-up as the origin flag says).
// Any other key or value refuses the save with an error line. Gray8, RGB8 and RGBA8 are written
// as they are; other formats are written as 8-bit: RGBA8 where the picture converts to it, else
// RGB8 where it converts to that, else gray pictures as 8-bit gray and the rest as RGBA8 from
// their pixels' values. A picture without pixels is not saved.

#include <cstdint>
#include <string>

#include "picture/picture_codec.h"

namespace tv {

class STBPictureCodec : public PictureCodec {
public:
  static constexpr uint64_t kDefaultDecodeLimit = uint64_t(1) << 30;

  bool Load(FileHandle& handle, Picture& picture) override;
  bool Save(FileHandle& handle, const Picture& picture, const std::string& parameters) override;
  std::string GetName() const override;

  // Largest decoded picture, in bytes of pixels, that Load accepts.
  void SetDecodeLimit(uint64_t bytes) { decode_limit_ = bytes; }

private:
  uint64_t decode_limit_ = kDefaultDecodeLimit;
};

} // namespace tv
