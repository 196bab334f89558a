#pragma once
// The registry of component classes: what tools offer to create, by name. One global vector
// (`component_factories`), filled once at start-up, in the order of registration.
//
// owner_mask, repeatable and requires describe where a component may go for tools that build
// scenes; the core itself does not enforce them.

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "foundation/globals.h"

namespace tv {

class Component;

struct ComponentInfo {
  enum Owner : uint32_t { kSceneOwner = 1, kNodeOwner = 2, kAnyOwner = 3 };

  std::string name;    // the key
  std::string aspect;  // the registry's grouping, not always what GetAspect() answers
  std::function<std::shared_ptr<Component>()> create;
  uint32_t owner_mask = kNodeOwner;
  bool repeatable = false;
  // Names of components that the owner must hold ("requires" is a keyword of the language).
  std::vector<std::string> requires_;
};

class ComponentRegistry {
public:
  // Appends an entry, or returns the entry of that name unchanged when there is one.
  static std::shared_ptr<ComponentInfo> Register(ComponentFactories& factories, const std::string& name,
                                                 const std::string& aspect,
                                                 std::function<std::shared_ptr<Component>()> create,
                                                 uint32_t owner_mask, bool repeatable,
                                                 std::vector<std::string> requires_components = {});
  // A new component of that registered name; null for an unknown name.
  static std::shared_ptr<Component> Create(const ComponentFactories& factories, const std::string& name);
  static std::shared_ptr<ComponentInfo> Find(const ComponentFactories& factories, const std::string& name);

  // The same on the global registry (null or nothing when there is none).
  static std::shared_ptr<Component> Create(const std::string& name);
};

// The core's entries, in their fixed order; the physics and post-process entries follow from
// their own routines.
void RegisterCoreComponents(ComponentFactories& factories);

} // namespace tv
