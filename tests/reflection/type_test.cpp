// Hierarchy walks: IsA and the casts through the casters of each level.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "reflection/type_registration.h"
#include "reflection/type_registry.h"

namespace {

// Extra bases in front, so that each level's cast moves the pointer by a different amount (no
// virtual functions: a polymorphic base would be laid out first).
struct Root {
  int root = 1;
};
struct PadA {
  double pad[2] = {};
};
struct Middle : PadA, Root {
  int middle = 2;
};
struct PadB {
  char pad[40] = {};
};
struct Leaf : PadB, Middle {
  int leaf = 3;
};

std::vector<std::string> g_steps;

// Records each step, then casts as the concrete caster does.
template <typename Derived, typename Base>
class RecordingCaster final : public tv::Type::TypeCaster {
public:
  explicit RecordingCaster(std::string step) : step_(std::move(step)) {}
  const void* ToBase(const void* object) const override { return caster_.ToBase(object); }
  void* ToBase(void* object) const override {
    g_steps.push_back("up " + step_);
    return caster_.ToBase(object);
  }
  const void* ToDerived(const void* object) const override { return caster_.ToDerived(object); }
  void* ToDerived(void* object) const override {
    g_steps.push_back("down " + step_);
    return caster_.ToDerived(object);
  }

private:
  std::string step_;
  tv::ConcreteTypeCaster<Derived, Base> caster_;
};

class TypeHierarchy : public ::testing::Test {
protected:
  void SetUp() override {
    g_steps.clear();
    root_ = registry_.GetType("Root");
    middle_ = registry_.GetType("Middle");
    leaf_ = registry_.GetType("Leaf");
    unrelated_ = registry_.GetType("Unrelated");
    middle_->AddBase(root_, new RecordingCaster<Middle, Root>("Middle-Root"));
    leaf_->AddBase(middle_, new RecordingCaster<Leaf, Middle>("Leaf-Middle"));
  }

  tv::TypeRegistry registry_;
  tv::Type* root_ = nullptr;
  tv::Type* middle_ = nullptr;
  tv::Type* leaf_ = nullptr;
  tv::Type* unrelated_ = nullptr;
};

TEST_F(TypeHierarchy, IsAFollowsBasesAtAnyDepthOnly) {
  EXPECT_TRUE(leaf_->IsA(leaf_));
  EXPECT_TRUE(leaf_->IsA(middle_));
  EXPECT_TRUE(leaf_->IsA(root_));
  EXPECT_FALSE(root_->IsA(leaf_));
  EXPECT_FALSE(leaf_->IsA(unrelated_));
  EXPECT_FALSE(leaf_->IsA(nullptr));
}

TEST_F(TypeHierarchy, TwoLevelsUpGoThroughBothCastersInOrder) {
  Leaf leaf;
  void* root = leaf_->CastToBase(&leaf, root_);
  EXPECT_EQ(root, static_cast<Root*>(&leaf));
  EXPECT_NE(root, static_cast<void*>(&leaf));
  EXPECT_EQ(static_cast<Root*>(root)->root, 1);
  EXPECT_EQ(g_steps, (std::vector<std::string>{"up Leaf-Middle", "up Middle-Root"}));

  // Cast from the derived side takes the same route.
  g_steps.clear();
  EXPECT_EQ(leaf_->Cast(&leaf, middle_), static_cast<Middle*>(&leaf));
  EXPECT_EQ(g_steps, std::vector<std::string>{"up Leaf-Middle"});
}

TEST_F(TypeHierarchy, TwoLevelsDownApplyTheCastersInReverse) {
  Leaf leaf;
  Root* root = &leaf;
  EXPECT_EQ(leaf_->CastToDerived(root, root_), &leaf);
  EXPECT_EQ(g_steps, (std::vector<std::string>{"down Middle-Root", "down Leaf-Middle"}));

  g_steps.clear();
  EXPECT_EQ(root_->Cast(root, leaf_), &leaf);
  EXPECT_EQ(g_steps, (std::vector<std::string>{"down Middle-Root", "down Leaf-Middle"}));
}

TEST_F(TypeHierarchy, SameTypeIsUnchangedAndUnrelatedIsNull) {
  Leaf leaf;
  EXPECT_EQ(leaf_->Cast(&leaf, leaf_), &leaf);
  EXPECT_EQ(leaf_->Cast(nullptr, leaf_), nullptr);
  EXPECT_EQ(leaf_->Cast(&leaf, unrelated_), nullptr);
  EXPECT_EQ(unrelated_->Cast(&leaf, root_), nullptr);
  EXPECT_EQ(leaf_->Cast(&leaf, nullptr), nullptr);
  EXPECT_EQ(root_->CastToBase(&leaf, leaf_), nullptr);  // not a base
  EXPECT_TRUE(g_steps.empty());
}

TEST_F(TypeHierarchy, ASameNamedTypeOfAnotherRegistryIsTheSameType) {
  tv::TypeRegistry other;
  const tv::Type* other_root = other.GetType("Root");
  ASSERT_NE(other_root, root_);
  EXPECT_TRUE(leaf_->IsA(other_root));
  Leaf leaf;
  EXPECT_EQ(leaf_->Cast(&leaf, other_root), static_cast<Root*>(&leaf));
  EXPECT_TRUE(tv::IsSameType(other_root, root_));
  EXPECT_FALSE(tv::IsSameType(other_root, nullptr));
}

TEST_F(TypeHierarchy, AMissingCasterGivesNullAndTheFirstRouteIsTaken) {
  tv::Type* broken = registry_.GetType("Broken");
  broken->AddBase(root_, nullptr);
  Root root;
  EXPECT_TRUE(broken->IsA(root_));
  EXPECT_EQ(broken->CastToBase(&root, root_), nullptr);

  // Two routes to Root: the first entry of bases wins.
  tv::Type* twice = registry_.GetType("Twice");
  twice->AddBase(middle_, new RecordingCaster<Leaf, Middle>("first"));
  twice->AddBase(root_, new RecordingCaster<Middle, Root>("second"));
  Leaf leaf;
  EXPECT_EQ(twice->CastToBase(&leaf, root_), static_cast<Root*>(&leaf));
  EXPECT_EQ(g_steps, (std::vector<std::string>{"up first", "up Middle-Root"}));
}

} // namespace
