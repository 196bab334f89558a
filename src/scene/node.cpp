#include "scene/node.h"

#include <algorithm>

#include "reflection/type.h"
#include "scene/component.h"
#include "scene/scene.h"
#include "scene/transform.h"

namespace tv {
namespace {

// Cached classes are recognised by exact type, through the identity of their registered name, so
// that a component made by another module is recognised too.
constexpr uint32_t kCachedTypeHashes[4] = {TypeNameHash("Transform"), TypeNameHash("Camera"), TypeNameHash("Object"),
                                           TypeNameHash("Light")};

} // namespace

Node::Node(std::string node_name) : name(std::move(node_name)) {}

Node::~Node() {
  for (const std::shared_ptr<Component>& component : components) component->SetNode(nullptr);
}

void Node::ApplyOrQueue(std::function<void()> apply) {
  if (const std::shared_ptr<Scene> owner = scene.lock()) {
    owner->commit_queue.Queue([keep = shared_from_this(), apply = std::move(apply)] { apply(); });
  } else {
    apply();
  }
}

void Node::SetFlag(uint8_t flag, bool on) {
  ApplyOrQueue([this, flag, on] { flags = on ? uint8_t(flags | flag) : uint8_t(flags & ~flag); });
}

void Node::SetName(const std::string& node_name) {
  ApplyOrQueue([this, node_name] { name = node_name; });
}

void Node::SetEnabled(bool enabled) {
  ApplyOrQueue([this, enabled] { commit_SetEnabled(enabled); });
}

void Node::SetIsStatic(bool is_static) { SetFlag(kIsStatic, is_static); }
void Node::SetDoNotSerialize(bool do_not_serialize) { SetFlag(kDoNotSerialize, do_not_serialize); }
void Node::SetDoNotInstantiate(bool do_not_instantiate) { SetFlag(kDoNotInstantiate, do_not_instantiate); }
void Node::SetUseForNavigation(bool use_for_navigation) { SetFlag(kUseForNavigation, use_for_navigation); }

void Node::SetInstanceOwnerNode(const std::shared_ptr<Node>& owner) {
  ApplyOrQueue([this, owner] {
    instance_owner_node = owner;
    instance_owner_scene.reset();
  });
}

void Node::SetInstanceOwnerScene(const std::shared_ptr<Scene>& owner) {
  ApplyOrQueue([this, owner] {
    instance_owner_scene = owner;
    instance_owner_node.reset();
  });
}

void Node::AddComponent(const std::shared_ptr<Component>& component, int32_t index) {
  if (const std::shared_ptr<Scene> owner = component->GetScene()) {
    owner->commit_queue.Queue(
        [self = shared_from_this(), component, index] { self->commit_AddComponent(component, index); });
  } else {
    commit_AddComponent(component, index);
  }
}

void Node::RemoveComponent(const std::shared_ptr<Component>& component) {
  if (const std::shared_ptr<Scene> owner = component->GetScene()) {
    owner->commit_queue.Queue([self = shared_from_this(), component] { self->commit_RemoveComponent(component); });
  } else {
    commit_RemoveComponent(component);
  }
}

std::shared_ptr<Component> Node::GetComponent(const std::string& aspect) const {
  for (const std::shared_ptr<Component>& component : components)
    if (component->GetAspect() == aspect) return component;
  return nullptr;
}

std::vector<std::shared_ptr<Component>> Node::GetComponentsWithAspect(const std::string& aspect) const {
  std::vector<std::shared_ptr<Component>> found;
  for (const std::shared_ptr<Component>& component : components)
    if (component->GetAspect() == aspect) found.push_back(component);
  return found;
}

Component* Node::GetCachedComponent(CachedComponent which) const {
  const uint8_t at = component_index[which];
  return at == kNoComponent ? nullptr : components[at].get();
}

std::shared_ptr<Transform> Node::GetTransform() const {
  const uint8_t at = component_index[kCachedTransform];
  if (at == kNoComponent) return nullptr;
  return std::static_pointer_cast<Transform>(components[at]);
}

bool Node::IsReady() const {
  return std::all_of(components.begin(), components.end(),
                     [](const std::shared_ptr<Component>& component) { return component->IsReady() != 0; });
}

void Node::RebuildComponentIndex() {
  component_index.fill(kNoComponent);
  // Positions past 254 can't be cached; such components are still found by aspect.
  const size_t count = std::min<size_t>(components.size(), kNoComponent);
  for (size_t at = 0; at < count; ++at) {
    const Type* type = components[at]->type;
    if (type == nullptr) continue;
    for (uint32_t which = 0; which < 4; ++which)
      if (type->GetNameHash() == kCachedTypeHashes[which]) component_index[which] = uint8_t(at);
  }
}

void Node::commit_AddComponent(const std::shared_ptr<Component>& component, int32_t index) {
  if (!component->node.expired()) return;
  const std::shared_ptr<Node> self = shared_from_this();
  component->SetNode(self);
  if (index < 0 || size_t(index) >= components.size()) {
    components.push_back(component);
  } else {
    components.insert(components.begin() + index, component);
  }
  RebuildComponentIndex();
  if (const std::shared_ptr<Scene> owner = component->GetScene(); owner && GetEnabled())
    owner->AddComponentToSystems(component);
}

void Node::commit_RemoveComponent(const std::shared_ptr<Component>& component) {
  if (component->node.lock().get() != this) return;
  if (const std::shared_ptr<Scene> owner = component->GetScene()) owner->RemoveComponentFromSystems(component);
  std::erase(components, component);
  RebuildComponentIndex();
  component->SetNode(nullptr);
}

void Node::commit_SetEnabled(bool enabled) {
  if (GetEnabled() == enabled) return;
  flags = enabled ? uint8_t(flags | kEnabled) : uint8_t(flags & ~kEnabled);
  const std::shared_ptr<Scene> owner = scene.lock();
  if (!owner) return;
  for (const std::shared_ptr<Component>& component : components) {
    if (enabled) {
      owner->AddComponentToSystems(component);
    } else {
      owner->RemoveComponentFromSystems(component);
    }
  }
}

} // namespace tv
