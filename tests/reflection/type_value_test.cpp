// TypeValue: ownership of its instance through the type's factory.

#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "foundation/globals.h"
#include "reflection/core_types.h"
#include "reflection/type_registration.h"
#include "reflection/type_registry.h"

namespace {

struct Tracked {
  static inline int alive = 0;
  Tracked() { ++alive; }
  Tracked(const Tracked& other) : text(other.text) { ++alive; }
  Tracked& operator=(const Tracked&) = default;
  ~Tracked() { --alive; }
  std::string text = "fresh";
};

} // namespace

namespace tv {
TV_TYPE_NAME(Tracked, "Tracked");
} // namespace tv

namespace {

class TypeValues : public ::testing::Test {
protected:
  void SetUp() override {
    tv::RegisterValueTypes(registry_);
    tracked_ = tv::RegisterValueType<Tracked>(registry_);
    alive_ = Tracked::alive;
  }

  tv::TypeRegistry registry_;
  tv::Type* tracked_ = nullptr;
  int alive_ = 0;
};

TEST_F(TypeValues, CopiesAreNewInstancesAndMovesHandOver) {
  {
    Tracked source;
    source.text = "source";
    tv::TypeValue value(tracked_, &source);
    EXPECT_NE(value.instance, static_cast<void*>(&source));
    EXPECT_EQ(value.As<Tracked>().text, "source");

    tv::TypeValue copy = value;
    EXPECT_NE(copy.instance, value.instance);
    EXPECT_EQ(copy.As<Tracked>().text, "source");
    copy.As<Tracked>().text = "changed";
    EXPECT_EQ(value.As<Tracked>().text, "source");

    void* instance = value.instance;
    tv::TypeValue moved = std::move(value);
    EXPECT_EQ(moved.instance, instance);
    EXPECT_EQ(value.type, nullptr);
    EXPECT_EQ(value.instance, nullptr);

    copy = moved;  // the old instance of `copy` goes
    EXPECT_EQ(copy.As<Tracked>().text, "source");
    const tv::TypeValue& same = copy;
    copy = same;
    EXPECT_EQ(copy.As<Tracked>().text, "source");
    EXPECT_EQ(Tracked::alive, alive_ + 3);
  }
  EXPECT_EQ(Tracked::alive, alive_);
}

TEST_F(TypeValues, ResetDeletesAndEmptiesAndATypeWithoutFactoryHoldsNothing) {
  tv::TypeValue value(tracked_);
  EXPECT_EQ(value.As<Tracked>().text, "fresh");
  EXPECT_EQ(Tracked::alive, alive_ + 1);
  value.Reset();
  EXPECT_TRUE(value.IsEmpty());
  EXPECT_EQ(value.instance, nullptr);
  EXPECT_EQ(Tracked::alive, alive_);

  const tv::TypeValue none(registry_.GetType("None"));
  EXPECT_EQ(none.instance, nullptr);
  const tv::TypeValue copy = none;
  EXPECT_EQ(copy.instance, nullptr);
}

TEST_F(TypeValues, NamesAreResolvedInTheGlobalRegistry) {
  tv::types = &registry_;
  const float half = 0.5f;
  const tv::TypeValue by_name("Float", &half);
  EXPECT_EQ(by_name.type, registry_.GetType("Float"));
  EXPECT_EQ(by_name.As<float>(), 0.5f);
  const tv::TypeValue fresh("tv::Vector3");
  EXPECT_EQ(fresh.type, registry_.GetType("Vector3"));
  EXPECT_NE(fresh.instance, nullptr);
  tv::types = nullptr;
  EXPECT_TRUE(tv::TypeValue("Float").IsEmpty());
}

} // namespace
