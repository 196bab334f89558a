// The stb implementations, private to this file: static functions only, from memory only, and
// only the four decoders the codec offers.
#include "stb_image_library.h"

#define STB_IMAGE_STATIC
#define STB_IMAGE_IMPLEMENTATION
#define STBI_NO_STDIO
#define STBI_ONLY_PNG
#define STBI_ONLY_JPEG
#define STBI_ONLY_BMP
#define STBI_ONLY_TGA
#include <stb_image.h>

#define STB_IMAGE_WRITE_STATIC
#define STB_IMAGE_WRITE_IMPLEMENTATION
#define STBI_WRITE_NO_STDIO
#include <stb_image_write.h>

namespace tv::stb {

bool Info(const uint8_t* data, int size, int& width, int& height, int& channels) {
  return stbi_info_from_memory(data, size, &width, &height, &channels) != 0;
}

bool Is16Bit(const uint8_t* data, int size) { return stbi_is_16_bit_from_memory(data, size) != 0; }

uint8_t* Load8(const uint8_t* data, int size, int& width, int& height, int channels_wanted) {
  int channels = 0;
  return stbi_load_from_memory(data, size, &width, &height, &channels, channels_wanted);
}

uint16_t* Load16(const uint8_t* data, int size, int& width, int& height, int channels_wanted) {
  int channels = 0;
  return stbi_load_16_from_memory(data, size, &width, &height, &channels, channels_wanted);
}

void Free(void* pixels) { stbi_image_free(pixels); }

const char* FailureReason() {
  const char* reason = stbi_failure_reason();
  return reason != nullptr ? reason : "unknown";
}

bool WritePng(WriteFunction write, void* context, int width, int height, int channels, const void* pixels) {
  return stbi_write_png_to_func(write, context, width, height, channels, pixels, width * channels) != 0;
}

bool WriteTga(WriteFunction write, void* context, int width, int height, int channels, const void* pixels) {
  return stbi_write_tga_to_func(write, context, width, height, channels, pixels) != 0;
}

} // namespace tv::stb
