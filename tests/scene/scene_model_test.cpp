// Scenes, nodes and components: uids, deferred changes, membership in systems, groups, lookups,
// release of the whole graph and misuse.

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "scene/group.h"
#include "scene/metadata.h"
#include "scene/transform.h"
#include "scene_fixture.h"

namespace {

using tv_test::ProbeComponent;
using tv_test::RecordingSystem;
using tv_test::RunFrame;

class SceneModel : public tv_test::LogCaptureTest {
protected:
  std::shared_ptr<tv::Node> AddNode(const std::string& name, uint32_t suggested_uid = 0) {
    auto node = std::make_shared<tv::Node>(name);
    node->SetUid(suggested_uid);
    scene->AddNode(node);
    return node;
  }

  tv_test::SceneGlobals globals{0};
  std::shared_ptr<tv::Scene> scene = std::make_shared<tv::Scene>();
  std::shared_ptr<RecordingSystem> system = std::make_shared<RecordingSystem>();
};

TEST_F(SceneModel, AutomaticUidsStartAtOneAndSuggestedOnesRaiseTheNext) {
  auto first = AddNode("first");
  auto second = AddNode("second");
  EXPECT_EQ(first->GetUid(), 0u) << "uids are given at the commit";
  RunFrame(*scene);
  EXPECT_EQ(first->GetUid(), 1u);
  EXPECT_EQ(second->GetUid(), 2u);

  auto fresh = std::make_shared<tv::Scene>();
  auto ten = std::make_shared<tv::Node>("ten");
  ten->SetUid(10);
  auto next = std::make_shared<tv::Node>("next");
  fresh->AddNode(ten);
  fresh->AddNode(next);
  RunFrame(*fresh);
  EXPECT_EQ(ten->GetUid(), 10u);
  EXPECT_EQ(next->GetUid(), 12u) << "next_uid became 11 and is incremented before use";
  EXPECT_TRUE(tv_test::TakeLog().empty());
}

TEST_F(SceneModel, ACollidingSuggestedUidIsReplacedWithOneWarning) {
  auto a = AddNode("a", 5);
  auto b = AddNode("b", 5);
  RunFrame(*scene);
  EXPECT_EQ(a->GetUid(), 5u);
  EXPECT_EQ(b->GetUid(), 7u);
  EXPECT_EQ(scene->next_uid, 8u);
  const auto lines = tv_test::TakeLog();
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0], tv_test::LogLine("warn", "Suggested uid for node b collision detected"));
  EXPECT_EQ(scene->GetNode(7u), b);
}

TEST_F(SceneModel, ClearEmptiesTheSceneAndRestartsUids) {
  scene->AddSystem(system);
  auto node = AddNode("n");
  auto probe = std::make_shared<ProbeComponent>();
  node->AddComponent(probe);
  auto scene_probe = std::make_shared<ProbeComponent>();
  scene->AddComponent(scene_probe);
  scene->SetCurrentCamera(node);
  RunFrame(*scene);
  ASSERT_EQ(system->kept.size(), 2u);
  ASSERT_EQ(scene->current_camera, node);

  scene->ClearAndCommit();
  EXPECT_TRUE(scene->nodes.empty());
  EXPECT_TRUE(scene->components.empty());
  EXPECT_TRUE(system->kept.empty());
  EXPECT_EQ(scene->current_camera, nullptr);
  EXPECT_EQ(node->GetUid(), 0u);
  EXPECT_EQ(node->GetScene(), nullptr);
  EXPECT_EQ(scene_probe->GetScene(), nullptr);

  auto after = AddNode("after");
  RunFrame(*scene);
  EXPECT_EQ(after->GetUid(), 1u);
}

