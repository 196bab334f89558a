// Picture: allocation, copies, the pixel address, cropping, reframing, resizing and its entry in
// the type registry.

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <numeric>
#include <vector>

#include "core/core_registration.h"
#include "picture/picture.h"
#include "picture/picture_filter.h"
#include "picture/picture_types.h"
#include "reflection/type_registry.h"

namespace tv::test {
namespace {

// Pixel i of an RGBA8 test picture is (i, 2i, 3i, 255 - i), byte-wise.
Picture Numbered(uint32_t width, uint32_t height) {
  std::vector<uint8_t> bytes;
  for (uint32_t i = 0; i < width * height; ++i) {
    const uint8_t n = uint8_t(i);
    bytes.insert(bytes.end(), {n, uint8_t(2 * n), uint8_t(3 * n), uint8_t(255 - n)});
  }
  return Picture(width, height, RGBA8, bytes.data());
}

std::vector<uint8_t> PixelAt(const Picture& picture, uint32_t x, uint32_t y) {
  const uint8_t* p = picture.GetData(x, y);
  return std::vector<uint8_t>(p, p + Picture::GetBytesPerPixel(picture.GetFormat()));
}

std::vector<uint8_t> NumberedPixel(uint32_t i) {
  const uint8_t n = uint8_t(i);
  return {n, uint8_t(2 * n), uint8_t(3 * n), uint8_t(255 - n)};
}

const std::vector<uint8_t> kOpaqueBlack = {0, 0, 0, 255};

TEST(Picture, ADefaultPictureHasNoPixelsAndDrawsNothing) {
  Picture picture;
  EXPECT_EQ(picture.GetWidth(), 0u);
  EXPECT_EQ(picture.GetHeight(), 0u);
  EXPECT_EQ(picture.GetFormat(), InvalidPictureFormat);
  EXPECT_EQ(picture.GetDataSize(), 0u);
  EXPECT_EQ(picture.GetStride(), 0u);
  ASSERT_NE(picture.GetRenderer(), nullptr);
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
  EXPECT_EQ(picture.GetFormat(), InvalidPictureFormat);
  // Its fill colour does not move either.
  picture.SetFillColor(Color(1, 0, 0, 1));
  EXPECT_DOUBLE_EQ(picture.GetRenderer()->fill_color.r, 0);
}

TEST(Picture, BytesPerPixelFollowTheFormatTable) {
  const uint32_t expected[] = {1, 2, 4, 2, 2, 3, 3, 4, 4, 4, 4, 6, 6, 8, 8, 8, 8, 12, 12, 16, 16, 16, 16, 0};
  for (uint32_t f = 0; f <= kPictureFormatCount; ++f)
    EXPECT_EQ(Picture::GetBytesPerPixel(PictureFormat(f)), expected[f]) << GetPictureFormatName(PictureFormat(f));
  EXPECT_EQ(Picture::GetBytesPerPixel(PictureFormat(7)), 4u);
  EXPECT_EQ(Picture::GetBytesPerPixel(PictureFormat(17)), 12u);
  EXPECT_EQ(Picture::GetBytesPerPixel(PictureFormat(200)), 0u);
}

TEST(Picture, FormatNamesRoundTrip) {
  for (uint32_t f = 0; f < kPictureFormatCount; ++f)
    EXPECT_EQ(FindPictureFormat(GetPictureFormatName(PictureFormat(f))), PictureFormat(f));
  EXPECT_STREQ(GetPictureFormatName(ABGR16), "ABGR16");
  EXPECT_EQ(FindPictureFormat("rgba8"), InvalidPictureFormat);
  EXPECT_EQ(FindPictureFormat("InvalidPictureFormat"), InvalidPictureFormat);
}

TEST(Picture, StrideAndPixelAddress) {
  Picture picture(5, 3, RGB16);
  EXPECT_EQ(picture.GetStride(), 30u);
  EXPECT_EQ(picture.GetDataSize(), 90u);
  EXPECT_EQ(picture.GetData(0, 0), picture.GetData());
  EXPECT_EQ(picture.GetData(4, 2) - picture.GetData(), (5 * 2 + 4) * 6);
  EXPECT_EQ(picture.GetData(0, 1) - picture.GetData(), 30);
}

TEST(Picture, AllocateWithTheSameSizeAndFormatKeepsPixelsAndState) {
  Picture picture = Numbered(3, 2);
  picture.SetClipRect(1, 1, 2, 1);
  picture.SetFillColor(Color(0, 1, 0, 1));
  const IPictureRenderer* renderer = picture.GetRenderer();
  EXPECT_TRUE(picture.Allocate(3, 2, RGBA8));
  EXPECT_EQ(picture.GetRenderer(), renderer);
  for (uint32_t i = 0; i < 6; ++i) EXPECT_EQ(PixelAt(picture, i % 3, i / 3), NumberedPixel(i));
  EXPECT_DOUBLE_EQ(picture.GetRenderer()->fill_color.g, 1);
  EXPECT_EQ(picture.GetPixel(0, 0), Color());  // still outside the clip box
}

TEST(Picture, AllocateAnewKeepsBytesZeroesTheRestAndResetsTheDrawingState) {
  Picture picture = Numbered(2, 2);
  picture.SetClipRect(0, 0, 0, 0);
  picture.SetFillColor(Color(0, 1, 0, 1));
  ASSERT_TRUE(picture.Allocate(3, 2, RGBA8));
  EXPECT_EQ(picture.GetWidth(), 3u);
  ASSERT_EQ(picture.GetDataSize(), 24u);
  // The four old pixels stay where their bytes were; the two new ones are zero.
  for (uint32_t i = 0; i < 4; ++i) EXPECT_EQ(PixelAt(picture, i % 3, i / 3), NumberedPixel(i));
  EXPECT_EQ(PixelAt(picture, 1, 1), std::vector<uint8_t>(4, 0));
  EXPECT_EQ(PixelAt(picture, 2, 1), std::vector<uint8_t>(4, 0));
  const IPictureRenderer& renderer = *picture.GetRenderer();
  EXPECT_DOUBLE_EQ(renderer.fill_color.g, 0);
  EXPECT_DOUBLE_EQ(renderer.fill_color.a, 1);
  EXPECT_EQ(renderer.fill_mode, 1);
  EXPECT_EQ(renderer.pen_inner_join, 1);
  EXPECT_FLOAT_EQ(renderer.pen_width, 1);
  // The clip box is the whole picture again.
  picture.PutPixel(2, 1, Color(1, 1, 1, 1));
  EXPECT_EQ(PixelAt(picture, 2, 1), std::vector<uint8_t>(4, 255));
}

TEST(Picture, AllocateRefusesWhatItCannotHold) {
  Picture picture = Numbered(2, 2);
  EXPECT_FALSE(picture.Allocate(2, 2, InvalidPictureFormat));
  EXPECT_FALSE(picture.Allocate(65536, 1, RGBA8));
  EXPECT_FALSE(picture.Allocate(1, 70000, Gray8));
  EXPECT_EQ(picture.GetWidth(), 2u);
  EXPECT_EQ(picture.GetFormat(), RGBA8);
  EXPECT_EQ(PixelAt(picture, 1, 1), NumberedPixel(3));
  EXPECT_TRUE(picture.Allocate(0, 0, Gray8));
  EXPECT_EQ(picture.GetDataSize(), 0u);
  picture.Clear(Color(1, 1, 1, 1));  // nothing to clear
}

TEST(Picture, CopiesOwnTheirPixels) {
  const uint8_t pixels[] = {10, 20, 30, 40, 50, 60};
  Picture original(2, 1, BGR8, pixels);
  Picture copy(original);
  EXPECT_EQ(copy.GetFormat(), BGR8);
  EXPECT_NE(copy.GetData(), original.GetData());
  EXPECT_EQ(std::memcmp(copy.GetData(), pixels, sizeof(pixels)), 0);
  copy.PutPixel(0, 0, Color(1, 1, 1, 1));
  EXPECT_EQ(original.GetData()[0], 10);

  Picture assigned = Numbered(4, 4);
  assigned = original;
  EXPECT_EQ(assigned.GetWidth(), 2u);
  EXPECT_EQ(std::memcmp(assigned.GetData(), pixels, sizeof(pixels)), 0);
  assigned = Picture();
  EXPECT_EQ(assigned.GetFormat(), InvalidPictureFormat);
  EXPECT_EQ(assigned.GetDataSize(), 0u);
}

TEST(Picture, AMovedPictureDrawsOnItsOwnPixels) {
  Picture source = Numbered(2, 2);
  Picture moved(std::move(source));
  moved.PutPixel(1, 0, Color(1, 1, 1, 1));
  EXPECT_EQ(PixelAt(moved, 1, 0), std::vector<uint8_t>(4, 255));
  EXPECT_EQ(source.GetFormat(), InvalidPictureFormat);  // NOLINT: a moved-from picture is a default one
  source.PutPixel(0, 0, Color(1, 1, 1, 1));              // and draws nothing
  Picture target;
  target = std::move(moved);
  target.PutPixel(0, 1, Color(1, 1, 1, 1));
  EXPECT_EQ(PixelAt(target, 0, 1), std::vector<uint8_t>(4, 255));
}

TEST(PictureCrop, KeepsTheRectangleInside) {
  Picture picture = Numbered(4, 3);  // pixel (x, y) is number 4y + x
  ASSERT_TRUE(picture.Crop(1, 1, 3, 3));
  ASSERT_EQ(picture.GetWidth(), 2u);
  ASSERT_EQ(picture.GetHeight(), 2u);
  EXPECT_EQ(PixelAt(picture, 0, 0), NumberedPixel(5));
  EXPECT_EQ(PixelAt(picture, 1, 0), NumberedPixel(6));
  EXPECT_EQ(PixelAt(picture, 0, 1), NumberedPixel(9));
  EXPECT_EQ(PixelAt(picture, 1, 1), NumberedPixel(10));
}

TEST(PictureCrop, WhatLiesOutsideTheOldPictureIsOpaqueBlack) {
  Picture before = Numbered(2, 2);
  Picture picture = before;
  ASSERT_TRUE(picture.Crop(-1, -1, 2, 2));
  ASSERT_EQ(picture.GetWidth(), 3u);
  for (uint32_t i = 0; i < 3; ++i) {
    EXPECT_EQ(PixelAt(picture, i, 0), kOpaqueBlack);
    EXPECT_EQ(PixelAt(picture, 0, i), kOpaqueBlack);
  }
  EXPECT_EQ(PixelAt(picture, 1, 1), NumberedPixel(0));
  EXPECT_EQ(PixelAt(picture, 2, 2), NumberedPixel(3));

  picture = before;
  ASSERT_TRUE(picture.Crop(1, 1, 4, 3));
  ASSERT_EQ(picture.GetWidth(), 3u);
  ASSERT_EQ(picture.GetHeight(), 2u);
  EXPECT_EQ(PixelAt(picture, 0, 0), NumberedPixel(3));
  for (uint32_t x = 1; x < 3; ++x) EXPECT_EQ(PixelAt(picture, x, 0), kOpaqueBlack);
  for (uint32_t x = 0; x < 3; ++x) EXPECT_EQ(PixelAt(picture, x, 1), kOpaqueBlack);

  picture = before;
  ASSERT_TRUE(picture.Crop(5, 5, 7, 6));  // wholly outside
  for (uint32_t x = 0; x < 2; ++x) EXPECT_EQ(PixelAt(picture, x, 0), kOpaqueBlack);
}

TEST(PictureCrop, AnInvertedRectangleIsRefused) {
  Picture picture = Numbered(3, 3);
  EXPECT_FALSE(picture.Crop(2, 0, 1, 3));
  EXPECT_FALSE(picture.Crop(0, 0, 70000, 1));
  EXPECT_EQ(picture.GetWidth(), 3u);
  EXPECT_EQ(PixelAt(picture, 2, 2), NumberedPixel(8));
  EXPECT_TRUE(picture.Crop(1, 1, 1, 2));  // empty width: allowed, no pixels
  EXPECT_EQ(picture.GetWidth(), 0u);
  EXPECT_EQ(picture.GetHeight(), 1u);
}

TEST(PictureReframe, PositiveTopAndLeftCutNegativeOnesAddABorder) {
  Picture picture = Numbered(3, 3);
  ASSERT_TRUE(picture.Reframe(1, 0, 2, 0));
  ASSERT_EQ(picture.GetWidth(), 1u);
  ASSERT_EQ(picture.GetHeight(), 2u);
  EXPECT_EQ(PixelAt(picture, 0, 0), NumberedPixel(5));
  EXPECT_EQ(PixelAt(picture, 0, 1), NumberedPixel(8));

  picture = Numbered(2, 2);
  ASSERT_TRUE(picture.Reframe(-1, 0, -2, 0));
  ASSERT_EQ(picture.GetWidth(), 4u);
  ASSERT_EQ(picture.GetHeight(), 3u);
  for (uint32_t x = 0; x < 4; ++x) EXPECT_EQ(PixelAt(picture, x, 0), kOpaqueBlack);
  EXPECT_EQ(PixelAt(picture, 1, 1), kOpaqueBlack);
  EXPECT_EQ(PixelAt(picture, 2, 1), NumberedPixel(0));
  EXPECT_EQ(PixelAt(picture, 3, 2), NumberedPixel(3));
}

TEST(PictureReframe, PositiveBottomAndRightAddABorderNegativeOnesCut) {
  Picture picture = Numbered(3, 2);
  ASSERT_TRUE(picture.Reframe(0, 1, 0, -1));
  ASSERT_EQ(picture.GetWidth(), 2u);
  ASSERT_EQ(picture.GetHeight(), 3u);
  EXPECT_EQ(PixelAt(picture, 0, 0), NumberedPixel(0));
  EXPECT_EQ(PixelAt(picture, 1, 1), NumberedPixel(4));
  EXPECT_EQ(PixelAt(picture, 0, 2), kOpaqueBlack);
  EXPECT_EQ(PixelAt(picture, 1, 2), kOpaqueBlack);
  EXPECT_FALSE(picture.Reframe(0, -4, 0, 0));  // a negative height
  EXPECT_EQ(picture.GetHeight(), 3u);
}

TEST(PictureResize, NearestReplicatesPixels) {
  const uint8_t pixels[] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
  Picture picture(2, 2, RGB8, pixels);
  ASSERT_TRUE(picture.Resize(4, 6, FilterNearest));
  ASSERT_EQ(picture.GetWidth(), 4u);
  ASSERT_EQ(picture.GetHeight(), 6u);
  for (uint32_t y = 0; y < 6; ++y) {
    for (uint32_t x = 0; x < 4; ++x) {
      const uint8_t* expected = pixels + (2 * (y / 3) + x / 2) * 3;
      EXPECT_EQ(PixelAt(picture, x, y), std::vector<uint8_t>(expected, expected + 3)) << x << "," << y;
    }
  }
}

TEST(PictureResize, TranslucentPixelsBlendOverTheNewPixels) {
  // The blit draws its spans over the freshly allocated, all-zero pixels, as any drawing does.
  Picture picture = Numbered(2, 1);  // alpha 255, then 254
  ASSERT_TRUE(picture.Resize(4, 1, FilterNearest));
  EXPECT_EQ(PixelAt(picture, 0, 0), NumberedPixel(0));
  const std::vector<uint8_t> blended = PixelAt(picture, 3, 0);
  EXPECT_EQ(blended[3], 254);
  EXPECT_NEAR(blended[2], 3, 1);
}

TEST(PictureResize, SamplesBeyondTheEdgeAreTheNewRenderersOpaqueBlack) {
  // Allocation resets the drawing state, so the blit's background is the default fill colour
  // whatever the picture's fill colour was before.
  Picture picture(6, 6, RGB8);
  picture.Clear(Color(1, 1, 1, 1));
  picture.SetFillColor(Color(1, 1, 1, 1));
  ASSERT_TRUE(picture.Resize(9, 9, FilterBilinear));
  EXPECT_DOUBLE_EQ(picture.GetRenderer()->fill_color.r, 0);
  EXPECT_EQ(PixelAt(picture, 4, 4), (std::vector<uint8_t>{255, 255, 255}));
  const std::vector<uint8_t> corner = PixelAt(picture, 0, 0);
  EXPECT_LT(corner[0], 250);
  EXPECT_GT(corner[0], 100);
}

TEST(PictureResize, FiltersBeyondTheLastActAsBilinear) {
  Picture checker(4, 4, RGB8);
  for (int y = 0; y < 4; ++y)
    for (int x = 0; x < 4; ++x) checker.PutPixel(x, y, (x + y) % 2 ? Color(1, 1, 1, 1) : Color(0, 0, 0, 1));
  Picture bilinear = checker;
  ASSERT_TRUE(bilinear.Resize(11, 7, FilterBilinear));
  for (uint32_t filter : {23u, 24u, 1000u}) {
    Picture other = checker;
    ASSERT_TRUE(other.Resize(11, 7, filter));
    EXPECT_EQ(std::memcmp(other.GetData(), bilinear.GetData(), bilinear.GetDataSize()), 0) << filter;
  }
  // And every kernel really smooths: an enlarged checker gets values between black and white.
  for (uint32_t filter = FilterBilinear; filter < kPictureFilterCount; ++filter) {
    Picture smooth = checker;
    ASSERT_TRUE(smooth.Resize(12, 12, filter));
    int between = 0;
    for (size_t i = 0; i < smooth.GetDataSize(); ++i) between += smooth.GetData()[i] > 8 && smooth.GetData()[i] < 247;
    EXPECT_GT(between, 0) << "filter " << filter;
  }
}

TEST(PictureResize, ToNothingAndFromNothing) {
  Picture picture = Numbered(3, 3);
  ASSERT_TRUE(picture.Resize(0, 4, FilterBicubic));
  EXPECT_EQ(picture.GetWidth(), 0u);
  EXPECT_EQ(picture.GetDataSize(), 0u);
  // An empty source leaves only the background.
  ASSERT_TRUE(picture.Resize(2, 2, FilterNearest));
  EXPECT_EQ(PixelAt(picture, 1, 1), kOpaqueBlack);
}

TEST(PictureType, RegisteredWithFactoryAliasAndSharedPointer) {
  TypeRegistry registry;
  RegisterCoreTypes(registry);
  Type* type = registry.FindType("Picture");
  ASSERT_NE(type, nullptr);
  EXPECT_EQ(registry.FindType("tv::Picture"), type);
  EXPECT_EQ(registry.GetAliases(type), std::vector<std::string>{"tv::Picture"});
  EXPECT_EQ(type->native_name, "tv::Picture");
  EXPECT_EQ(type->size, sizeof(Picture));
  EXPECT_TRUE(type->fields.empty());
  ASSERT_NE(type->factory, nullptr);

  Type* pointer = registry.FindType("std::shared_ptr<Picture>");
  ASSERT_NE(pointer, nullptr);
  EXPECT_EQ(registry.FindType("std::shared_ptr<tv::Picture>"), pointer);
  ASSERT_NE(pointer->shared_ptr_accessor, nullptr);
  EXPECT_EQ(pointer->shared_ptr_accessor->GetPointeeType(), type);

  // The factory makes default pictures and copies pixels.
  void* made = type->factory->New();
  EXPECT_EQ(static_cast<Picture*>(made)->GetFormat(), InvalidPictureFormat);
  const Picture source = Numbered(2, 1);
  type->factory->Copy(made, &source);
  EXPECT_EQ(PixelAt(*static_cast<Picture*>(made), 1, 0), NumberedPixel(1));
  type->factory->Delete(made);
}

} // namespace
} // namespace tv::test
