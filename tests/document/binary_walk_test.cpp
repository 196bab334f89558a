// Binary documents from the writer are deserialized by a walk of their own, which matches names
// as dictionary indices and copies basic values straight out of the image. The shared walk, which
// reaches the same document only through the reader interface, is the oracle: for documents in
// the writer's order and for documents with every irregularity a file may hold, both walks must
// leave the same objects.

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "core/core_registration.h"
#include "document/binary_document_reader.h"
#include "document/binary_document_writer.h"
#include "document/json_document_writer.h"
#include "document/type_serialization.h"
#include "math/rotation_order.h"
#include "reflection/math_type_names.h"
#include "reflection/type_registration.h"
#include "reflection/type_registry.h"
#include "forwarding_reader.h"

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

using tv_test::ForwardingReader;

class BinaryWalk : public ::testing::Test {
protected:
  BinaryWalk() {
    tv::RegisterCoreTypes(registry);
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

  // The object both walks leave from `write`'s document, as JSON text (every field written), and
  // the two answers of Deserialize.
  struct Outcome {
    std::string text;
    bool answer = false;
  };
  Outcome Read(tv::DocumentReader& reader) {
    // Away from the defaults, so that a skipped read and a default set on failure both show.
    Sample read;
    read.flag = true;
    read.letter = 'q';
    read.shift = 1;
    read.count = -5;
    read.level = 2;
    read.port = 3;
    read.name = "before";
    Outcome outcome;
    outcome.answer = tv::Deserialize(reader, &read, sample, nullptr, "");
    EXPECT_EQ(reader.GetScopeName(), "root");
    tv::JSONDocumentWriter writer;
    EXPECT_TRUE(tv::Serialize(writer, &read, sample, nullptr, ""));
    outcome.text = writer.SaveToString();
    return outcome;
  }

  void ExpectSameObjects(const std::function<void(tv::BinaryDocumentWriter&)>& write, Outcome* binary_outcome = nullptr) {
    tv::BinaryDocumentWriter writer;
    write(writer);
    tv::BinaryData image;
    ASSERT_TRUE(writer.Save(image));
    tv::BinaryDocumentReader direct;
    ASSERT_TRUE(direct.Load(image));
    ASSERT_TRUE(direct.HasUniqueNames());
    tv::BinaryDocumentReader forwarded_target;
    ASSERT_TRUE(forwarded_target.Load(image));
    ForwardingReader forwarded(forwarded_target);
    const Outcome binary = Read(direct);
    const Outcome shared = Read(forwarded);
    EXPECT_EQ(binary.answer, shared.answer);
    EXPECT_EQ(binary.text, shared.text);
    if (binary_outcome != nullptr) *binary_outcome = binary;
  }

  tv::TypeRegistry registry;
  tv::Type* sample = nullptr;
};

void WriteInner(tv::BinaryDocumentWriter& writer, float weight, std::vector<int> values) {
  writer.Write("Weight", weight);
  writer.EnterScope("Values");
  for (int value : values) {
    writer.EnterScope("slot");
    writer.Write("value", value);
    writer.ExitScope();
  }
  writer.ExitScope();
}

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
  Outcome outcome;
  ExpectSameObjects([&](tv::BinaryDocumentWriter& writer) { ASSERT_TRUE(tv::Serialize(writer, &full, sample, nullptr, "")); }, &outcome);
  EXPECT_TRUE(outcome.answer);
  tv::JSONDocumentWriter expected;
  ASSERT_TRUE(tv::Serialize(expected, &full, sample, nullptr, ""));
  EXPECT_EQ(outcome.text, expected.SaveToString());
}

TEST_F(BinaryWalk, IrregularDocumentsReadAlike) {
  using Write = std::function<void(tv::BinaryDocumentWriter&)>;
  const std::vector<std::pair<const char*, Write>> documents = {
      {"scopes and values in reverse order, base scope last",
       [](tv::BinaryDocumentWriter& w) {
         w.EnterScope("Inner");
         WriteInner(w, 3, {4, 5});
         w.ExitScope();
         w.EnterScope("Inners");
         w.EnterScope("slot");
         WriteInner(w, 6, {});
         w.ExitScope();
         w.ExitScope();
         w.Write("Scale", 2.0f);
         w.Write("Port", 80u);
         w.Write("Flag", false);
         w.Write("Order", std::string("XZY"));
         w.Write("Hidden", 17);
         w.Write("Count", 3);
         w.EnterScope("WalkBase");
         w.Write("Label", std::string("late"));
         w.Write("Id", 4);
         w.ExitScope();
       }},
      {"values outside the ranges of narrow fields",
       [](tv::BinaryDocumentWriter& w) {
         w.Write("Letter", 300);
         w.Write("Shift", 40000);
         w.Write("Level", 256u);
         w.Write("Port", 70000u);
         w.Write("Count", 5);
       }},
      {"values of the wrong kind",
       [](tv::BinaryDocumentWriter& w) {
         w.Write("Count", 2.0f);
         w.Write("Flag", 1);
         w.Write("Name", 8);
         w.Write("Mask", -1);
         w.Write("Scale", 3u);
         w.Write("Hidden", std::string("x"));
         w.Write("Order", std::string("NoSuchOrder"));
       }},
      {"repeated names, foreign scopes between slots, slots without a value",
       [](tv::BinaryDocumentWriter& w) {
         w.Write("Count", 1);
         w.Write("Count", 2);
         w.Write("Name", std::string("first"));
         w.Write("Name", std::string("second"));
         w.EnterScope("Count");
         w.ExitScope();
         w.EnterScope("Inner");
         w.EnterScope("Values");
         w.EnterScope("slot");
         w.Write("value", 1);
         w.ExitScope();
         w.EnterScope("Other");
         w.Write("value", 9);
         w.ExitScope();
         w.EnterScope("slot");
         w.Write("other", 3);
         w.ExitScope();
         w.EnterScope("slot");
         w.Write("value", 2.0f);
         w.ExitScope();
         w.EnterScope("slot");
         w.Write("value", 4);
         w.ExitScope();
         w.ExitScope();
         w.ExitScope();
         w.EnterScope("Inner");
         w.Write("Weight", 8.0f);
         w.ExitScope();
       }},
      {"no slot anywhere, an empty document",
       [](tv::BinaryDocumentWriter& w) {
         w.EnterScope("Inners");
         w.ExitScope();
       }},
      {"an empty document", [](tv::BinaryDocumentWriter&) {}},
  };
  for (const auto& [what, write] : documents) {
    SCOPED_TRACE(what);
    ExpectSameObjects(write);
  }
}

} // namespace
