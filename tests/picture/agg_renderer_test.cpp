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
const Color kBlack(0, 0, 0, 1);
const Color kRed(1, 0, 0, 1);
const Color kBlue(0, 0, 1, 1);
const float kNaN = std::numeric_limits<float>::quiet_NaN();
const float kInf = std::numeric_limits<float>::infinity();

std::vector<uint8_t> Bytes(const Picture& picture) {
  return std::vector<uint8_t>(picture.GetData(), picture.GetData() + picture.GetDataSize());
}

// Which pixels of the picture PutPixel reaches, as a string of '#' and '.' rows.
std::string Reached(Picture& picture) {
  picture.Clear(Color());
  std::string map;
  for (uint32_t y = 0; y < picture.GetHeight(); ++y) {
    for (uint32_t x = 0; x < picture.GetWidth(); ++x) {
      picture.PutPixel(int(x), int(y), kWhite);
      picture.BlendPixel(int(x), int(y), kWhite);
      map += picture.GetData(x, y)[0] ? '#' : '.';
    }
    map += '\n';
  }
  return map;
}

// The channels of the first pixel as stored: 8-bit, 16-bit (a packed 5-6-5 pixel is one) or float.
std::vector<double> Stored(const Picture& picture) {
  const PictureFormat f = picture.GetFormat();
  const uint32_t width = f == Gray32 || f >= RGB32 ? 4 : f == Gray16 || f == RGB555 || f == RGB565 || f >= RGB16 ? 2 : 1;
  std::vector<double> channels;
  for (uint32_t at = 0; at < Picture::GetBytesPerPixel(f); at += width) {
    const uint8_t* p = picture.GetData() + at;
    uint16_t u16;
    float f32;
    std::memcpy(&u16, p, 2);
    std::memcpy(&f32, p, 4);
    channels.push_back(width == 1 ? *p : width == 2 ? u16 : f32);
  }
  return channels;
}

void ExpectColor(Color got, Color expected) {
  EXPECT_NEAR(got.r, expected.r, 1e-6);
  EXPECT_NEAR(got.g, expected.g, 1e-6);
  EXPECT_NEAR(got.b, expected.b, 1e-6);
  EXPECT_NEAR(got.a, expected.a, 1e-6);
}

// The clip box orders and clamps its corners; a box wholly outside lets nothing through; Clear
// ignores the box, and GetPixel outside it reads 0, 0, 0, 0.
TEST(PictureClip, BoundsEveryPixelAccessButClear) {
  Picture picture(6, 4, RGBA8);
  picture.SetClipRect(5, 3, 2, 1);
  EXPECT_EQ(Reached(picture), "......\n..####\n..####\n..####\n");
  picture.SetClipRect(-10, -10, 1, 100);
  EXPECT_EQ(Reached(picture), "##....\n##....\n##....\n##....\n");
  picture.SetClipRect(10, 10, 20, 20);
  EXPECT_EQ(Reached(picture), "......\n......\n......\n......\n");
  picture.ResetClipRect();
  EXPECT_EQ(Reached(picture), "######\n######\n######\n######\n");
  picture.SetClipRect(0, 0, 0, 0);
  picture.Clear(kRed);
  EXPECT_EQ(Bytes(picture), Bytes([] { Picture red(6, 4, RGBA8); red.Clear(kRed); return red; }()));
  EXPECT_EQ(picture.GetPixel(0, 0), kRed);
  EXPECT_EQ(picture.GetPixel(2, 1), Color());
  EXPECT_EQ(picture.GetPixel(-1, 0), Color());
}

