// Picture::Convert for every pair of formats, pixel by pixel, against a channel model written
// here from the conversion rules: 5- and 6-bit channels widen by a shift (no bit replication),
// 8 to 16 bits is v × 257, 16 to 8 bits is v >> 8, gray is (77 R + 150 G + 29 B) over 256, the
// RGB555 top bit is a one-bit alpha (written from alpha's top bit, read as 0 or 255), 8-bit to
// float divides by 255, float to 8-bit clamps, multiplies by 255 and truncates.

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <random>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "picture/picture.h"

namespace tv::test {
namespace {

// The pairs that convert, as the conversion table names them.
std::set<std::pair<int, int>> ConvertiblePairs() {
  std::set<std::pair<int, int>> pairs;
  auto add = [&](std::initializer_list<int> from, int first, int last) {
    for (int f : from)
      for (int t = first; t <= last; ++t)
        if (t != f) pairs.insert({f, t});
  };
  add({RGB555, RGB565}, 3, 10);
  add({RGB8, BGR8}, 0, 16);
  add({RGBA8}, 3, 10);
  pairs.insert({RGBA8, RGBA32});
  add({BGRA8, ARGB8, ABGR8}, 3, 10);
  for (int f : {RGB16, BGR16})
    for (int t : {RGB8, BGR8}) pairs.insert({f, t});
  add({RGBA16, BGRA16, ARGB16, ABGR16}, 7, 10);
  pairs.insert({RGBA32, RGBA8});
  return pairs;
}

// Channel positions in memory of the 8- and 16-bit layouts; -1 where a layout has no channel.
struct Layout {
  int r, g, b, a, channels, bits;
};
Layout LayoutOf(PictureFormat f) {
  switch (f) {
    case RGB8: return {0, 1, 2, -1, 3, 8};
    case BGR8: return {2, 1, 0, -1, 3, 8};
    case RGBA8: return {0, 1, 2, 3, 4, 8};
    case BGRA8: return {2, 1, 0, 3, 4, 8};
    case ARGB8: return {1, 2, 3, 0, 4, 8};
    case ABGR8: return {3, 2, 1, 0, 4, 8};
    case RGB16: return {0, 1, 2, -1, 3, 16};
    case BGR16: return {2, 1, 0, -1, 3, 16};
    case RGBA16: return {0, 1, 2, 3, 4, 16};
    case BGRA16: return {2, 1, 0, 3, 4, 16};
    case ARGB16: return {1, 2, 3, 0, 4, 16};
    case ABGR16: return {3, 2, 1, 0, 4, 16};
    default: return {-1, -1, -1, -1, 0, 0};
  }
}

uint16_t U16(const uint8_t* p, int index) {
  uint16_t v;
  std::memcpy(&v, p + index * 2, 2);
  return v;
}
float F32(const uint8_t* p, int index) {
  float v;
  std::memcpy(&v, p + index * 4, 4);
  return v;
}

// A source pixel seen with 8-bit channels, the way every integer row of the table reads it.
struct Rgba8 {
  int r, g, b, a;
  bool has_alpha;  // whether the source format carries alpha at all
};

Rgba8 Read8(PictureFormat f, const uint8_t* p) {
  if (f == RGB555) {
    const uint16_t v = U16(p, 0);
    return {((v >> 10) & 31) << 3, ((v >> 5) & 31) << 3, (v & 31) << 3, (v & 0x8000) ? 255 : 0, true};
  }
  if (f == RGB565) {
    const uint16_t v = U16(p, 0);
    return {((v >> 11) & 31) << 3, ((v >> 5) & 63) << 2, (v & 31) << 3, 255, false};
  }
  const Layout l = LayoutOf(f);
  if (l.bits == 8) return {p[l.r], p[l.g], p[l.b], l.a < 0 ? 255 : p[l.a], l.a >= 0};
  return {U16(p, l.r) >> 8, U16(p, l.g) >> 8, U16(p, l.b) >> 8, l.a < 0 ? 255 : U16(p, l.a) >> 8, l.a >= 0};
}

// Checks one converted pixel against the model; `where` names it in failures.
void ExpectPixel(PictureFormat from, PictureFormat to, const uint8_t* src, const uint8_t* dst,
                 const std::string& where) {
  SCOPED_TRACE(where);
  if (from == RGBA32) {  // to RGBA8
    for (int i = 0; i < 4; ++i) {
      const float v = F32(src, i);
      const int expected = std::isnan(v) ? 0 : int(std::min(1.0f, std::max(0.0f, v)) * 255.0f);
      EXPECT_EQ(dst[i], expected) << "channel " << i << " from " << v;
    }
    return;
  }
  const Rgba8 c = Read8(from, src);
  const int weighted = c.r * 77 + c.g * 150 + c.b * 29;
  switch (to) {
    case Gray8: EXPECT_EQ(dst[0], weighted >> 8); return;
    case Gray16: EXPECT_EQ(U16(dst, 0), weighted); return;
    case Gray32: EXPECT_FLOAT_EQ(F32(dst, 0), float(weighted) / 256.0f / 255.0f); return;
    case RGB555: {
      const int alpha_bit = c.has_alpha && c.a >= 128 ? 0x8000 : 0;
      EXPECT_EQ(U16(dst, 0), ((c.r >> 3) << 10) | ((c.g >> 3) << 5) | (c.b >> 3) | alpha_bit);
      return;
    }
    case RGB565: EXPECT_EQ(U16(dst, 0), ((c.r >> 3) << 11) | ((c.g >> 2) << 5) | (c.b >> 3)); return;
    case RGBA32:
      for (int i = 0; i < 4; ++i) EXPECT_FLOAT_EQ(F32(dst, i), float(src[i]) / 255.0f) << "channel " << i;
      return;
    default: break;
  }
  const Layout l = LayoutOf(to);
  if (l.bits == 8) {
    EXPECT_EQ(dst[l.r], c.r);
    EXPECT_EQ(dst[l.g], c.g);
    EXPECT_EQ(dst[l.b], c.b);
    if (l.a >= 0) {
      EXPECT_EQ(dst[l.a], c.a);
    }
  } else {
    // Only 8-bit RGB widens to 16 bits.
    EXPECT_EQ(U16(dst, l.r), c.r * 257);
    EXPECT_EQ(U16(dst, l.g), c.g * 257);
    EXPECT_EQ(U16(dst, l.b), c.b * 257);
    if (l.a >= 0) {
      EXPECT_EQ(U16(dst, l.a), 65535);
    }
  }
}

// Random pixel bytes; float pictures get values around and outside 0..1, and the odd NaN.
std::vector<uint8_t> SourceBytes(PictureFormat format, uint32_t pixels, std::mt19937& random) {
  std::vector<uint8_t> bytes(size_t(pixels) * Picture::GetBytesPerPixel(format));
  if (format >= RGB32 && format <= ABGR32) {
    std::uniform_real_distribution<float> around(-0.25f, 1.25f);
    for (size_t i = 0; i < bytes.size(); i += 4) {
      const float v = i % 52 == 0 ? NAN : around(random);
      std::memcpy(&bytes[i], &v, 4);
    }
  } else {
    for (uint8_t& b : bytes) b = uint8_t(random());
  }
  return bytes;
}

TEST(PictureConvert, EveryPairOfTheTableConvertsAndNoOtherDoes) {
  const auto pairs = ConvertiblePairs();
  ASSERT_EQ(pairs.size(), 96u);
  std::mt19937 random(7);
  constexpr uint32_t kWidth = 17, kHeight = 5;
  int converted = 0;
  for (int from = 0; from < int(kPictureFormatCount); ++from) {
    for (int to = 0; to <= int(kPictureFormatCount); ++to) {
      if (from == to) continue;
      const std::vector<uint8_t> source = SourceBytes(PictureFormat(from), kWidth * kHeight, random);
      Picture picture(kWidth, kHeight, PictureFormat(from), source.data());
      const std::string pair = std::string(GetPictureFormatName(PictureFormat(from))) + " to " +
                               GetPictureFormatName(PictureFormat(to));
      const bool expected = pairs.count({from, to}) > 0;
      ASSERT_EQ(picture.Convert(PictureFormat(to)), expected) << pair;
      if (!expected) {
        EXPECT_EQ(picture.GetFormat(), from) << pair;
        ASSERT_EQ(picture.GetDataSize(), source.size()) << pair;
        EXPECT_EQ(std::memcmp(picture.GetData(), source.data(), source.size()), 0) << pair;
        continue;
      }
      ++converted;
      EXPECT_EQ(picture.GetFormat(), to);
      EXPECT_EQ(picture.GetWidth(), kWidth);
      EXPECT_EQ(picture.GetHeight(), kHeight);
      ASSERT_EQ(picture.GetDataSize(), size_t(kWidth) * kHeight * Picture::GetBytesPerPixel(PictureFormat(to)));
      const uint32_t in = Picture::GetBytesPerPixel(PictureFormat(from));
      for (uint32_t i = 0; i < kWidth * kHeight; ++i)
        ExpectPixel(PictureFormat(from), PictureFormat(to), source.data() + i * in,
                    picture.GetData(i % kWidth, i / kWidth), pair + ", pixel " + std::to_string(i));
      if (HasFailure()) return;
    }
  }
  EXPECT_EQ(converted, 96);
}

TEST(PictureConvert, TheSameFormatChangesNothing) {
  const uint8_t pixels[] = {1, 2, 3, 4, 5, 6};
  Picture picture(2, 1, RGB8, pixels);
  picture.SetClipRect(1, 0, 1, 0);
  const IPictureRenderer* renderer = picture.GetRenderer();
  EXPECT_TRUE(picture.Convert(RGB8));
  EXPECT_EQ(picture.GetRenderer(), renderer);
  EXPECT_EQ(std::memcmp(picture.GetData(), pixels, sizeof(pixels)), 0);
  // The clip box stayed: the first pixel still reads as outside.
  EXPECT_EQ(picture.GetPixel(0, 0), Color());
}

TEST(PictureConvert, TheNewRendererKeepsTheFillAndPenState) {
  Picture picture(3, 3, RGB8);
  picture.SetFillColor(Color(0.25f, 0.5f, 0.75f, 1));
  picture.SetPenColor(Color(1, 0, 0, 0.5f));
  picture.GetRenderer()->pen_width = 3;
  picture.GetRenderer()->pen_join = 2;
  picture.GetRenderer()->fill_mode = 0;
  ASSERT_TRUE(picture.Convert(RGBA8));
  const IPictureRenderer& r = *picture.GetRenderer();
  EXPECT_DOUBLE_EQ(r.fill_color.g, 0.5);
  EXPECT_DOUBLE_EQ(r.pen_color.a, 0.5);
  EXPECT_FLOAT_EQ(r.pen_width, 3);
  EXPECT_EQ(r.pen_join, 2);
  EXPECT_EQ(r.fill_mode, 0);
  // It draws on the converted pixels, in the new layout.
  picture.PutPixel(1, 1, Color(1, 0, 0, 1));
  EXPECT_EQ(picture.GetData(1, 1)[0], 255);
  EXPECT_EQ(picture.GetData(1, 1)[3], 255);
}

TEST(PictureConvert, ADefaultPictureConvertsToNothing) {
  Picture picture;
  for (int to = 0; to <= int(kPictureFormatCount); ++to) {
    EXPECT_EQ(picture.Convert(PictureFormat(to)), to == InvalidPictureFormat) << to;
    EXPECT_EQ(picture.GetFormat(), InvalidPictureFormat);
  }
}

} // namespace
} // namespace tv::test
