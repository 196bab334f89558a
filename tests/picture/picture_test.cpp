// Picture: formats, allocation, copies, crop, reframe, resize, conversion between formats and its
// entry in the type registry.

#include <gtest/gtest.h>

#include <array>
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
  const uint8_t* pixel = picture.GetData(x, y);
  return std::vector<uint8_t>(pixel, pixel + Picture::GetBytesPerPixel(picture.GetFormat()));
}

// Sizes and names of the 23 formats; anything from 23 on is no format. Rows have no padding.
TEST(Picture, FormatTable) {
  const uint32_t bytes[] = {1, 2, 4, 2, 2, 3, 3, 4, 4, 4, 4, 6, 6, 8, 8, 8, 8, 12, 12, 16, 16, 16, 16, 0, 0};
  for (uint32_t f = 0; f <= kPictureFormatCount + 1; ++f) {
    const PictureFormat format = PictureFormat(f == kPictureFormatCount + 1 ? 200 : f);
    EXPECT_EQ(Picture::GetBytesPerPixel(format), bytes[f]) << f;
    EXPECT_EQ(FindPictureFormat(GetPictureFormatName(format)), f < kPictureFormatCount ? format : InvalidPictureFormat);
  }
  EXPECT_STREQ(GetPictureFormatName(ABGR16), "ABGR16");
  EXPECT_STREQ(GetPictureFormatName(PictureFormat(23)), "InvalidPictureFormat");
  EXPECT_EQ(FindPictureFormat("rgba8"), InvalidPictureFormat);
  Picture picture(5, 3, RGB16);
  EXPECT_EQ(picture.GetStride(), 30u);
  EXPECT_EQ(picture.GetDataSize(), 90u);
  EXPECT_EQ(picture.GetData(4, 2) - picture.GetData(), (5 * 2 + 4) * 6);
}