TEST_F(SceneModel, ComponentSettersAreDeferredOnlyWhileTheComponentBelongsToSomething) {
  auto free_probe = std::make_shared<ProbeComponent>();
  free_probe->SetValue(3);
  EXPECT_EQ(free_probe->GetValue(), 3) << "a free component applies at once";

  scene->AddSystem(system);
  auto node = AddNode("n");
  auto probe = std::make_shared<ProbeComponent>();
  node->AddComponent(probe);
  RunFrame(*scene);
  ASSERT_EQ(probe->GetSystem(), system);

  probe->SetValue(1);
  probe->SetValue(2);
  EXPECT_EQ(probe->GetValue(), 0) << "a read before the commit sees the old value";
  RunFrame(*scene);
  EXPECT_EQ(probe->GetValue(), 2) << "queued writes apply in order";

  // Through the node's scene only (no system): the scene's queue takes it.
  auto other = std::make_shared<ProbeComponent>("Other");
  node->AddComponent(other);
  RunFrame(*scene);
  ASSERT_EQ(other->GetSystem(), nullptr);
  EXPECT_EQ(other->commit_queue, nullptr) << "node membership alone leaves the queue unset";
  auto scene_level = std::make_shared<ProbeComponent>("Other");
  scene->AddComponent(scene_level);
  RunFrame(*scene);
  EXPECT_EQ(scene_level->commit_queue, &scene->commit_queue);
  scene_level->SetValue(9);
  EXPECT_EQ(scene_level->GetValue(), 0);
  RunFrame(*scene);
  EXPECT_EQ(scene_level->GetValue(), 9);
}

TEST_F(SceneModel, NodeSettersAreDeferredInASceneAndImmediateOutside) {
  auto node = std::make_shared<tv::Node>("before");
  node->SetName("free");
  node->SetIsStatic(true);
  EXPECT_EQ(node->GetName(), "free");
  EXPECT_TRUE(node->GetIsStatic());

  scene->AddNode(node);
  node->SetName("after");
  node->SetUseForNavigation(true);
  node->SetInstanceOwnerScene(scene);
  EXPECT_EQ(node->GetName(), "free");
  EXPECT_FALSE(node->GetUseForNavigation());
  RunFrame(*scene);
  EXPECT_EQ(node->GetName(), "after");
  EXPECT_TRUE(node->GetUseForNavigation());
  EXPECT_EQ(node->instance_owner_scene, scene);

  auto owner = std::make_shared<tv::Node>("owner");
  node->SetInstanceOwnerNode(owner);
  RunFrame(*scene);
  EXPECT_EQ(node->instance_owner_node, owner);
  EXPECT_EQ(node->instance_owner_scene, nullptr) << "one owner at most";
  node->instance_owner_node.reset();
}

TEST_F(SceneModel, DisabledNodesKeepTheirComponentsOutOfSystemsUntilEnabled) {
  scene->AddSystem(system);
  auto node = std::make_shared<tv::Node>("n");
  node->SetEnabled(false);
  auto first = std::make_shared<ProbeComponent>();
  auto second = std::make_shared<ProbeComponent>();
  node->AddComponent(first);
  node->AddComponent(second);
  scene->AddNode(node);
  RunFrame(*scene);
  EXPECT_EQ(system->offered, 0);
  EXPECT_TRUE(system->kept.empty());

  node->SetEnabled(true);
  RunFrame(*scene);
  ASSERT_EQ(system->kept.size(), 2u);
  EXPECT_EQ(system->kept[0], first);
  EXPECT_EQ(system->kept[1], second);

  first->SetEnabled(false);
  RunFrame(*scene);
  EXPECT_EQ(system->kept, std::vector<std::shared_ptr<tv::Component>>{second});
  EXPECT_EQ(first->GetSystem(), nullptr);
  EXPECT_EQ(first->commit_queue, nullptr);

  // A disabled component stays out when its node is enabled again.
  node->SetEnabled(false);
  RunFrame(*scene);
  EXPECT_TRUE(system->kept.empty());
  node->SetEnabled(true);
  RunFrame(*scene);
  EXPECT_EQ(system->kept, std::vector<std::shared_ptr<tv::Component>>{second});
}

