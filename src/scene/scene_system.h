#pragma once
// The base of every scene system. A system takes the components it wants from the scene (by
// aspect), queues the changes asked of them, and works in the two phases of the scene: Update then
// WaitUpdate, Commit then WaitCommit (see Scene).
//
// AddComponent receives every enabled component of every enabled node of the scene: an override
// keeps only those it wants and calls the base form for them, so a component stays bound to the
// one system that took it. RemoveComponent is called on every system: an override does nothing
// unless the component's system is itself.
//
// Concrete systems are held by std::shared_ptr and answer shared_from_this_system().

#include <memory>
#include <string>

#include "foundation/call_queue.h"
#include "foundation/clock.h"
#include "foundation/task.h"

namespace tv {

class Component;
class RenderSystem;
class Type;

class SceneSystem {
public:
  SceneSystem();
  // Waits for the system's own tasks: a scene may be dropped while the work of its last phase still
  // runs. A system whose tasks touch its own members waits in its own destructor as well (WaitIdle),
  // since those members are gone by the time this one runs.
  virtual ~SceneSystem();
  SceneSystem(const SceneSystem&) = delete;
  SceneSystem& operator=(const SceneSystem&) = delete;

  virtual const std::string& GetAspect() const = 0;
  // Default: nothing.
  virtual void Update(time_ns dt);
  // Default: waits on `update_tasks`. Non-blocking: whether the set has nothing pending.
  virtual bool WaitUpdate(bool block);
  // Default: runs `commit_queue` as a task of `commit_tasks` on any worker.
  virtual void Commit();
  // Default: waits on `commit_tasks`.
  virtual bool WaitCommit(bool block);
  // Default: binds the component to this system.
  virtual void AddComponent(std::shared_ptr<Component> component);
  // Default: unbinds the component.
  virtual void RemoveComponent(const std::shared_ptr<Component>& component);
  virtual void DrawDebugUI();
  virtual void DrawDebugPanel(RenderSystem& render_system);
  virtual void DrawDebugVisuals(RenderSystem& render_system);
  virtual std::shared_ptr<SceneSystem> shared_from_this_system() = 0;

  call_queue_mt commit_queue;
  Type* type = nullptr;  // the concrete class's registered type; set by the concrete constructor
  std::shared_ptr<task_set> update_tasks;
  std::shared_ptr<task_set> commit_tasks;
  bool draw_debug_visuals = false;

protected:
  // Returns when no task of `update_tasks` or `commit_tasks` is left, helping meanwhile.
  void WaitIdle();
  // Waits as the default WaitUpdate and WaitCommit do, with the profiler section
  // "<aspect>System.<operation>".
  bool WaitOn(const std::shared_ptr<task_set>& set, bool block, const char* operation);
};

} // namespace tv
