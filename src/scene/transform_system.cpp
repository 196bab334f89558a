#include "scene/transform_system.h"

#include <imgui.h>

#include <algorithm>
#include <cstring>

#include "foundation/future_call.h"
#include "foundation/globals.h"
#include "foundation/profiler.h"
#include "foundation/task_system.h"
#include "scene/node.h"
#include "scene/transform.h"
#include "scene/transform_modifier.h"

namespace tv {
namespace {

const std::string kTransformAspect = "Transform";
const std::string kModifierAspect = "TransformModifier";
const std::string kDynamicsAspect = "Dynamics";

// Stable least-significant-digit radix sort by depth, one byte a pass: `records` ends sorted, with
// equal depths in their original order. `scratch` is the ping-pong buffer, of the same size.
template <typename DepthRecord>
void RadixSortByDepth(std::vector<DepthRecord>& records, std::vector<DepthRecord>& scratch) {
  uint32_t histograms[4][256] = {};
  for (const DepthRecord& record : records)
    for (uint32_t byte = 0; byte < 4; ++byte) ++histograms[byte][(record.depth >> (8 * byte)) & 0xFF];
  for (uint32_t byte = 0; byte < 4; ++byte) {
    uint32_t offsets[256];
    uint32_t sum = 0;
    for (uint32_t bucket = 0; bucket < 256; ++bucket) {
      offsets[bucket] = sum;
      sum += histograms[byte][bucket];
    }
    for (const DepthRecord& record : records) scratch[offsets[(record.depth >> (8 * byte)) & 0xFF]++] = record;
    records.swap(scratch);
  }
}

} // namespace

size_t TransformPointerHash::operator()(const Transform* transform) const {
  const uintptr_t value = reinterpret_cast<uintptr_t>(transform);
  uint8_t bytes[sizeof(value)];
  std::memcpy(bytes, &value, sizeof(value));
  uint32_t hash = 2166136261u;
  for (const uint8_t byte : bytes) {
    hash ^= byte;
    hash *= 16777619u;
  }
  return hash;
}

TransformSystem::TransformSystem() { type = FindRegisteredType("TransformSystem"); }

TransformSystem::~TransformSystem() { WaitIdle(); }

const std::string& TransformSystem::GetAspect() const { return kTransformAspect; }

std::shared_ptr<SceneSystem> TransformSystem::shared_from_this_system() { return shared_from_this(); }

void TransformSystem::Commit() {
  task_system->run_task(std::make_shared<future_call_task<void>>([this] { DoCommit(); }), commit_tasks,
                        task::kAnyWorker, 0);
}

void TransformSystem::ComputeNextWorld(Transform& transform) {
  const Matrix4 local = transform.GetLocal();
  const std::shared_ptr<Node> parent_node = transform.parent.lock();
  const Transform* parent =
      parent_node ? static_cast<const Transform*>(parent_node->GetCachedComponent(Node::kCachedTransform)) : nullptr;
  if (parent == nullptr) {
    next_world[transform.index] = local;
  } else if (parent->commit_queue == &commit_queue) {
    // The parent is one of ours: its row is final, since levels run in order.
    next_world[transform.index] = next_world[parent->index] * local;
  } else {
    next_world[transform.index] = parent->GetWorld() * local;
  }
}

void TransformSystem::AddComponent(std::shared_ptr<Component> component) {
  if (!component->system.expired()) return;
  const std::string& aspect = component->GetAspect();
  if (aspect == kTransformAspect) {
    Transform& transform = static_cast<Transform&>(*component);
    transform.index = uint32_t(current_world.size());
    previous_world.push_back(Matrix4::Identity);
    current_world.push_back(Matrix4::Identity);
    next_world.push_back(Matrix4::Identity);
    ComputeNextWorld(transform);
    current_world[transform.index] = next_world[transform.index];
    previous_world[transform.index] = current_world[transform.index];
    if (const std::shared_ptr<Node> node = component->GetNode();
        node && !node->GetIsStatic() && !node->GetComponent(kDynamicsAspect))
      nodes.push_back(node);
    InvalidatePlan();
    SceneSystem::AddComponent(std::move(component));
  } else if (aspect == kModifierAspect) {
    modifiers.push_back(component);
    SceneSystem::AddComponent(std::move(component));
  }
}

void TransformSystem::RemoveComponent(const std::shared_ptr<Component>& component) {
  if (component->system.lock().get() != this) return;
  if (const std::shared_ptr<Node> node = component->GetNode()) {
    const auto at = std::find(nodes.begin(), nodes.end(), node);
    if (at != nodes.end()) nodes.erase(at);
  }
  InvalidatePlan();
  SceneSystem::RemoveComponent(component);
}

void TransformSystem::ResetWorld(Transform* transform, const Matrix4& world) { world_resets[transform] = world; }

void TransformSystem::DoCommit() {
  ProfilerPerfSection section("TransformSystem.DoCommit");
  commit_queue.Process();
  explicit_reset_count = uint32_t(world_resets.size());
  for (const auto& [transform, world] : world_resets) {
    if (transform->commit_queue == &commit_queue) next_world[transform->index] = world;
    transform->commit_SetWorld(world);
  }
  world_resets = decltype(world_resets)(kResetBuckets);

  auto plan = std::make_shared<future_call_task<void>>([this] { PlanTransformTasks(); });
  auto modify = std::make_shared<future_call_task<void>>([this] { ApplyModifiers(); });
  // Entered before the plan is queued, so the plan can't finish unseen.
  task_system->run_after(std::shared_ptr<task>(plan), modify, commit_tasks, task::kAnyWorker, 0);
  task_system->run_task(plan, commit_tasks, task::kAnyWorker, 0);
}

void TransformSystem::PlanTransformTasks() { task_system->run_task(MakeTransformPlan(), update_tasks, task::kAnyWorker, 0); }

uint32_t TransformSystem::DepthOf(Node* node) {
  // Up the chain until a row of known depth, or the top; ancestors are held while looked at.
  plan_transforms_.clear();
  plan_chain_.clear();
  uint32_t depth = 0;
  for (Node* step = node; step != nullptr;) {
    auto* transform = static_cast<Transform*>(step->GetCachedComponent(Node::kCachedTransform));
    if (transform == nullptr) break;
    if (transform->commit_queue == &commit_queue && plan_depths_[transform->index] != 0) {
      depth = plan_depths_[transform->index];
      break;
    }
    plan_transforms_.push_back(transform);
    std::shared_ptr<Node> parent = transform->parent.lock();
    step = parent.get();
    if (parent) plan_chain_.push_back(std::move(parent));
  }
  // Back down, outermost first: each row walked gets its depth.
  for (auto at = plan_transforms_.rbegin(); at != plan_transforms_.rend(); ++at) {
    ++depth;
    if ((*at)->commit_queue == &commit_queue) plan_depths_[(*at)->index] = depth;
  }
  return depth;
}

TransformSystem::PlanEntry TransformSystem::MakePlanEntry(Node* node) {
  auto* transform = static_cast<Transform*>(node->GetCachedComponent(Node::kCachedTransform));
  PlanEntry entry{node, transform, PlanEntry::kResolveParent};
  if (transform == nullptr) return entry;
  const std::shared_ptr<Node> parent_node = transform->parent.lock();
  if (!parent_node) {
    // An empty or expired link stays so until SetParent, which invalidates the plan.
    entry.parent_row = PlanEntry::kNoParentRow;
  } else if (const auto* parent =
                 static_cast<const Transform*>(parent_node->GetCachedComponent(Node::kCachedTransform));
             parent != nullptr && parent->commit_queue == &commit_queue) {
    // The parent's transform leaves this system before it can change or go away.
    entry.parent_row = parent->index;
  }
  return entry;
}

void TransformSystem::RebuildPlan() {
  const size_t count = nodes.size();
  plan_records_.resize(count);
  plan_scratch_.resize(count);
  plan_depths_.assign(current_world.size(), 0);
  std::vector<DepthRecord>& records = plan_records_;
  for (size_t i = 0; i < count; ++i) records[i] = DepthRecord{DepthOf(nodes[i].get()), nodes[i].get()};
  RadixSortByDepth(records, plan_scratch_);
  plan_chain_.clear();

  plan_entries_.resize(count);
  plan_levels_.clear();
  for (size_t i = 0; i < count; ++i) {
    if (i == 0 || records[i].depth != records[i - 1].depth) plan_levels_.push_back(uint32_t(i));
    plan_entries_[i] = MakePlanEntry(records[i].node);
  }
  plan_levels_.push_back(uint32_t(count));
  plan_stale_ = false;
}

std::shared_ptr<TransformBarrierTask> TransformSystem::MakeTransformPlan() {
  if (plan_stale_ || plan_entries_.size() != nodes.size()) RebuildPlan();

  // The first barrier holds one empty batch; each level then gets a barrier of its own.
  auto first = std::make_shared<TransformBarrierTask>();
  first->batches.push_back(std::make_shared<TransformBatchTask>(this));
  TransformBarrierTask* barrier = first.get();
  for (size_t level = 0; level + 1 < plan_levels_.size(); ++level) {
    barrier->next = std::make_shared<TransformBarrierTask>();
    barrier = barrier->next.get();
    const uint32_t end = plan_levels_[level + 1];
    for (uint32_t begin = plan_levels_[level]; begin < end; begin += kBatchSize) {
      auto batch = std::make_shared<TransformBatchTask>(this);
      batch->count = std::min(kBatchSize, end - begin);
      batch->entries = plan_entries_.data() + begin;
      for (uint32_t i = 0; i < batch->count; ++i) batch->nodes[i] = batch->entries[i].node;
      barrier->batches.push_back(std::move(batch));
    }
  }
  return first;
}

void TransformSystem::ApplyModifiers() {
  ProfilerPerfSection section("TransformSystem.ApplyModifiers");
  for (const std::shared_ptr<Component>& component : modifiers) {
    const std::shared_ptr<Node> node = component->GetNode();
    if (!node) continue;
    const std::shared_ptr<Transform> transform = node->GetTransform();
    if (!transform) continue;
    // Only modifiers take this aspect, and they derive from TransformModifier.
    static_cast<TransformModifier&>(*component).Modify(current_world[transform->index]);
  }
}

void TransformSystem::DrawDebugPanel(RenderSystem&) {
  if (ImGui::GetCurrentContext() == nullptr) return;
  ImGui::LabelText("# Transformed nodes", "%d", int(nodes.size()));
  ImGui::LabelText("# Transform modifiers", "%d", int(modifiers.size()));
  ImGui::LabelText("# Explicitly reset transforms", "%d", int(explicit_reset_count));
}

void TransformSystem::EvaluateEntry(const PlanEntry& entry) {
  Transform* transform = entry.transform;
  if (transform == nullptr) return;
  const uint32_t row = transform->index;
  if (entry.parent_row == PlanEntry::kResolveParent) {
    ComputeNextWorld(*transform);
  } else if (entry.parent_row == PlanEntry::kNoParentRow) {
    next_world[row] = transform->GetLocal();
  } else {
    next_world[row] = next_world[entry.parent_row] * transform->GetLocal();
  }
  previous_world[row] = current_world[row];
  current_world[row] = next_world[row];
}

void TransformBatchTask::run() {
  for (uint32_t i = 0; i < count; ++i) system->EvaluateEntry(entries[i]);
}

void TransformBarrierTask::run() {
  auto level = std::make_shared<task_set>();
  task_system->complete_after(level, set);
  // Held open while the batches are queued: a batch that runs at once must not finish the level
  // (and start the next one) before its siblings are queued.
  task_system->add_set(level);
  if (next) task_system->run_after(level, next, set, task::kAnyWorker, 0);
  for (const std::shared_ptr<task>& batch : batches) task_system->run_task(batch, level, task::kAnyWorker, 0);
  task_system->complete_one(level);
}

} // namespace tv
