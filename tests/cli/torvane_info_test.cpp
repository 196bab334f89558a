// `torvane info`, `types` and `demo`, the host options, and the help of every command.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "cli_harness.h"
#include "math/matrix3.h"
#include "math/matrix4.h"
#include "math/vector3.h"

namespace tv::test {
namespace {

using TorvaneHost = CliTest;

// Each text must appear in the output.
void ExpectHas(const std::string& output, std::initializer_list<std::string> texts) {
  for (const std::string& text : texts) EXPECT_NE(output.find(text), std::string::npos) << text << "\nin:\n" << output;
}

// Info lists the plugins beside the program, their codecs, the mounts and the workers; the log goes
// to standard error. Host options blacklist plugins, move their folder, show debug lines and profile.
TEST_F(TorvaneHost, InfoAndHostOptions) {
  const Result info = Torvane("info --workers 3");
  ASSERT_EQ(info.status, 0) << info.err;
  EXPECT_EQ(info.out.rfind("Torvane core 1.1.0 (build ", 0), 0u) << info.out;
  ExpectHas(info.out, {"plugins: 2\n  STB [PNG, TGA, JPEG and BMP pictures] version 1.0.0 (stb_picture_codec.so)\n"
                       "  WAV [WAV decoder] version 1.0.0 (wav_audio_codec.so)\n",
                       "audio codecs: 1\n  WAV\n", "picture codecs: 1\n  STB\n",
                       "(root) -> operating system files (working folder)", "workers: 3\n"});
  ExpectHas(info.err, {"Torvane core 1.1.0", " - Plugin WAV [WAV decoder] version 1.0.0"});

  const Result blacklisted = Torvane("--blacklist '*audio*' --blacklist 'stb_*' -v info");
  ASSERT_EQ(blacklisted.status, 0) << blacklisted.err;
  ExpectHas(blacklisted.out, {"plugins: 0\n"});
  ExpectHas(blacklisted.err, {"debug: Ignoring blacklisted plugin ('wav_audio_codec.so') (matched against '*audio*')"});
  ExpectHas(Torvane("info --plugins-path " + Q("")).out, {"plugins: 0\n"});
  ExpectHas(Torvane("info --profile").err, {"torvane.Run"});
}

// Types lists every type in name order with its aliases, or shows one found by alias: fields with
// defaults, methods, the kind, and enum values (Default beside YXZ).
TEST_F(TorvaneHost, Types) {
  const Result listed = Torvane("types");
  ASSERT_EQ(listed.status, 0) << listed.err;
  const std::vector<std::string> lines = Lines(listed.out);
  ASSERT_FALSE(lines.empty());
  EXPECT_EQ(lines[0], "types: " + std::to_string(lines.size() - 1));
  EXPECT_TRUE(std::is_sorted(lines.begin() + 1, lines.end()));
  for (const char* line : {"  Vector2 (tv::tVector2<float>)", "  IntVector2 (tv::tVector2<int>)", "  FloatVector",
                           "  RotationOrder (tv::RotationOrder)", "  None", "  Matrix44Vector"})
    EXPECT_NE(std::find(lines.begin(), lines.end(), line), lines.end()) << line;
  ExpectHas(listed.err, {"Torvane core 1.1.0"});

  EXPECT_EQ(Torvane("types 'tv::tVector2<int>'").out,
            "IntVector2\n  native name: tv::tVector2<int>\n  aliases: tv::tVector2<int>\n  size: 8\n  kind: value\n"
            "  bases: none\n  fields: 2\n    x: Int = 0\n    y: Int = 0\n");
  ExpectHas(Torvane("types OBB").out,
            {"    rotation: Matrix3 = {m00: 1, m01: 0, m02: 0, m10: 0, m11: 1, m12: 0, m20: 0, m21: 0, m22: 1}\n"});
  ExpectHas(Torvane("types Vector3").out, {"  methods: 1\n    Normalized() -> Vector3\n"});
  ExpectHas(Torvane("types RotationOrder").out,
            {"  kind: enum\n", "  values: 8\n    Default = 4\n    XY = 6\n    XYZ = 5\n    XZY = 3\n    YXZ = 4\n"
                               "    YZX = 1\n    ZXY = 2\n    ZYX = 0\n"});
}

// The help of each command goes to standard output, starts nothing (no log), and the overview
// names every command.
TEST_F(TorvaneHost, HelpTellsTheUsage) {
  const std::pair<const char*, const char*> helps[] = {
      {"decode --help", "usage: torvane decode FILE.wav [-o OUT] [--seek SECONDS] [--info]"},
      {"types --help", "usage: torvane types [NAME]\n"},
      {"demo --help", "usage: torvane demo [--nodes N] [--depth D] [--frames F]\n"},
      {"picture --help", "usage: torvane picture info FILE\n"},
      {"doc --help", "usage: torvane doc cat FILE\n       torvane doc convert IN OUT [--format xml|json|binary]\n"},
  };
  for (const auto& [args, usage] : helps) {
    SCOPED_TRACE(args);
    const Result help = Torvane(args);
    EXPECT_EQ(help.status, 0);
    EXPECT_EQ(help.out.rfind(usage, 0), 0u) << help.out;
    EXPECT_EQ(help.err, "");
  }
  ExpectHas(Torvane("demo --help").out, {"  --nodes N ", "  --depth D ", "  --frames F "});
  const Result top = Torvane("--help");
  EXPECT_EQ(top.status, 0);
  ExpectHas(top.out, {"decode FILE.wav", "  demo [--nodes N] [--depth D] [--frames F]\n",
                      "  picture info FILE | picture convert IN OUT [--format NAME]\n", "  doc cat FILE\n",
                      "  doc convert IN OUT [--format xml|json|binary]\n"});
}

// Bad arguments give one line and fail; where the line is fixed, word for word.
TEST_F(TorvaneHost, BadArgumentsGiveOneLineAndFail) {
  for (const char* args : {"info extra", "--workers", "--workers many info", "--plugins-path", "nonsense",
                           "types Vector3 Vector4", "types --bogus"}) {
    SCOPED_TRACE(args);
    const Result result = Torvane(args);
    EXPECT_NE(result.status, 0);
    EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
    EXPECT_TRUE(result.out.empty());
  }
  ExpectRefusals({{"types Nonesuch", "torvane types: unknown type 'Nonesuch'; torvane types lists them"}}, false);
  const std::string count = "wants a count from ";
  ExpectRefusals(
      {{"demo --nodes", "torvane demo: option --nodes needs a value"},
       {"demo --nodes 0", "torvane demo: --nodes " + count + "1 to 10000000, not '0'"},
       {"demo --nodes 10000001", "torvane demo: --nodes " + count + "1 to 10000000, not '10000001'"},
       {"demo --nodes 12x", "torvane demo: --nodes " + count + "1 to 10000000, not '12x'"},
       {"demo --nodes 99999999999999999999999",
        "torvane demo: --nodes " + count + "1 to 10000000, not '99999999999999999999999'"},
       {"demo --depth -1", "torvane demo: --depth " + count + "1 to 1000, not '-1'"},
       {"demo --depth ' 8'", "torvane demo: --depth " + count + "1 to 1000, not ' 8'"},
       {"demo --frames 0", "torvane demo: --frames " + count + "1 to 1000000, not '0'"},
       {"demo --nodes 4 --depth 5", "torvane demo: --depth 5 needs at least as many nodes, not 4"},
       {"demo scene.xml", "torvane demo: unexpected argument 'scene.xml'; see torvane demo --help"},
       {"demo --workers 2 --fast", "torvane demo: unexpected argument '--fast'; see torvane demo --help"}},
      true);
}

// The demo's scene evaluated here from its local fields (world of the parent times the local
// matrix, with the rotation of the last frame): the sum of the world translations.
std::vector<double> ExpectedChecksum(uint32_t nodes, uint32_t depth, uint32_t frames) {
  std::vector<Matrix4> world(nodes);
  std::vector<double> sum(3, 0.0);
  for (uint32_t i = 0; i < nodes; ++i) {
    const bool root = i % depth == 0;
    const uint32_t hierarchy = i / depth;
    const Vector3 position = root ? Vector3(float(hierarchy % 256) * 4.0f, 0.0f, float(hierarchy / 256) * 4.0f)
                                  : Vector3(1.0f, 0.25f, 0.0f);
    const Vector3 scale = root ? Vector3(1, 1, 1) : Vector3(0.9f, 0.9f, 0.9f);
    const Vector3 rotation(0.0f, 0.02f * float(frames - 1) + 0.001f * float(i % 1000), 0.0f);
    const Matrix4 local =
        Matrix4::TransformationMatrix(position, Matrix3::RotationMatrix(rotation, RotationOrder::YXZ), scale);
    world[i] = root ? local : world[i - 1] * local;
    const Vector3 translation = world[i].GetTranslation();
    sum[0] += translation.x, sum[1] += translation.y, sum[2] += translation.z;
  }
  return sum;
}

std::vector<double> ParseChecksum(const std::string& out) {
  std::vector<double> sum(3, NAN);
  std::sscanf(LineAfter(out, "world checksum (sum of translations): ").c_str(), "%lf %lf %lf", &sum[0], &sum[1], &sum[2]);
  return sum;
}

// The demo runs its frames and prints ordered frame-time statistics and one section per frame of
// each phase; its world matrices are those of the hierarchy after the last frame (a last hierarchy
// cut short included), the same for any worker count.
TEST_F(TorvaneHost, DemoRunsTheSceneAndItsChecksumHolds) {
  const Result run = Torvane("demo --nodes 53 --depth 5 --frames 7 --workers 2");
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(run.out.rfind("scene: 53 nodes in 11 hierarchies of depth 5\nworkers: 2\nsetup: ", 0), 0u) << run.out;
  EXPECT_EQ(LineAfter(run.out, "frames: "), "7");
  double min = -1, mean = -1, median = -1, p95 = -1, max = -1;
  ASSERT_EQ(std::sscanf(LineAfter(run.out, "frame time (ms): ").c_str(), "min %lf mean %lf median %lf p95 %lf max %lf",
                        &min, &mean, &median, &p95, &max),
            5);
  EXPECT_TRUE(0 < min && min <= median && median <= p95 && p95 <= max && min <= mean && mean <= max) << run.out;
  const size_t sections = run.out.find("profiler sections of the last frame:\n");
  ASSERT_NE(sections, std::string::npos) << run.out;
  for (const char* name : {"Demo.Animate ", "Scene.Update ", "Scene.WaitUpdate ", "Scene.Commit ", "Scene.WaitCommit ",
                           "TransformSystem.DoCommit "}) {
    const std::string line = LineAfter(run.out.substr(sections), name);
    EXPECT_EQ(line.substr(std::max<size_t>(line.size(), 6) - 6), " ms  1") << name;
  }
  EXPECT_EQ(run.err.find("error"), std::string::npos) << run.err;
  const std::vector<double> got = ParseChecksum(run.out), expected = ExpectedChecksum(53, 5, 7);
  for (int i = 0; i < 3; ++i) EXPECT_NEAR(got[i], expected[i], 1e-3) << run.out;
  const std::vector<double> earlier = ExpectedChecksum(53, 5, 6);  // a frame's rotation shows
  EXPECT_GT(std::fabs(earlier[0] - expected[0]) + std::fabs(earlier[2] - expected[2]), 1.0);

  // 2,500 nodes a level: several batches per level, so that the workers really share the levels.
  const std::string scene = "demo --nodes 20000 --depth 8 --frames 3 --workers ";
  const Result one = Torvane(scene + "1");
  ASSERT_EQ(one.status, 0) << one.err;
  const std::string checksum = LineAfter(one.out, "world checksum (sum of translations): ");
  const std::string hash = LineAfter(one.out, "world hash: ");
  ASSERT_EQ(hash.size(), 16u) << one.out;
  for (const char* workers : {"2", "3"}) {
    const Result other = Torvane(scene + workers);
    ASSERT_EQ(other.status, 0) << other.err;
    EXPECT_EQ(LineAfter(other.out, "workers: "), workers);
    EXPECT_EQ(LineAfter(other.out, "world checksum (sum of translations): "), checksum);
    EXPECT_EQ(LineAfter(other.out, "world hash: "), hash);
  }
  const std::vector<double> big = ExpectedChecksum(20000, 8, 3), big_got = ParseChecksum(one.out);
  for (int i : {0, 2}) EXPECT_NEAR(big_got[i], big[i], std::fabs(big[i]) * 1e-9 + 1e-3);
}

} // namespace
} // namespace tv::test