TEST_F(SceneModel, ComponentIndexFollowsTheLastTransformByExactType) {
  auto node = std::make_shared<tv::Node>("n");
  EXPECT_EQ(node->GetTransform(), nullptr);
  auto probe = std::make_shared<ProbeComponent>("Transform");  // right aspect, wrong type
  node->AddComponent(probe);
  EXPECT_EQ(node->GetTransform(), nullptr);
  EXPECT_EQ(node->GetComponent("Transform"), probe);

  auto first = std::make_shared<tv::Transform>();
  auto second = std::make_shared<tv::Transform>();
  node->AddComponent(first);
  EXPECT_EQ(node->GetTransform(), first);
  node->AddComponent(second);
  EXPECT_EQ(node->GetTransform(), second);
  EXPECT_EQ(node->component_index[tv::Node::kCachedTransform], 2);
  node->AddComponent(std::make_shared<ProbeComponent>(), 0);
  EXPECT_EQ(node->component_index[tv::Node::kCachedTransform], 3) << "an insertion in front moves it";
  node->RemoveComponent(second);
  EXPECT_EQ(node->GetTransform(), first);
  EXPECT_EQ(second->GetNode(), nullptr);
  node->RemoveComponent(first);
  EXPECT_EQ(node->GetTransform(), nullptr);
  EXPECT_EQ(node->GetComponentsWithAspect("Transform").size(), 1u);
}

TEST_F(SceneModel, AComponentJoinsOneNodeOnlyAndLeavesWithTheNode) {
  auto a = std::make_shared<tv::Node>("a");
  auto b = std::make_shared<tv::Node>("b");
  auto probe = std::make_shared<ProbeComponent>();
  a->AddComponent(probe);
  b->AddComponent(probe);
  EXPECT_TRUE(b->GetComponents().empty());
  b->RemoveComponent(probe);  // not its node: nothing
  EXPECT_EQ(probe->GetNode(), a);
  a.reset();
  EXPECT_EQ(probe->GetNode(), nullptr) << "a component that outlives its node reports none";
}

TEST_F(SceneModel, AddAndRemoveNodeAreIgnoredForNodesOfOtherScenes) {
  auto node = AddNode("n");
  auto other = std::make_shared<tv::Scene>();
  other->AddNode(node);  // in a scene already
  other->RemoveNode(node);
  scene->AddNode(node);  // twice
  RunFrame(*scene);
  RunFrame(*other);
  EXPECT_EQ(scene->nodes.size(), 1u);
  EXPECT_TRUE(other->nodes.empty());
  EXPECT_EQ(node->GetScene(), scene);

  auto free_node = std::make_shared<tv::Node>("free");
  scene->RemoveNode(free_node);
  RunFrame(*scene);
  EXPECT_EQ(scene->nodes.size(), 1u);

  scene->RemoveNode(node);
  EXPECT_EQ(node->GetScene(), nullptr) << "unbound at once";
  EXPECT_EQ(scene->nodes.size(), 1u) << "dropped at the commit";
  RunFrame(*scene);
  EXPECT_TRUE(scene->nodes.empty());
  EXPECT_EQ(node->GetUid(), 0u);
}

TEST_F(SceneModel, RemovingANodeTakesItsComponentsOutOfEverySystem) {
  auto second_system = std::make_shared<RecordingSystem>("Second");
  scene->AddSystem(system);
  scene->AddSystem(second_system);
  auto node = AddNode("n");
  auto probe = std::make_shared<ProbeComponent>();
  auto other = std::make_shared<ProbeComponent>("Second");
  node->AddComponent(probe);
  node->AddComponent(other);
  RunFrame(*scene);
  ASSERT_EQ(probe->GetSystem(), system);
  ASSERT_EQ(other->GetSystem(), second_system);
  EXPECT_EQ(system->offered, second_system->offered) << "every system is offered every component";

  scene->RemoveNode(node);
  RunFrame(*scene);
  EXPECT_TRUE(system->kept.empty());
  EXPECT_TRUE(second_system->kept.empty());
  EXPECT_EQ(node->GetComponents().size(), 2u) << "the node keeps its components";
}