// A default picture has nothing to draw on: every operation on it is harmless and refused.
TEST(Picture, ADefaultPictureDrawsNothing) {
  Picture picture;
  picture.Clear(Color(1, 1, 1, 1));
  picture.PutPixel(0, 0, Color(1, 1, 1, 1));
  picture.MoveTo(0, 0);
  picture.LineTo(10, 10);
  picture.LineTo(0, 10);
  picture.DrawPath();
  picture.Flip(true, true);
  picture.SetFillColor(Color(1, 0, 0, 1));
  EXPECT_DOUBLE_EQ(picture.GetRenderer()->fill_color.r, 0);
  EXPECT_EQ(picture.GetPixel(0, 0), Color());
  const Picture other(2, 2, RGBA8);
  EXPECT_FALSE(picture.Blit(other, 0, 0, 2, 2, Matrix3(), FilterNearest) || picture.Copy(other, 0, 0, 1, 1, 0, 0) ||
               picture.Compare(other, 1) || picture.Crop(0, 0, 1, 1) || picture.Reframe(0, 1, 0, 1) ||
               picture.Resize(2, 2, FilterBilinear));
  for (int to = 0; to <= int(kPictureFormatCount); ++to)
    EXPECT_EQ(picture.Convert(PictureFormat(to)), to == InvalidPictureFormat) << to;
  EXPECT_EQ(picture.GetFormat(), InvalidPictureFormat);
  EXPECT_EQ(picture.GetDataSize(), 0u);
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
  EXPECT_EQ(picture.GetPixel(1, 1), Color());  // still outside the clip box
  EXPECT_FALSE(picture.Allocate(2, 2, InvalidPictureFormat) || picture.Allocate(65536, 1, RGBA8) ||
               picture.Allocate(1, 70000, Gray8));
  EXPECT_EQ(Bytes(picture), NumberedBytes({0, 1, 2, 3}));
  ASSERT_TRUE(picture.Allocate(3, 2, RGBA8));
  std::vector<uint8_t> grown = NumberedBytes({0, 1, 2, 3});
  grown.resize(24);
  EXPECT_EQ(Bytes(picture), grown);
  const IPictureRenderer& fresh = *picture.GetRenderer();
  EXPECT_EQ((std::vector<double>{fresh.fill_color.g, fresh.fill_color.a, double(fresh.fill_mode),
                                 double(fresh.pen_inner_join), fresh.pen_width}),
            (std::vector<double>{0, 1, 1, 1, 1}));
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
  Picture assigned = Numbered(4, 4);
  assigned = original;
  EXPECT_EQ(Bytes(original), NumberedBytes({0, 1}));
  EXPECT_EQ(Bytes(assigned), NumberedBytes({0, 1}));
  Picture moved(std::move(copy));
  EXPECT_EQ(copy.GetFormat(), InvalidPictureFormat);  // NOLINT: a moved-from picture is a default one
  copy.PutPixel(0, 0, Color(1, 1, 1, 1));             // and draws nothing
  assigned = std::move(moved);
  assigned.PutPixel(1, 0, Color(1, 1, 1, 1));
  EXPECT_EQ(Bytes(assigned), std::vector<uint8_t>(8, 255));
  assigned = Picture();
  EXPECT_EQ(assigned.GetDataSize(), 0u);
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
      {2, 2, CALL(Resize(4, 6, FilterNearest)), true, 4, 6,
       {0, 0, 1, 1, 0, 0, 1, 1, 0, 0, 1, 1, 2, 2, 3, 3, 2, 2, 3, 3, 2, 2, 3, 3}},
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

// Channel order of RGB8..ABGR8 and, in the same order, of RGB16..ABGR16.
std::string OrderOf(int f) {
  static const char* const orders[] = {"RGB", "BGR", "RGBA", "BGRA", "ARGB", "ABGR"};
  return f >= RGB8 && f <= ABGR16 ? orders[(f - RGB8) % 6] : "";
}
template <typename T>
T At(const uint8_t* p, size_t index) {
  T v;
  std::memcpy(&v, p + index * sizeof(T), sizeof(T));
  return v;
}

// A source pixel as the 8-bit R, G, B and A that every integer row of the table reads, and
// whether the source has alpha at all.
std::pair<std::array<int, 4>, bool> Read8(int f, const uint8_t* p) {
  const uint16_t v = At<uint16_t>(p, 0);
  if (f == RGB555) return {{(v >> 10 & 31) << 3, (v >> 5 & 31) << 3, (v & 31) << 3, v & 0x8000 ? 255 : 0}, true};
  if (f == RGB565) return {{(v >> 11 & 31) << 3, (v >> 5 & 63) << 2, (v & 31) << 3, 255}, false};
  const std::string order = OrderOf(f);
  std::array<int, 4> c;
  for (size_t i = 0; i < 4; ++i) {
    const size_t at = order.find("RGBA"[i]);
    c[i] = at == std::string::npos ? 255 : f <= ABGR8 ? p[at] : At<uint16_t>(p, at) >> 8;
  }
  return {c, order.size() == 4};
}

void ExpectPixel(int from, int to, const uint8_t* src, const uint8_t* dst) {
  if (from == RGBA32) {  // to RGBA8
    for (size_t i = 0; i < 4; ++i) {
      const float v = At<float>(src, i);
      EXPECT_EQ(dst[i], std::isnan(v) ? 0 : int(std::min(1.0f, std::max(0.0f, v)) * 255.0f)) << i << ": " << v;
    }
    return;
  }
  const auto [c, has_alpha] = Read8(from, src);
  const int weighted = c[0] * 77 + c[1] * 150 + c[2] * 29;
  if (to == Gray8) {
    EXPECT_EQ(dst[0], weighted >> 8);
  } else if (to == Gray16) {
    EXPECT_EQ(At<uint16_t>(dst, 0), weighted);
  } else if (to == Gray32) {
    EXPECT_FLOAT_EQ(At<float>(dst, 0), float(weighted) / 256.0f / 255.0f);
  } else if (to == RGB555) {
    const int alpha_bit = has_alpha && c[3] >= 128 ? 0x8000 : 0;
    EXPECT_EQ(At<uint16_t>(dst, 0), (c[0] >> 3 << 10) | (c[1] >> 3 << 5) | (c[2] >> 3) | alpha_bit);
  } else if (to == RGB565) {
    EXPECT_EQ(At<uint16_t>(dst, 0), (c[0] >> 3 << 11) | (c[1] >> 2 << 5) | (c[2] >> 3));
  } else if (to == RGBA32) {
    for (size_t i = 0; i < 4; ++i) EXPECT_FLOAT_EQ(At<float>(dst, i), float(src[i]) / 255.0f) << i;
  } else {
    const std::string order = OrderOf(to);
    for (size_t i = 0; i < order.size(); ++i) {
      const int channel = c[std::string("RGBA").find(order[i])];
      if (to <= ABGR8) {
        EXPECT_EQ(dst[i], channel) << order[i];
      } else {  // only 8-bit RGB widens to 16 bits, alpha full
        EXPECT_EQ(At<uint16_t>(dst, i), order[i] == 'A' ? 65535 : channel * 257) << order[i];
      }
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
      SCOPED_TRACE(std::string(GetPictureFormatName(PictureFormat(from))) + " to " +
                   GetPictureFormatName(PictureFormat(to)));
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
        ExpectPixel(from, to, source.data() + i * Picture::GetBytesPerPixel(PictureFormat(from)),
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

// Registered with its native alias and a shared pointer type; the factory copies pixels.
TEST(PictureType, RegisteredWithFactoryAliasAndSharedPointer) {
  TypeRegistry registry;
  RegisterCoreTypes(registry);
  Type* type = registry.FindType("Picture");
  ASSERT_TRUE(type != nullptr && type->factory != nullptr);
  EXPECT_EQ(registry.FindType("tv::Picture"), type);
  Type* pointer = registry.FindType("std::shared_ptr<tv::Picture>");
  ASSERT_TRUE(pointer != nullptr && pointer->shared_ptr_accessor != nullptr);
  EXPECT_EQ(pointer->shared_ptr_accessor->GetPointeeType(), type);
  void* made = type->factory->New();
  const Picture source = Numbered(2, 1);
  type->factory->Copy(made, &source);
  EXPECT_EQ(Bytes(*static_cast<Picture*>(made)), NumberedBytes({0, 1}));
  type->factory->Delete(made);
}

} // namespace
} // namespace tv::test
