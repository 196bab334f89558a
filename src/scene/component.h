#pragma once
// The base of every scene component: a bag of properties that a system picks up by its aspect.
//
// A component belongs to at most one node or one scene (weak back references) and to at most one
// system. Once it belongs to something, its setters are deferred: the change is queued on
// `commit_queue` (its system's queue, or its scene's) and comes true in the next commit; getters
// read the field directly, so a read right after a write still sees the old value. A free
// component applies its setters at once.
//
// Components are held by std::shared_ptr; the deferred forms need it.

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "foundation/call_queue.h"

namespace tv {

class Type;
class Scene;
class Node;
class SceneSystem;
class Renderable;

class Component : public std::enable_shared_from_this<Component> {
public:
  enum Flag : uint8_t { kEnabled = 1, kShowInEditor = 2, kDoNotSerialize = 4 };

  virtual ~Component() = default;
  // A copy would share the original's memberships; components are made, not copied.
  Component(const Component&) = delete;
  Component& operator=(const Component&) = delete;
  // What draws the component, if anything.
  virtual std::shared_ptr<Renderable> GetRenderable();
  // Nothing in the core attaches anything; the slot is kept for extensions.
  virtual std::shared_ptr<void> GetAttachment();
  // 0: not ready yet; any other value counts as ready (2: a load failed, and won't hold others back).
  virtual uint8_t IsReady();
  // The concrete class name.
  virtual const std::string& GetComponentName() const = 0;
  // The key by which scenes, nodes and systems look the component up.
  virtual const std::string& GetAspect() const = 0;
  // Throws std::bad_weak_ptr when the object is not held by a shared pointer.
  virtual std::shared_ptr<Component> shared_from_this_component();

  // The scene it was attached to directly, else its node's scene, else null.
  std::shared_ptr<Scene> GetScene() const;
  std::shared_ptr<SceneSystem> GetSystem() const { return system.lock(); }
  std::shared_ptr<Node> GetNode() const { return node.lock(); }

  // Membership, set by scenes, nodes and systems during a commit (or at once while free).
  void SetScene(const std::shared_ptr<Scene>& owner);
  void SetNode(const std::shared_ptr<Node>& owner);
  void SetSystem(const std::shared_ptr<SceneSystem>& owner);

  bool GetEnabled() const { return (flags & kEnabled) != 0; }
  bool GetShowInEditor() const { return (flags & kShowInEditor) != 0; }
  bool GetDoNotSerialize() const { return (flags & kDoNotSerialize) != 0; }
  // Deferred. A disabled component is in no system.
  void SetEnabled(bool enabled);
  void SetShowInEditor(bool show);
  void SetDoNotSerialize(bool do_not_serialize);

  // Takes the component out of its systems and, if enabled, puts it back: for a component whose
  // effect on a system changed (the scene applies both in order, in or at the next commit).
  void Refresh();

  // The immediate forms of the deferred setters.
  void commit_SetEnabled(bool enabled);

  Type* type = nullptr;  // the concrete class's entry of the global type registry
  call_queue_mt* commit_queue = nullptr;
  std::weak_ptr<SceneSystem> system;
  std::weak_ptr<Scene> scene;
  std::weak_ptr<Node> node;
  uint8_t flags = kEnabled | kShowInEditor;

protected:
  // `type_name`: the concrete class's registered name, looked up in the global registry.
  explicit Component(const std::string& type_name);

  // The deferred-setter rule: queues `apply` (keeping the component alive until it ran) when the
  // component belongs to a queue, else runs it now.
  template <typename Apply>
  void ApplyOrQueue(Apply&& apply) {
    if (commit_queue == nullptr) {
      apply();
      return;
    }
    commit_queue->Queue([keep = shared_from_this_component(), apply = std::forward<Apply>(apply)]() mutable { apply(); });
  }
  void SetFlag(uint8_t flag, bool on);
};

// The registered type of a name in the global registry, or null (no registry, or not registered).
Type* FindRegisteredType(const std::string& type_name);

} // namespace tv
