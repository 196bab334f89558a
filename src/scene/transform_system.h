#pragma once
// Keeps the world matrix of every transform in flat rows and re-evaluates the dynamic ones at each
// commit, level by level of hierarchy depth, in parallel.
//
// Each transform that joins gets a row (never reused) in three parallel arrays: the world matrix
// of the evaluation before the last (`previous_world`), of the last (`current_world`) and the one
// being computed (`next_world`). A commit applies the queued transform setters, then plans the
// evaluation: dynamic nodes sorted by depth, cut into batches of 512 per level, one barrier task
// per level that starts the next level only when its own batches are done. The chain runs in
// `update_tasks`, so the next WaitUpdate of the scene is what guarantees it ended; only then may
// rows be read without racing.
//
// Static nodes, and nodes driven by a "Dynamics" component, are evaluated once, when they join.

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "foundation/task.h"
#include "math/matrix4.h"
#include "scene/scene_system.h"

namespace tv {

class Node;
class Transform;
class TransformBarrierTask;

// FNV-1a over the bytes of a pointer value.
struct TransformPointerHash {
  size_t operator()(const Transform* transform) const;
};

class TransformSystem : public SceneSystem, public std::enable_shared_from_this<TransformSystem> {
public:
  static constexpr uint32_t kBatchSize = 512;
  static constexpr size_t kResetBuckets = 16;

  TransformSystem();
  // Waits for an evaluation still running: it writes the rows.
  ~TransformSystem() override;

  const std::string& GetAspect() const override;
  // Starts DoCommit in `commit_tasks`.
  void Commit() override;
  void AddComponent(std::shared_ptr<Component> component) override;
  void RemoveComponent(const std::shared_ptr<Component>& component) override;
  void DrawDebugPanel(RenderSystem& render_system) override;
  std::shared_ptr<SceneSystem> shared_from_this_system() override;

  // Asks for `transform`'s world matrix to be `world` at the next commit. No lock: from the
  // driving thread or a queued call.
  void ResetWorld(Transform* transform, const Matrix4& world);

  // Steps of a commit, public for tests and tools: the queue and the resets, then the plan.
  void DoCommit();
  void PlanTransformTasks();
  // The barrier chain of the dynamic nodes as they stand, not yet queued.
  std::shared_ptr<TransformBarrierTask> MakeTransformPlan();
  void ApplyModifiers();
  // next_world of the transform's row from its local matrix and its parent's world matrix.
  void ComputeNextWorld(Transform& transform);
  // Makes the next plan walk the chains again: what a node's chain is made of has changed.
  void InvalidatePlan() { plan_stale_ = true; }

  // A dynamic node as the plan found it. `parent_row` is the row of its parent's transform when that
  // is one of ours, kNoParentRow for a chain top, and kResolveParent where the parent must be looked
  // up at each evaluation (a parent outside this system, or one without a transform now, may change
  // without this system hearing of it).
  struct PlanEntry {
    static constexpr uint32_t kNoParentRow = 0xFFFFFFFFu;
    static constexpr uint32_t kResolveParent = 0xFFFFFFFEu;
    Node* node;
    Transform* transform;
    uint32_t parent_row;
  };
  // next_world of `entry`'s row, then the row's previous and current matrices moved on.
  void EvaluateEntry(const PlanEntry& entry);

  std::unordered_map<Transform*, Matrix4, TransformPointerHash> world_resets{kResetBuckets};
  uint32_t explicit_reset_count = 0;
  std::vector<std::shared_ptr<Node>> nodes;  // evaluated at each commit, in joining order
  std::vector<std::shared_ptr<Component>> modifiers;
  std::vector<Matrix4> previous_world;
  std::vector<Matrix4> current_world;
  std::vector<Matrix4> next_world;

private:
  struct DepthRecord {
    uint32_t depth;
    Node* node;
  };
  // Depth of `node` on its chain of transforms; rows met on the way remember theirs for the rest
  // of the plan, so each chain is walked once.
  uint32_t DepthOf(Node* node);
  // Sorts the dynamic nodes by depth into `plan_entries_` and `plan_levels_`.
  void RebuildPlan();
  PlanEntry MakePlanEntry(Node* node);

  // Kept from plan to plan so that a commit allocates nothing for them.
  std::vector<DepthRecord> plan_records_;
  std::vector<DepthRecord> plan_scratch_;
  std::vector<uint32_t> plan_depths_;  // by row; 0: not known yet
  std::vector<Transform*> plan_transforms_;
  std::vector<std::shared_ptr<Node>> plan_chain_;
  // The sorted plan, kept while no node joins or leaves and no parent link changes, so that a commit
  // touches each node's transform and rows only. `plan_levels_` holds the first entry of each depth
  // and ends with the entry count.
  bool plan_stale_ = true;
  std::vector<PlanEntry> plan_entries_;
  std::vector<uint32_t> plan_levels_;
};

// Up to 512 nodes of one level, evaluated in order. `entries` are the plan's records of the same
// nodes, which spare the run a walk from each node to its transform and its parent's row.
class TransformBatchTask : public task {
public:
  explicit TransformBatchTask(TransformSystem* owner) : system(owner) {}
  void run() override;

  TransformSystem* system;
  uint32_t count = 0;
  std::array<Node*, TransformSystem::kBatchSize> nodes;
  const TransformSystem::PlanEntry* entries = nullptr;
};

// One level: queues its batches, and the next level to start once they are all done.
class TransformBarrierTask : public task {
public:
  TransformBarrierTask() { batches.reserve(8); }
  void run() override;

  std::vector<std::shared_ptr<task>> batches;
  std::shared_ptr<TransformBarrierTask> next;
};

} // namespace tv
