// Transforms and their system: rows, levels, batches, parents of every kind, explicit world
// matrices, and results that do not depend on the workers or the node order.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "scene/transform.h"
#include "scene/transform_system.h"
#include "scene_fixture.h"

namespace {

using tv_test::RunFrame;

void ExpectNear(const tv::Matrix4& actual, const tv::Matrix4& expected, float tolerance) {
  for (int i = 0; i < 12; ++i) EXPECT_NEAR(actual.m[i], expected.m[i], tolerance) << "element " << i;
}

tv::Matrix4 Compose(const tv::Vector3& position, const tv::Vector3& rotation, const tv::Vector3& scale) {
  return tv::Matrix4::TransformationMatrix(position, tv::Matrix3::RotationMatrix(rotation, tv::RotationOrder::YXZ),
                                           scale);
}

class Transforms : public tv_test::LogCaptureTest {
protected:
  // A node with a transform under `parent` (may be null), added to the scene.
  std::shared_ptr<tv::Node> Add(const std::string& name, const std::shared_ptr<tv::Node>& parent,
                                const tv::Vector3& position = {}, const tv::Vector3& rotation = {},
                                const tv::Vector3& scale = {1, 1, 1}) {
    auto node = std::make_shared<tv::Node>(name);
    auto transform = std::make_shared<tv::Transform>(position, rotation, scale);
    transform->SetParent(parent);
    node->AddComponent(transform);
    scene->AddNode(node);
    return node;
  }
  tv::TransformSystem& system() { return *scene->GetSystem<tv::TransformSystem>(); }

