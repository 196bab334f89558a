#include "scene/component_registry.h"

#include "scene/component.h"
#include "scene/metadata.h"
#include "scene/transform.h"

namespace tv {

std::shared_ptr<ComponentInfo> ComponentRegistry::Find(const ComponentFactories& factories, const std::string& name) {
  for (const std::shared_ptr<ComponentInfo>& info : factories)
    if (info->name == name) return info;
  return nullptr;
}

std::shared_ptr<ComponentInfo> ComponentRegistry::Register(ComponentFactories& factories, const std::string& name,
                                                           const std::string& aspect,
                                                           std::function<std::shared_ptr<Component>()> create,
                                                           uint32_t owner_mask, bool repeatable,
                                                           std::vector<std::string> requires_components) {
  if (std::shared_ptr<ComponentInfo> existing = Find(factories, name)) return existing;
  auto info = std::make_shared<ComponentInfo>();
  info->name = name;
  info->aspect = aspect;
  info->create = std::move(create);
  info->owner_mask = owner_mask;
  info->repeatable = repeatable;
  info->requires_ = std::move(requires_components);
  factories.push_back(info);
  return info;
}

std::shared_ptr<Component> ComponentRegistry::Create(const ComponentFactories& factories, const std::string& name) {
  const std::shared_ptr<ComponentInfo> info = Find(factories, name);
  return info && info->create ? info->create() : nullptr;
}

std::shared_ptr<Component> ComponentRegistry::Create(const std::string& name) {
  return component_factories != nullptr ? Create(*component_factories, name) : nullptr;
}

void RegisterCoreComponents(ComponentFactories& factories) {
  using Info = ComponentInfo;
  // "Environment" (scene only) comes first once environments exist.
  ComponentRegistry::Register(factories, "Transform", "Transform", [] { return std::make_shared<Transform>(); },
                              Info::kNodeOwner, false);
  // "Light", "Camera", "Object", "Terrain", "Decorator", "Instance", "LogicScript", "RenderScript"
  // and "Navigation" take their places here, in this order, as their classes arrive.
  ComponentRegistry::Register(factories, "Metadata", "Metadata", [] { return std::make_shared<Metadata>(); },
                              Info::kAnyOwner, true);
}

} // namespace tv
