// World matrices of a scene's transforms: 100,000 dynamic nodes in chains of depth 8, every node
// given a new rotation each round (one deferred setter per node, as `torvane demo` does).
//
// Ours: one whole cycle of the scene, Commit(); WaitCommit(true); Update(0); WaitUpdate(true);
// which applies the queued setters, plans the evaluation by depth and runs it on the task workers
// (the waiting thread helps). "Evaluation" is the cycle alone: every dynamic node is re-evaluated
// at each commit, moved or not. "Scene cycle" first drains one queued setter per node; the setters
// are queued with the clock stopped, and what it costs to queue them is measured on its own.
//
// One worker runs with the whole process held to one processor, since the waiting thread helps
// and would otherwise make a second one; two workers run on two processors.
//
// The limit, single-threaded in the same run: flat arrays of {position, rotation, scale, parent
// index} sorted by depth, each world matrix composed from its fields and multiplied by its
// parent's, nothing else. Before timing, each form's matrices are checked against the limit's.

#include <sched.h>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "core/core_registration.h"
#include "foundation/globals.h"
#include "foundation/profiler.h"
#include "foundation/task_system.h"
#include "math/matrix3.h"
#include "math/matrix4.h"
#include "math/vector3.h"
#include "ratio_reporter.h"
#include "reflection/type_registry.h"
#include "scene/node.h"
#include "scene/scene.h"
#include "scene/transform.h"

namespace {

constexpr uint32_t kNodes = 100'000;
constexpr uint32_t kDepth = 8;
constexpr uint32_t kChains = kNodes / kDepth;
static_assert(kNodes % kDepth == 0);

// The demo's layout: node i is at level i % kDepth of chain i / kDepth.
tv::Vector3 PositionOf(uint32_t node) {
  if (node % kDepth != 0) return tv::Vector3(1.0f, 0.25f, 0.0f);
  const uint32_t chain = node / kDepth;
  return tv::Vector3(float(chain % 256) * 4.0f, 0.0f, float(chain / 256) * 4.0f);
}

tv::Vector3 ScaleOf(uint32_t node) { return node % kDepth == 0 ? tv::Vector3(1, 1, 1) : tv::Vector3(0.9f, 0.9f, 0.9f); }

tv::Vector3 RotationOf(uint32_t round, uint32_t node) {
  return tv::Vector3(0.0f, 0.02f * float(round) + 0.001f * float(node % 1000), 0.0f);
}

// The globals a scene needs, as a host has them: the type registry, a profiler, the task system.
void SetUpGlobals() {
  static bool done = false;
  if (done) return;
  done = true;
  tv::types = new tv::TypeRegistry();
  tv::RegisterCoreTypes(*tv::types);
  tv::profiler = new tv::Profiler();
  tv::task_system = new class tv::task_system();
}

// Holds the calling thread, and the workers it starts from then on, to the first `processors`
// processors that the process may use.
void UseProcessors(uint32_t processors) {
  static cpu_set_t allowed = [] {
    cpu_set_t set;
    CPU_ZERO(&set);
    sched_getaffinity(0, sizeof(set), &set);
    return set;
  }();
  cpu_set_t set;
  CPU_ZERO(&set);
  for (int cpu = 0, taken = 0; cpu < CPU_SETSIZE && uint32_t(taken) < processors; ++cpu)
    if (CPU_ISSET(cpu, &allowed)) {
      CPU_SET(cpu, &set);
      ++taken;
    }
  sched_setaffinity(0, sizeof(set), &set);
}

// `count` workers, started on `count` processors.
void UseWorkers(uint32_t count) {
  SetUpGlobals();
  tv::task_system->stop();
  UseProcessors(count);
  tv::task_system->start(count);
}

// --- The limit -----------------------------------------------------------------------------------

struct FlatTransform {
  tv::Vector3 position;
  tv::Vector3 rotation;
  tv::Vector3 scale;
  int32_t parent;  // index in the same array, before this one; -1 for a root
};

struct FlatScene {
  std::vector<FlatTransform> transforms;  // sorted by depth
  std::vector<uint32_t> node_of;          // scene node index of each entry
  std::vector<tv::Matrix4> world;

  FlatScene() : transforms(kNodes), node_of(kNodes), world(kNodes) {
    // Level by level: entry level * kChains + chain is node chain * kDepth + level.
    for (uint32_t level = 0; level < kDepth; ++level)
      for (uint32_t chain = 0; chain < kChains; ++chain) {
        const uint32_t at = level * kChains + chain;
        const uint32_t node = chain * kDepth + level;
        node_of[at] = node;
        transforms[at] = FlatTransform{PositionOf(node), tv::Vector3(0, 0, 0), ScaleOf(node),
                                       level == 0 ? -1 : int32_t(at - kChains)};
      }
  }

  void SetRotations(uint32_t round) {
    for (uint32_t at = 0; at < kNodes; ++at) transforms[at].rotation = RotationOf(round, node_of[at]);
  }

  void Evaluate() {
    const size_t count = transforms.size();
    for (size_t i = 0; i < count; ++i) {
      const FlatTransform& t = transforms[i];
      const tv::Matrix4 local = tv::Matrix4::TransformationMatrix(
          t.position, tv::Matrix3::RotationMatrix(t.rotation, tv::RotationOrder::YXZ), t.scale);
      world[i] = t.parent < 0 ? local : world[size_t(t.parent)] * local;
    }
  }
};

// --- Ours ----------------------------------------------------------------------------------------

struct SceneRig {
  std::shared_ptr<tv::Scene> scene;
  std::vector<std::shared_ptr<tv::Node>> nodes;
  std::vector<std::shared_ptr<tv::Transform>> transforms;
  uint32_t round = 0;

