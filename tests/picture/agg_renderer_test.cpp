// The drawing interface over AGG: clip box, pixel access in every family, blits with each
// filter, copies, flips, paths and comparison.

#include <gtest/gtest.h>

#include <algorithm>
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

const Color kWhite(1, 1, 1, 1), kBlack(0, 0, 0, 1), kRed(1, 0, 0, 1), kBlue(0, 0, 1, 1);
const float kNaN = std::numeric_limits<float>::quiet_NaN();
const float kInf = std::numeric_limits<float>::infinity();

std::vector<uint8_t> Bytes(const Picture& picture) {
  return std::vector<uint8_t>(picture.GetData(), picture.GetData() + picture.GetDataSize());
}

// The first channel of every pixel as '#' (full), '+' (partly) or '.' (none), row by row.
std::string Map(const Picture& picture) {
  std::string map;
  for (uint32_t y = 0; y < picture.GetHeight(); ++y, map += '\n')
    for (uint32_t x = 0; x < picture.GetWidth(); ++x) {
      const uint8_t v = picture.GetData(x, y)[0];
      map += v == 255 ? '#' : v == 0 ? '.' : '+';
    }
  return map;
}

// Which pixels PutPixel and BlendPixel reach through the clip box.
std::string Reached(Picture& picture) {
  picture.Clear(Color());
  for (int y = 0; y < int(picture.GetHeight()); ++y)
    for (int x = 0; x < int(picture.GetWidth()); ++x) {
      picture.PutPixel(x, y, kWhite);
      picture.BlendPixel(x, y, kWhite);
    }
  return Map(picture);
}

uint16_t At16(const uint8_t* p) {
  uint16_t v;
  std::memcpy(&v, p, 2);
  return v;
}

// The channels of the first pixel as stored: 8-bit, 16-bit (a packed 5-6-5 pixel is one) or float.
std::vector<double> Stored(const Picture& picture) {
  const PictureFormat f = picture.GetFormat();
  const bool wide = f == Gray16 || f == RGB555 || f == RGB565 || f >= RGB16;
  const uint32_t width = f == Gray32 || f >= RGB32 ? 4 : wide ? 2 : 1;
  std::vector<double> channels;
  for (uint32_t at = 0; at < Picture::GetBytesPerPixel(f); at += width) {
    float f32 = 0;
    if (width == 4) std::memcpy(&f32, picture.GetData() + at, 4);
    channels.push_back(width == 1 ? picture.GetData()[at] : width == 2 ? At16(picture.GetData() + at) : f32);
  }
  return channels;
}

// The clip box orders and clamps its corners and bounds every pixel access but Clear; outside it
// GetPixel reads 0, 0, 0, 0.
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
  EXPECT_EQ(Map(picture), "######\n######\n######\n######\n");
  EXPECT_EQ(picture.GetPixel(0, 0), kRed);
  EXPECT_EQ(picture.GetPixel(2, 1), Color());
  EXPECT_EQ(picture.GetPixel(-1, 0), Color());
}

// PutPixel stores each family at its own width (integer channels clamped and rounded, floats as
// given) and GetPixel reads it back over the channel's full value; blends at 16 bits stay exact
// where products in a signed int (as AGG's own 16-bit colours form them) come out one off.
TEST(PicturePixels, EachFamilyStoresAndReadsAtItsOwnWidth) {
  const Color wild(0.5f, 0.25f, 1.5f, -0.5f);
  const struct {
    PictureFormat format;
    Color put;
    std::vector<double> stored;
    Color read;
  } rows[] = {
      {RGBA8, Color(0.5f, 0.25f, 0, 0), {128, 64, 0, 0}, Color(128 / 255.f, 64 / 255.f, 0, 0)},  // alpha 0 stored
      {ABGR8, Color(0.2f, 0.4f, 0.6f, 0.8f), {204, 153, 102, 51},
       Color(51 / 255.f, 102 / 255.f, 153 / 255.f, 204 / 255.f)},
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
    const Color read = picture.GetPixel(0, 0);
    EXPECT_LT(std::max({std::abs(read.r - row.read.r), std::abs(read.g - row.read.g), std::abs(read.b - row.read.b),
                        std::abs(read.a - row.read.a)}),
              1e-6);
  }
  for (PictureFormat format : {Gray16, RGB16, BGRA16}) {
    Picture picture(1, 1, format);
    picture.Clear(kBlack);
    picture.BlendPixel(0, 0, Color(1, 1, 1, 65534.0f / 65535.0f));
    EXPECT_EQ(Stored(picture)[0], 65534) << GetPictureFormatName(format);
    picture.Clear(kWhite);
    picture.BlendPixel(0, 0, Color(0, 0, 0, 65534.0f / 65535.0f));
    EXPECT_EQ(Stored(picture)[0], 1) << GetPictureFormatName(format);
  }
  // Alpha 0 changes nothing, half alpha goes halfway, full alpha replaces.
  Picture picture(1, 1, RGBA8);
  picture.Clear(kWhite);
  picture.BlendPixel(0, 0, Color(0, 0, 0, 0));
  EXPECT_EQ(picture.GetPixel(0, 0), kWhite);
  picture.BlendPixel(0, 0, Color(0, 0, 0, 0.5f));
  EXPECT_NEAR(picture.GetData()[0], 127, 1);
  picture.BlendPixel(0, 0, kBlue);
  EXPECT_EQ(picture.GetPixel(0, 0), kBlue);
}

