#include "demo_command.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "core/lifecycle.h"
#include "foundation/clock.h"
#include "foundation/globals.h"
#include "foundation/profiler.h"
#include "foundation/task_system.h"
#include "math/matrix4.h"
#include "math/vector3.h"
#include "scene/node.h"
#include "scene/scene.h"
#include "scene/transform.h"

namespace tv {
namespace {

constexpr const char* kDemoUsage =
    "usage: torvane demo [--nodes N] [--depth D] [--frames F]\n"
    "\n"
    "Builds a scene of N nodes (default 100000), each with a Transform, in hierarchies of depth D\n"
    "(default 8): chains of D nodes, each child placed relative to its parent. Every frame turns\n"
    "every node once (one deferred setter per node) and runs the frame protocol (update, commit,\n"
    "end of frame) F times (default 300) on the task workers (--workers N). Prints the frame time\n"
    "statistics, a checksum of the world matrices after the last frame (equal for any worker\n"
    "count) and the profiler's sections of the last frame.\n"
    "\n"
    "  --nodes N    nodes in the scene, 1 to 10000000\n"
    "  --depth D    nodes per hierarchy, 1 to 1000, at most N\n"
    "  --frames F   frames to run, 1 to 1000000\n";

// The demo's frames advance with a fixed step, so that what they compute doesn't depend on timing.
constexpr time_ns kFrameStep = 16'666'667;

struct DemoOptions {
  uint32_t nodes = 100'000;
  uint32_t depth = 8;
  uint32_t frames = 300;
};

int Fail(const std::string& message) {
  std::fprintf(stderr, "torvane demo: %s\n", message.c_str());
  return 1;
}

bool ParseCount(const std::string& text, uint32_t lowest, uint32_t highest, uint32_t& count) {
  if (text.empty() || text[0] < '0' || text[0] > '9') return false;
  char* end = nullptr;
  const unsigned long long value = std::strtoull(text.c_str(), &end, 10);
  if (*end != '\0' || value < lowest || value > highest) return false;
  count = uint32_t(value);
  return true;
}

// Returns 0 when parsed, 2 for --help, 1 after printing an error.
int ParseOptions(int argc, char** argv, DemoOptions& options) {
  for (int i = 0; i < argc; ++i) {
    const std::string arg = argv[i];
    if (arg == "-h" || arg == "--help") return 2;
    struct Limits {
      const char* name;
      uint32_t lowest, highest;
      uint32_t* count;
    };
    const Limits limits[] = {{"--nodes", 1, 10'000'000, &options.nodes},
                             {"--depth", 1, 1000, &options.depth},
                             {"--frames", 1, 1'000'000, &options.frames}};
    const Limits* option = nullptr;
    for (const Limits& candidate : limits)
      if (arg == candidate.name) option = &candidate;
    if (option == nullptr) return Fail("unexpected argument '" + arg + "'; see torvane demo --help");
    if (i + 1 >= argc) return Fail("option " + arg + " needs a value");
    const std::string value = argv[++i];
    if (!ParseCount(value, option->lowest, option->highest, *option->count))
      return Fail(arg + " wants a count from " + std::to_string(option->lowest) + " to " +
                  std::to_string(option->highest) + ", not '" + value + "'");
  }
  if (options.depth > options.nodes)
    return Fail("--depth " + std::to_string(options.depth) + " needs at least as many nodes, not " +
                std::to_string(options.nodes));
  return 0;
}

// The scene's layout and motion, which the checksum depends on. Node i is at level i % depth of
// hierarchy i / depth; level 0 is a root on a grid, every other level hangs off the node before it.
Vector3 InitialPosition(uint32_t node, uint32_t depth) {
  if (node % depth != 0) return Vector3(1.0f, 0.25f, 0.0f);
  const uint32_t hierarchy = node / depth;
  return Vector3(float(hierarchy % 256) * 4.0f, 0.0f, float(hierarchy / 256) * 4.0f);
}

Vector3 InitialScale(uint32_t node, uint32_t depth) {
  return node % depth == 0 ? Vector3(1, 1, 1) : Vector3(0.9f, 0.9f, 0.9f);
}

// The rotation that frame `frame` gives node `node`: a turn about Y, a little further each frame.
Vector3 RotationAt(uint32_t frame, uint32_t node) {
  return Vector3(0.0f, 0.02f * float(frame) + 0.001f * float(node % 1000), 0.0f);
}

struct Statistics {
  double min = 0, mean = 0, median = 0, p95 = 0, max = 0;
};

Statistics Summarise(std::vector<double> samples) {
  Statistics result;
  if (samples.empty()) return result;
  std::sort(samples.begin(), samples.end());
  const size_t n = samples.size();
  result.min = samples.front();
  result.max = samples.back();
  double sum = 0;
  for (const double sample : samples) sum += sample;
  result.mean = sum / double(n);
  result.median = n % 2 == 1 ? samples[n / 2] : (samples[n / 2 - 1] + samples[n / 2]) / 2;
  // Nearest rank: the smallest sample that at least 95% of the samples don't exceed.
  const size_t rank = size_t(std::ceil(0.95 * double(n)));
  result.p95 = samples[std::max<size_t>(rank, 1) - 1];
  return result;
}

double Milliseconds(time_ns duration) { return double(duration) / 1e6; }

} // namespace

int RunDemoCommand(int argc, char** argv, const HostOptions& host_options) {
  DemoOptions options;
  const int parsed = ParseOptions(argc, argv, options);
  if (parsed == 2) {
    std::fputs(kDemoUsage, stdout);
    return 0;
  }
  if (parsed != 0) return 1;

  CoreSession session(host_options);
  const uint32_t count = options.nodes;
  const uint32_t depth = options.depth;

  // Nodes are made free (so their components and links apply at once) and added in order, parents
  // first, so that each transform finds its parent's row when it joins the system.
  const time_ns setup_start = time_now();
  std::shared_ptr<Scene> scene = CreateScene(nullptr);
  std::vector<std::shared_ptr<Node>> nodes;
  std::vector<std::shared_ptr<Transform>> transforms;
  nodes.reserve(count);
  transforms.reserve(count);
  for (uint32_t i = 0; i < count; ++i) {
    auto node = std::make_shared<Node>("node" + std::to_string(i));
    auto transform =
        std::make_shared<Transform>(InitialPosition(i, depth), Vector3(0, 0, 0), InitialScale(i, depth));
    if (i % depth != 0) transform->SetParent(nodes[i - 1]);
    node->AddComponent(transform);
    scene->AddNode(node);
    nodes.push_back(std::move(node));
    transforms.push_back(std::move(transform));
  }
  scene->UpdateAndCommitWaitAll(0);
  // The evaluation planned by that commit ends at the next WaitUpdate.
  scene->Update(0);
  scene->WaitUpdate(true);
  const time_ns setup_time = time_now() - setup_start;
  EndFrame();
  ResetLastFrameDuration();

  std::vector<double> frame_ms;
  frame_ms.reserve(options.frames);
  std::string last_frame_sections;
  for (uint32_t frame = 0; frame < options.frames; ++frame) {
    const time_ns frame_start = time_now();
    {
      ProfilerPerfSection animate("Demo.Animate");
      for (uint32_t i = 0; i < count; ++i) transforms[i]->SetRotation(RotationAt(frame, i));
    }
    scene->Update(kFrameStep);
    scene->WaitUpdate(true);
    scene->Commit();
    scene->WaitCommit(true);
    EndFrame();
    frame_ms.push_back(Milliseconds(time_now() - frame_start));
  }
  profiler->Lock();
  last_frame_sections = FormatProfilerFrame(profiler->last_frame);
  profiler->Unlock();

  // The last commit's evaluation is guaranteed finished only by the next WaitUpdate.
  scene->Update(0);
  scene->WaitUpdate(true);
  double sum[3] = {0, 0, 0};
  uint64_t hash = 14695981039346656037ull;  // FNV-1a, 64 bits, over the matrices' bytes in node order
  for (const std::shared_ptr<Transform>& transform : transforms) {
    const Matrix4 world = transform->GetWorld();
    const Vector3 translation = world.GetTranslation();
    sum[0] += translation.x;
    sum[1] += translation.y;
    sum[2] += translation.z;
    unsigned char bytes[sizeof(world.m)];
    std::memcpy(bytes, world.m, sizeof(bytes));
    for (const unsigned char byte : bytes) {
      hash ^= byte;
      hash *= 1099511628211ull;
    }
  }

  const Statistics stats = Summarise(frame_ms);
  std::printf("scene: %u nodes in %u hierarchies of depth %u\n", count, (count + depth - 1) / depth, depth);
  std::printf("workers: %u\n", task_system->get_worker_count());
  std::printf("setup: %.3f ms\n", Milliseconds(setup_time));
  std::printf("frames: %u\n", options.frames);
  std::printf("frame time (ms): min %.3f mean %.3f median %.3f p95 %.3f max %.3f\n", stats.min, stats.mean,
              stats.median, stats.p95, stats.max);
  std::printf("world checksum (sum of translations): %.6f %.6f %.6f\n", sum[0], sum[1], sum[2]);
  std::printf("world hash: %016llx\n", (unsigned long long)hash);
  std::printf("profiler sections of the last frame:\n%s", last_frame_sections.c_str());
  // The scene goes before the session: nothing of it is queued any more after that WaitUpdate.
  return 0;
}

} // namespace tv