  SceneRig() {
    scene = tv::CreateScene(nullptr);
    nodes.reserve(kNodes);
    transforms.reserve(kNodes);
    for (uint32_t i = 0; i < kNodes; ++i) {
      auto node = std::make_shared<tv::Node>("node" + std::to_string(i));
      auto transform = std::make_shared<tv::Transform>(PositionOf(i), tv::Vector3(0, 0, 0), ScaleOf(i));
      if (i % kDepth != 0) transform->SetParent(nodes[i - 1]);
      node->AddComponent(transform);
      scene->AddNode(node);
      nodes.push_back(std::move(node));
      transforms.push_back(std::move(transform));
    }
    scene->UpdateAndCommitWaitAll(0);
    Settle();
  }

  void QueueSetters() {
    ++round;
    for (uint32_t i = 0; i < kNodes; ++i) transforms[i]->SetRotation(RotationOf(round, i));
  }

  void Cycle() {
    scene->Commit();
    scene->WaitCommit(true);
    scene->Update(0);
    scene->WaitUpdate(true);
  }

  // The evaluation planned by the last commit ends at the next WaitUpdate.
  void Settle() {
    scene->Update(0);
    scene->WaitUpdate(true);
  }

  // Whether every world matrix is the limit's for the rotations of the last round.
  std::string Check() {
    FlatScene flat;
    flat.SetRotations(round);
    flat.Evaluate();
    for (uint32_t at = 0; at < kNodes; ++at) {
      const tv::Matrix4 world = transforms[flat.node_of[at]]->GetWorld();
      for (int k = 0; k < 12; ++k)
        if (std::fabs(world.m[k] - flat.world[at].m[k]) > 1e-4f * (1.0f + std::fabs(flat.world[at].m[k])))
          return "node " + std::to_string(flat.node_of[at]) + " has another world matrix than the limit's";
    }
    return {};
  }
};

SceneRig& Rig() {
  SetUpGlobals();
  static SceneRig* rig = new SceneRig();
  return *rig;
}

void EndProfilerFrame() { tv::profiler->EndFrame(); }

// Cycles of the rig on `workers` workers, checked against the limit first. With `setters`, one
// setter per node is queued before each cycle, with the clock stopped; without, the cycle is the
// evaluation alone: every dynamic node is re-evaluated at each commit, moved or not.
void RunCycles(benchmark::State& state, uint32_t workers, bool setters) {
  UseWorkers(workers);
  SceneRig& rig = Rig();
  rig.QueueSetters();
  rig.Cycle();
  rig.Settle();
  if (const std::string failed = rig.Check(); !failed.empty()) {
    state.SkipWithError(failed.c_str());
    return;
  }
  for (auto _ : state) {
    state.PauseTiming();
    EndProfilerFrame();  // what a host's end of frame does to the sections
    if (setters) rig.QueueSetters();
    state.ResumeTiming();
    rig.Cycle();
  }
  state.SetItemsProcessed(state.iterations() * kNodes);
  state.counters["workers"] = workers;
}

void BM_Evaluation_OneWorker(benchmark::State& state) { RunCycles(state, 1, false); }
void BM_Evaluation_TwoWorkers(benchmark::State& state) { RunCycles(state, 2, false); }
void BM_SceneCycle_OneWorker(benchmark::State& state) { RunCycles(state, 1, true); }
void BM_SceneCycle_TwoWorkers(benchmark::State& state) { RunCycles(state, 2, true); }

// What the cycle doesn't count: queueing one setter per node. The cycle that drains them runs with
// the clock stopped.
void BM_QueueSetters(benchmark::State& state) {
  UseWorkers(2);
  SceneRig& rig = Rig();
  for (auto _ : state) {
    rig.QueueSetters();
    state.PauseTiming();
    rig.Cycle();
    EndProfilerFrame();
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations() * kNodes);
}

void BM_FlatCompute_Limit(benchmark::State& state) {
  FlatScene flat;
  uint32_t round = 0;
  for (auto _ : state) {
    state.PauseTiming();
    flat.SetRotations(++round);
    state.ResumeTiming();
    flat.Evaluate();
    benchmark::DoNotOptimize(flat.world.data());
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * kNodes);
}

BENCHMARK(BM_FlatCompute_Limit)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Evaluation_OneWorker)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Evaluation_TwoWorkers)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SceneCycle_OneWorker)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SceneCycle_TwoWorkers)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(BM_QueueSetters)->UseRealTime()->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char** argv) {
  using Ratio = tv::bench::RatioReporter::Ratio;
  const int status = tv::bench::RunWithRatios(
      argc, argv,
      {Ratio{"evaluation, 1 worker / flat compute limit", "BM_Evaluation_OneWorker/real_time",
             "BM_FlatCompute_Limit/real_time", ">= 0.4 (within 2.5x)"},
       Ratio{"evaluation: 2 workers / 1 worker (speed-up)", "BM_Evaluation_TwoWorkers/real_time",
             "BM_Evaluation_OneWorker/real_time", ">= 1.5"},
       Ratio{"scene cycle with setters, 1 worker / flat compute limit", "BM_SceneCycle_OneWorker/real_time",
             "BM_FlatCompute_Limit/real_time", ""},
       Ratio{"scene cycle with setters: 2 workers / 1 worker", "BM_SceneCycle_TwoWorkers/real_time",
             "BM_SceneCycle_OneWorker/real_time", ""}});
  // Workers stop before the process ends, so none runs while static objects go away.
  if (tv::task_system != nullptr) tv::task_system->stop();
  return status;
}