  tv_test::SceneGlobals globals{0};
  std::shared_ptr<tv::Scene> scene = tv::CreateScene(nullptr);
};

TEST_F(Transforms, AFreeTransformAppliesAtOnceAndIgnoresItsParent) {
  auto parent = std::make_shared<tv::Node>("p");
  parent->AddComponent(std::make_shared<tv::Transform>(tv::Vector3(5, 0, 0), tv::Vector3(), tv::Vector3(1, 1, 1)));
  auto transform = std::make_shared<tv::Transform>();
  transform->SetParent(parent);
  transform->SetPosition({1, 2, 3});
  transform->SetScale({2, 2, 2});
  EXPECT_EQ(transform->GetWorld(), Compose({1, 2, 3}, {}, {2, 2, 2}));
  EXPECT_EQ(transform->GetPreviousWorld(), transform->GetWorld());
}

TEST_F(Transforms, ParentsComeFirstWhateverTheOrderOfAdding) {
  const tv::Vector3 one(1, 1, 1);
  auto grandchild = std::make_shared<tv::Node>("grandchild");
  auto child = std::make_shared<tv::Node>("child");
  auto root = std::make_shared<tv::Node>("root");
  auto t_grandchild = std::make_shared<tv::Transform>(tv::Vector3(0, 0, 1), tv::Vector3(0.3f, 0, 0), one);
  auto t_child = std::make_shared<tv::Transform>(tv::Vector3(0, 2, 0), tv::Vector3(0, 0.5f, 0), one * 2.0f);
  auto t_root = std::make_shared<tv::Transform>(tv::Vector3(3, 0, 0), tv::Vector3(0, 0, 0.7f), one);
  t_grandchild->SetParent(child);
  t_child->SetParent(root);
  grandchild->AddComponent(t_grandchild);
  child->AddComponent(t_child);
  root->AddComponent(t_root);
  for (auto& node : {grandchild, child, root}) scene->AddNode(node);
  RunFrame(*scene);  // joins the system; the chain of this commit evaluates in level order
  scene->Update(0);
  scene->WaitUpdate(true);

  const tv::Matrix4 expected = t_root->GetLocal() * t_child->GetLocal() * t_grandchild->GetLocal();
  EXPECT_EQ(t_grandchild->GetWorld(), expected);

  // Depths 3, 2, 1 in list order come out as levels 1, 2, 3 after the leading empty level.
  std::shared_ptr<tv::TransformBarrierTask> plan = system().MakeTransformPlan();
  std::vector<std::string> levels;
  for (auto barrier = plan; barrier; barrier = barrier->next) {
    std::string level;
    for (const auto& batch : barrier->batches) {
      auto& nodes = static_cast<tv::TransformBatchTask&>(*batch);
      for (uint32_t i = 0; i < nodes.count; ++i) level += nodes.nodes[i]->GetName();
    }
    levels.push_back(level);
  }
  EXPECT_EQ(levels, std::vector<std::string>({"", "root", "child", "grandchild"}));
  scene->Commit();
  scene->WaitCommit(true);
}

TEST_F(Transforms, OneLevelIsCutIntoBatchesOf512) {
  for (int i = 0; i < 1025; ++i) Add("n", nullptr);
  RunFrame(*scene);
  std::shared_ptr<tv::TransformBarrierTask> plan = system().MakeTransformPlan();
  ASSERT_EQ(plan->batches.size(), 1u);
  EXPECT_EQ(static_cast<tv::TransformBatchTask&>(*plan->batches[0]).count, 0u);
  ASSERT_NE(plan->next, nullptr);
  std::vector<uint32_t> counts;
  for (const auto& batch : plan->next->batches) counts.push_back(static_cast<tv::TransformBatchTask&>(*batch).count);
  EXPECT_EQ(counts, std::vector<uint32_t>({512, 512, 1}));
  EXPECT_EQ(plan->next->next, nullptr);

  auto empty = tv::CreateScene(nullptr);
  std::shared_ptr<tv::TransformBarrierTask> empty_plan = empty->GetSystem<tv::TransformSystem>()->MakeTransformPlan();
  EXPECT_EQ(empty_plan->batches.size(), 1u);
  EXPECT_EQ(empty_plan->next, nullptr);
}

TEST_F(Transforms, AStaticParentIsFixedWhenItJoins) {
  auto parent = std::make_shared<tv::Node>("parent");
  parent->SetIsStatic(true);
  parent->AddComponent(std::make_shared<tv::Transform>(tv::Vector3(1, 0, 0), tv::Vector3(), tv::Vector3(1, 1, 1)));
  scene->AddNode(parent);
  RunFrame(*scene);
  auto child = Add("child", parent, {0, 1, 0});
  RunFrame(*scene);
  parent->GetTransform()->SetPosition({5, 0, 0});
  RunFrame(*scene);
  RunFrame(*scene);
  EXPECT_EQ(system().nodes.size(), 1u) << "only the child is evaluated at each commit";
  EXPECT_EQ(child->GetTransform()->GetWorld().GetTranslation(), tv::Vector3(1, 1, 0));
  EXPECT_EQ(parent->GetTransform()->GetWorld().GetTranslation(), tv::Vector3(1, 0, 0));
}

TEST_F(Transforms, AParentWithoutTransformIsNoParent) {
  auto bare = std::make_shared<tv::Node>("bare");
  scene->AddNode(bare);
  auto child = Add("child", bare, {0, 2, 0});
  RunFrame(*scene);
  RunFrame(*scene);
  EXPECT_EQ(child->GetTransform()->GetWorld(), Compose({0, 2, 0}, {}, {1, 1, 1}));
  std::shared_ptr<tv::TransformBarrierTask> plan = system().MakeTransformPlan();
  ASSERT_NE(plan->next, nullptr);
  EXPECT_EQ(plan->next->next, nullptr) << "the child is a root level of its own";
}

TEST_F(Transforms, AParentOutsideTheSystemLendsItsOwnWorld) {
  auto outside = std::make_shared<tv::Node>("outside");
  outside->AddComponent(std::make_shared<tv::Transform>(tv::Vector3(7, 0, 0), tv::Vector3(), tv::Vector3(1, 1, 1)));
  auto child = Add("child", outside, {0, 1, 0});
  RunFrame(*scene);
  RunFrame(*scene);
  EXPECT_EQ(child->GetTransform()->GetWorld().GetTranslation(), tv::Vector3(7, 1, 0));
}

// The evaluation order is kept from commit to commit; every change of what a chain is made of must
// show in the next evaluation all the same.
TEST_F(Transforms, ChainsChangedInARunningSceneAreFollowed) {
  auto a = Add("a", nullptr, {1, 0, 0});
  auto b = Add("b", nullptr, {0, 1, 0});
  auto c = Add("c", nullptr, {0, 0, 1});
  auto settle = [&] {
    RunFrame(*scene);
    RunFrame(*scene);
  };
  settle();
  auto world_of = [](const std::shared_ptr<tv::Node>& node) { return node->GetTransform()->GetWorld().GetTranslation(); };
  EXPECT_EQ(world_of(c), tv::Vector3(0, 0, 1));

  // c under b under a: two new levels, walked parent first although c was added before b's move.
  c->GetTransform()->SetParent(b);
  b->GetTransform()->SetParent(a);
  settle();
  EXPECT_EQ(world_of(b), tv::Vector3(1, 1, 0));
  EXPECT_EQ(world_of(c), tv::Vector3(1, 1, 1));

  // a moves: its children follow without any change of structure.
  a->GetTransform()->SetPosition({5, 0, 0});
  settle();
  EXPECT_EQ(world_of(c), tv::Vector3(5, 1, 1));

  // b's transform leaves: c's parent now has none, so c is a top of its own.
  auto b_transform = b->GetTransform();
  b->RemoveComponent(b_transform);
  settle();
  EXPECT_EQ(world_of(c), tv::Vector3(0, 0, 1));

  // ... and comes back, in a new row, with c under it again.
  b->AddComponent(b_transform);
  settle();
  EXPECT_EQ(world_of(c), tv::Vector3(5, 1, 1));

  // A disabled parent node leaves the system with its transform; c keeps its link, whose node is
  // now outside, and reads that transform's own world.
  b->SetEnabled(false);
  settle();
  EXPECT_EQ(world_of(c), tv::Vector3(0, 1, 1));
  b->SetEnabled(true);
  settle();
  EXPECT_EQ(world_of(c), tv::Vector3(5, 1, 1));

  // A free node without a transform as parent, which gets one later without any commit of ours.
  auto outside = std::make_shared<tv::Node>("outside");
  c->GetTransform()->SetParent(outside);
  settle();
  EXPECT_EQ(world_of(c), tv::Vector3(0, 0, 1));
  outside->AddComponent(std::make_shared<tv::Transform>(tv::Vector3(0, 0, 7), tv::Vector3(), tv::Vector3(1, 1, 1)));
  settle();
  EXPECT_EQ(world_of(c), tv::Vector3(0, 0, 8));
}

TEST_F(Transforms, ARemovedTransformAddedAgainGetsANewRow) {
  auto node = Add("n", nullptr, {1, 0, 0});
  RunFrame(*scene);
  auto transform = node->GetTransform();
  const uint32_t first_row = transform->index;
  node->RemoveComponent(transform);
  RunFrame(*scene);
  EXPECT_EQ(transform->GetSystem(), nullptr);
  EXPECT_TRUE(system().nodes.empty());
  node->AddComponent(transform);
  RunFrame(*scene);
  EXPECT_GT(transform->index, first_row);
  EXPECT_EQ(system().current_world.size(), 2u) << "rows are never reused";
  EXPECT_EQ(transform->GetWorld().GetTranslation(), tv::Vector3(1, 0, 0));
}

TEST_F(Transforms, WorldMatricesMoveOneEvaluationAtATime) {
  auto node = Add("n", nullptr, {1, 0, 0});
  RunFrame(*scene);
  scene->Update(0);
  scene->WaitUpdate(true);
  node->GetTransform()->SetPosition({2, 0, 0});
  scene->Commit();
  scene->WaitCommit(true);
  EXPECT_EQ(node->GetTransform()->GetPosition(), tv::Vector3(2, 0, 0)) << "local fields change in the commit";
  scene->Update(0);
  scene->WaitUpdate(true);
  EXPECT_EQ(node->GetTransform()->GetWorld().GetTranslation(), tv::Vector3(2, 0, 0));
  EXPECT_EQ(node->GetTransform()->GetPreviousWorld().GetTranslation(), tv::Vector3(1, 0, 0));
  scene->Commit();
  scene->WaitCommit(true);
}

TEST_F(Transforms, SetWorldUnderARotatedScaledParentReproducesTheWorld) {
  auto parent = Add("parent", nullptr, {1, -2, 3}, {0.4f, -1.1f, 0.25f}, {2, 0.5f, 3});
  auto child = Add("child", parent, {9, 9, 9});
  RunFrame(*scene);
  RunFrame(*scene);
  // Reachable under this parent: its world times a shear-free local matrix.
  const tv::Matrix4 wanted =
      parent->GetTransform()->GetWorld() * Compose({4, 5, -6}, {1.0f, 0.2f, -0.7f}, {1.5f, 0.7f, 2.5f});
  child->GetTransform()->SetWorld(wanted);
  RunFrame(*scene);
  RunFrame(*scene);
  ExpectNear(child->GetTransform()->GetWorld(), wanted, 1e-4f);

  // Under a uniformly scaled parent any shear-free world is reachable.
  auto uniform = Add("uniform", nullptr, {1, 2, 3}, {0.3f, 0.9f, -0.4f}, {2, 2, 2});
  auto son = Add("son", uniform);
  RunFrame(*scene);
  RunFrame(*scene);
  const tv::Matrix4 free_world = Compose({4, 5, -6}, {1.0f, 0.2f, -0.7f}, {1.5f, 0.5f, 1.0f});
  son->GetTransform()->SetWorld(free_world);
  RunFrame(*scene);
  RunFrame(*scene);
  ExpectNear(son->GetTransform()->GetWorld(), free_world, 1e-4f);
}

TEST_F(Transforms, ResetWorldPlacesATransformExplicitly) {
  auto parent = Add("parent", nullptr, {10, 0, 0});
  auto child = Add("child", parent, {0, 1, 0});
  RunFrame(*scene);
  RunFrame(*scene);
  const tv::Matrix4 wanted = Compose({3, 3, 3}, {0, 0.5f, 0}, {1, 1, 1});
  system().ResetWorld(child->GetTransform().get(), wanted);
  RunFrame(*scene);
  EXPECT_EQ(system().explicit_reset_count, 1u);
  EXPECT_TRUE(system().world_resets.empty());
  RunFrame(*scene);
  ExpectNear(child->GetTransform()->GetWorld(), wanted, 1e-5f);
  EXPECT_NEAR(child->GetTransform()->GetPosition().x, -7, 1e-5f);
}

TEST(DecomposeMatrix, RecoversPositionRotationAndScale) {
  const tv::Vector3 position(1, 2, 3), rotation(0.3f, -0.8f, 1.2f), scale(2, 0.5f, 4);
  tv::Vector3 p, r, s;
  tv::DecomposeMatrix(Compose(position, rotation, scale), p, r, s);
  EXPECT_NEAR((p - position).Length(), 0, 1e-6f);
  EXPECT_NEAR((r - rotation).Length(), 0, 1e-5f);
  EXPECT_NEAR((s - scale).Length(), 0, 1e-5f);

  // A mirror comes back as a negative x scale that composes to the same matrix.
  const tv::Matrix4 mirrored = Compose(position, rotation, {-2, 0.5f, 4});
  tv::DecomposeMatrix(mirrored, p, r, s);
  EXPECT_LT(s.x, 0);
  ExpectNear(Compose(p, r, s), mirrored, 1e-5f);
}

// The world matrices of a random forest, by node name, after some animated frames.
std::map<std::string, tv::Matrix4> RunForest(uint32_t workers, uint32_t shuffle_seed) {
  tv_test::SceneGlobals globals(workers);
  auto scene = tv::CreateScene(nullptr);
  std::mt19937 random(7);
  std::uniform_real_distribution<float> unit(-1, 1);
  std::vector<std::shared_ptr<tv::Node>> nodes;
  for (int i = 0; i < 3000; ++i) {
    auto node = std::make_shared<tv::Node>("n" + std::to_string(i));
    auto transform = std::make_shared<tv::Transform>(tv::Vector3(unit(random), unit(random), unit(random)),
                                                     tv::Vector3(unit(random), unit(random), unit(random)),
                                                     tv::Vector3(1.1f, 0.9f, 1.0f));
    // Parents come from earlier nodes: up to about a dozen levels.
    if (i > 10) transform->SetParent(nodes[size_t(i / 2 + random() % (i / 2))]);
    node->AddComponent(transform);
    nodes.push_back(node);
  }
  std::vector<std::shared_ptr<tv::Node>> order = nodes;
  if (shuffle_seed != 0) std::shuffle(order.begin(), order.end(), std::mt19937(shuffle_seed));
  for (const auto& node : order) scene->AddNode(node);
  for (int frame = 0; frame < 6; ++frame) {
    scene->Update(0);
    scene->WaitUpdate(true);
    for (size_t i = 0; i < nodes.size(); i += 3)
      nodes[i]->GetTransform()->SetRotation(tv::Vector3(0.1f * float(frame), float(i % 7), 0.5f));
    scene->Commit();
    scene->WaitCommit(true);
  }
  scene->Update(0);
  scene->WaitUpdate(true);
  std::map<std::string, tv::Matrix4> worlds;
  for (const auto& node : nodes) worlds[node->GetName()] = node->GetTransform()->GetWorld();
  scene->Commit();
  scene->WaitCommit(true);
  return worlds;
}

bool BitwiseEqual(const std::map<std::string, tv::Matrix4>& a, const std::map<std::string, tv::Matrix4>& b) {
  if (a.size() != b.size()) return false;
  for (const auto& [name, world] : a) {
    const auto other = b.find(name);
    if (other == b.end() || std::memcmp(&world, &other->second, sizeof(world)) != 0) return false;
  }
  return true;
}

TEST(TransformDeterminism, WorldsAreBitwiseEqualForAnyWorkerCountAndNodeOrder) {
  const auto reference = RunForest(0, 0);
  EXPECT_TRUE(BitwiseEqual(RunForest(1, 0), reference));
  EXPECT_TRUE(BitwiseEqual(RunForest(2, 11), reference));
  EXPECT_TRUE(BitwiseEqual(RunForest(8, 12), reference));
}

TEST(TransformConcurrency, SettersFromSeveralThreadsLandInTheirCommits) {
  tv_test::SceneGlobals globals(2);
  auto scene = tv::CreateScene(nullptr);
  std::vector<std::shared_ptr<tv::Node>> nodes;
  std::shared_ptr<tv::Node> parent;
  for (int i = 0; i < 400; ++i) {
    auto node = std::make_shared<tv::Node>();
    auto transform = std::make_shared<tv::Transform>();
    if (i % 4 != 0) transform->SetParent(parent);
    if (i % 4 == 0) parent = node;
    node->AddComponent(transform);
    scene->AddNode(node);
    nodes.push_back(node);
  }
  RunFrame(*scene);
  constexpr int kFrames = 50;
  for (int frame = 1; frame <= kFrames; ++frame) {
    scene->Update(0);
    std::vector<std::thread> setters;
    for (int t = 0; t < 3; ++t) {
      setters.emplace_back([&, t] {
        for (size_t i = size_t(t); i < nodes.size(); i += 3)
          nodes[i]->GetTransform()->SetPosition(tv::Vector3(float(frame), 0, 0));
      });
    }
    for (auto& setter : setters) setter.join();
    scene->WaitUpdate(true);
    scene->Commit();
    scene->WaitCommit(true);
  }
  scene->Update(0);
  scene->WaitUpdate(true);
  for (size_t i = 0; i < nodes.size(); ++i) {
    const float expected = i % 4 == 0 ? float(kFrames) : 2.0f * float(kFrames);
    ASSERT_EQ(nodes[i]->GetTransform()->GetWorld().GetTranslation().x, expected) << "node " << i;
  }
  scene->Commit();
  scene->WaitCommit(true);
}

} // namespace
