#pragma once
// Builds RIFF/WAVE images chunk by chunk, sizes as given (so they may lie).

#include <cstdint>
#include <string>
#include <vector>

namespace tv::test {

class WavBuilder {
public:
  WavBuilder() {
    Tag("RIFF");
    U32(0);
    Tag("WAVE");
  }

  WavBuilder& Chunk(const std::string& tag, uint32_t size_field, const std::vector<uint8_t>& payload) {
    Tag(tag);
    U32(size_field);
    bytes.insert(bytes.end(), payload.begin(), payload.end());
    return *this;
  }
  WavBuilder& Chunk(const std::string& tag, const std::vector<uint8_t>& payload) {
    return Chunk(tag, uint32_t(payload.size()), payload);
  }

  // A "fmt " chunk with PCM fields, `extra` further bytes behind the 16.
  WavBuilder& Fmt(uint16_t code, uint16_t channels, uint32_t rate, uint16_t bits, uint32_t extra = 0) {
    std::vector<uint8_t> p;
    auto u16 = [&](uint16_t v) { p.push_back(uint8_t(v)); p.push_back(uint8_t(v >> 8)); };
    auto u32 = [&](uint32_t v) { for (int i = 0; i < 4; ++i) p.push_back(uint8_t(v >> (8 * i))); };
    u16(code);
    u16(channels);
    u32(rate);
    u32(rate * channels * (bits / 8));
    u16(uint16_t(channels * (bits / 8)));
    u16(bits);
    p.resize(p.size() + extra, 0xEE);
    return Chunk("fmt ", p);
  }

  // A "data" chunk of `count` bytes counting up from `seed`.
  WavBuilder& Data(uint32_t count, uint8_t seed = 0) { return Chunk("data", Pattern(count, seed)); }

  static std::vector<uint8_t> Pattern(uint32_t count, uint8_t seed = 0) {
    std::vector<uint8_t> p(count);
    for (uint32_t i = 0; i < count; ++i) p[i] = uint8_t(seed + i * 7 + (i >> 8));
    return p;
  }

  std::vector<uint8_t> bytes;

private:
  void Tag(const std::string& tag) { bytes.insert(bytes.end(), tag.begin(), tag.begin() + 4); }
  void U32(uint32_t v) {
    for (int i = 0; i < 4; ++i) bytes.push_back(uint8_t(v >> (8 * i)));
  }
};

} // namespace tv::test
