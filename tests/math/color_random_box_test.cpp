#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <numbers>

#include "glm_oracle.h"
#include "math/color.h"
#include "math/min_max.h"
#include "math/obb.h"
#include "math/random.h"

namespace {

using tv::Color;
using tv::Matrix3;
using tv::MinMax;
using tv::OBB;
using tv::Vector3;
using tv::test::Near;

TEST(Color, PackingPutsRInTheLowByteOrInTheHighByte) {
  // 0.5 × 255 = 127.5 and 0.25 × 255 = 63.75 truncate to 127 and 63.
  const Color c(1, 0.5f, 0.25f, 0);
  EXPECT_EQ(c.PackRGBA(), 0x003F7FFFu);
  EXPECT_EQ(c.PackABGR(), 0xFF7F3F00u);
  const Color d(0.1f, 0.2f, 0.3f, 0.4f); // 25.5, 51, 76.5, 102
  EXPECT_EQ(d.PackRGBA(), 0x664C3319u);
  EXPECT_EQ(d.PackABGR(), 0x19334C66u);
}

TEST(Color, PackingClampsAndTreatsNaNAsZero) {
  const Color c(-1, 2, std::numeric_limits<float>::quiet_NaN(), 0.999f); // 0.999 × 255 = 254.7
  EXPECT_EQ(c.PackRGBA(), 0xFE00FF00u);
  EXPECT_EQ(c.PackABGR(), 0x00FF00FEu);
}

TEST(Color, UnpackingDividesEachByteBy255) {
  const Color rgba = Color::UnpackRGBA(0x80FF4000u);
  EXPECT_EQ(rgba, Color(0, 64 / 255.0f, 1, 128 / 255.0f));
  const Color abgr = Color::UnpackABGR(0x80FF4000u);
  EXPECT_EQ(abgr, Color(128 / 255.0f, 1, 64 / 255.0f, 0));
  // Every byte survives unpack then pack, in both orders.
  for (uint32_t byte = 0; byte < 256; ++byte) {
    const uint32_t packed = byte | (255 - byte) << 8 | (byte ^ 0x5A) << 16 | (byte * 7 & 0xFF) << 24;
    EXPECT_EQ(Color::UnpackRGBA(packed).PackRGBA(), packed) << byte;
    EXPECT_EQ(Color::UnpackABGR(packed).PackABGR(), packed) << byte;
  }
}

// The first outputs from the starting state, computed apart from the engine by a direct transcription of
// Marsaglia's xorshift (x ^= x << 16; x ^= x >> 5; x ^= x << 1; t = x; x = y; y = z; z = t ^ x ^ y).
constexpr uint32_t kSequence[] = {1588437975u, 2268752316u, 3071397075u, 1066942004u, 2996772340u,
                                  86133791u,   3042881956u, 1313616534u, 646932915u,  1705310046u};

TEST(Random, FollowsTheXorshiftSequenceFromTheStartingState) {
  tv::ResetRand();
  // Below 2^32 − 1, the modulo of the largest range is the output itself.
  for (const uint32_t expected : kSequence) EXPECT_EQ(tv::Rand(0xFFFFFFFFu), expected);
  tv::ResetRand();
  for (const uint32_t expected : kSequence) EXPECT_EQ(tv::Rand(1000), expected % 1000);
}

TEST(Random, RandOfZeroAnswersZeroWithoutStepping) {
  tv::ResetRand();
  EXPECT_EQ(tv::Rand(0), 0u);
  EXPECT_EQ(tv::Rand(0), 0u);
  EXPECT_EQ(tv::Rand(0xFFFFFFFFu), kSequence[0]);
}

TEST(Random, FloatsUseTheLow16BitsAsAFraction) {
  tv::ResetRand();
  const float f0 = float(kSequence[0] & 0xFFFF) * (1.0f / 65536.0f); // 41943 / 65536
  EXPECT_EQ(tv::FRand(1), f0);
  const float f1 = float(kSequence[1] & 0xFFFF) * (1.0f / 65536.0f);
  EXPECT_EQ(tv::FRand(10), f1 * 10);
  const float f2 = float(kSequence[2] & 0xFFFF) * (1.0f / 65536.0f);
  EXPECT_EQ(tv::FRRand(-2, 6), f2 * 8 + -2);
  // The fraction never reaches 1.
  for (int i = 0; i < 10000; ++i) {
    const float f = tv::FRRand(5, 6);
    ASSERT_GE(f, 5);
    ASSERT_LT(f, 6);
  }
}

TEST(Boxes, OBBFromMinMaxHasFullSizeAndNoRotation) {
  const MinMax box{{-1, 2, 3}, {5, 4, 11}};
  const OBB obb = OBB::FromMinMax(box);
  EXPECT_EQ(obb.position, Vector3(2, 3, 7));
  EXPECT_EQ(obb.scale, Vector3(6, 2, 8));
  EXPECT_EQ(obb.rotation, Matrix3::Identity);
  EXPECT_EQ(obb.GetMinMax(), box);
}

TEST(Boxes, MinMaxOfARotatedOBBBoundsAllEightCorners) {
  // A quarter turn about Z swaps the X and Y extents.
  const OBB quarter{{1, 1, 1}, {2, 4, 6}, Matrix3::RotationZ(std::numbers::pi_v<float> / 2)};
  const MinMax swapped = quarter.GetMinMax();
  EXPECT_TRUE(Near(swapped.min, Vector3(-1, 0, -2)));
  EXPECT_TRUE(Near(swapped.max, Vector3(3, 2, 4)));

  // Any rotation: the box of all eight corners turned by glm.
  tv::test::Inputs in;
  for (int i = 0; i < 50; ++i) {
    const OBB obb{in.Vector(), in.Vector(0.1f, 5), in.Rotation()};
    const glm::mat3 r = tv::test::ToGlm(obb.rotation);
    glm::vec3 low(1e30f), high(-1e30f);
    for (int corner = 0; corner < 8; ++corner) {
      const glm::vec3 local((corner & 1 ? 0.5f : -0.5f) * obb.scale.x, (corner & 2 ? 0.5f : -0.5f) * obb.scale.y,
                            (corner & 4 ? 0.5f : -0.5f) * obb.scale.z);
      const glm::vec3 p = tv::test::ToGlm(obb.position) + r * local;
      low = glm::min(low, p);
      high = glm::max(high, p);
    }
    const MinMax box = obb.GetMinMax();
    EXPECT_TRUE(Near(box.min, low, 1e-4f));
    EXPECT_TRUE(Near(box.max, high, 1e-4f));
  }
}

} // namespace