// PutPixel stores each family at its own width (integer channels clamped and rounded, floats as
// given) and GetPixel reads it back over the channel's full value.
TEST(PicturePixels, EachFamilyStoresAndReadsAtItsOwnWidth) {
  const Color wild(0.5f, 0.25f, 1.5f, -0.5f);
  const struct {
    PictureFormat format;
    Color put;
    std::vector<double> stored;
    Color read;
  } rows[] = {
      {RGBA8, Color(0.5f, 0.25f, 0, 0), {128, 64, 0, 0}, Color(128 / 255.f, 64 / 255.f, 0, 0)},  // alpha 0 stored
      {ABGR8, Color(0.2f, 0.4f, 0.6f, 0.8f), {204, 153, 102, 51}, Color(51 / 255.f, 102 / 255.f, 153 / 255.f, 204 / 255.f)},
      {RGBA16, wild, {32768, 16384, 65535, 0}, Color(32768 / 65535.f, 16384 / 65535.f, 1, 0)},
      {ARGB32, wild, {-0.5, 0.5, 0.25, 1.5}, wild},
      {RGB565, kRed, {0xF800}, Color(248 / 255.f, 0, 0, 1)},
      {RGB555, kBlue, {0x801F}, Color(0, 0, 248 / 255.f, 1)},  // AGG sets the alpha bit on every write
      {Gray8, Color(0.2f, 0.4f, 0.6f, 1), {95}, Color(95 / 255.f, 95 / 255.f, 95 / 255.f, 1)},  // luminance
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(GetPictureFormatName(row.format));
    Picture picture(1, 1, row.format);
    picture.PutPixel(0, 0, row.put);
    EXPECT_EQ(Stored(picture), row.stored);
    ExpectColor(picture.GetPixel(0, 0), row.read);
  }
  // Blending: alpha 0 changes nothing, half alpha goes halfway, full alpha replaces.
  Picture picture(1, 1, RGBA8);
  picture.Clear(kWhite);
  picture.BlendPixel(0, 0, Color(0, 0, 0, 0));
  EXPECT_EQ(picture.GetPixel(0, 0), kWhite);
  picture.BlendPixel(0, 0, Color(0, 0, 0, 0.5f));
  EXPECT_NEAR(picture.GetData()[0], 127, 1);
  picture.BlendPixel(0, 0, kBlue);
  EXPECT_EQ(picture.GetPixel(0, 0), kBlue);
}

// White over black at nearly full alpha and back: the arithmetic spans the whole 32-bit range,
// where products in a signed int (as AGG's own 16-bit colours form them) come out one off.
TEST(PicturePixels, SixteenBitBlendsOfLargeDifferencesStayExact) {
  const float alpha = 65534.0f / 65535.0f;
  for (PictureFormat format : {Gray16, RGB16, BGRA16}) {
    SCOPED_TRACE(GetPictureFormatName(format));
    Picture picture(1, 1, format);
    picture.Clear(kBlack);
    picture.BlendPixel(0, 0, Color(1, 1, 1, alpha));
    EXPECT_EQ(Stored(picture)[0], 65534);
    picture.Clear(kWhite);
    picture.BlendPixel(0, 0, Color(0, 0, 0, alpha));
    EXPECT_EQ(Stored(picture)[0], 1);
  }
}

class PictureFormatsMismatch : public tv_test::LogCaptureTest {};

TEST_F(PictureFormatsMismatch, BlitAndCopyRefuseWithTheirLines) {
  Picture destination(2, 2, RGBA8);
  const Picture source(2, 2, BGRA8);
  EXPECT_FALSE(destination.Blit(source, 0, 0, 2, 2, Matrix3(), FilterNearest));
  EXPECT_FALSE(destination.Copy(source, 0, 0, 1, 1, 0, 0));
  EXPECT_EQ(tv_test::TakeLog(),
            (std::vector<tv_test::LogLine>{{"error", "Cannot blit between different source and destination picture format"},
                                           {"error", "Cannot copy between different source and destination picture format"}}));
}

// In every format: a nearest blit through the identity copies random opaque pixels exactly, and
// one through a clip box wholly outside the picture changes nothing, whatever the filter.
TEST(PictureBlit, NearestIdentityCopiesAndAnEmptyClipBoxBlocksEveryFormat) {
  std::mt19937 random(3);
  std::uniform_real_distribution<float> unit(0, 1);
  for (uint32_t f = 0; f < kPictureFormatCount; ++f) {
    const PictureFormat format = PictureFormat(f);
    SCOPED_TRACE(GetPictureFormatName(format));
    Picture source(7, 5, format);
    for (int y = 0; y < 5; ++y)
      for (int x = 0; x < 7; ++x) source.PutPixel(x, y, Color(unit(random), unit(random), unit(random), 1));
    Picture destination(7, 5, format);
    ASSERT_TRUE(destination.Blit(source, 0, 0, 7, 5, Matrix3(), FilterNearest));
    EXPECT_EQ(Bytes(destination), Bytes(source));

    Picture blocked(4, 4, format);
    blocked.SetFillColor(kBlue);
    blocked.SetClipRect(10, 10, 20, 20);
    for (uint32_t filter : {uint32_t(FilterNearest), uint32_t(FilterBilinear)}) {
      ASSERT_TRUE(blocked.Blit(source, -1, -1, 5, 5, Matrix3(), filter));
      EXPECT_EQ(Bytes(blocked), std::vector<uint8_t>(blocked.GetDataSize(), 0)) << "filter " << filter;
    }
  }
}

