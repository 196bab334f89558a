#pragma once
// The stb_image and stb_image_write functions this codec uses, compiled into this module with
// internal linkage (stb_image_library.cpp): no symbol of theirs can meet another copy of stb in
// the process. The decoder knows only PNG, JPEG, BMP and TGA.

#include <cstdint>

namespace tv::stb {

// The decoder's answers: null, zero or false on failure, with FailureReason() telling why.
bool Info(const uint8_t* data, int size, int& width, int& height, int& channels);
bool Is16Bit(const uint8_t* data, int size);
uint8_t* Load8(const uint8_t* data, int size, int& width, int& height, int channels_wanted);
uint16_t* Load16(const uint8_t* data, int size, int& width, int& height, int channels_wanted);
void Free(void* pixels);
const char* FailureReason();

// Writers call `write` with the encoded bytes in order; false when the encoder failed.
using WriteFunction = void (*)(void* context, void* data, int size);
bool WritePng(WriteFunction write, void* context, int width, int height, int channels, const void* pixels);
bool WriteTga(WriteFunction write, void* context, int width, int height, int channels, const void* pixels);

} // namespace tv::stb
