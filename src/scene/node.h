#pragma once
// A node of a scene: a name, a uid, flags and an ordered list of components. The hierarchy is not
// here: a node's parent is a link of its Transform.
//
// Setters are deferred while the node is in a scene (queued on the scene's commit queue, applied in
// the next commit) and immediate otherwise. Structure is read without a lock; it changes only in
// the commit phase on the thread that drives the scene, or at once while the node is free.
//
// Nodes are held by std::shared_ptr (the weak self pointer of enable_shared_from_this).

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace tv {

class Component;
class Scene;
class Transform;

class Node : public std::enable_shared_from_this<Node> {
public:
  enum Flag : uint8_t {
    kEnabled = 1,
    kIsStatic = 2,
    kDoNotSerialize = 4,
    kDoNotInstantiate = 8,
    kUseForNavigation = 16,
  };
  // Positions in `component_index`.
  enum CachedComponent : uint32_t { kCachedTransform = 0, kCachedCamera = 1, kCachedObject = 2, kCachedLight = 3 };
  static constexpr uint8_t kNoComponent = 255;

  explicit Node(std::string node_name = {});
  // Components that outlive their node report no node.
  ~Node();
  Node(const Node&) = delete;
  Node& operator=(const Node&) = delete;

  const std::string& GetName() const { return name; }
  uint32_t GetUid() const { return uid; }
  // The uid that the next AddNode suggests; a scene gives it at commit.
  void SetUid(uint32_t node_uid) { uid = node_uid; }

  bool GetEnabled() const { return (flags & kEnabled) != 0; }
  bool GetIsStatic() const { return (flags & kIsStatic) != 0; }
  bool GetDoNotSerialize() const { return (flags & kDoNotSerialize) != 0; }
  bool GetDoNotInstantiate() const { return (flags & kDoNotInstantiate) != 0; }
  bool GetUseForNavigation() const { return (flags & kUseForNavigation) != 0; }
  std::shared_ptr<Scene> GetScene() const { return scene.lock(); }

  // Deferred while in a scene.
  void SetName(const std::string& node_name);
  void SetEnabled(bool enabled);
  void SetIsStatic(bool is_static);
  void SetDoNotSerialize(bool do_not_serialize);
  void SetDoNotInstantiate(bool do_not_instantiate);
  void SetUseForNavigation(bool use_for_navigation);
  // At most one owner is set: setting one clears the other.
  void SetInstanceOwnerNode(const std::shared_ptr<Node>& owner);
  void SetInstanceOwnerScene(const std::shared_ptr<Scene>& owner);

  // Deferred on the component's scene when it has one; a free component joins the list at once
  // (only its entry into the systems waits for a commit). `index` -1 appends.
  void AddComponent(const std::shared_ptr<Component>& component, int32_t index = -1);
  void RemoveComponent(const std::shared_ptr<Component>& component);

  const std::vector<std::shared_ptr<Component>>& GetComponents() const { return components; }
  // The first component with that GetAspect(), or null.
  std::shared_ptr<Component> GetComponent(const std::string& aspect) const;
  std::vector<std::shared_ptr<Component>> GetComponentsWithAspect(const std::string& aspect) const;
  // The last component of each cached class, in constant time; null when there is none.
  Component* GetCachedComponent(CachedComponent which) const;
  std::shared_ptr<Transform> GetTransform() const;

  // True when every component is ready (an empty list included).
  bool IsReady() const;

  // The immediate forms, run from the commit queue (or at once while the node is free).
  void commit_AddComponent(const std::shared_ptr<Component>& component, int32_t index);
  void commit_RemoveComponent(const std::shared_ptr<Component>& component);
  void commit_SetEnabled(bool enabled);

  uint8_t flags = kEnabled;
  std::weak_ptr<Scene> scene;
  uint32_t uid = 0;
  std::string name;
  std::vector<std::shared_ptr<Component>> components;
  std::array<uint8_t, 4> component_index{kNoComponent, kNoComponent, kNoComponent, kNoComponent};
  std::shared_ptr<Node> instance_owner_node;
  std::shared_ptr<Scene> instance_owner_scene;

private:
  // Queues `apply` on the scene's commit queue while the node is in one, else runs it now.
  void ApplyOrQueue(std::function<void()> apply);
  void SetFlag(uint8_t flag, bool on);
  void RebuildComponentIndex();
};

} // namespace tv
