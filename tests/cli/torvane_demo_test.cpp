#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "cli_harness.h"
#include "math/matrix3.h"
#include "math/matrix4.h"
#include "math/vector3.h"

namespace {

class TorvaneDemo : public tv::test::CliTest {};

// The rest of the first line that starts with `prefix`, or "<missing>".
std::string LineAfter(const std::string& text, const std::string& prefix) {
  for (size_t at = 0; at < text.size();) {
    const size_t end = std::min(text.find('\n', at), text.size());
    if (text.compare(at, prefix.size(), prefix) == 0 && at + prefix.size() <= end)
      return text.substr(at + prefix.size(), end - at - prefix.size());
    at = end + 1;
  }
  return "<missing>";
}

struct Checksum {
  double x = NAN, y = NAN, z = NAN;
};

Checksum ParseChecksum(const std::string& out) {
  Checksum sum;
  const std::string line = LineAfter(out, "world checksum (sum of translations): ");
  if (std::sscanf(line.c_str(), "%lf %lf %lf", &sum.x, &sum.y, &sum.z) != 3) return Checksum{};
  return sum;
}

// The demo's scene as the README describes it, evaluated here from the local fields: world of the
// parent times the local matrix, with the rotation of the last frame.
Checksum ExpectedChecksum(uint32_t nodes, uint32_t depth, uint32_t frames) {
  std::vector<tv::Matrix4> world(nodes);
  Checksum sum{0, 0, 0};
  for (uint32_t i = 0; i < nodes; ++i) {
    const bool root = i % depth == 0;
    const uint32_t hierarchy = i / depth;
    const tv::Vector3 position = root ? tv::Vector3(float(hierarchy % 256) * 4.0f, 0.0f, float(hierarchy / 256) * 4.0f)
                                      : tv::Vector3(1.0f, 0.25f, 0.0f);
    const tv::Vector3 scale = root ? tv::Vector3(1, 1, 1) : tv::Vector3(0.9f, 0.9f, 0.9f);
    const tv::Vector3 rotation(0.0f, 0.02f * float(frames - 1) + 0.001f * float(i % 1000), 0.0f);
    const tv::Matrix4 local = tv::Matrix4::TransformationMatrix(
        position, tv::Matrix3::RotationMatrix(rotation, tv::RotationOrder::YXZ), scale);
    world[i] = root ? local : world[i - 1] * local;
    const tv::Vector3 translation = world[i].GetTranslation();
    sum.x += translation.x;
    sum.y += translation.y;
    sum.z += translation.z;
  }
  return sum;
}

TEST_F(TorvaneDemo, RunsTheFramesAndPrintsStatisticsAndTheLastFramesSections) {
  const tv::test::Result run = Torvane("demo --nodes 64 --depth 4 --frames 5 --workers 2");
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(run.out.rfind("scene: 64 nodes in 16 hierarchies of depth 4\nworkers: 2\nsetup: ", 0), 0u) << run.out;
  EXPECT_EQ(LineAfter(run.out, "frames: "), "5");

  double min = -1, mean = -1, median = -1, p95 = -1, max = -1;
  const std::string stats = LineAfter(run.out, "frame time (ms): ");
  ASSERT_EQ(std::sscanf(stats.c_str(), "min %lf mean %lf median %lf p95 %lf max %lf", &min, &mean, &median, &p95, &max),
            5)
      << run.out;
  EXPECT_GT(min, 0.0);
  EXPECT_LE(min, median);
  EXPECT_LE(median, p95);
  EXPECT_LE(p95, max);
  EXPECT_LE(min, mean);
  EXPECT_LE(mean, max);

  // The last frame's sections: the demo's own, every phase of the scene, and the transform system's.
  const size_t sections = run.out.find("profiler sections of the last frame:\n");
  ASSERT_NE(sections, std::string::npos) << run.out;
  const std::string profile = run.out.substr(sections);
  for (const char* name : {"\nDemo.Animate ", "\nScene.Update ", "\nScene.WaitUpdate ", "\nScene.Commit ",
                           "\nScene.WaitCommit ", "\nTransformSystem.DoCommit "}) {
    SCOPED_TRACE(name);
    const size_t at = profile.find(name);
    ASSERT_NE(at, std::string::npos) << profile;
    // One section of each per frame.
    const std::string line = profile.substr(at + 1, profile.find('\n', at + 1) - at - 1);
    EXPECT_EQ(line.substr(line.size() - 6), " ms  1") << line;
  }
  EXPECT_EQ(run.err.find("error"), std::string::npos) << run.err;
}

TEST_F(TorvaneDemo, WorldMatricesAreThoseOfTheHierarchyAfterTheLastFrame) {
  // 53 nodes in chains of 5: the last hierarchy is cut short.
  const tv::test::Result run = Torvane("demo --nodes 53 --depth 5 --frames 7 --workers 2");
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(LineAfter(run.out, "scene: "), "53 nodes in 11 hierarchies of depth 5");
  const Checksum got = ParseChecksum(run.out);
  const Checksum expected = ExpectedChecksum(53, 5, 7);
  EXPECT_NEAR(got.x, expected.x, 1e-3) << run.out;
  EXPECT_NEAR(got.y, expected.y, 1e-3) << run.out;
  EXPECT_NEAR(got.z, expected.z, 1e-3) << run.out;
  // A frame's rotations show: one frame fewer gives other matrices.
  const Checksum earlier = ExpectedChecksum(53, 5, 6);
  EXPECT_GT(std::fabs(earlier.x - expected.x) + std::fabs(earlier.z - expected.z), 1.0);
}

TEST_F(TorvaneDemo, ChecksumIsTheSameForAnyWorkerCount) {
  // 2,500 nodes a level: several batches per level, so two workers really share the levels.
  const std::string scene = "demo --nodes 20000 --depth 8 --frames 3";
  const tv::test::Result one = Torvane(scene + " --workers 1");
  const tv::test::Result two = Torvane(scene + " --workers 2");
  const tv::test::Result three = Torvane(scene + " --workers 3");
  ASSERT_EQ(one.status, 0) << one.err;
  ASSERT_EQ(two.status, 0) << two.err;
  ASSERT_EQ(three.status, 0) << three.err;
  EXPECT_EQ(LineAfter(one.out, "workers: "), "1");
  EXPECT_EQ(LineAfter(two.out, "workers: "), "2");
  EXPECT_EQ(LineAfter(three.out, "workers: "), "3");

  const std::string checksum = LineAfter(one.out, "world checksum (sum of translations): ");
  const std::string hash = LineAfter(one.out, "world hash: ");
  ASSERT_NE(checksum, "<missing>") << one.out;
  ASSERT_EQ(hash.size(), 16u) << one.out;
  for (const tv::test::Result* other : {&two, &three}) {
    EXPECT_EQ(LineAfter(other->out, "world checksum (sum of translations): "), checksum);
    EXPECT_EQ(LineAfter(other->out, "world hash: "), hash);
  }
  const Checksum expected = ExpectedChecksum(20000, 8, 3);
  const Checksum got = ParseChecksum(one.out);
  EXPECT_NEAR(got.x, expected.x, std::fabs(expected.x) * 1e-9 + 1e-3);
  EXPECT_NEAR(got.z, expected.z, std::fabs(expected.z) * 1e-9 + 1e-3);
}

TEST_F(TorvaneDemo, HelpTellsTheOptions) {
  const tv::test::Result help = Torvane("demo --help");
  ASSERT_EQ(help.status, 0) << help.err;
  EXPECT_EQ(help.out.rfind("usage: torvane demo [--nodes N] [--depth D] [--frames F]\n", 0), 0u) << help.out;
  for (const char* option : {"  --nodes N ", "  --depth D ", "  --frames F "})
    EXPECT_NE(help.out.find(option), std::string::npos) << option;
  // Help starts nothing: no log banner.
  EXPECT_TRUE(help.err.empty()) << help.err;

  const tv::test::Result overview = Torvane("--help");
  ASSERT_EQ(overview.status, 0);
  EXPECT_NE(overview.out.find("  demo [--nodes N] [--depth D] [--frames F]\n"), std::string::npos) << overview.out;
}

TEST_F(TorvaneDemo, BadArgumentsGiveOneLineAndFail) {
  const struct {
    const char* args;
    const char* line;
  } cases[] = {
      {"demo --nodes", "torvane demo: option --nodes needs a value\n"},
      {"demo --nodes 0", "torvane demo: --nodes wants a count from 1 to 10000000, not '0'\n"},
      {"demo --nodes 10000001", "torvane demo: --nodes wants a count from 1 to 10000000, not '10000001'\n"},
      {"demo --nodes 12x", "torvane demo: --nodes wants a count from 1 to 10000000, not '12x'\n"},
      {"demo --nodes 99999999999999999999999", "torvane demo: --nodes wants a count from 1 to 10000000, not "
                                               "'99999999999999999999999'\n"},
      {"demo --depth -1", "torvane demo: --depth wants a count from 1 to 1000, not '-1'\n"},
      {"demo --depth ' 8'", "torvane demo: --depth wants a count from 1 to 1000, not ' 8'\n"},
      {"demo --frames 0", "torvane demo: --frames wants a count from 1 to 1000000, not '0'\n"},
      {"demo --nodes 4 --depth 5", "torvane demo: --depth 5 needs at least as many nodes, not 4\n"},
      {"demo scene.xml", "torvane demo: unexpected argument 'scene.xml'; see torvane demo --help\n"},
      {"demo --workers 2 --fast", "torvane demo: unexpected argument '--fast'; see torvane demo --help\n"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.args);
    const tv::test::Result result = Torvane(c.args);
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, c.line);
    EXPECT_TRUE(result.out.empty()) << result.out;
  }
}

} // namespace