// Every filter of every format keeps a uniform source uniform, the fill colour standing in for
// kernel samples beyond the source's edge.
TEST(PictureBlit, EveryFilterOfEveryFormatKeepsAUniformSourceUniform) {
  const Color colour(0.2f, 0.6f, 0.4f, 1);
  const Matrix3 scale(6.0f / 9.0f, 0, 0, 0, 5.0f / 4.0f, 0, 0, 0, 1);
  for (uint32_t f = 0; f < kPictureFormatCount; ++f) {
    for (uint32_t filter = 0; filter <= kPictureFilterCount; ++filter) {
      SCOPED_TRACE(std::string(GetPictureFormatName(PictureFormat(f))) + ", filter " + std::to_string(filter));
      Picture source(6, 5, PictureFormat(f));
      source.Clear(colour);
      Picture destination(9, 4, PictureFormat(f));
      destination.SetFillColor(colour);
      ASSERT_TRUE(destination.Blit(source, 0, 0, 9, 4, scale, filter));
      const Color expected = source.GetPixel(0, 0);
      // AGG's kernel weights truncate: a uniform picture may come out an 8-bit level lower, and
      // an alpha that lost a level blends a second one away; in a 5-bit channel that is a step of 8.
      const double tolerance = (f == RGB555 || f == RGB565 ? 8.5 : 2.5) / 255;
      for (int i = 0; i < 36; ++i) {
        const Color got = destination.GetPixel(i % 9, i / 9);
        ASSERT_NEAR(got.r, expected.r, tolerance) << i;
        ASSERT_NEAR(got.g, expected.g, tolerance) << i;
        ASSERT_NEAR(got.b, expected.b, tolerance) << i;
      }
    }
  }
}

// Outside the source a blit draws the fill colour, through the clip box (which the packed
// formats, blitting through an RGB8 copy, must honour too), and the rectangle's edges are
// anti-aliased.
TEST(PictureBlit, FillColourOutsideTheSourceClipBoxAndAntiAliasedEdges) {
  for (PictureFormat format : {RGB8, RGB555, RGB565}) {
    SCOPED_TRACE(GetPictureFormatName(format));
    Picture source(2, 2, format);
    source.Clear(kRed);
    Picture destination(4, 1, format);
    destination.SetFillColor(kBlue);
    destination.SetClipRect(0, 0, 2, 0);
    // Destination x maps to source x - 1: pixel 0 falls left of the source.
    ASSERT_TRUE(destination.Blit(source, 0, 0, 4, 1, Matrix3(1, 0, -1, 0, 1, 0, 0, 0, 1), FilterNearest));
    Picture expected(4, 1, format);
    expected.PutPixel(0, 0, kBlue);
    expected.PutPixel(1, 0, kRed);
    expected.PutPixel(2, 0, kRed);
    EXPECT_EQ(Bytes(destination), Bytes(expected));
  }
  Picture source(4, 4, Gray8);
  source.Clear(kWhite);
  Picture destination(4, 1, Gray8);
  ASSERT_TRUE(destination.Blit(source, 0.5f, 0, 2.5f, 1, Matrix3(), FilterNearest));
  EXPECT_NEAR(destination.GetData()[0], 128, 2);  // half covered
  EXPECT_EQ(destination.GetData()[1], 255);
  EXPECT_NEAR(destination.GetData()[2], 128, 2);
  EXPECT_EQ(destination.GetData()[3], 0);
}

// Copy takes the inclusive rectangle raw to its corner, through the clip box, clipped to both
// pictures even at the ends of the int range.
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
  destination.Clear(Color());
  ASSERT_TRUE(destination.Copy(source, -1, -1, 100, 100, 0, 0));
  EXPECT_EQ(Bytes(destination), (std::vector<uint8_t>{0, 0, 0, 0, 10, 20, 0, 40, 50}));
  const int most = std::numeric_limits<int>::max(), least = std::numeric_limits<int>::min();
  ASSERT_TRUE(destination.Copy(source, 0, 0, 2, 2, most, least));
  ASSERT_TRUE(destination.Copy(source, least, least, most, most, most, most));
  ASSERT_TRUE(destination.Copy(source, most, most, least, least, least, least));
  EXPECT_EQ(Bytes(destination), (std::vector<uint8_t>{0, 0, 0, 0, 10, 20, 0, 40, 50}));
}

