// Binary documents from the writer are deserialized by a walk of their own, which matches names
// as dictionary indices and copies basic values straight out of the image. The shared walk, which
// reaches the same document only through the reader interface, is the oracle: for documents in
// the writer's order and for documents with every irregularity a file may hold, both walks must
// leave the same objects and give the same answer.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "forwarding_reader.h"
#include "serialize_test_types.h"

namespace walk_test {

struct Base {
  int32_t id = 0;
  std::string label;
};
struct Inner {
  float weight = 0;
  std::vector<int32_t> values;
};
struct Sample : Base {
  bool flag = false;
  char letter = 'z';
  int16_t shift = 7;
  int32_t count = 0;
  uint8_t level = 9;
  uint16_t port = 0;
  uint32_t mask = 0;
  float scale = 1;
  std::string name;
  tv::RotationOrder order = tv::RotationOrder::ZYX;
  Inner inner;
  std::vector<Inner> inners;
  int32_t stored = 0;  // reached only through the "Hidden" property
};
struct HiddenAccess {
  static int32_t Get(const Sample& sample) { return sample.stored; }
  static void Set(Sample& sample, const int32_t& value) { sample.stored = value; }
};

} // namespace walk_test

namespace tv {
TV_TYPE_NAME(walk_test::Base, "WalkBase");
TV_TYPE_NAME(walk_test::Inner, "WalkInner");
TV_TYPE_NAME(walk_test::Sample, "WalkSample");
} // namespace tv

namespace {

using walk_test::Base;
using walk_test::Inner;
using walk_test::Sample;

class BinaryWalk : public serialize_test::TypesTest {
protected:
  void SetUp() override {
    TypesTest::SetUp();
    tv::Type* base = tv::RegisterValueType<Base>(registry);
    tv::AddMemberField(base, "Id", &Base::id);
    tv::AddMemberField(base, "Label", &Base::label);
    tv::Type* inner = tv::RegisterValueType<Inner>(registry);
    tv::AddMemberField(inner, "Weight", &Inner::weight);
    inner->AddField("Values", new tv::ClassField<Inner, std::vector<int32_t>>(&Inner::values));
    tv::RegisterVectorType<Inner>(registry);
    sample = tv::RegisterValueType<Sample>(registry);
    sample->AddBase(base, new tv::ConcreteTypeCaster<Sample, Base>());
    tv::AddMemberField(sample, "Flag", &Sample::flag);
    tv::AddMemberField(sample, "Letter", &Sample::letter);
    tv::AddMemberField(sample, "Shift", &Sample::shift);
    tv::AddMemberField(sample, "Level", &Sample::level);
    tv::AddMemberField(sample, "Port", &Sample::port);
    tv::AddMemberField(sample, "Scale", &Sample::scale);
    tv::AddMemberField(sample, "Name", &Sample::name);
    tv::AddMemberField(sample, "Order", &Sample::order);
    // Without defaults: a value that can't be read leaves these alone.
    sample->AddField("Count", new tv::ClassField<Sample, int32_t>(&Sample::count));
    sample->AddField("Mask", new tv::ClassField<Sample, uint32_t>(&Sample::mask));
    sample->AddField("Hidden", new tv::ClassProperty<Sample, int32_t, walk_test::HiddenAccess>());
    sample->AddField("Inner", new tv::ClassField<Sample, Inner>(&Sample::inner));
    sample->AddField("Inners", new tv::ClassField<Sample, std::vector<Inner>>(&Sample::inners));
  }

  // Deserialize's answer and the object it leaves, as JSON text with every field written.
  std::string Read(tv::DocumentReader& reader) {
    Sample read;  // away from the defaults, so that a skipped read and a default set on failure show
    read.flag = true;
    read.letter = 'q';
    read.shift = 1;
    read.count = -5;
    read.level = 2;
    read.port = 3;
    read.name = "before";
    const bool answer = tv::Deserialize(reader, &read, sample, nullptr, "");
    EXPECT_EQ(reader.GetScopeName(), "root");
    tv::JSONDocumentWriter writer;
    EXPECT_TRUE(tv::Serialize(writer, &read, sample, nullptr, ""));
    return (answer ? "true " : "false ") + writer.SaveToString();
  }

  // Both walks over `image` leave the same object and answer; returns what the binary walk gave.
  std::string ExpectSameObjects(const tv_test::Bytes& image) {
    tv::BinaryDocumentReader direct, forwarded_target;
    EXPECT_TRUE(tv_test::LoadBytes(direct, image));
    EXPECT_TRUE(direct.HasUniqueNames());
    EXPECT_TRUE(tv_test::LoadBytes(forwarded_target, image));
    tv_test::ForwardingReader forwarded(forwarded_target);
    const std::string binary = Read(direct);
    EXPECT_EQ(binary, Read(forwarded));
    return binary;
  }

  tv::Type* sample = nullptr;
};

TEST_F(BinaryWalk, DocumentsInTheWritersOrderReadAlike) {
  Sample full;
  full.id = 12;
  full.label = "base";
  full.flag = true;
  full.letter = '-';
  full.shift = -300;
  full.count = 41;
  full.level = 200;
  full.port = 65535;
  full.mask = 0xffffffffu;
  full.scale = 0.5f;
  full.name = "named";
  full.order = tv::RotationOrder::YXZ;
  full.inner = Inner{2.5f, {1, -2, 3}};
  full.inners = {Inner{1, {}}, Inner{2, {7}}};
  full.stored = 99;
  tv::BinaryDocumentWriter writer;
  ASSERT_TRUE(tv::Serialize(writer, &full, sample, nullptr, ""));
  tv::JSONDocumentWriter expected;
  ASSERT_TRUE(tv::Serialize(expected, &full, sample, nullptr, ""));
  EXPECT_EQ(ExpectSameObjects(tv_test::ImageOf(writer)), "true " + expected.SaveToString());
}

TEST_F(BinaryWalk, IrregularDocumentsReadAlike) {
  const char* const documents[] = {
      // scopes and values in reverse order, the base scope last
      "Inner{Weight=3f Values{slot{value=4} slot{value=5}}} Inners{slot{Weight=6f Values{}}} Scale=2f Port=80u "
      "Flag=false Order='XZY' Hidden=17 Count=3 WalkBase{Label='late' Id=4}",
      // values outside the ranges of narrow fields
      "Letter=300 Shift=40000 Level=256u Port=70000u Count=5",
      // values of the wrong kind
      "Count=2f Flag=1 Name=8 Mask=-1 Scale=3u Hidden='x' Order='NoSuchOrder'",
      // repeated names, foreign scopes between slots, slots without a value
      "Count=1 Count=2 Name='first' Name='second' Count{} Inner{Values{slot{value=1} Other{value=9} slot{other=3} "
      "slot{value=2f} slot{value=4}}} Inner{Weight=8f}",
      "Inners{}",
      "",
  };
  for (const char* document : documents) {
    SCOPED_TRACE(document);
    tv::BinaryDocumentWriter writer;
    ASSERT_TRUE(tv_test::WriteScript(writer, document));
    ExpectSameObjects(tv_test::ImageOf(writer));
  }
}

} // namespace
