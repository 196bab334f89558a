// The scene classes in the type registry and the component registry.

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "reflection/type.h"
#include "reflection/type_registry.h"
#include "scene/metadata.h"
#include "scene/scene_type_names.h"
#include "scene/target.h"
#include "scene/transform.h"
#include "scene/transform_system.h"
#include "scene_fixture.h"

namespace {

using tv_test::RunFrame;

class SceneRegistration : public tv_test::LogCaptureTest {
protected:
  tv_test::SceneGlobals globals{0};
};

TEST_F(SceneRegistration, ClassesHaveTheirNamesAliasesBasesAndNoFactory) {
  tv::TypeRegistry& registry = *tv::types;
  const struct {
    const char* name;
    const char* alias;
  } classes[] = {{"Component", "tv::Component"}, {"Node", "tv::Node"}, {"Scene", "tv::Scene"},
                 {"Transform", "tv::Transform"}, {"Target", "tv::Target"}, {"Metadata", "tv::Metadata"},
                 {"SceneSystem", "tv::SceneSystem"}, {"TransformSystem", "tv::TransformSystem"}};
  for (const auto& entry : classes) {
    tv::Type* type = registry.FindType(entry.name);
    ASSERT_NE(type, nullptr) << entry.name;
    EXPECT_EQ(registry.FindType(entry.alias), type) << entry.alias;
    EXPECT_EQ(type->factory, nullptr) << entry.name << " exists only behind shared pointers";
  }
  const struct {
    const char* name;
    const char* alias;
  } pointers[] = {{"std::shared_ptr<Node>", "std::shared_ptr<tv::Node>"},
                  {"std::shared_ptr<Component>", "std::shared_ptr<tv::Component>"},
                  {"std::shared_ptr<Scene>", "std::shared_ptr<tv::Scene>"},
                  {"std::shared_ptr<SceneSystem>", "std::shared_ptr<tv::SceneSystem>"},
                  {"sTransform", "std::shared_ptr<tv::Transform>"},
                  {"sTarget", "std::shared_ptr<tv::Target>"},
                  {"sMetadata", "std::shared_ptr<tv::Metadata>"},
                  {"sTransformSystem", "std::shared_ptr<tv::TransformSystem>"}};
  for (const auto& entry : pointers) {
    tv::Type* type = registry.FindType(entry.name);
    ASSERT_NE(type, nullptr) << entry.name;
    EXPECT_EQ(registry.FindType(entry.alias), type) << entry.alias;
    EXPECT_NE(type->factory, nullptr) << entry.name;
    EXPECT_NE(type->shared_ptr_accessor, nullptr) << entry.name;
  }
  tv::Type* component = registry.FindType("Component");
  for (const char* derived : {"Transform", "Target", "Metadata"}) EXPECT_TRUE(registry.FindType(derived)->IsA(component));
  EXPECT_TRUE(registry.FindType("TransformSystem")->IsA(registry.FindType("SceneSystem")));
  EXPECT_FALSE(registry.FindType("TransformSystem")->IsA(component));

  // A component knows its registered type, and a cast through the registry finds the base.
  auto transform = std::make_shared<tv::Transform>();
  ASSERT_EQ(transform->type, registry.FindType("Transform"));
  tv::Component* as_base = transform.get();
  EXPECT_EQ(transform->type->Cast(transform.get(), component), as_base);
}

TEST_F(SceneRegistration, PropertiesGoThroughTheDeferredSetters) {
  tv::Type* node_type = tv::types->FindType("Node");
  ASSERT_NE(node_type, nullptr);
  for (const char* field : {"Enabled", "IsStatic", "Name", "DoNotInstantiate", "UseForNavigation"})
    ASSERT_NE(node_type->FindField(field), nullptr) << field;
  EXPECT_EQ(node_type->fields.size(), 5u);
  EXPECT_EQ(node_type->FindField("Name")->GetPointer(nullptr), nullptr) << "properties have no address";

  auto scene = std::make_shared<tv::Scene>();
  auto node = std::make_shared<tv::Node>("old");
  EXPECT_TRUE(node_type->IsDefault(std::make_shared<tv::Node>().get()));
  scene->AddNode(node);
  const std::string renamed = "new";
  EXPECT_TRUE(node_type->FindField("Name")->SetValue(node.get(), tv::TypeValue(tv::types->GetType("String"), &renamed)));
  EXPECT_EQ(node->GetName(), "old");
  RunFrame(*scene);
  EXPECT_EQ(node->GetName(), "new");
  EXPECT_FALSE(node_type->IsDefault(node.get()));

  tv::Type* transform_type = tv::types->FindType("Transform");
  auto transform = std::make_shared<tv::Transform>();
  EXPECT_TRUE(transform_type->IsDefault(transform.get()));
  transform->SetScale({2, 2, 2});
  EXPECT_FALSE(transform_type->IsDefault(transform.get()));
  transform_type->ResetToDefault(transform.get());
  EXPECT_EQ(transform->GetScale(), tv::Vector3(1, 1, 1));

  tv::Type* component_type = tv::types->FindType("Component");
  EXPECT_NE(component_type->FindField("Enabled"), nullptr);
  EXPECT_NE(component_type->FindField("ShowInEditor"), nullptr);
  const tv::TypeField* data = tv::types->FindType("Metadata")->FindField("Data");
  ASSERT_NE(data, nullptr);
  EXPECT_EQ(data->hint, "data");
}

TEST_F(SceneRegistration, ComponentRegistryCreatesByNameAndKeepsTheFirstEntry) {
  const tv::ComponentFactories& factories = *tv::component_factories;
  ASSERT_GE(factories.size(), 2u);
  EXPECT_EQ(factories[0]->name, "Transform");
  EXPECT_EQ(factories[0]->owner_mask, tv::ComponentInfo::kNodeOwner);
  EXPECT_FALSE(factories[0]->repeatable);
  const auto metadata = tv::ComponentRegistry::Find(factories, "Metadata");
  ASSERT_NE(metadata, nullptr);
  EXPECT_EQ(metadata->owner_mask, tv::ComponentInfo::kAnyOwner);
  EXPECT_TRUE(metadata->repeatable);

  auto created = tv::ComponentRegistry::Create("Transform");
  ASSERT_NE(created, nullptr);
  EXPECT_EQ(created->GetComponentName(), "Transform");
  EXPECT_NE(std::dynamic_pointer_cast<tv::Transform>(created), nullptr);
  EXPECT_EQ(tv::ComponentRegistry::Create("Nothing"), nullptr);

  const size_t before = factories.size();
  auto again = tv::ComponentRegistry::Register(*tv::component_factories, "Metadata", "Other",
                                               [] { return std::make_shared<tv::Target>(); }, 1, false, {"Transform"});
  EXPECT_EQ(again, metadata);
  EXPECT_EQ(again->aspect, "Metadata") << "an existing entry is left unchanged";
  EXPECT_EQ(factories.size(), before);
  auto added = tv::ComponentRegistry::Register(*tv::component_factories, "Target", "Target",
                                               [] { return std::make_shared<tv::Target>(); }, 3, true, {"Transform"});
  EXPECT_EQ(factories.back(), added);
  EXPECT_EQ(added->requires_, std::vector<std::string>{"Transform"});
  EXPECT_EQ(tv::ComponentRegistry::Create("Target")->GetAspect(), "Target");
}

} // namespace