TEST_F(SceneModel, LookupsScanNodesInOrder) {
  auto root = AddNode("root");
  auto child = AddNode("child");
  auto other_child = AddNode("child");
  auto stray = AddNode("stray");
  root->AddComponent(std::make_shared<tv::Transform>());
  auto child_transform = std::make_shared<tv::Transform>();
  child_transform->SetParent(root);
  child->AddComponent(child_transform);
  other_child->AddComponent(std::make_shared<tv::Transform>());
  stray->AddComponent(std::make_shared<ProbeComponent>());
  scene->AddComponent(std::make_shared<tv::Metadata>());
  RunFrame(*scene);

  EXPECT_EQ(scene->GetNode("child"), child);
  EXPECT_EQ(scene->GetNode("child", root), child);
  EXPECT_EQ(scene->GetNode("child", nullptr), other_child);
  EXPECT_EQ(scene->GetNode("nobody"), nullptr);
  EXPECT_EQ(scene->GetNodeChildren(root), std::vector<std::shared_ptr<tv::Node>>{child});
  EXPECT_EQ(scene->GetNodes("ch").size(), 2u);
  EXPECT_EQ(scene->GetNodes("").size(), 4u);
  EXPECT_EQ(scene->GetNodesWithAspect("Probe"), std::vector<std::shared_ptr<tv::Node>>{stray});
  EXPECT_TRUE(scene->HasAspect("Metadata"));
  EXPECT_FALSE(scene->HasAspect("Probe"));
  EXPECT_EQ(scene->GetComponents("Metadata").size(), 1u);
}

TEST_F(SceneModel, GroupsHoldNodesWithoutOwningTheirPlaceInTheScene) {
  auto a = AddNode("a");
  auto b = AddNode("b");
  auto c = AddNode("c");
  RunFrame(*scene);
  auto group = std::make_shared<tv::Group>("g");
  group->nodes = {a, b};
  auto other = std::make_shared<tv::Group>("h");
  other->nodes = {c};
  scene->AddGroup(group);
  scene->AddGroup(other);

  EXPECT_EQ(scene->GetGroup("h"), other);
  EXPECT_EQ(scene->GetGroupsContainingNode(a), std::vector<std::shared_ptr<tv::Group>>{group});
  EXPECT_EQ(group->GetNode(2u), b);
  EXPECT_EQ(group->GetNode("c"), nullptr);

  scene->SetGroupEnabled(group, false);
  RunFrame(*scene);
  EXPECT_FALSE(a->GetEnabled());
  EXPECT_FALSE(b->GetEnabled());
  EXPECT_TRUE(c->GetEnabled());

  scene->RemoveNodeFromGroups(b);
  EXPECT_FALSE(group->HasNode(b));
  scene->RemoveGroup(other);
  EXPECT_EQ(scene->GetGroup("h"), nullptr);
  EXPECT_EQ(scene->nodes.size(), 3u) << "removing a group leaves its nodes";

  scene->DeleteGroup(group);
  RunFrame(*scene);
  EXPECT_EQ(scene->nodes, std::vector<std::shared_ptr<tv::Node>>({b, c}));
  EXPECT_TRUE(scene->groups.empty());

  tv::Group merged;
  merged.AppendGroup(*other);
  merged.AppendGroup(merged);
  EXPECT_EQ(merged.nodes, std::vector<std::shared_ptr<tv::Node>>({c, c}));
}

