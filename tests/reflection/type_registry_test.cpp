#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "reflection/type_registration.h"
#include "reflection/type_registry.h"

namespace {

struct Later {
  int value = 0;
};
struct Holder {
  Later later;
};

// Counts its live instances, so that a default value left behind shows.
struct Counted {
  static inline int alive = 0;
  Counted() { ++alive; }
  Counted(const Counted& other) : value(other.value) { ++alive; }
  Counted& operator=(const Counted&) = default;
  ~Counted() { --alive; }
  bool operator==(const Counted& other) const { return value == other.value; }
  int value = 0;
};
// Its holder sorts after it, so deleting types in name order would delete the default's type first.
struct ZHolder {
  Counted inner;
};

} // namespace

namespace tv {
TV_TYPE_NAME(Later, "Later");
TV_TYPE_NAME(Counted, "ACounted");
TV_TYPE_NAME(ZHolder, "ZHolder");
} // namespace tv

namespace {

TEST(TypeNameHash, IsThirtyTwoBitFnv1a) {
  EXPECT_EQ(tv::TypeNameHash(""), 2166136261u);
  EXPECT_EQ(tv::TypeNameHash("a"), 0xe40c292cu);
  EXPECT_EQ(tv::TypeNameHash("foobar"), 0xbf9cf968u);
  tv::TypeRegistry registry;
  EXPECT_EQ(registry.GetType("Vector3")->GetNameHash(), tv::TypeNameHash("Vector3"));
}

TEST(TypeRegistry, AnUnknownNameGivesAnEmptyTypeThatALaterRegistrationCompletes) {
  tv::TypeRegistry registry;
  // A field may name its type before the type is registered.
  tv::Type* holder = registry.GetType("Holder");
  holder->AddField("Later", new tv::ClassField<Holder, Later>(&Holder::later));
  tv::Type* early = holder->FindField("Later")->type;
  ASSERT_NE(early, nullptr);
  EXPECT_EQ(early->name, "Later");
  EXPECT_EQ(early->native_name, "Later");
  EXPECT_EQ(early->factory, nullptr);
  EXPECT_EQ(early->registry, &registry);
  EXPECT_EQ(registry.GetType("Later"), early);
  EXPECT_EQ(registry.FindType("Later"), early);

  EXPECT_EQ(tv::RegisterValueType<Later>(registry, "tv::Later"), early);
  EXPECT_NE(early->factory, nullptr);
  EXPECT_EQ(early->size, sizeof(Later));
  EXPECT_EQ(early->native_name, "tv::Later");
  EXPECT_EQ(registry.GetType("tv::Later"), early);
  EXPECT_EQ(registry.types.size(), 2u);
}

TEST(TypeRegistry, FindTypeCreatesNothingAndAliasesLeadToOneEntry) {
  tv::TypeRegistry registry;
  EXPECT_EQ(registry.FindType("Nothing"), nullptr);
  EXPECT_TRUE(registry.types.empty());

  tv::Type* polygon = registry.GetType("Polygon");
  registry.AddAlias("tv::Polygon", polygon);
  EXPECT_EQ(registry.GetType("tv::Polygon"), polygon);
  EXPECT_EQ(registry.FindType("tv::Polygon"), polygon);
  EXPECT_EQ(registry.types.size(), 1u);
  EXPECT_EQ(registry.GetAliases(polygon), std::vector<std::string>{"tv::Polygon"});

  // An alias is replaced, not duplicated.
  tv::Type* other = registry.GetType("Other");
  registry.AddAlias("tv::Polygon", other);
  EXPECT_EQ(registry.FindType("tv::Polygon"), other);
  EXPECT_TRUE(registry.GetAliases(polygon).empty());
  // A primary name wins over an alias of the same text.
  registry.AddAlias("Polygon", other);
  EXPECT_EQ(registry.GetType("Polygon"), polygon);
}

TEST(TypeRegistry, ShutdownDeletesEveryDefaultWhileItsTypeStillStands) {
  const int before = Counted::alive;
  {
    auto registry = std::make_unique<tv::TypeRegistry>();
    tv::RegisterValueType<Counted>(*registry, "tv::Counted");
    tv::Type* holder = tv::RegisterValueType<ZHolder>(*registry, "tv::ZHolder");
    Counted seven;
    seven.value = 7;
    holder->AddField("Inner", new tv::ClassField<ZHolder, Counted>(&ZHolder::inner), seven, false);
    EXPECT_EQ(Counted::alive, before + 2);  // `seven` and the field's copy of it
    EXPECT_FALSE(registry->IsSerialized(holder, holder->FindField("Inner")));

    registry->Shutdown();
    EXPECT_EQ(Counted::alive, before + 1);
    EXPECT_TRUE(registry->types.empty());
    EXPECT_TRUE(registry->aliases.empty());
    EXPECT_TRUE(registry->excluded_fields.empty());

    // The destructor shuts down a registry that is still full.
    tv::RegisterValueType<Counted>(*registry);
    tv::RegisterValueType<ZHolder>(*registry)->AddField("Inner", new tv::ClassField<ZHolder, Counted>(&ZHolder::inner),
                                                        seven);
    registry.reset();
    EXPECT_EQ(Counted::alive, before + 1);
  }
  EXPECT_EQ(Counted::alive, before);
}

} // namespace