class PictureFormatsMismatch : public tv_test::LogCaptureTest {};

TEST_F(PictureFormatsMismatch, BlitAndCopyRefuseWithTheirLines) {
  Picture destination(2, 2, RGBA8);
  const Picture source(2, 2, BGRA8);
  EXPECT_FALSE(destination.Blit(source, 0, 0, 2, 2, Matrix3(), FilterNearest));
  EXPECT_FALSE(destination.Copy(source, 0, 0, 1, 1, 0, 0));
  EXPECT_EQ(tv_test::TakeLog(), (std::vector<tv_test::LogLine>{
                                    {"error", "Cannot blit between different source and destination picture format"},
                                    {"error", "Cannot copy between different source and destination picture format"}}));
}

// In every format: a nearest blit through the identity copies random opaque pixels exactly; every
// filter keeps a uniform source uniform (the fill colour standing in beyond its edge); and a clip
// box wholly outside the picture lets nothing through.
TEST(PictureBlit, EveryFormatAndFilter) {
  std::mt19937 random(3);
  std::uniform_real_distribution<float> unit(0, 1);
  const Color colour(0.2f, 0.6f, 0.4f, 1);
  for (uint32_t f = 0; f < kPictureFormatCount; ++f) {
    const PictureFormat format = PictureFormat(f);
    SCOPED_TRACE(GetPictureFormatName(format));
    Picture source(7, 5, format), copy(7, 5, format);
    for (int i = 0; i < 35; ++i) source.PutPixel(i % 7, i / 7, Color(unit(random), unit(random), unit(random), 1));
    ASSERT_TRUE(copy.Blit(source, 0, 0, 7, 5, Matrix3(), FilterNearest));
    EXPECT_EQ(Bytes(copy), Bytes(source));

    source.Clear(colour);
    // AGG's kernel weights truncate: a uniform picture may come out an 8-bit level lower, and an
    // alpha that lost a level blends a second one away; in a 5-bit channel that is a step of 8.
    const double tolerance = (f == RGB555 || f == RGB565 ? 8.5 : 2.5) / 255;
    const Color expected = source.GetPixel(0, 0);
    for (uint32_t filter = 0; filter <= kPictureFilterCount; ++filter) {
      Picture scaled(9, 4, format), blocked(9, 4, format);
      scaled.SetFillColor(colour);
      ASSERT_TRUE(scaled.Blit(source, 0, 0, 9, 4, Matrix3(7.0f / 9, 0, 0, 0, 5.0f / 4, 0, 0, 0, 1), filter));
      for (int i = 0; i < 36; ++i) {
        const Color got = scaled.GetPixel(i % 9, i / 9);
        ASSERT_NEAR(got.r, expected.r, tolerance) << "filter " << filter << ", pixel " << i;
        ASSERT_NEAR(got.g, expected.g, tolerance) << "filter " << filter << ", pixel " << i;
        ASSERT_NEAR(got.b, expected.b, tolerance) << "filter " << filter << ", pixel " << i;
      }
      blocked.SetClipRect(10, 10, 20, 20);
      ASSERT_TRUE(blocked.Blit(source, -1, -1, 10, 5, Matrix3(), filter));
      EXPECT_EQ(Bytes(blocked), std::vector<uint8_t>(blocked.GetDataSize(), 0)) << "filter " << filter;
    }
  }
}