TEST_F(SceneModel, ReadinessNeedsEveryComponentAndNoLoad) {
  auto node = AddNode("n");
  auto probe = std::make_shared<ProbeComponent>();
  node->AddComponent(probe);
  RunFrame(*scene);
  EXPECT_TRUE(scene->IsReady());
  probe->ready = 2;  // a failed load counts as ready
  EXPECT_TRUE(scene->IsReady());
  probe->ready = 0;
  EXPECT_FALSE(node->IsReady());
  EXPECT_FALSE(scene->IsReady());
  probe->ready = 1;
  scene->loading = true;
  EXPECT_FALSE(scene->IsReady());
  scene->loading = false;
  EXPECT_TRUE(std::make_shared<tv::Node>()->IsReady()) << "an empty node is ready";
  EXPECT_EQ(scene->GetMinMax(), tv::MinMax{});
}

TEST_F(SceneModel, ADroppedSceneFreesItsWholeGraph) {
  std::weak_ptr<tv::Scene> weak_scene = scene;
  std::weak_ptr<tv::Node> weak_node;
  std::weak_ptr<tv::Component> weak_component;
  std::weak_ptr<tv::SceneSystem> weak_system = system;
  std::weak_ptr<tv::Node> weak_pending;
  {
    scene->AddSystem(system);
    auto node = AddNode("n");
    auto probe = std::make_shared<ProbeComponent>();
    node->AddComponent(probe);
    scene->SetCurrentCamera(node);
    RunFrame(*scene);
    probe->SetValue(4);  // queued on the system, never committed
    auto pending = AddNode("pending");  // queued on the scene, never committed
    weak_node = node;
    weak_component = probe;
    weak_pending = pending;
  }
  system.reset();
  scene.reset();
  EXPECT_TRUE(weak_scene.expired());
  EXPECT_TRUE(weak_node.expired());
  EXPECT_TRUE(weak_component.expired());
  EXPECT_TRUE(weak_system.expired());
  EXPECT_TRUE(weak_pending.expired());
}

TEST_F(SceneModel, ObjectsNotHeldBySharedPointersAreRefusedBeforeAnythingChanges) {
  tv::Scene stack_scene;
  auto node = std::make_shared<tv::Node>("n");
  EXPECT_THROW(stack_scene.AddNode(node), std::bad_weak_ptr);
  EXPECT_EQ(node->GetScene(), nullptr);
  stack_scene.commit_queue.Process();
  EXPECT_TRUE(stack_scene.nodes.empty());

  tv::Node stack_node("s");
  auto probe = std::make_shared<ProbeComponent>();
  EXPECT_THROW(stack_node.AddComponent(probe), std::bad_weak_ptr);
  EXPECT_EQ(probe->GetNode(), nullptr);
  EXPECT_TRUE(stack_node.GetComponents().empty());

  ProbeComponent stack_probe;
  EXPECT_THROW(stack_probe.shared_from_this_component(), std::bad_weak_ptr);
}

TEST_F(SceneModel, SceneSignalsMarkBirthUpdateAndDeath) {
  std::vector<std::string> heard;
  auto on_new = tv::new_scene_signal.Connect([&](tv::Scene&) { heard.push_back("new"); });
  auto on_update = tv::scene_update_signal.Connect([&](tv::Scene&) { heard.push_back("update"); });
  auto on_delete = tv::delete_scene_signal.Connect([&](tv::Scene& dying) {
    heard.push_back("delete");
    EXPECT_EQ(dying.nodes.size(), 1u) << "emitted before the members go";
  });
  {
    auto local = std::make_shared<tv::Scene>();
    local->AddNode(std::make_shared<tv::Node>());
    RunFrame(*local);
  }
  tv::new_scene_signal.Disconnect(on_new);
  tv::scene_update_signal.Disconnect(on_update);
  tv::delete_scene_signal.Disconnect(on_delete);
  EXPECT_EQ(heard, std::vector<std::string>({"new", "update", "delete"}));
}

} // namespace