TEST(PictureFlip, MirrorsRawPixelsWhateverTheClipBox) {
  Picture picture(3, 2, RGB16);
  for (uint32_t i = 0; i < 18; ++i) reinterpret_cast<uint16_t*>(picture.GetData())[i] = uint16_t(i);
  const std::vector<uint8_t> before = Bytes(picture);
  auto at = [&](uint32_t x, uint32_t y) { return reinterpret_cast<const uint16_t*>(picture.GetData(x, y))[0]; };
  picture.SetClipRect(0, 0, 0, 0);
  picture.Flip(false, false);
  EXPECT_EQ(Bytes(picture), before);
  picture.Flip(true, false);
  EXPECT_EQ((std::vector<int>{at(0, 0), at(1, 0), at(2, 1)}), (std::vector<int>{6, 3, 9}));
  picture.Flip(false, true);
  EXPECT_EQ((std::vector<int>{at(0, 0), at(2, 0)}), (std::vector<int>{15, 9}));
  picture.Flip(true, true);
  EXPECT_EQ(Bytes(picture), before);
}

void Square(Picture& picture, float from, float to) {
  picture.MoveTo(from, from);
  picture.LineTo(to, from);
  picture.LineTo(to, to);
  picture.LineTo(from, to);
  picture.ClosePolygon();
}

// The path is filled, then stroked over the fill's edge, then gone; modes other than 1 draw
// nothing of that part.
TEST(PicturePath, FillThenStrokeThenThePathIsEmpty) {
  Picture picture(20, 20, RGB8);
  picture.SetFillColor(kRed);
  picture.SetPenColor(kBlue);
  picture.GetRenderer()->pen_width = 4;
  Square(picture, 4, 16);
  picture.DrawPath();
  EXPECT_EQ(picture.GetPixel(10, 10), kRed);
  EXPECT_EQ(picture.GetPixel(10, 4), kBlue);
  EXPECT_EQ(picture.GetPixel(4, 10), kBlue);
  EXPECT_EQ(picture.GetPixel(0, 0), kBlack);
  const std::vector<uint8_t> drawn = Bytes(picture);
  picture.SetFillColor(kWhite);
  picture.SetPenColor(kWhite);
  picture.DrawPath();
  EXPECT_EQ(Bytes(picture), drawn);

  Picture modes(10, 10, Gray8);
  modes.SetFillColor(kWhite);
  modes.SetPenColor(kWhite);
  modes.GetRenderer()->fill_mode = 2;
  modes.GetRenderer()->pen_mode = 0;
  modes.AddEllipse(5, 5, 4, 4);
  modes.DrawPath();
  EXPECT_EQ(Bytes(modes), std::vector<uint8_t>(100, 0));
  modes.GetRenderer()->pen_mode = 1;
  modes.AddEllipse(5, 5, 4, 4);
  modes.DrawPath();
  EXPECT_EQ(modes.GetData(5, 5)[0], 0);   // not filled
  EXPECT_GT(modes.GetData(5, 1)[0], 60);  // on the outline
}

// Ellipses and rounded rectangles fill their shapes; a rounded rectangle takes its radius as
// given (8 on a rectangle 10 high) rather than scaling it down to fit.
TEST(PicturePath, EllipsesAndRoundedRectangles) {
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
  EXPECT_EQ(picture.GetPixel(10, 2), kWhite);  // a straight edge
  EXPECT_EQ(picture.GetPixel(2, 2), Color());  // a rounded corner

  Picture wide(40, 10, Gray8);
  wide.GetRenderer()->pen_mode = 0;
  wide.SetFillColor(kWhite);
  wide.AddRoundedRect(0, 0, 40, 10, 8);
  wide.DrawPath();
  EXPECT_EQ(wide.GetData(2, 0)[0], 0);    // above the arc centred at (8, 8)
  EXPECT_GT(wide.GetData(6, 0)[0], 150);  // under it, mostly covered
  EXPECT_LT(wide.GetData(6, 0)[0], 250);
  EXPECT_EQ(wide.GetData(8, 0)[0], 255);  // where the straight edge starts
  EXPECT_EQ(wide.GetData(20, 5)[0], 255);
}