// Outside the source a blit draws the fill colour, through the clip box (which the packed
// formats, blitting through an RGB8 copy, must honour too); the rectangle's edges are anti-aliased.
TEST(PictureBlit, FillColourOutsideTheSourceClipBoxAndAntiAliasedEdges) {
  for (PictureFormat format : {RGB8, RGB555, RGB565}) {
    Picture source(2, 2, format), destination(4, 1, format), expected(4, 1, format);
    source.Clear(kRed);
    destination.SetFillColor(kBlue);
    destination.SetClipRect(0, 0, 2, 0);
    // Destination x maps to source x - 1: pixel 0 falls left of the source.
    ASSERT_TRUE(destination.Blit(source, 0, 0, 4, 1, Matrix3(1, 0, -1, 0, 1, 0, 0, 0, 1), FilterNearest));
    expected.PutPixel(0, 0, kBlue);
    expected.PutPixel(1, 0, kRed);
    expected.PutPixel(2, 0, kRed);
    EXPECT_EQ(Bytes(destination), Bytes(expected)) << GetPictureFormatName(format);
  }
  Picture source(4, 4, Gray8), destination(4, 1, Gray8);
  source.Clear(kWhite);
  ASSERT_TRUE(destination.Blit(source, 0.5f, 0, 2.5f, 1, Matrix3(), FilterNearest));
  EXPECT_EQ(Map(destination), "+#+.\n");
  EXPECT_NEAR(destination.GetData()[0], 128, 2);  // half covered
}

// Copy takes the inclusive rectangle raw to its corner, through the clip box, clipped to both
// pictures even at the ends of the int range.
TEST(PictureCopy, CopiesTheInclusiveRectangleThroughTheClipBox) {
  Picture source(3, 3, Gray8), destination(3, 3, Gray8);
  for (uint32_t i = 0; i < 9; ++i) source.GetData()[i] = uint8_t(10 * (i + 1));
  ASSERT_TRUE(destination.Copy(source, 1, 1, 2, 2, 0, 0));
  EXPECT_EQ(Bytes(destination), (std::vector<uint8_t>{50, 60, 0, 80, 90, 0, 0, 0, 0}));
  destination.Clear(Color());
  destination.SetClipRect(0, 0, 1, 0);
  ASSERT_TRUE(destination.Copy(source, 0, 0, 2, 2, 1, 0));
  EXPECT_EQ(Bytes(destination), (std::vector<uint8_t>{0, 10, 0, 0, 0, 0, 0, 0, 0}));
  destination.ResetClipRect();
  destination.Clear(Color());
  ASSERT_TRUE(destination.Copy(source, -1, -1, 100, 100, 0, 0));
  const int most = std::numeric_limits<int>::max(), least = std::numeric_limits<int>::min();
  ASSERT_TRUE(destination.Copy(source, 0, 0, 2, 2, most, least));
  ASSERT_TRUE(destination.Copy(source, least, least, most, most, most, most));
  ASSERT_TRUE(destination.Copy(source, most, most, least, least, least, least));
  EXPECT_EQ(Bytes(destination), (std::vector<uint8_t>{0, 0, 0, 0, 10, 20, 0, 40, 50}));
}

// Flips mirror the raw pixels whatever the clip box.
TEST(PictureFlip, MirrorsRawPixelsWhateverTheClipBox) {
  Picture picture(3, 2, RGB16);
  for (uint32_t i = 0; i < 18; ++i) reinterpret_cast<uint16_t*>(picture.GetData())[i] = uint16_t(i);
  auto firsts = [&] {
    std::vector<int> values;
    for (uint32_t i = 0; i < 6; ++i) values.push_back(At16(picture.GetData(i % 3, i / 3)));
    return values;
  };
  picture.SetClipRect(0, 0, 0, 0);
  picture.Flip(false, false);
  EXPECT_EQ(firsts(), (std::vector<int>{0, 3, 6, 9, 12, 15}));
  picture.Flip(true, false);
  EXPECT_EQ(firsts(), (std::vector<int>{6, 3, 0, 15, 12, 9}));
  picture.Flip(false, true);
  EXPECT_EQ(firsts(), (std::vector<int>{15, 12, 9, 6, 3, 0}));
  picture.Flip(true, true);
  EXPECT_EQ(firsts(), (std::vector<int>{0, 3, 6, 9, 12, 15}));
}

void Square(Picture& picture, float from, float to) {
  picture.MoveTo(from, from);
  picture.LineTo(to, from);
  picture.LineTo(to, to);
  picture.LineTo(from, to);
  picture.ClosePolygon();
}

