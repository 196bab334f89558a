#include "scene/scene_types.h"

#include <string>

#include "math/vector3.h"
#include "reflection/math_type_names.h"
#include "reflection/type_registration.h"
#include "reflection/type_registry.h"
#include "scene/component.h"
#include "scene/metadata.h"
#include "scene/node.h"
#include "scene/scene.h"
#include "scene/scene_system.h"
#include "scene/scene_type_names.h"
#include "scene/target.h"
#include "scene/transform.h"
#include "scene/transform_system.h"

namespace tv {
namespace {

// Properties read through the getter and written through the (deferred) setter of their class.
template <typename C, typename T, T (C::*Getter)() const, void (C::*Setter)(T)>
struct ValueAccessor {
  static T Get(const C& object) { return (object.*Getter)(); }
  static void Set(C& object, const T& value) { (object.*Setter)(value); }
};
template <typename C, typename T, const T& (C::*Getter)() const, void (C::*Setter)(const T&)>
struct ReferenceAccessor {
  static T Get(const C& object) { return (object.*Getter)(); }
  static void Set(C& object, const T& value) { (object.*Setter)(value); }
};

template <typename C, bool (C::*Getter)() const, void (C::*Setter)(bool)>
void AddBoolProperty(Type* type, const std::string& name, bool default_value) {
  // Named explicitly: a plain bool would pick the overload whose bool means "serialize".
  type->AddField<bool>(name, new ClassProperty<C, bool, ValueAccessor<C, bool, Getter, Setter>>(), default_value);
}

template <typename Derived, typename Base>
Type* RegisterDerivedClass(TypeRegistry& registry, const std::string& native_name) {
  Type* type = RegisterClassType<Derived>(registry, native_name);
  type->AddBase(registry.GetType<Base>(), new ConcreteTypeCaster<Derived, Base>());
  return type;
}

} // namespace

void RegisterSceneTypes(TypeRegistry& registry) {
  RegisterClassType<Scene>(registry, "tv::Scene");
  RegisterSharedPtrType<Scene>(registry, "tv::Scene");

  Type* node = RegisterClassType<Node>(registry, "tv::Node");
  AddBoolProperty<Node, &Node::GetEnabled, &Node::SetEnabled>(node, "Enabled", true);
  AddBoolProperty<Node, &Node::GetIsStatic, &Node::SetIsStatic>(node, "IsStatic", false);
  node->AddField("Name",
                 new ClassProperty<Node, std::string, ReferenceAccessor<Node, std::string, &Node::GetName, &Node::SetName>>(),
                 std::string());
  AddBoolProperty<Node, &Node::GetDoNotInstantiate, &Node::SetDoNotInstantiate>(node, "DoNotInstantiate", false);
  AddBoolProperty<Node, &Node::GetUseForNavigation, &Node::SetUseForNavigation>(node, "UseForNavigation", false);
  RegisterSharedPtrType<Node>(registry, "tv::Node");

  Type* component = RegisterClassType<Component>(registry, "tv::Component");
  AddBoolProperty<Component, &Component::GetEnabled, &Component::SetEnabled>(component, "Enabled", true);
  AddBoolProperty<Component, &Component::GetShowInEditor, &Component::SetShowInEditor>(component, "ShowInEditor",
                                                                                          true);
  RegisterSharedPtrType<Component>(registry, "tv::Component");

  Type* transform = RegisterDerivedClass<Transform, Component>(registry, "tv::Transform");
  using TransformVector = ReferenceAccessor<Transform, Vector3, &Transform::GetPosition, &Transform::SetPosition>;
  transform->AddField("Position", new ClassProperty<Transform, Vector3, TransformVector>(), Vector3());
  transform->AddField(
      "Rotation",
      new ClassProperty<Transform, Vector3,
                        ReferenceAccessor<Transform, Vector3, &Transform::GetRotation, &Transform::SetRotation>>(),
      Vector3());
  transform->AddField(
      "Scale",
      new ClassProperty<Transform, Vector3, ReferenceAccessor<Transform, Vector3, &Transform::GetScale, &Transform::SetScale>>(),
      Vector3(1, 1, 1));
  RegisterSharedPtrType<Transform>(registry, "tv::Transform");

  RegisterDerivedClass<Target, Component>(registry, "tv::Target");
  RegisterSharedPtrType<Target>(registry, "tv::Target");

  Type* metadata = RegisterDerivedClass<Metadata, Component>(registry, "tv::Metadata");
  metadata->AddField(
      "Data",
      new ClassProperty<Metadata, std::string,
                        ReferenceAccessor<Metadata, std::string, &Metadata::GetData, &Metadata::SetData>>("data"),
      std::string());
  RegisterSharedPtrType<Metadata>(registry, "tv::Metadata");

  // Camera, Environment, Light, Object, Instance, Navigation, RigidBody, the collisions and joints,
  // scripts, terrain, skybox, decorator, overlays and post-processes register here with their
  // classes.

  RegisterClassType<SceneSystem>(registry, "tv::SceneSystem");
  RegisterSharedPtrType<SceneSystem>(registry, "tv::SceneSystem");
  RegisterDerivedClass<TransformSystem, SceneSystem>(registry, "tv::TransformSystem");
  RegisterSharedPtrType<TransformSystem>(registry, "tv::TransformSystem");
  // The camera, instance, light, physics, renderable, script and navigation systems follow.
}

} // namespace tv
