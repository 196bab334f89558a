// Picture: formats, allocation, copies, crop, reframe, resize, conversion between formats and its
// entry in the type registry.

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <functional>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "core/core_registration.h"
#include "picture/picture.h"
#include "picture/picture_filter.h"
#include "reflection/type_registry.h"

namespace tv::test {
namespace {

// Pixel i of a numbered RGBA8 picture is (i, 2i, 3i, 255 - i): distinct and translucent.
std::vector<uint8_t> NumberedPixel(int i) {
  if (i < 0) return {0, 0, 0, 255};  // -1 stands for opaque black
  return {uint8_t(i), uint8_t(2 * i), uint8_t(3 * i), uint8_t(255 - i)};
}
std::vector<uint8_t> NumberedBytes(const std::vector<int>& numbers) {
  std::vector<uint8_t> bytes;
  for (int i : numbers) for (uint8_t byte : NumberedPixel(i)) bytes.push_back(byte);
  return bytes;
}
Picture Numbered(uint32_t width, uint32_t height) {
  std::vector<int> numbers(width * height);
  for (uint32_t i = 0; i < numbers.size(); ++i) numbers[i] = int(i);
  return Picture(width, height, RGBA8, NumberedBytes(numbers).data());
}
std::vector<uint8_t> Bytes(const Picture& picture) {
  return std::vector<uint8_t>(picture.GetData(), picture.GetData() + picture.GetDataSize());
}
std::vector<uint8_t> PixelAt(const Picture& picture, uint32_t x, uint32_t y) {
  return std::vector<uint8_t>(picture.GetData(x, y), picture.GetData(x, y) + Picture::GetBytesPerPixel(picture.GetFormat()));
}

// Sizes and names of the 23 formats; anything from 23 on is no format.
TEST(Picture, FormatTable) {
  const uint32_t bytes[] = {1, 2, 4, 2, 2, 3, 3, 4, 4, 4, 4, 6, 6, 8, 8, 8, 8, 12, 12, 16, 16, 16, 16, 0};
  for (uint32_t f = 0; f <= kPictureFormatCount; ++f) {
    EXPECT_EQ(Picture::GetBytesPerPixel(PictureFormat(f)), bytes[f]) << f;
    if (f < kPictureFormatCount) {
      EXPECT_EQ(FindPictureFormat(GetPictureFormatName(PictureFormat(f))), PictureFormat(f));
    }
  }
  EXPECT_EQ(Picture::GetBytesPerPixel(PictureFormat(200)), 0u);
  EXPECT_STREQ(GetPictureFormatName(ABGR16), "ABGR16");
  EXPECT_STREQ(GetPictureFormatName(PictureFormat(23)), "InvalidPictureFormat");
  EXPECT_EQ(FindPictureFormat("rgba8"), InvalidPictureFormat);
  Picture picture(5, 3, RGB16);
  EXPECT_EQ(picture.GetStride(), 30u);
  EXPECT_EQ(picture.GetDataSize(), 90u);
  EXPECT_EQ(picture.GetData(4, 2) - picture.GetData(), (5 * 2 + 4) * 6);
}

// A default picture has nothing to draw on, and every operation on it is a harmless no.
TEST(Picture, ADefaultPictureDrawsNothing) {
  Picture picture;
  EXPECT_EQ(picture.GetFormat(), InvalidPictureFormat);
  EXPECT_EQ(picture.GetDataSize(), 0u);
  picture.Clear(Color(1, 1, 1, 1));
  picture.PutPixel(0, 0, Color(1, 1, 1, 1));
  picture.MoveTo(0, 0);
  picture.LineTo(10, 10);
  picture.LineTo(0, 10);
  picture.DrawPath();
  picture.Flip(true, true);
  EXPECT_EQ(picture.GetPixel(0, 0), Color());
  const Picture other(2, 2, RGBA8);
  EXPECT_FALSE(picture.Blit(other, 0, 0, 2, 2, Matrix3(), FilterNearest));
  EXPECT_FALSE(picture.Copy(other, 0, 0, 1, 1, 0, 0));
  EXPECT_FALSE(picture.Compare(other, 1));
  EXPECT_FALSE(picture.Crop(0, 0, 1, 1));
  EXPECT_FALSE(picture.Reframe(0, 1, 0, 1));
  EXPECT_FALSE(picture.Resize(2, 2, FilterBilinear));
  picture.SetFillColor(Color(1, 0, 0, 1));
  EXPECT_DOUBLE_EQ(picture.GetRenderer()->fill_color.r, 0);
  for (int to = 0; to <= int(kPictureFormatCount); ++to) EXPECT_EQ(picture.Convert(PictureFormat(to)), to == InvalidPictureFormat) << to;
  EXPECT_EQ(picture.GetFormat(), InvalidPictureFormat);
}

// The same size and format change nothing; another keeps the bytes where they were, zeroes the
// new ones and resets the drawing state; an impossible one is refused and changes nothing.
TEST(Picture, AllocateKeepsBytesAndResetsTheDrawingState) {
  Picture picture = Numbered(2, 2);
  picture.SetClipRect(0, 0, 0, 0);
  picture.SetFillColor(Color(0, 1, 0, 1));
  const IPictureRenderer* renderer = picture.GetRenderer();
  EXPECT_TRUE(picture.Allocate(2, 2, RGBA8));
  EXPECT_EQ(picture.GetRenderer(), renderer);
  EXPECT_DOUBLE_EQ(picture.GetRenderer()->fill_color.g, 1);
  EXPECT_EQ(picture.GetPixel(1, 1), Color());  // still outside the clip box
  EXPECT_FALSE(picture.Allocate(2, 2, InvalidPictureFormat));
  EXPECT_FALSE(picture.Allocate(65536, 1, RGBA8));
  EXPECT_FALSE(picture.Allocate(1, 70000, Gray8));
  EXPECT_EQ(Bytes(picture), NumberedBytes({0, 1, 2, 3}));
  ASSERT_TRUE(picture.Allocate(3, 2, RGBA8));
  std::vector<uint8_t> grown = NumberedBytes({0, 1, 2, 3});
  grown.resize(24);  // the old bytes where they were, then zeros
  EXPECT_EQ(Bytes(picture), grown);
  const IPictureRenderer& fresh = *picture.GetRenderer();
  EXPECT_DOUBLE_EQ(fresh.fill_color.g, 0);
  EXPECT_DOUBLE_EQ(fresh.fill_color.a, 1);
  EXPECT_EQ(fresh.fill_mode, 1);
  EXPECT_EQ(fresh.pen_inner_join, 1);
  EXPECT_FLOAT_EQ(fresh.pen_width, 1);
  picture.PutPixel(2, 1, Color(1, 1, 1, 1));
  EXPECT_EQ(PixelAt(picture, 2, 1), std::vector<uint8_t>(4, 255));
  EXPECT_TRUE(picture.Allocate(0, 0, Gray8));
  EXPECT_EQ(picture.GetDataSize(), 0u);
}

// Copies own their pixels; a moved picture draws on its own pixels and leaves a default one.
TEST(Picture, CopiesAndMovesOwnTheirPixels) {
  const Picture original = Numbered(2, 1);
  Picture copy(original);
  copy.PutPixel(0, 0, Color(1, 1, 1, 1));
  EXPECT_EQ(Bytes(original), NumberedBytes({0, 1}));
  Picture assigned = Numbered(4, 4);
  assigned = original;
  EXPECT_EQ(Bytes(assigned), NumberedBytes({0, 1}));
  assigned = Picture();
  EXPECT_EQ(assigned.GetFormat(), InvalidPictureFormat);
  EXPECT_EQ(assigned.GetDataSize(), 0u);

  Picture moved(std::move(copy));
  EXPECT_EQ(copy.GetFormat(), InvalidPictureFormat);  // NOLINT: a moved-from picture is a default one
  copy.PutPixel(0, 0, Color(1, 1, 1, 1));             // and draws nothing
  Picture target;
  target = std::move(moved);
  target.PutPixel(1, 0, Color(1, 1, 1, 1));
  EXPECT_EQ(Bytes(target), std::vector<uint8_t>(8, 255));
}

// Crop, Reframe and Resize of a numbered picture: the new size and pixels by number (B: opaque
// black), the same whatever clip box and fill colour the caller had set, and the default drawing
// state afterwards. A refused call changes nothing.
TEST(PictureGeometry, CropReframeAndResize) {
  constexpr int B = -1;
#define CALL(call) #call, [](Picture& p) { return p.call; }
  const struct {
    uint32_t width, height;
    const char* call;
    std::function<bool(Picture&)> apply;
    bool ok;
    uint32_t new_width, new_height;
    std::vector<int> pixels;  // not compared for a bilinear resize
  } rows[] = {
      {4, 3, CALL(Crop(1, 1, 3, 3)), true, 2, 2, {5, 6, 9, 10}},
      {2, 2, CALL(Crop(-1, -1, 2, 2)), true, 3, 3, {B, B, B, B, 0, 1, B, 2, 3}},
      {2, 2, CALL(Crop(1, 1, 4, 3)), true, 3, 2, {3, B, B, B, B, B}},
      {2, 2, CALL(Crop(5, 5, 7, 6)), true, 2, 1, {B, B}},  // wholly outside
      {3, 3, CALL(Crop(1, 1, 1, 2)), true, 0, 1, {}},
      {3, 3, CALL(Crop(2, 0, 1, 3)), false, 3, 3, {}},
      {3, 3, CALL(Crop(0, 0, 70000, 1)), false, 3, 3, {}},
      {3, 3, CALL(Reframe(1, 0, 2, 0)), true, 1, 2, {5, 8}},
      {2, 2, CALL(Reframe(-1, 0, -2, 0)), true, 4, 3, {B, B, B, B, B, B, 0, 1, B, B, 2, 3}},
      {3, 2, CALL(Reframe(0, 1, 0, -1)), true, 2, 3, {0, 1, 3, 4, B, B}},
      {3, 2, CALL(Reframe(0, 0, 0, 0)), true, 3, 2, {0, 1, 2, 3, 4, 5}},
      {3, 2, CALL(Reframe(0, -4, 0, 0)), false, 3, 2, {}},
      {3, 2, CALL(Reframe(0, 0, 0, 70000)), false, 3, 2, {}},
      {2, 2, CALL(Resize(4, 6, FilterNearest)), true, 4, 6, {0, 0, 1, 1, 0, 0, 1, 1, 0, 0, 1, 1, 2, 2, 3, 3, 2, 2, 3, 3, 2, 2, 3, 3}},
      {2, 2, CALL(Resize(2, 2, FilterNearest)), true, 2, 2, {0, 1, 2, 3}},  // translucent pixels copied, not blended
      {3, 3, CALL(Resize(0, 4, FilterBicubic)), true, 0, 4, {}},
      {0, 3, CALL(Resize(2, 2, FilterNearest)), true, 2, 2, {B, B, B, B}},  // from nothing: only the background
      {3, 3, CALL(Resize(7, 5, FilterBilinear)), true, 7, 5, {}},
  };
#undef CALL
  for (const auto& row : rows) {
    SCOPED_TRACE(std::to_string(row.width) + "x" + std::to_string(row.height) + " " + row.call);
    Picture plain = Numbered(row.width, row.height), stated = Numbered(row.width, row.height);
    stated.SetClipRect(0, 0, 0, 0);
    stated.SetFillColor(Color(0, 1, 0, 1));
    EXPECT_EQ(row.apply(plain), row.ok);
    EXPECT_EQ(row.apply(stated), row.ok);
    EXPECT_EQ(plain.GetWidth(), row.new_width);
    EXPECT_EQ(plain.GetHeight(), row.new_height);
    if (!row.ok) {
      EXPECT_EQ(Bytes(plain), Bytes(Numbered(row.width, row.height)));
      continue;
    }
    EXPECT_EQ(Bytes(stated), Bytes(plain));
    if (!row.pixels.empty() || row.new_width * row.new_height == 0) {
      EXPECT_EQ(Bytes(plain), NumberedBytes(row.pixels));
    }
    EXPECT_DOUBLE_EQ(stated.GetRenderer()->fill_color.g, 0);
    if (row.new_width * row.new_height > 1) {
      EXPECT_NE(stated.GetPixel(int(row.new_width) - 1, int(row.new_height) - 1), Color());
    }
  }
}

// Filters past the last act as bilinear, every kernel smooths, and samples beyond the edge read
// the new renderer's opaque black whatever the fill colour was.
TEST(PictureGeometry, ResizeFilters) {
  Picture checker(4, 4, RGB8);
  for (int y = 0; y < 4; ++y)
    for (int x = 0; x < 4; ++x) checker.PutPixel(x, y, (x + y) % 2 ? Color(1, 1, 1, 1) : Color(0, 0, 0, 1));
  Picture bilinear = checker;
  ASSERT_TRUE(bilinear.Resize(11, 7, FilterBilinear));
  std::vector<uint32_t> filters = {23, 24, 1000};
  for (uint32_t filter = FilterBilinear; filter < kPictureFilterCount; ++filter) filters.push_back(filter);
  for (uint32_t filter : filters) {
    Picture other = checker;
    ASSERT_TRUE(other.Resize(11, 7, filter));
    if (filter >= kPictureFilterCount) {
      EXPECT_EQ(Bytes(other), Bytes(bilinear)) << filter;
    }
    int between = 0;
    for (uint8_t byte : Bytes(other)) between += byte > 8 && byte < 247;
    EXPECT_GT(between, 0) << "filter " << filter;
  }
  Picture white(6, 6, RGB8);
  white.Clear(Color(1, 1, 1, 1));
  white.SetFillColor(Color(1, 1, 1, 1));
  ASSERT_TRUE(white.Resize(9, 9, FilterBilinear));
  EXPECT_EQ(PixelAt(white, 4, 4), (std::vector<uint8_t>{255, 255, 255}));
  EXPECT_LT(PixelAt(white, 0, 0)[0], 250);
  EXPECT_GT(PixelAt(white, 0, 0)[0], 100);
}

// The conversion model: 5- and 6-bit channels widen by a shift (no bit replication), 8 to 16
// bits is v × 257, 16 to 8 bits is v >> 8, gray is (77 R + 150 G + 29 B) / 256, the RGB555 top
// bit is a one-bit alpha (written from alpha's top bit, read as 0 or 255), 8-bit to float divides
// by 255, float to 8-bit clamps, multiplies by 255 and truncates.
std::set<std::pair<int, int>> ConvertiblePairs() {
  std::set<std::pair<int, int>> pairs;
  auto add = [&](std::initializer_list<int> from, int first, int last) {
    for (int f : from)
      for (int t = first; t <= last; ++t)
        if (t != f) pairs.insert({f, t});
  };
  add({RGB555, RGB565, RGBA8, BGRA8, ARGB8, ABGR8}, 3, 10);
  add({RGB8, BGR8}, 0, 16);
  add({RGB16, BGR16}, 5, 6);
  add({RGBA16, BGRA16, ARGB16, ABGR16}, 7, 10);
  pairs.insert({RGBA8, RGBA32});
  pairs.insert({RGBA32, RGBA8});
  return pairs;
}

// Channel positions of the 8- and 16-bit layouts; -1 where a layout has no channel.
struct Layout {
  int r, g, b, a, bits;
};
Layout LayoutOf(PictureFormat f) {
  switch (f) {
    case RGB8: return {0, 1, 2, -1, 8};
    case BGR8: return {2, 1, 0, -1, 8};
    case RGBA8: return {0, 1, 2, 3, 8};
    case BGRA8: return {2, 1, 0, 3, 8};
    case ARGB8: return {1, 2, 3, 0, 8};
    case ABGR8: return {3, 2, 1, 0, 8};
    case RGB16: return {0, 1, 2, -1, 16};
    case BGR16: return {2, 1, 0, -1, 16};
    case RGBA16: return {0, 1, 2, 3, 16};
    case BGRA16: return {2, 1, 0, 3, 16};
    case ARGB16: return {1, 2, 3, 0, 16};
    case ABGR16: return {3, 2, 1, 0, 16};
    default: return {-1, -1, -1, -1, 0};
  }
}
template <typename T>
T At(const uint8_t* p, int index) {
  T v;
  std::memcpy(&v, p + index * sizeof(T), sizeof(T));
  return v;
}

// A source pixel seen with 8-bit channels, the way every integer row of the table reads it.
struct Rgba8 {
  int r, g, b, a;
  bool has_alpha;
};
Rgba8 Read8(PictureFormat f, const uint8_t* p) {
  const uint16_t v = At<uint16_t>(p, 0);
  if (f == RGB555) return {((v >> 10) & 31) << 3, ((v >> 5) & 31) << 3, (v & 31) << 3, (v & 0x8000) ? 255 : 0, true};
  if (f == RGB565) return {((v >> 11) & 31) << 3, ((v >> 5) & 63) << 2, (v & 31) << 3, 255, false};
  const Layout l = LayoutOf(f);
  auto channel = [&](int i) { return i < 0 ? 255 : l.bits == 8 ? p[i] : At<uint16_t>(p, i) >> 8; };
  return {channel(l.r), channel(l.g), channel(l.b), channel(l.a), l.a >= 0};
}

void ExpectPixel(PictureFormat from, PictureFormat to, const uint8_t* src, const uint8_t* dst) {
  if (from == RGBA32) {  // to RGBA8
    for (int i = 0; i < 4; ++i) {
      const float v = At<float>(src, i);
      EXPECT_EQ(dst[i], std::isnan(v) ? 0 : int(std::min(1.0f, std::max(0.0f, v)) * 255.0f)) << i << ": " << v;
    }
    return;
  }
  const Rgba8 c = Read8(from, src);
  const int weighted = c.r * 77 + c.g * 150 + c.b * 29;
  const Layout l = LayoutOf(to);
  switch (to) {
    case Gray8: EXPECT_EQ(dst[0], weighted >> 8); break;
    case Gray16: EXPECT_EQ(At<uint16_t>(dst, 0), weighted); break;
    case Gray32: EXPECT_FLOAT_EQ(At<float>(dst, 0), float(weighted) / 256.0f / 255.0f); break;
    case RGB555:
      EXPECT_EQ(At<uint16_t>(dst, 0), ((c.r >> 3) << 10) | ((c.g >> 3) << 5) | (c.b >> 3) | (c.has_alpha && c.a >= 128 ? 0x8000 : 0));
      break;
    case RGB565: EXPECT_EQ(At<uint16_t>(dst, 0), ((c.r >> 3) << 11) | ((c.g >> 2) << 5) | (c.b >> 3)); break;
    case RGBA32:
      for (int i = 0; i < 4; ++i) EXPECT_FLOAT_EQ(At<float>(dst, i), float(src[i]) / 255.0f) << i;
      break;
    default:
      if (l.bits == 8) {
        EXPECT_EQ((std::vector<int>{dst[l.r], dst[l.g], dst[l.b], l.a < 0 ? 255 : dst[l.a]}), (std::vector<int>{c.r, c.g, c.b, l.a < 0 ? 255 : c.a}));
      } else {  // only 8-bit RGB widens to 16 bits
        EXPECT_EQ((std::vector<int>{At<uint16_t>(dst, l.r), At<uint16_t>(dst, l.g), At<uint16_t>(dst, l.b), l.a < 0 ? 65535 : At<uint16_t>(dst, l.a)}),
                  (std::vector<int>{c.r * 257, c.g * 257, c.b * 257, 65535}));
      }
  }
}

// Every pair of formats, pixel by pixel on random bytes (floats around and outside 0..1, the odd
// NaN), against the model: the pairs of the table convert, any other leaves the picture as it was.
TEST(PictureConvert, EveryPairOfTheTableConvertsAndNoOtherDoes) {
  const auto pairs = ConvertiblePairs();
  ASSERT_EQ(pairs.size(), 96u);
  std::mt19937 random(7);
  std::uniform_real_distribution<float> around(-0.25f, 1.25f);
  constexpr uint32_t kWidth = 17, kHeight = 5;
  for (int from = 0; from < int(kPictureFormatCount); ++from) {
    for (int to = 0; to <= int(kPictureFormatCount); ++to) {
      if (from == to) continue;
      std::vector<uint8_t> source(kWidth * kHeight * Picture::GetBytesPerPixel(PictureFormat(from)));
      for (size_t i = 0; i < source.size(); i += from >= RGB32 ? 4 : 1) {
        if (from < RGB32) {
          source[i] = uint8_t(random());
          continue;
        }
        const float v = i % 52 == 0 ? NAN : around(random);
        std::memcpy(&source[i], &v, 4);
      }
      Picture picture(kWidth, kHeight, PictureFormat(from), source.data());
      SCOPED_TRACE(std::string(GetPictureFormatName(PictureFormat(from))) + " to " + GetPictureFormatName(PictureFormat(to)));
      const bool expected = pairs.count({from, to}) > 0;
      ASSERT_EQ(picture.Convert(PictureFormat(to)), expected);
      if (!expected) {
        EXPECT_EQ(picture.GetFormat(), from);
        EXPECT_TRUE(Bytes(picture) == source);
        continue;
      }
      EXPECT_EQ(picture.GetFormat(), to);
      EXPECT_EQ(picture.GetWidth(), kWidth);
      ASSERT_EQ(picture.GetDataSize(), size_t(kWidth) * kHeight * Picture::GetBytesPerPixel(PictureFormat(to)));
      for (uint32_t i = 0; i < kWidth * kHeight; ++i)
        ExpectPixel(PictureFormat(from), PictureFormat(to), source.data() + i * Picture::GetBytesPerPixel(PictureFormat(from)),
                    picture.GetData(i % kWidth, i / kWidth));
      if (HasFailure()) return;
    }
  }
}

// The same format changes nothing, not even the renderer; another gets a renderer that keeps the
// fill and pen state and draws in the new layout.
TEST(PictureConvert, TheRendererKeepsTheDrawingState) {
  Picture picture = Numbered(3, 3);
  picture.SetClipRect(1, 1, 1, 1);
  const IPictureRenderer* renderer = picture.GetRenderer();
  EXPECT_TRUE(picture.Convert(RGBA8));
  EXPECT_EQ(picture.GetRenderer(), renderer);
  EXPECT_EQ(picture.GetPixel(0, 0), Color());  // the clip box stayed
  picture.SetFillColor(Color(0.25f, 0.5f, 0.75f, 1));
  picture.SetPenColor(Color(1, 0, 0, 0.5f));
  picture.GetRenderer()->pen_width = 3;
  picture.GetRenderer()->pen_join = 2;
  picture.GetRenderer()->fill_mode = 0;
  ASSERT_TRUE(picture.Convert(BGR8));
  const IPictureRenderer& r = *picture.GetRenderer();
  EXPECT_DOUBLE_EQ(r.fill_color.g, 0.5);
  EXPECT_DOUBLE_EQ(r.pen_color.a, 0.5);
  EXPECT_FLOAT_EQ(r.pen_width, 3);
  EXPECT_EQ(r.pen_join, 2);
  EXPECT_EQ(r.fill_mode, 0);
  picture.PutPixel(0, 0, Color(1, 0, 0, 1));  // outside the old clip box
  EXPECT_EQ(PixelAt(picture, 0, 0), (std::vector<uint8_t>{0, 0, 255}));
}

// Registered as "Picture" with its native alias and a shared pointer type; the factory makes
// default pictures and copies pixels.
TEST(PictureType, RegisteredWithFactoryAliasAndSharedPointer) {
  TypeRegistry registry;
  RegisterCoreTypes(registry);
  Type* type = registry.FindType("Picture");
  ASSERT_NE(type, nullptr);
  EXPECT_EQ(registry.FindType("tv::Picture"), type);
  EXPECT_EQ(type->size, sizeof(Picture));
  Type* pointer = registry.FindType("std::shared_ptr<tv::Picture>");
  ASSERT_NE(pointer, nullptr);
  ASSERT_NE(pointer->shared_ptr_accessor, nullptr);
  EXPECT_EQ(pointer->shared_ptr_accessor->GetPointeeType(), type);
  ASSERT_NE(type->factory, nullptr);
  void* made = type->factory->New();
  EXPECT_EQ(static_cast<Picture*>(made)->GetFormat(), InvalidPictureFormat);
  const Picture source = Numbered(2, 1);
  type->factory->Copy(made, &source);
  EXPECT_EQ(Bytes(*static_cast<Picture*>(made)), NumberedBytes({0, 1}));
  type->factory->Delete(made);
}

} // namespace
} // namespace tv::test