// Coordinates and the pen width clamp to a million and NaN reads as 0: all of this lands half a
// million pixels or more above the picture, which stays as it was and draws normally afterwards.
TEST(PicturePath, ClosingAnEmptyPathAndWildCoordinatesAreHarmless) {
  Picture picture(8, 8, RGBA8);
  picture.ClosePolygon();
  picture.DrawPath();
  picture.SetFillColor(kWhite);
  picture.SetPenColor(kWhite);
  picture.MoveTo(kNaN, -1e30f);
  picture.LineTo(kInf, -kInf);
  picture.LineTo(-1e30f, -1e30f);
  picture.ClosePolygon();
  picture.AddEllipse(kNaN, -kInf, 1e30f, 1000);
  picture.AddRoundedRect(-kInf, -1e30f, 1e30f, -kInf, kNaN);
  picture.GetRenderer()->pen_width = kInf;
  picture.DrawPath();
  EXPECT_EQ(Bytes(picture), std::vector<uint8_t>(256, 0));
  picture.GetRenderer()->pen_width = 1;
  picture.GetRenderer()->pen_mode = 0;
  Square(picture, 2, 6);
  picture.DrawPath();
  for (int i = 0; i < 64; ++i) {
    const bool inside = i % 8 >= 2 && i % 8 < 6 && i / 8 >= 2 && i / 8 < 6;
    EXPECT_EQ(picture.GetPixel(i % 8, i / 8), inside ? kWhite : Color()) << i;
  }
}

// The largest squared channel distance must stay within (int(threshold × 256))², by value across
// formats; clip boxes play no part, and the walk covers this picture's size (pixels beyond the
// other's read 0, 0, 0, 0).
TEST(PictureCompare, ThresholdLimitsTheSquaredDistance) {
  Picture a(3, 3, RGBA8);
  a.Clear(Color(0.5f, 0.5f, 0.5f, 1));
  Picture b = a;
  EXPECT_TRUE(a.Compare(b, 0));
  b.GetData(2, 2)[1] += 10;  // a distance of 10 in one channel: 100 squared
  EXPECT_FALSE(a.Compare(b, 0.02f));  // (int(5.12))² = 25
  EXPECT_TRUE(a.Compare(b, 0.04f));   // (int(10.24))² = 100
  a.SetClipRect(0, 0, 0, 0);
  b.SetClipRect(0, 0, 0, 0);
  EXPECT_FALSE(a.Compare(b, 0.02f));
  EXPECT_FALSE(b.Compare(a, 0.02f));
  b.GetData(2, 2)[1] = a.GetData(2, 2)[1];
  b.ResetClipRect();
  EXPECT_TRUE(a.Compare(b, 0));
  Picture c = b;
  ASSERT_TRUE(c.Convert(RGB8));
  c.SetClipRect(10, 10, 20, 20);
  EXPECT_TRUE(a.Compare(c, 0));
  EXPECT_TRUE(c.Compare(a, 0));
  Picture small(2, 2, RGBA8);
  small.Clear(Color(0.5f, 0.5f, 0.5f, 1));
  EXPECT_TRUE(small.Compare(a, 0));
  EXPECT_FALSE(a.Compare(small, 0.5f));
}

// A threshold beyond any int is the largest limit and NaN allows no difference; a NaN or an
// infinite channel is too far from anything, itself included.
TEST(PictureCompare, WildThresholdsAndNaNPixels) {
  Picture a(2, 1, RGBA8);
  Picture b(2, 1, RGBA8);
  b.Clear(kWhite);
  EXPECT_TRUE(a.Compare(b, 1e30f));
  EXPECT_TRUE(a.Compare(b, kInf));
  EXPECT_FALSE(a.Compare(b, kNaN));
  EXPECT_TRUE(a.Compare(a, kNaN));
  Picture f(2, 1, RGBA32);
  f.Clear(Color(0.25f, 0.5f, 0.75f, 1));
  Picture g = f;
  EXPECT_TRUE(f.Compare(g, 0));
  f.PutPixel(1, 0, Color(kNaN, 0.5f, 0.75f, 1));
  EXPECT_FALSE(f.Compare(g, 1e30f));
  EXPECT_FALSE(g.Compare(f, 1e30f));
  EXPECT_FALSE(f.Compare(f, 1e30f));
  g.PutPixel(1, 0, Color(kInf, 0.5f, 0.75f, 1));
  EXPECT_FALSE(g.Compare(g, kInf));
}

} // namespace
} // namespace tv::test