// The path is filled, then stroked over the fill's edge, then gone; a mode other than 1 leaves
// out its part.
TEST(PicturePath, FillThenStrokeThenThePathIsEmpty) {
  Picture picture(20, 20, RGB8);
  picture.SetFillColor(kRed);
  picture.SetPenColor(kBlue);
  picture.GetRenderer()->pen_width = 4;
  Square(picture, 4, 16);
  picture.DrawPath();
  EXPECT_EQ(picture.GetPixel(10, 10), kRed);
  EXPECT_EQ(picture.GetPixel(10, 4), kBlue);  // the stroke lies over the fill's edge
  EXPECT_EQ(picture.GetPixel(4, 10), kBlue);
  EXPECT_EQ(picture.GetPixel(0, 0), kBlack);
  const std::vector<uint8_t> drawn = Bytes(picture);
  picture.SetFillColor(kWhite);
  picture.SetPenColor(kWhite);
  picture.DrawPath();
  EXPECT_EQ(Bytes(picture), drawn);

  Picture modes(7, 7, Gray8);
  modes.SetFillColor(kWhite);
  modes.SetPenColor(kWhite);
  modes.GetRenderer()->fill_mode = 2;
  modes.GetRenderer()->pen_mode = 0;
  Square(modes, 1, 6);
  modes.DrawPath();
  EXPECT_EQ(Map(modes), ".......\n.......\n.......\n.......\n.......\n.......\n.......\n");
  modes.GetRenderer()->pen_mode = 1;
  Square(modes, 1, 6);
  modes.DrawPath();
  EXPECT_EQ(Map(modes), "+++++++\n+++++++\n++...++\n++...++\n++...++\n+++++++\n+++++++\n");  // outline only
}

// Ellipses and rounded rectangles fill their shapes; a rounded rectangle takes its radius as
// given (8 on a rectangle 10 high) rather than scaling it down to fit.
TEST(PicturePath, EllipsesAndRoundedRectangles) {
  Picture picture(20, 20, BGRA8);
  picture.GetRenderer()->pen_mode = 0;
  picture.SetFillColor(kWhite);
  picture.AddEllipse(10, 10, 8, 5);
  picture.DrawPath();
  EXPECT_EQ((std::vector<Color>{picture.GetPixel(10, 10), picture.GetPixel(3, 10), picture.GetPixel(10, 3)}),
            (std::vector<Color>{kWhite, kWhite, Color()}));
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
  EXPECT_EQ(Map(wide).substr(0, 10), "....++++##");  // the arc centred at (8, 8) starts at x = 2
  EXPECT_GT(wide.GetData(6, 0)[0], 150);
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
  EXPECT_EQ(Map(picture), "........\n........\n..####..\n..####..\n..####..\n..####..\n........\n........\n");
}

// The largest squared channel distance must stay within (int(threshold × 256))², by value across
// formats; clip boxes play no part, and the walk covers this picture's size (pixels beyond the
// other's read 0, 0, 0, 0). A threshold beyond any int is the largest limit and NaN allows no
// difference; a NaN or an infinite channel is too far from anything, itself included.
TEST(PictureCompare, ThresholdLimitsTheSquaredDistance) {
  Picture a(3, 3, RGBA8);
  a.Clear(Color(0.5f, 0.5f, 0.5f, 1));
  Picture b = a;
  b.GetData(2, 2)[1] += 10;  // a distance of 10 in one channel: 100 squared
  a.SetClipRect(0, 0, 0, 0);
  b.SetClipRect(0, 0, 0, 0);
  EXPECT_FALSE(a.Compare(b, 0.02f));  // (int(5.12))² = 25
  EXPECT_TRUE(a.Compare(b, 0.04f));   // (int(10.24))² = 100
  EXPECT_FALSE(b.Compare(a, 0.02f));
  Picture c = a;
  ASSERT_TRUE(c.Convert(RGB8));
  c.SetClipRect(10, 10, 20, 20);
  EXPECT_TRUE(a.Compare(c, 0) && c.Compare(a, 0));
  Picture small(2, 2, RGBA8);
  small.Clear(Color(0.5f, 0.5f, 0.5f, 1));
  EXPECT_TRUE(small.Compare(a, 0));
  EXPECT_FALSE(a.Compare(small, 0.5f));

  Picture black(2, 1, RGBA8), white(2, 1, RGBA8);
  white.Clear(kWhite);
  EXPECT_TRUE(black.Compare(white, 1e30f) && black.Compare(white, kInf) && black.Compare(black, kNaN));
  EXPECT_FALSE(black.Compare(white, kNaN));
  Picture f(2, 1, RGBA32);
  f.Clear(Color(0.25f, 0.5f, 0.75f, 1));
  Picture g = f;
  EXPECT_TRUE(f.Compare(g, 0));
  f.PutPixel(1, 0, Color(kNaN, 0.5f, 0.75f, 1));
  EXPECT_FALSE(f.Compare(g, 1e30f) || g.Compare(f, 1e30f) || f.Compare(f, 1e30f));
  g.PutPixel(1, 0, Color(kInf, 0.5f, 0.75f, 1));
  EXPECT_FALSE(g.Compare(g, kInf));
}

} // namespace
} // namespace tv::test
