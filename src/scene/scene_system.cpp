#include "scene/scene_system.h"

#include "foundation/future_call.h"
#include "foundation/globals.h"
#include "foundation/profiler.h"
#include "foundation/task_system.h"
#include "scene/component.h"

namespace tv {

SceneSystem::SceneSystem() : update_tasks(std::make_shared<task_set>()), commit_tasks(std::make_shared<task_set>()) {}

SceneSystem::~SceneSystem() { WaitIdle(); }

void SceneSystem::WaitIdle() {
  if (task_system == nullptr) return;
  task_system->wait(commit_tasks);
  task_system->wait(update_tasks);
}

void SceneSystem::Update(time_ns) {}

bool SceneSystem::WaitOn(const std::shared_ptr<task_set>& set, bool block, const char* operation) {
  ProfilerPerfSection section(GetAspect() + "System." + operation);
  if (!block) return set->pending.load() == 0;
  task_system->wait(set);
  return true;
}

bool SceneSystem::WaitUpdate(bool block) { return WaitOn(update_tasks, block, "WaitUpdate"); }

bool SceneSystem::WaitCommit(bool block) { return WaitOn(commit_tasks, block, "WaitCommit"); }

void SceneSystem::Commit() {
  task_system->run_task(std::make_shared<future_call_task<void>>([this] { commit_queue.Process(); }), commit_tasks,
                        task::kAnyWorker, 0);
}

void SceneSystem::AddComponent(std::shared_ptr<Component> component) { component->SetSystem(shared_from_this_system()); }

void SceneSystem::RemoveComponent(const std::shared_ptr<Component>& component) { component->SetSystem(nullptr); }

void SceneSystem::DrawDebugUI() {}
void SceneSystem::DrawDebugPanel(RenderSystem&) {}
void SceneSystem::DrawDebugVisuals(RenderSystem&) {}

} // namespace tv
