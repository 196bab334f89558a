// The drawing interface over AGG: clip box, pixel access in every family, blits with each
// filter, copies, flips, paths and comparison.

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "file/log_capture.h"
#include "picture/picture.h"
#include "picture/picture_filter.h"

namespace tv::test {
namespace {

const Color kWhite(1, 1, 1, 1);
const Color kRed(1, 0, 0, 1);
const Color kBlue(0, 0, 1, 1);

std::vector<uint8_t> Bytes(const Picture& picture) {
  return std::vector<uint8_t>(picture.GetData(), picture.GetData() + picture.GetDataSize());
}

// Which pixels of the picture PutPixel reaches, as a string of '#' and '.' rows.
std::string Reached(Picture& picture) {
  picture.Clear(Color());
  for (uint32_t y = 0; y < picture.GetHeight(); ++y)
    for (uint32_t x = 0; x < picture.GetWidth(); ++x) picture.PutPixel(int(x), int(y), kWhite);
  std::string map;
  for (uint32_t y = 0; y < picture.GetHeight(); ++y) {
    for (uint32_t x = 0; x < picture.GetWidth(); ++x) map += picture.GetData(x, y)[0] ? '#' : '.';
    map += '\n';
  }
  return map;
}

TEST(PictureClip, CornersAreOrderedAndClamped) {
  Picture picture(6, 4, RGBA8);
  picture.SetClipRect(5, 3, 2, 1);
  const std::string swapped = Reached(picture);
  picture.SetClipRect(2, 1, 5, 3);
  EXPECT_EQ(Reached(picture), swapped);
  EXPECT_EQ(swapped, "......\n..####\n..####\n..####\n");
  picture.SetClipRect(-10, -10, 1, 100);
  EXPECT_EQ(Reached(picture), "##....\n##....\n##....\n##....\n");
  picture.ResetClipRect();
  EXPECT_EQ(Reached(picture), "######\n######\n######\n######\n");
}

TEST(PictureClip, ABoxWhollyOutsideLetsNothingThrough) {
  Picture picture(4, 4, RGB8);
  picture.SetClipRect(10, 10, 20, 20);
  EXPECT_EQ(Reached(picture), "....\n....\n....\n....\n");
  for (int y = -1; y < 5; ++y)
    for (int x = -1; x < 5; ++x) picture.BlendPixel(x, y, kWhite);
  EXPECT_EQ(Bytes(picture), std::vector<uint8_t>(48, 0));
}

TEST(PictureClip, ClearIgnoresTheClipBoxPutPixelHonoursIt) {
  Picture picture(3, 2, RGBA8);
  picture.SetClipRect(0, 0, 0, 0);
  picture.Clear(kRed);
  for (uint32_t i = 0; i < 6; ++i) EXPECT_EQ(picture.GetData(i % 3, i / 3)[0], 255) << i;
  picture.PutPixel(2, 1, kBlue);
  EXPECT_EQ(picture.GetData(2, 1)[2], 0);
  // A pixel outside the box reads 0 although it holds red.
  EXPECT_EQ(picture.GetPixel(2, 1), Color());
  EXPECT_EQ(picture.GetPixel(0, 0), kRed);
  EXPECT_EQ(picture.GetPixel(-1, 0), Color());
}

TEST(PicturePixels, PutStoresAlphaZeroBlendWithAlphaZeroChangesNothing) {
  Picture picture(2, 1, RGBA8);
  picture.Clear(kWhite);
  picture.PutPixel(0, 0, Color(0.5f, 0.25f, 0, 0));
  EXPECT_EQ(picture.GetData(0, 0)[3], 0);
  EXPECT_EQ(picture.GetData(0, 0)[0], 128);  // 0.5 × 255 + 0.5, truncated
  EXPECT_EQ(picture.GetData(0, 0)[1], 64);
  picture.BlendPixel(1, 0, Color(0, 0, 0, 0));
  EXPECT_EQ(picture.GetPixel(1, 0), kWhite);
  picture.BlendPixel(1, 0, Color(0, 0, 0, 0.5f));
  EXPECT_NEAR(picture.GetData(1, 0)[0], 127, 1);
  picture.BlendPixel(1, 0, kBlue);
  EXPECT_EQ(picture.GetPixel(1, 0), kBlue);
}

TEST(PicturePixels, EachFamilyStoresAndReadsAtItsOwnWidth) {
  const Color colour(0.5f, 0.25f, 1.5f, -0.5f);  // out-of-range channels clamp in integer pixels
  {
    Picture p(1, 1, RGBA16);
    p.PutPixel(0, 0, colour);
    uint16_t v[4];
    std::memcpy(v, p.GetData(), 8);
    EXPECT_EQ(v[0], 32768);
    EXPECT_EQ(v[1], 16384);
    EXPECT_EQ(v[2], 65535);
    EXPECT_EQ(v[3], 0);
    EXPECT_FLOAT_EQ(p.GetPixel(0, 0).r, 32768.0f / 65535.0f);
  }
  {
    Picture p(1, 1, ARGB32);
    p.PutPixel(0, 0, colour);
    float v[4];
    std::memcpy(v, p.GetData(), 16);
    EXPECT_FLOAT_EQ(v[0], -0.5f);  // alpha first, kept as given
    EXPECT_FLOAT_EQ(v[1], 0.5f);
    EXPECT_FLOAT_EQ(v[3], 1.5f);
    EXPECT_EQ(p.GetPixel(0, 0), colour);
  }
  {
    Picture p(1, 1, ABGR8);
    p.PutPixel(0, 0, Color(0.2f, 0.4f, 0.6f, 0.8f));
    EXPECT_EQ(p.GetData()[0], 204);  // alpha, 0.8 × 255 + 0.5
    EXPECT_EQ(p.GetData()[1], 153);
    EXPECT_EQ(p.GetData()[2], 102);
    EXPECT_EQ(p.GetData()[3], 51);
  }
  {
    Picture p(1, 1, RGB565);
    p.PutPixel(0, 0, kRed);
    uint16_t v;
    std::memcpy(&v, p.GetData(), 2);
    EXPECT_EQ(v, 0xF800);
    EXPECT_EQ(p.GetPixel(0, 0), Color(248.0f / 255.0f, 0, 0, 1));
  }
  {
    Picture p(1, 1, RGB555);
    p.PutPixel(0, 0, kBlue);
    uint16_t v;
    std::memcpy(&v, p.GetData(), 2);
    EXPECT_EQ(v, 0x801F);  // AGG sets the alpha bit on every pixel it writes
  }
  {
    // Gray takes the colour's luminance and reads it back in every channel.
    Picture p(1, 1, Gray8);
    p.PutPixel(0, 0, Color(0.2f, 0.4f, 0.6f, 1));
    const int expected = int((0.2126 * 0.2 + 0.7152 * 0.4 + 0.0722 * 0.6) * 255 + 0.5);
    EXPECT_NEAR(p.GetData()[0], expected, 1);
    const Color read = p.GetPixel(0, 0);
    EXPECT_EQ(read.r, read.g);
    EXPECT_EQ(read.g, read.b);
    EXPECT_FLOAT_EQ(read.r, float(p.GetData()[0]) / 255.0f);
    EXPECT_FLOAT_EQ(read.a, 1);
  }
}

TEST(PicturePixels, SixteenBitBlendsOfLargeDifferencesStayExact) {
  // Blending white over black at nearly full alpha: the arithmetic spans the whole 32-bit range,
  // where products in a signed int (as AGG's own 16-bit colours form them) come out one off.
  const float alpha = 65534.0f / 65535.0f;
  for (PictureFormat format : {Gray16, RGB16, BGRA16}) {
    SCOPED_TRACE(GetPictureFormatName(format));
    Picture picture(1, 1, format);
    picture.Clear(Color(0, 0, 0, 1));
    picture.BlendPixel(0, 0, Color(1, 1, 1, alpha));
    uint16_t first;
    std::memcpy(&first, picture.GetData(), 2);
    EXPECT_EQ(first, 65534);
    // And back: black over white.
    picture.Clear(Color(1, 1, 1, 1));
    picture.BlendPixel(0, 0, Color(0, 0, 0, alpha));
    std::memcpy(&first, picture.GetData(), 2);
    EXPECT_EQ(first, 1);
  }
}

class PictureFormatsMismatch : public tv_test::LogCaptureTest {};

TEST_F(PictureFormatsMismatch, BlitAndCopyRefuseWithTheirLines) {
  Picture destination(2, 2, RGBA8);
  const Picture source(2, 2, BGRA8);
  EXPECT_FALSE(destination.Blit(source, 0, 0, 2, 2, Matrix3(), FilterNearest));
  EXPECT_FALSE(destination.Copy(source, 0, 0, 1, 1, 0, 0));
  const auto lines = tv_test::TakeLog();
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_EQ(lines[0], tv_test::LogLine("error", "Cannot blit between different source and destination picture format"));
  EXPECT_EQ(lines[1], tv_test::LogLine("error", "Cannot copy between different source and destination picture format"));
}

// Opaque random pixels for a format: alpha channels full, floats in 0..1, RGB555's alpha bit set.
Picture RandomPicture(PictureFormat format, uint32_t width, uint32_t height, std::mt19937& random) {
  Picture picture(width, height, format);
  std::uniform_real_distribution<float> unit(0, 1);
  for (uint32_t y = 0; y < height; ++y)
    for (uint32_t x = 0; x < width; ++x) picture.PutPixel(int(x), int(y), Color(unit(random), unit(random), unit(random), 1));
  return picture;
}

TEST(PictureBlit, NearestWithTheIdentityCopiesEveryFormatExactly) {
  std::mt19937 random(3);
  for (uint32_t f = 0; f < kPictureFormatCount; ++f) {
    const PictureFormat format = PictureFormat(f);
    SCOPED_TRACE(GetPictureFormatName(format));
    const Picture source = RandomPicture(format, 7, 5, random);
    Picture destination(7, 5, format);
    ASSERT_TRUE(destination.Blit(source, 0, 0, 7, 5, Matrix3(), FilterNearest));
    EXPECT_EQ(Bytes(destination), Bytes(source));
  }
}

TEST(PictureBlit, EveryFilterOfEveryFormatKeepsAUniformSourceUniform) {
  const Color colour(0.2f, 0.6f, 0.4f, 1);
  for (uint32_t f = 0; f < kPictureFormatCount; ++f) {
    for (uint32_t filter = 0; filter <= kPictureFilterCount; ++filter) {
      SCOPED_TRACE(std::string(GetPictureFormatName(PictureFormat(f))) + ", filter " + std::to_string(filter));
      Picture source(6, 5, PictureFormat(f));
      source.Clear(colour);
      Picture destination(9, 4, PictureFormat(f));
      // Kernel samples beyond the source's edge read the fill colour.
      destination.SetFillColor(colour);
      const Matrix3 scale(6.0f / 9.0f, 0, 0, 0, 5.0f / 4.0f, 0, 0, 0, 1);
      ASSERT_TRUE(destination.Blit(source, 0, 0, 9, 4, scale, filter));
      const Color expected = source.GetPixel(0, 0);
      // AGG's kernel weights truncate: a uniform picture may come out an 8-bit level lower, and
      // an alpha that lost a level blends a second one away; in a 5-bit channel that is a step of 8.
      const double tolerance = (f == RGB555 || f == RGB565 ? 8.5 : 2.5) / 255;
      for (uint32_t y = 0; y < 4; ++y) {
        for (uint32_t x = 0; x < 9; ++x) {
          const Color got = destination.GetPixel(int(x), int(y));
          ASSERT_NEAR(got.r, expected.r, tolerance) << x << "," << y;
          ASSERT_NEAR(got.g, expected.g, tolerance) << x << "," << y;
          ASSERT_NEAR(got.b, expected.b, tolerance) << x << "," << y;
        }
      }
    }
  }
}

TEST(PictureBlit, ThroughTheClipBoxWithTheFillColourOutsideTheSource) {
  Picture source(2, 2, RGB8);
  source.Clear(kRed);
  Picture destination(4, 1, RGB8);
  destination.SetFillColor(kBlue);
  destination.SetClipRect(0, 0, 2, 0);
  // Destination x maps to source x - 1: pixel 0 falls left of the source.
  const Matrix3 shift(1, 0, -1, 0, 1, 0, 0, 0, 1);
  ASSERT_TRUE(destination.Blit(source, 0, 0, 4, 1, shift, FilterNearest));
  EXPECT_EQ(Bytes(destination), (std::vector<uint8_t>{0, 0, 255, 255, 0, 0, 255, 0, 0, 0, 0, 0}));
}

TEST(PictureBlit, TheRectangleIsDrawnAntiAliased) {
  Picture source(4, 4, Gray8);
  source.Clear(kWhite);
  Picture destination(4, 1, Gray8);
  ASSERT_TRUE(destination.Blit(source, 0.5f, 0, 2.5f, 1, Matrix3(), FilterNearest));
  EXPECT_NEAR(destination.GetData()[0], 128, 2);  // half covered
  EXPECT_EQ(destination.GetData()[1], 255);
  EXPECT_NEAR(destination.GetData()[2], 128, 2);
  EXPECT_EQ(destination.GetData()[3], 0);
}

TEST(PictureCopy, CopiesTheInclusiveRectangleThroughTheClipBox) {
  Picture source(3, 3, Gray8);
  for (uint32_t i = 0; i < 9; ++i) source.GetData()[i] = uint8_t(10 * (i + 1));
  Picture destination(3, 3, Gray8);
  ASSERT_TRUE(destination.Copy(source, 1, 1, 2, 2, 0, 0));
  EXPECT_EQ(Bytes(destination), (std::vector<uint8_t>{50, 60, 0, 80, 90, 0, 0, 0, 0}));
  destination.Clear(Color());
  destination.SetClipRect(0, 0, 1, 0);
  ASSERT_TRUE(destination.Copy(source, 0, 0, 2, 2, 1, 0));
  EXPECT_EQ(Bytes(destination), (std::vector<uint8_t>{0, 10, 0, 0, 0, 0, 0, 0, 0}));
  destination.ResetClipRect();
  // The corner lands on (x, y) even outside the source; what overlaps is copied.
  destination.Clear(Color());
  ASSERT_TRUE(destination.Copy(source, -1, -1, 100, 100, 0, 0));
  EXPECT_EQ(Bytes(destination), (std::vector<uint8_t>{0, 0, 0, 0, 10, 20, 0, 40, 50}));
  const int most = std::numeric_limits<int>::max();
  const int least = std::numeric_limits<int>::min();
  const std::vector<uint8_t> before = Bytes(destination);
  ASSERT_TRUE(destination.Copy(source, 0, 0, 2, 2, most, least));
  ASSERT_TRUE(destination.Copy(source, least, least, most, most, most, most));
  ASSERT_TRUE(destination.Copy(source, most, most, least, least, least, least));
  EXPECT_EQ(Bytes(destination), before);
}

TEST(PictureFlip, MirrorsRawPixelsWhateverTheClipBox) {
  Picture picture(3, 2, RGB16);
  for (uint32_t i = 0; i < 18; ++i) reinterpret_cast<uint16_t*>(picture.GetData())[i] = uint16_t(i);
  const std::vector<uint8_t> before = Bytes(picture);
  picture.SetClipRect(0, 0, 0, 0);
  picture.Flip(false, false);
  EXPECT_EQ(Bytes(picture), before);
  picture.Flip(true, false);
  auto at = [&](uint32_t x, uint32_t y) { return reinterpret_cast<const uint16_t*>(picture.GetData(x, y))[0]; };
  EXPECT_EQ(at(0, 0), 6);
  EXPECT_EQ(at(1, 0), 3);
  EXPECT_EQ(at(2, 1), 9);
  picture.Flip(false, true);
  EXPECT_EQ(at(0, 0), 15);
  EXPECT_EQ(at(2, 0), 9);
  picture.Flip(true, true);
  EXPECT_EQ(Bytes(picture), before);
}

TEST(PicturePath, FillFirstThenStrokeThenThePathIsEmpty) {
  Picture picture(20, 20, RGB8);
  picture.SetFillColor(kRed);
  picture.SetPenColor(kBlue);
  picture.GetRenderer()->pen_width = 4;
  picture.MoveTo(4, 4);
  picture.LineTo(16, 4);
  picture.LineTo(16, 16);
  picture.LineTo(4, 16);
  picture.ClosePolygon();
  picture.DrawPath();
  EXPECT_EQ(picture.GetPixel(10, 10), kRed);
  EXPECT_EQ(picture.GetPixel(10, 4), kBlue);  // the stroke lies over the fill's edge
  EXPECT_EQ(picture.GetPixel(4, 10), kBlue);
  EXPECT_EQ(picture.GetPixel(0, 0), Color(0, 0, 0, 1));
  // The path is gone: drawing again with other colours changes nothing.
  const std::vector<uint8_t> drawn = Bytes(picture);
  picture.SetFillColor(kWhite);
  picture.SetPenColor(kWhite);
  picture.DrawPath();
  EXPECT_EQ(Bytes(picture), drawn);
}

TEST(PicturePath, ModesOtherThanOneDrawNothing) {
  Picture picture(10, 10, Gray8);
  picture.SetFillColor(kWhite);
  picture.SetPenColor(kWhite);
  picture.GetRenderer()->fill_mode = 2;
  picture.GetRenderer()->pen_mode = 0;
  picture.AddEllipse(5, 5, 4, 4);
  picture.DrawPath();
  EXPECT_EQ(Bytes(picture), std::vector<uint8_t>(100, 0));
  picture.GetRenderer()->pen_mode = 1;
  picture.AddEllipse(5, 5, 4, 4);
  picture.DrawPath();
  EXPECT_EQ(picture.GetData(5, 5)[0], 0);   // not filled
  EXPECT_GT(picture.GetData(5, 1)[0], 60);  // on the outline
}

TEST(PicturePath, EllipsesAndRoundedRectanglesFill) {
  Picture picture(20, 20, BGRA8);
  picture.GetRenderer()->pen_mode = 0;
  picture.SetFillColor(kWhite);
  picture.AddEllipse(10, 10, 8, 5);
  picture.DrawPath();
  EXPECT_EQ(picture.GetPixel(10, 10), kWhite);
  EXPECT_EQ(picture.GetPixel(10, 3), Color());  // above the 5-pixel radius
  EXPECT_EQ(picture.GetPixel(3, 10), kWhite);
  picture.Clear(Color());
  picture.AddRoundedRect(2, 2, 18, 18, 6);
  picture.DrawPath();
  EXPECT_EQ(picture.GetPixel(10, 10), kWhite);
  EXPECT_EQ(picture.GetPixel(10, 2), kWhite);  // a straight edge
  EXPECT_EQ(picture.GetPixel(2, 2), Color());  // a rounded corner
}

TEST(PicturePath, ClosingAnEmptyPathAndWildCoordinatesAreHarmless) {
  Picture picture(8, 8, RGBA8);
  picture.ClosePolygon();
  picture.DrawPath();
  EXPECT_EQ(Bytes(picture), std::vector<uint8_t>(256, 0));
  const float nan = std::numeric_limits<float>::quiet_NaN();
  const float inf = std::numeric_limits<float>::infinity();
  picture.SetFillColor(kWhite);
  picture.MoveTo(nan, 1e30f);
  picture.LineTo(-inf, 4);
  picture.LineTo(4, inf);
  picture.AddEllipse(nan, 0, 1e30f, -1e30f);
  picture.AddRoundedRect(-1e30f, 0, 1e30f, nan, 1e30f);
  picture.GetRenderer()->pen_width = inf;
  picture.DrawPath();
  SUCCEED();
}

TEST(PictureCompare, ThresholdLimitsTheSquaredDistance) {
  Picture a(3, 3, RGBA8);
  a.Clear(Color(0.5f, 0.5f, 0.5f, 1));
  Picture b = a;
  EXPECT_TRUE(a.Compare(b, 0));
  b.GetData(2, 2)[1] += 10;  // a distance of 10 in one channel: 100 squared
  EXPECT_FALSE(a.Compare(b, 0.02f));  // (int(5.12))² = 25
  EXPECT_TRUE(a.Compare(b, 0.04f));   // (int(10.24))² = 100
  // Another format compares by value.
  Picture c = a;
  ASSERT_TRUE(c.Convert(RGB8));
  EXPECT_TRUE(a.Compare(c, 0));
}

} // namespace
} // namespace tv::test
