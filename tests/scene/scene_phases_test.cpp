// The two phases of a scene: what each start and wait does, the order of system calls, and what
// lands in which commit.

#include <gtest/gtest.h>

#include <future>
#include <memory>
#include <string>
#include <vector>

#include "foundation/future_call.h"
#include "scene/transform_system.h"
#include "scene_fixture.h"

namespace {

using tv_test::ProbeComponent;
using tv_test::RecordingSystem;
using tv_test::RunFrame;

class ScenePhases : public tv_test::LogCaptureTest {
protected:
  std::vector<std::string> SectionNames() {
    tv::Profiler& profiler = globals.profiler();
    profiler.EndFrame();
    std::vector<std::string> names;
    for (const tv::ProfilerTask& task : profiler.last_frame.tasks) names.push_back(task.name);
    return names;
  }

  tv_test::SceneGlobals globals{2};
  std::shared_ptr<tv::Scene> scene = std::make_shared<tv::Scene>();
};

TEST_F(ScenePhases, ASetterQueuedByAQueuedCallLandsInTheSameCommit) {
  auto node = std::make_shared<tv::Node>("n");
  scene->AddNode(node);
  scene->commit_queue.Queue([&] { node->SetName("renamed"); });
  RunFrame(*scene);
  EXPECT_EQ(node->GetName(), "renamed");
}

TEST_F(ScenePhases, AnEmptyCommitWithoutSystemsIsDoneAtOnce) {
  scene->Commit();
  EXPECT_TRUE(scene->WaitCommit(false));
  EXPECT_EQ(scene->state.load(), tv::Scene::kWaitCommit);
  EXPECT_TRUE(scene->commit_mutex.try_lock()) << "a successful wait unlocks";
  scene->commit_mutex.unlock();
}

TEST_F(ScenePhases, WaitUpdateNeedsAnUpdateFirst) {
  EXPECT_FALSE(scene->WaitUpdate(false));
  EXPECT_THROW(scene->WaitUpdate(true), std::future_error);
  EXPECT_TRUE(scene->update_mutex.try_lock()) << "nothing locked it";
  scene->update_mutex.unlock();

  scene->Update(5);
  EXPECT_EQ(scene->state.load(), tv::Scene::kUpdate);
  EXPECT_TRUE(scene->WaitUpdate(true));
  EXPECT_TRUE(scene->update_mutex.try_lock());
  scene->update_mutex.unlock();
}

TEST_F(ScenePhases, ANonBlockingWaitFailsWhileACommitTaskIsPendingAndKeepsTheLock) {
  auto system = std::make_shared<RecordingSystem>();
  scene->AddSystem(system);
  // Both workers are held, so the system's commit task waits in the queue.
  std::promise<void> release;
  std::shared_future<void> released = release.get_future().share();
  std::vector<tv::future_call<void>> blockers;
  for (int i = 0; i < 2; ++i) blockers.push_back(tv::run_call<void>([released] { released.wait(); }, *tv::task_system));
  scene->Commit();
  EXPECT_FALSE(scene->WaitCommit(false));
  EXPECT_FALSE(scene->commit_mutex.try_lock());
  release.set_value();
  EXPECT_TRUE(scene->WaitCommit(true));
  EXPECT_TRUE(scene->commit_mutex.try_lock());
  scene->commit_mutex.unlock();
  for (auto& blocker : blockers) blocker.get();
}

TEST_F(ScenePhases, SystemsAreCalledInOrderWithTheForcedStepWhenSet) {
  std::vector<std::string> calls;
  auto first = std::make_shared<RecordingSystem>("First");
  auto second = std::make_shared<RecordingSystem>("Second");
  scene->AddSystem(first);
  scene->AddSystem(second);
  scene->UpdateAndCommitWaitAll(16);
  scene->forced_dt = 1;
  scene->UpdateAndCommitWaitAll(16);
  EXPECT_EQ(first->updates, std::vector<tv::time_ns>({16, 1}));
  EXPECT_EQ(second->updates, std::vector<tv::time_ns>({16, 1}));
  EXPECT_EQ(scene->GetSystem("Second"), second);
  EXPECT_EQ(scene->GetSystem("Third"), nullptr);
}

TEST_F(ScenePhases, CoreSystemsAreAddedOnceAndFoundByType) {
  scene->SetupCoreSystems(nullptr);
  scene->SetupCoreSystems(nullptr);
  ASSERT_EQ(scene->systems.size(), 1u);
  EXPECT_EQ(scene->GetSystem<tv::TransformSystem>(), scene->systems[0]);
  EXPECT_EQ(scene->GetSystem("Transform"), scene->systems[0]);
  auto created = tv::CreateScene(nullptr);
  EXPECT_NE(created->GetSystem<tv::TransformSystem>(), nullptr);
}

TEST_F(ScenePhases, EveryPhaseOpensItsProfilerSections) {
  scene->AddSystem(std::make_shared<RecordingSystem>("Renderable"));
  auto node = std::make_shared<tv::Node>("n");
  scene->AddNode(node);
  RunFrame(*scene);
  scene->RemoveNode(node);
  RunFrame(*scene);
  const std::vector<std::string> names = SectionNames();
  for (const char* expected :
       {"Scene.Update", "Scene.Update.EmitUpdateSignal", "Scene.Update.UpdateSystems", "Scene.WaitUpdate",
        "Scene.WaitUpdate.WaitUpdateSystems", "Scene.Commit", "Scene.Commit.CommitSystems", "Scene.WaitCommit",
        "Scene.WaitCommit.WaitCommitSystems", "RenderableSystem.WaitUpdate", "RenderableSystem.WaitCommit",
        "Scene.commit_AddNode", "Scene.commit_RemoveNode"})
    EXPECT_NE(std::find(names.begin(), names.end(), expected), names.end()) << expected;
}

TEST_F(ScenePhases, ComponentChangesOfASystemRunOnAWorkerInQueueOrder) {
  auto system = std::make_shared<RecordingSystem>();
  scene->AddSystem(system);
  auto node = std::make_shared<tv::Node>("n");
  auto probe = std::make_shared<ProbeComponent>();
  node->AddComponent(probe);
  scene->AddNode(node);
  RunFrame(*scene);
  for (int i = 1; i <= 100; ++i) probe->SetValue(i);
  scene->Update(0);
  scene->WaitUpdate(true);
  scene->Commit();
  EXPECT_TRUE(scene->WaitCommit(true));
  EXPECT_EQ(probe->GetValue(), 100);
}

} // namespace
