#include "scene/component.h"

#include "foundation/call_queue.h"
#include "foundation/globals.h"
#include "reflection/type_registry.h"
#include "scene/node.h"
#include "scene/scene.h"
#include "scene/scene_system.h"

namespace tv {

Type* FindRegisteredType(const std::string& type_name) {
  return types != nullptr ? types->FindType(type_name) : nullptr;
}

Component::Component(const std::string& type_name) : type(FindRegisteredType(type_name)) {}

std::shared_ptr<Renderable> Component::GetRenderable() { return nullptr; }

std::shared_ptr<void> Component::GetAttachment() { return nullptr; }

uint8_t Component::IsReady() { return 1; }

std::shared_ptr<Component> Component::shared_from_this_component() { return shared_from_this(); }

std::shared_ptr<Scene> Component::GetScene() const {
  if (std::shared_ptr<Scene> own = scene.lock()) return own;
  if (std::shared_ptr<Node> owner = node.lock()) return owner->scene.lock();
  return nullptr;
}

void Component::SetScene(const std::shared_ptr<Scene>& owner) {
  scene = owner;
  node.reset();
  commit_queue = owner ? &owner->commit_queue : nullptr;
}

void Component::SetNode(const std::shared_ptr<Node>& owner) {
  scene.reset();
  node = owner;
}

void Component::SetSystem(const std::shared_ptr<SceneSystem>& owner) {
  system = owner;
  commit_queue = owner ? &owner->commit_queue : nullptr;
}

void Component::SetFlag(uint8_t flag, bool on) {
  ApplyOrQueue([this, flag, on] { flags = on ? uint8_t(flags | flag) : uint8_t(flags & ~flag); });
}

void Component::SetEnabled(bool enabled) {
  ApplyOrQueue([this, enabled] { commit_SetEnabled(enabled); });
}

void Component::SetShowInEditor(bool show) { SetFlag(kShowInEditor, show); }

void Component::SetDoNotSerialize(bool do_not_serialize) { SetFlag(kDoNotSerialize, do_not_serialize); }

void Component::commit_SetEnabled(bool enabled) {
  if (GetEnabled() == enabled) return;
  flags = enabled ? uint8_t(flags | kEnabled) : uint8_t(flags & ~kEnabled);
  const std::shared_ptr<Scene> owner = GetScene();
  if (!owner) return;
  if (enabled) {
    owner->AddComponentToSystems(shared_from_this_component());
  } else {
    owner->RemoveComponentFromSystems(shared_from_this_component());
  }
}

void Component::Refresh() {
  const std::shared_ptr<Scene> owner = GetScene();
  if (!owner) return;
  const std::shared_ptr<Component> self = shared_from_this_component();
  owner->RemoveComponentFromSystems(self);
  if (GetEnabled()) owner->AddComponentToSystems(self);
}

} // namespace tv
