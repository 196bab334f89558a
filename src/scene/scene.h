#pragma once
// A scene: a flat list of nodes, scene-level components, systems, groups and animation takes,
// driven in two phases by one thread:
//
//   Update(dt), then WaitUpdate(block) until true: systems compute; every change is queued.
//   Commit(), then WaitCommit(block) until true: the scene's queue runs on the driving thread,
//   then each system drains its own queue on a worker, and systems publish their results.
//
// A change requested at any time becomes visible when the next commit has run its queue; one
// requested from a queued call during a commit lands in the same commit. Structure (nodes,
// components, systems) is read without a lock and changes only in the commit phase. The phase
// operations are for the driving thread only; `commit_queue` may be used from any thread.
//
// Scenes are held by std::shared_ptr: AddNode and the commit operations need the self pointer and
// throw std::bad_weak_ptr without it.

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "foundation/call_queue.h"
#include "foundation/clock.h"
#include "foundation/future_call.h"
#include "foundation/signal.h"
#include "math/min_max.h"
#include "reflection/type_name.h"
#include "scene/scene_type_names.h"

namespace tv {

class AnimTake;
class Component;
class Group;
class Node;
class RenderSystem;
class SceneBoundAnim;
class SceneSystem;
class Type;

class Scene : public std::enable_shared_from_this<Scene> {
public:
  enum State : uint32_t { kIdle = 0, kUpdate = 1, kWaitUpdate = 2, kCommit = 3, kWaitCommit = 4 };

  // Emits new_scene_signal.
  Scene();
  // Emits delete_scene_signal first.
  virtual ~Scene();
  Scene(const Scene&) = delete;
  Scene& operator=(const Scene&) = delete;

  // The phases; see the top of this file.
  virtual void Update(time_ns dt);
  virtual bool WaitUpdate(bool block);
  virtual void Commit();
  virtual bool WaitCommit(bool block);
  // Update with the core's last frame duration.
  void Update();
  void UpdateAndCommitWaitAll(time_ns dt);

  // Adds each core system that the scene lacks, in their fixed order; the render system may be null
  // (a scene that is never drawn). The order of `systems` is the order of every system call.
  void SetupCoreSystems(RenderSystem* render_system);
  // Appends a system (and connects the render and script signals of those that have them).
  void AddSystem(const std::shared_ptr<SceneSystem>& system);
  // The first system of that aspect, or null.
  std::shared_ptr<SceneSystem> GetSystem(const std::string& aspect) const;
  // The first system whose registered type is T's.
  template <typename T>
  std::shared_ptr<T> GetSystem() const {
    return std::static_pointer_cast<T>(GetSystemOfType(TypeNameHash(TypeName<T>())));
  }
  std::shared_ptr<SceneSystem> GetSystemOfType(uint32_t type_name_hash) const;

  // A node is in at most one scene: adding one that is in a scene already does nothing. The node
  // is bound to the scene at once and gets its uid at the next commit.
  void AddNode(const std::shared_ptr<Node>& node);
  // Unbinds at once, drops at the next commit. Nothing happens for a node of another scene.
  void RemoveNode(const std::shared_ptr<Node>& node);
  void SetCurrentCamera(const std::shared_ptr<Node>& node);
  // A scene-level component; deferred.
  void AddComponent(const std::shared_ptr<Component>& component, int32_t index = -1);
  void RemoveComponent(const std::shared_ptr<Component>& component);
  // Offer an enabled component to every system, or take one from every system: queued for the next
  // run of the scene's queue, except during a commit. There a removal applies at once, and so does
  // an offer made from the scene's own queue; an offer from a system's queue, which runs on a
  // worker beside the other systems' commits, waits for the next commit, so that no system's lists
  // change under its own commit task.
  void AddComponentToSystems(const std::shared_ptr<Component>& component);
  void RemoveComponentFromSystems(const std::shared_ptr<Component>& component);

