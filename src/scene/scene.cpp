#include "scene/scene.h"

#include <algorithm>

#include "foundation/engine_signals.h"
#include "foundation/format.h"
#include "foundation/globals.h"
#include "foundation/log.h"
#include "foundation/profiler.h"
#include "foundation/task_system.h"
#include "reflection/type.h"
#include "scene/scene_type_names.h"
#include "scene/component.h"
#include "scene/group.h"
#include "scene/node.h"
#include "scene/scene_system.h"
#include "scene/transform.h"
#include "scene/transform_system.h"

namespace tv {

Signal<void(Scene&)> new_scene_signal;
Signal<void(Scene&)> delete_scene_signal;
Signal<void(Scene&)> scene_update_signal;

Scene::Scene() { new_scene_signal.Emit(*this); }

Scene::~Scene() {
  delete_scene_signal.Emit(*this);
  // The animation update of the last Update may still run; it reads the scene.
  if (update_future.valid()) update_future.future.wait();
}

// --- Phases ----------------------------------------------------------------------------------

void Scene::Update(time_ns dt) {
  ProfilerPerfSection section("Scene.Update");
  {
    ProfilerPerfSection emit("Scene.Update.EmitUpdateSignal");
    scene_update_signal.Emit(*this);
  }
  state = kUpdate;
  update_mutex.lock();
  // The script system samples the mouse, and the renderable system gets the frame's environment,
  // light system and camera, here once they exist.

  // Animations advance on any worker while the systems update.
  update_future = run_call<void>([] {}, *task_system);

  ProfilerPerfSection update_systems("Scene.Update.UpdateSystems");
  const time_ns system_dt = forced_dt >= 0 ? forced_dt : dt;
  for (const std::shared_ptr<SceneSystem>& system : systems) system->Update(system_dt);
}

void Scene::Update() { Update(engine_signals != nullptr ? engine_signals->frame_duration.load() : 0); }

bool Scene::WaitUpdate(bool block) {
  ProfilerPerfSection section("Scene.WaitUpdate");
  state = kWaitUpdate;
  ProfilerPerfSection wait_systems("Scene.WaitUpdate.WaitUpdateSystems");
  if (block) {
    // A future without a state (no Update before) throws std::future_error.
    update_future.get();
  } else if (!update_future.valid()) {
    return false;
  }
  for (const std::shared_ptr<SceneSystem>& system : systems)
    if (!system->WaitUpdate(block)) return false;
  update_mutex.unlock();
  return true;
}

void Scene::Commit() {
  ProfilerPerfSection section("Scene.Commit");
  state = kCommit;
  commit_mutex.lock();
  committing_thread_ = std::this_thread::get_id();
  commit_queue.Process();
  committing_thread_ = std::thread::id();
  ProfilerPerfSection commit_systems("Scene.Commit.CommitSystems");
  for (const std::shared_ptr<SceneSystem>& system : systems) system->Commit();
}

bool Scene::WaitCommit(bool block) {
  ProfilerPerfSection section("Scene.WaitCommit");
  state = kWaitCommit;
  ProfilerPerfSection wait_systems("Scene.WaitCommit.WaitCommitSystems");
  for (const std::shared_ptr<SceneSystem>& system : systems)
    if (!system->WaitCommit(block)) return false;
  commit_mutex.unlock();
  return true;
}

void Scene::UpdateAndCommitWaitAll(time_ns dt) {
  Update(dt);
  WaitUpdate(true);
  Commit();
  WaitCommit(true);
}

// --- Systems ---------------------------------------------------------------------------------

void Scene::SetupCoreSystems(RenderSystem*) {
  if (!GetSystem<TransformSystem>()) AddSystem(std::make_shared<TransformSystem>());
  // The camera, light, instance (given the render system and this scene) and renderable (given the
  // render system, drawing asynchronously) systems follow here, in this order, as they arrive.
}

std::shared_ptr<Scene> CreateScene(RenderSystem* render_system) {
  auto scene = std::make_shared<Scene>();
  scene->SetupCoreSystems(render_system);
  return scene;
}

void Scene::AddSystem(const std::shared_ptr<SceneSystem>& system) {
  // The renderable system's frame signals and the script system's logic signal are connected here
  // once those systems exist.
  systems.push_back(system);
}

std::shared_ptr<SceneSystem> Scene::GetSystem(const std::string& aspect) const {
  for (const std::shared_ptr<SceneSystem>& system : systems)
    if (system->GetAspect() == aspect) return system;
  return nullptr;
}

std::shared_ptr<SceneSystem> Scene::GetSystemOfType(uint32_t type_name_hash) const {
  for (const std::shared_ptr<SceneSystem>& system : systems)
    if (system->type != nullptr && system->type->GetNameHash() == type_name_hash) return system;
  return nullptr;
}

bool Scene::IsCommittingThread() const {
  return state.load() == kCommit && committing_thread_.load() == std::this_thread::get_id();
}

void Scene::AddComponentToSystems(const std::shared_ptr<Component>& component) {
  if (IsCommittingThread()) {
    AddComponentToSystemsNow(component);
  } else {
    commit_queue.Queue([this, component] { AddComponentToSystemsNow(component); });
  }
}

void Scene::RemoveComponentFromSystems(const std::shared_ptr<Component>& component) {
  // Safe from a system's commit task too: only the system that holds the component changes, and
  // that is the system whose queue is running.
  if (state.load() == kCommit) {
    RemoveComponentFromSystemsNow(component);
  } else {
    commit_queue.Queue([this, component] { RemoveComponentFromSystemsNow(component); });
  }
}

void Scene::AddComponentToSystemsNow(const std::shared_ptr<Component>& component) {
  if (!component->GetEnabled()) return;
  for (const std::shared_ptr<SceneSystem>& system : systems) system->AddComponent(component);
}

void Scene::RemoveComponentFromSystemsNow(const std::shared_ptr<Component>& component) {
  for (const std::shared_ptr<SceneSystem>& system : systems) system->RemoveComponent(component);
}

// --- Nodes and components --------------------------------------------------------------------

void Scene::AddNode(const std::shared_ptr<Node>& node) {
  if (!node->scene.expired()) return;
  // Throws before anything changes when the scene isn't held by a shared pointer.
  node->scene = shared_from_this();
  commit_queue.Queue([this, node] { commit_AddNode(node); });
}

void Scene::commit_AddNode(const std::shared_ptr<Node>& node) {
  ProfilerPerfSection section("Scene.commit_AddNode");
  uint32_t uid = node->GetUid();
  if (uid == 0) {
    uid = ++next_uid;
  } else {
    const bool taken = std::any_of(nodes.begin(), nodes.end(),
                                   [uid](const std::shared_ptr<Node>& other) { return other->GetUid() == uid; });
    if (taken) {
      warn(format("Suggested uid for node %1 collision detected").arg(node->GetName()));
      uid = ++next_uid;
    }
    if (uid >= next_uid) next_uid = uid + 1;
  }
  node->SetUid(uid);
  nodes.push_back(node);
  if (node->GetEnabled())
    for (const std::shared_ptr<Component>& component : node->components) AddComponentToSystemsNow(component);
}

void Scene::RemoveNode(const std::shared_ptr<Node>& node) {
  if (node->scene.lock().get() != this) return;
  node->scene.reset();
  commit_queue.Queue([this, node] { commit_RemoveNode(node); });
}

void Scene::commit_RemoveNode(const std::shared_ptr<Node>& node) {
  ProfilerPerfSection section("Scene.commit_RemoveNode");
  const std::vector<std::shared_ptr<Component>> node_components = node->components;
  for (const std::shared_ptr<Component>& component : node_components)
    for (const std::shared_ptr<SceneSystem>& system : systems) system->RemoveComponent(component);
  const auto at = std::find(nodes.begin(), nodes.end(), node);
  if (at != nodes.end()) nodes.erase(at);
  node->SetUid(0);
}

void Scene::SetCurrentCamera(const std::shared_ptr<Node>& node) {
  commit_queue.Queue([this, node] { commit_SetCurrentCamera(node); });
}

void Scene::commit_SetCurrentCamera(const std::shared_ptr<Node>& node) { current_camera = node; }

void Scene::AddComponent(const std::shared_ptr<Component>& component, int32_t index) {
  commit_queue.Queue([this, component, index] { commit_AddComponent(component, index); });
  AddComponentToSystems(component);
}

void Scene::commit_AddComponent(const std::shared_ptr<Component>& component, int32_t index) {
  if (!component->scene.expired() || !component->node.expired()) return;
  component->SetScene(shared_from_this());
  if (index < 0 || size_t(index) >= components.size()) {
    components.push_back(component);
  } else {
    components.insert(components.begin() + index, component);
  }
}

void Scene::RemoveComponent(const std::shared_ptr<Component>& component) {
  RemoveComponentFromSystems(component);
  commit_queue.Queue([this, component] { commit_RemoveComponent(component); });
}

void Scene::commit_RemoveComponent(const std::shared_ptr<Component>& component) {
  if (component->scene.lock().get() != this) return;
  component->SetScene(nullptr);
  const auto at = std::find(components.begin(), components.end(), component);
  if (at != components.end()) components.erase(at);
}

// --- Lookups ---------------------------------------------------------------------------------

namespace {

std::shared_ptr<Node> ParentOf(const Node& node) {
  const std::shared_ptr<Transform> transform = node.GetTransform();
  return transform ? transform->GetParent() : nullptr;
}

} // namespace

std::shared_ptr<Node> Scene::GetNode(uint32_t uid) const {
  for (const std::shared_ptr<Node>& node : nodes)
    if (node->GetUid() == uid) return node;
  return nullptr;
}

std::shared_ptr<Node> Scene::GetNode(const std::string& name) const {
  for (const std::shared_ptr<Node>& node : nodes)
    if (node->GetName() == name) return node;
  return nullptr;
}

std::shared_ptr<Node> Scene::GetNode(const std::string& name, const std::shared_ptr<Node>& parent) const {
  for (const std::shared_ptr<Node>& node : nodes)
    if (node->GetName() == name && ParentOf(*node) == parent) return node;
  return nullptr;
}

std::vector<std::shared_ptr<Node>> Scene::GetNodes(const std::string& prefix) const {
  std::vector<std::shared_ptr<Node>> found;
  for (const std::shared_ptr<Node>& node : nodes)
    if (node->GetName().compare(0, prefix.size(), prefix) == 0) found.push_back(node);
  return found;
}

std::vector<std::shared_ptr<Node>> Scene::GetNodesWithAspect(const std::string& aspect) const {
  std::vector<std::shared_ptr<Node>> found;
  for (const std::shared_ptr<Node>& node : nodes)
    if (node->GetComponent(aspect)) found.push_back(node);
  return found;
}

std::vector<std::shared_ptr<Node>> Scene::GetNodeChildren(const std::shared_ptr<Node>& node) const {
  std::vector<std::shared_ptr<Node>> found;
  for (const std::shared_ptr<Node>& candidate : nodes)
    if (ParentOf(*candidate) == node) found.push_back(candidate);
  return found;
}

std::vector<std::shared_ptr<Component>> Scene::GetComponents(const std::string& aspect) const {
  std::vector<std::shared_ptr<Component>> found;
  for (const std::shared_ptr<Component>& component : components)
    if (component->GetAspect() == aspect) found.push_back(component);
  return found;
}

bool Scene::HasAspect(const std::string& aspect) const {
  return std::any_of(components.begin(), components.end(),
                     [&](const std::shared_ptr<Component>& component) { return component->GetAspect() == aspect; });
}

// --- Groups ----------------------------------------------------------------------------------

void Scene::AddGroup(const std::shared_ptr<Group>& group) { groups.push_back(group); }

void Scene::RemoveGroup(const std::shared_ptr<Group>& group) { std::erase(groups, group); }

void Scene::DeleteGroup(const std::shared_ptr<Group>& group) {
  for (const std::shared_ptr<Node>& node : group->nodes) RemoveNode(node);
  RemoveGroup(group);
}

std::shared_ptr<Group> Scene::GetGroup(const std::string& name) const {
  for (const std::shared_ptr<Group>& group : groups)
    if (group->name == name) return group;
  return nullptr;
}

std::vector<std::shared_ptr<Group>> Scene::GetGroupsContainingNode(const std::shared_ptr<Node>& node) const {
  std::vector<std::shared_ptr<Group>> found;
  for (const std::shared_ptr<Group>& group : groups)
    if (group->HasNode(node)) found.push_back(group);
  return found;
}

void Scene::SetGroupEnabled(const std::shared_ptr<Group>& group, bool enabled) {
  for (const std::shared_ptr<Node>& node : group->nodes) node->SetEnabled(enabled);
}

void Scene::RemoveNodeFromGroups(const std::shared_ptr<Node>& node) {
  for (const std::shared_ptr<Group>& group : groups) group->RemoveNode(node);
}

// --- Whole scene -----------------------------------------------------------------------------

void Scene::Clear() {
  commit_queue.Queue([this] { commit_Clear(); });
}

void Scene::ClearAndCommit() {
  Clear();
  Commit();
  WaitCommit(true);
}

void Scene::commit_Clear() {
  current_camera.reset();
  for (const std::shared_ptr<Component>& component : components)
    for (const std::shared_ptr<SceneSystem>& system : systems) system->RemoveComponent(component);
  for (const std::shared_ptr<Node>& node : nodes)
    for (const std::shared_ptr<Component>& component : node->components)
      for (const std::shared_ptr<SceneSystem>& system : systems) system->RemoveComponent(component);
  // Every scene component leaves, even one whose scene link is gone already.
  for (const std::shared_ptr<Component>& component : components)
    if (component->scene.lock().get() == this) component->SetScene(nullptr);
  components.clear();
  while (!nodes.empty()) {
    const std::shared_ptr<Node> first = nodes.front();
    first->scene.reset();
    commit_RemoveNode(first);
  }
  next_uid = 0;
  // The script system is cleared here once it exists.
}

bool Scene::IsReady() const {
  if (loading.load()) return false;
  for (const std::shared_ptr<Component>& component : components)
    if (component->IsReady() == 0) return false;
  return std::all_of(nodes.begin(), nodes.end(), [](const std::shared_ptr<Node>& node) { return node->IsReady(); });
}

MinMax Scene::GetMinMax() const {
  // Only objects have world bounds, and they arrive with the renderables; until then no node
  // contributes and the union is the zero box.
  return MinMax{};
}

} // namespace tv