  // Linear scans of `nodes` in order.
  std::shared_ptr<Node> GetNode(uint32_t uid) const;
  std::shared_ptr<Node> GetNode(const std::string& name) const;
  // The first node of that name whose Transform parent is `parent`.
  std::shared_ptr<Node> GetNode(const std::string& name, const std::shared_ptr<Node>& parent) const;
  std::vector<std::shared_ptr<Node>> GetNodes(const std::string& prefix) const;
  std::vector<std::shared_ptr<Node>> GetNodesWithAspect(const std::string& aspect) const;
  // The nodes whose Transform parent is `node`.
  std::vector<std::shared_ptr<Node>> GetNodeChildren(const std::shared_ptr<Node>& node) const;
  // Scene-level components of that aspect.
  std::vector<std::shared_ptr<Component>> GetComponents(const std::string& aspect) const;
  bool HasAspect(const std::string& aspect) const;

  // Groups: immediate, for the driving thread.
  void AddGroup(const std::shared_ptr<Group>& group);
  // Erases the group, leaving its nodes in the scene.
  void RemoveGroup(const std::shared_ptr<Group>& group);
  // Removes each of the group's nodes from the scene, then erases the group.
  void DeleteGroup(const std::shared_ptr<Group>& group);
  std::shared_ptr<Group> GetGroup(const std::string& name) const;
  std::vector<std::shared_ptr<Group>> GetGroupsContainingNode(const std::shared_ptr<Node>& node) const;
  void SetGroupEnabled(const std::shared_ptr<Group>& group, bool enabled);
  void RemoveNodeFromGroups(const std::shared_ptr<Node>& node);

  // Queues the removal of every node and component, and a restart of uids at 1.
  void Clear();
  // Clear, then a whole commit.
  void ClearAndCommit();

  // Every scene component and every node ready, and no load running.
  bool IsReady() const;
  // Union of the world boxes of the ready nodes that draw an object; the zero box when none.
  MinMax GetMinMax() const;

  // The immediate forms, run from `commit_queue`.
  void commit_AddNode(const std::shared_ptr<Node>& node);
  void commit_RemoveNode(const std::shared_ptr<Node>& node);
  void commit_AddComponent(const std::shared_ptr<Component>& component, int32_t index);
  void commit_RemoveComponent(const std::shared_ptr<Component>& component);
  void commit_SetCurrentCamera(const std::shared_ptr<Node>& node);
  void commit_Clear();
  // Offer to / take from every system, now.
  void AddComponentToSystemsNow(const std::shared_ptr<Component>& component);
  void RemoveComponentFromSystemsNow(const std::shared_ptr<Component>& component);

  call_queue_mt commit_queue;
  std::vector<std::shared_ptr<AnimTake>> takes;
  std::mutex update_mutex;
  std::mutex commit_mutex;
  std::atomic<uint32_t> state{kIdle};
  std::atomic<bool> loading{false};
  Signal<void(Scene&)> serialization_signal;
  Signal<void(Scene&)> deserialization_signal;
  std::vector<std::shared_ptr<SceneSystem>> systems;
  std::vector<std::shared_ptr<Group>> groups;
  uint32_t next_uid = 0;
  std::vector<std::shared_ptr<Node>> nodes;
  std::vector<std::shared_ptr<Component>> components;
  std::shared_ptr<Node> current_camera;
  Signal<void(Scene&, RenderSystem&)> frame_cleared_signal;
  Signal<void(Scene&, RenderSystem&)> frame_complete_signal;
  Signal<void(Scene&, RenderSystem&)> renderables_drawn_signal;
  Connection frame_cleared_connection = nullptr;
  Connection frame_complete_connection = nullptr;
  Connection renderables_drawn_connection = nullptr;
  future_call<void> update_future;
  std::vector<std::shared_ptr<SceneBoundAnim>> bound_anims;
  // Used in place of the dt of Update when not negative (set by debugging tools).
  time_ns forced_dt = -1;

private:
  // The thread running this scene's queue inside Commit, while it does; the only place where
  // systems are changed directly.
  std::atomic<std::thread::id> committing_thread_{};
  bool IsCommittingThread() const;
};

// A new shared scene with the core systems.
std::shared_ptr<Scene> CreateScene(RenderSystem* render_system);

// Process-wide: after a scene is constructed, first thing in its destructor, and at the start of
// every Scene::Update.
extern Signal<void(Scene&)> new_scene_signal;
extern Signal<void(Scene&)> delete_scene_signal;
extern Signal<void(Scene&)> scene_update_signal;

} // namespace tv
