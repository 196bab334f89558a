// The generic walk between typed objects and documents, through the binary document pair.

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "core/core_registration.h"
#include "document/binary_document_reader.h"
#include "document/binary_document_writer.h"
#include "document/binary_document_support.h"
#include "document/document_scope.h"
#include "document/enum_type_serializer.h"
#include "document/serialization_context.h"
#include "document/type_serialization.h"
#include "file/log_capture.h"
#include "foundation/globals.h"
#include "scene/metadata.h"
#include "scene/transform.h"
#include "serialize_test_types.h"

namespace {

using serialize_test::Holder;
using serialize_test::Loose;
using serialize_test::Record;
using serialize_test::Scaled;
using serialize_test::Settings;
using serialize_test::Tagged;
using serialize_test::Wheel;
using serialize_test::Wrapped;
using tv_test::Bytes;
using tv_test::ImageOf;
using tv_test::LoadBytes;

class SerializeTest : public tv_test::LogCaptureTest {
protected:
  void SetUp() override {
    LogCaptureTest::SetUp();
    tv::RegisterCoreTypes(registry);
    serialize_test::RegisterTestTypes(registry);
    tv::types = &registry;
  }
  void TearDown() override {
    tv::types = nullptr;
    LogCaptureTest::TearDown();
  }

  template <typename T>
  tv::Type* TypeOf() {
    return registry.GetType<T>();
  }

  // The document of one object at the top, with an empty name; `ok` gets Serialize's answer.
  Bytes Write(const void* object, tv::Type* type, bool* ok = nullptr, tv::SerializationContext* context = nullptr,
              const char* name = "") {
    tv::BinaryDocumentWriter writer;
    const bool written = tv::Serialize(writer, object, type, context, name);
    if (ok != nullptr) *ok = written;
    else EXPECT_TRUE(written);
    return ImageOf(writer);
  }
  template <typename T>
  Bytes Write(const T& object) {
    return Write(&object, TypeOf<T>());
  }

  bool Read(const Bytes& image, void* object, tv::Type* type, tv::DeserializationContext* context = nullptr,
            const char* name = "") {
    tv::BinaryDocumentReader reader;
    EXPECT_TRUE(LoadBytes(reader, image));
    return tv::Deserialize(reader, object, type, context, name);
  }
  template <typename T>
  bool Read(const Bytes& image, T& object) {
    return Read(image, &object, TypeOf<T>());
  }

  // Names of the elements at the root of a document, in file order.
  static std::vector<std::string> RootNames(const Bytes& image) {
    tv::BinaryDocumentReader reader;
    EXPECT_TRUE(LoadBytes(reader, image));
    std::vector<std::string> names;
    for (const tv::BinaryDocumentNode& node : reader.GetCurrentChildren())
      names.emplace_back(reinterpret_cast<const char*>(reader.strings[node.name]));
    return names;
  }

  tv::TypeRegistry registry;
};

const Bytes kEmptyDocument = tv_test::FromHex({'N', 'B', 'I', 'N', 0, 0, 0, 0});

TEST_F(SerializeTest, DefaultObjectWritesNoField) {
  EXPECT_EQ(Write(Settings()), kEmptyDocument);

  Settings changed;
  changed.count = 6;
  changed.offset.y = 2;
  const Bytes image = Write(changed);
  EXPECT_EQ(RootNames(image), (std::vector<std::string>{"Count", "Offset"}));
  tv::BinaryDocumentReader reader;
  ASSERT_TRUE(LoadBytes(reader, image));
  ASSERT_TRUE(tv::EnterScope(reader, "Offset"));
  // Inside the Vector3 only the coordinate that is not at its default.
  float y = 0, x = 0;
  EXPECT_TRUE(reader.Read("y", y));
  EXPECT_FALSE(reader.Read("x", x));
  EXPECT_EQ(y, 2);

  Settings back;
  ASSERT_TRUE(Read(image, back));
  EXPECT_EQ(back.count, 6);
  EXPECT_EQ(back.offset, tv::Vector3(0, 2, 0));
}

TEST_F(SerializeTest, BaseWithAllDefaultsLeavesNoScope) {
  EXPECT_EQ(Write(Wheel()), kEmptyDocument);

  Wheel wheel;
  wheel.radius = 2;
  EXPECT_EQ(RootNames(Write(wheel)), std::vector<std::string>{"Radius"});

  wheel.weight = 3;
  const Bytes image = Write(wheel);
  EXPECT_EQ(RootNames(image), (std::vector<std::string>{"Part", "Radius"}));
  tv::BinaryDocumentReader reader;
  ASSERT_TRUE(LoadBytes(reader, image));
  ASSERT_TRUE(tv::EnterScope(reader, "Part"));
  ASSERT_EQ(reader.GetCurrentChildren().size(), 1u);  // only "Weight"
  int weight = 0;
  EXPECT_TRUE(reader.Read("Weight", weight));

  Wheel back;
  back.enabled = false;
  ASSERT_TRUE(Read(image, back));
  EXPECT_EQ(back.weight, 3);
  EXPECT_EQ(back.radius, 2);
  // Inside the base's scope a missing value takes its default.
  EXPECT_TRUE(back.enabled);

  // Without the scope the base's fields are not touched.
  wheel.weight = 0;
  Wheel untouched;
  untouched.enabled = false;
  ASSERT_TRUE(Read(Write(wheel), untouched));
  EXPECT_FALSE(untouched.enabled);
  EXPECT_EQ(untouched.radius, 2);
}

TEST_F(SerializeTest, CoreComponentWritesOnlyWhatDiffersFromItsDefaults) {
  tv::Type* transform_type = registry.GetType("Transform");
  auto transform = std::make_shared<tv::Transform>();
  EXPECT_EQ(Write(transform.get(), transform_type), kEmptyDocument);

  transform->SetEnabled(false);
  transform->SetPosition(tv::Vector3(1, 0, 0));
  const Bytes image = Write(transform.get(), transform_type);
  EXPECT_EQ(RootNames(image), (std::vector<std::string>{"Component", "Position"}));
  tv::BinaryDocumentReader reader;
  ASSERT_TRUE(LoadBytes(reader, image));
  ASSERT_TRUE(tv::EnterScope(reader, "Component"));
  bool enabled = true, shown = false;
  EXPECT_TRUE(reader.Read("Enabled", enabled));
  EXPECT_FALSE(enabled);
  EXPECT_FALSE(reader.Read("ShowInEditor", shown));

  // Properties are read through a temporary and stored by their setters.
  auto back = std::make_shared<tv::Transform>();
  back->SetScale(tv::Vector3(2, 2, 2));
  ASSERT_TRUE(Read(image, back.get(), transform_type));
  EXPECT_FALSE(back->GetEnabled());
  EXPECT_TRUE(back->GetShowInEditor());
  EXPECT_EQ(back->GetPosition(), tv::Vector3(1, 0, 0));
  EXPECT_EQ(back->GetScale(), tv::Vector3(2, 2, 2));  // no scope: left as it was

  auto metadata = std::make_shared<tv::Metadata>();
  metadata->SetData("free text");
  auto metadata_back = std::make_shared<tv::Metadata>();
  ASSERT_TRUE(Read(Write(metadata.get(), registry.GetType("Metadata")), metadata_back.get(),
                   registry.GetType("Metadata")));
  EXPECT_EQ(metadata_back->GetData(), "free text");
}

TEST_F(SerializeTest, FieldsGoInNameOrderAsValuesOrScopes) {
  Record record;
  record.id = 7;
  record.values = {1, -2, 3};
  record.points = {tv::Vector3(1, 2, 3), tv::Vector3()};
  record.order = tv::RotationOrder::XZY;
  record.hidden = true;
  const Bytes image = Write(record);
  // "Hidden" is excluded; a field without a default is written even at its zero value.
  EXPECT_EQ(RootNames(image), (std::vector<std::string>{"Id", "Order", "Points", "Values"}));

  tv::BinaryDocumentReader reader;
  ASSERT_TRUE(LoadBytes(reader, image));
  std::string order;
  ASSERT_TRUE(reader.Read("Order", order));
  EXPECT_EQ(order, "XZY");
  ASSERT_TRUE(tv::EnterScope(reader, "Values"));
  EXPECT_EQ(tv::CountScopes(reader, "slot"), 3);
  ASSERT_TRUE(reader.EnterFirstChild());
  int value = 0;
  ASSERT_TRUE(reader.Read("value", value));
  EXPECT_EQ(value, 1);
  ASSERT_TRUE(tv::ExitScopes(reader, 2));
  ASSERT_TRUE(tv::EnterPath(reader, "Points/slot"));
  // An element of a class has its fields directly in its slot.
  float z = 0;
  ASSERT_TRUE(reader.Read("z", z));
  EXPECT_EQ(z, 3);

  Record back;
  ASSERT_TRUE(Read(image, back));
  EXPECT_EQ(back.id, 7);
  EXPECT_EQ(back.values, record.values);
  EXPECT_EQ(back.points, record.points);
  EXPECT_EQ(back.order, tv::RotationOrder::XZY);
  EXPECT_FALSE(back.hidden);
}

TEST_F(SerializeTest, ExcludedFieldIsStillRead) {
  tv::BinaryDocumentWriter writer;
  writer.Write("Hidden", true);
  writer.Write("Id", 1);
  writer.EnterScope("Values");
  writer.ExitScope();
  writer.EnterScope("Points");
  writer.ExitScope();
  writer.Write("Order", "ZYX");
  Record back;
  ASSERT_TRUE(Read(ImageOf(writer), back));
  EXPECT_TRUE(back.hidden);
}

TEST_F(SerializeTest, VectorOfNoElementsIsAnEmptyScopeAndReadsBackEmpty) {
  Record record;
  const Bytes image = Write(record);
  tv::BinaryDocumentReader reader;
  ASSERT_TRUE(LoadBytes(reader, image));
  ASSERT_TRUE(tv::EnterScope(reader, "Values"));
  EXPECT_FALSE(reader.EnterFirstChild());

  Record back;
  back.values = {4, 5, 6};
  back.points = {tv::Vector3(1, 1, 1)};
  ASSERT_TRUE(Read(image, back));
  EXPECT_TRUE(back.values.empty());
  EXPECT_TRUE(back.points.empty());
}

TEST_F(SerializeTest, ForeignScopeBetweenSlotsKeepsTheIndexesDense) {
  tv::BinaryDocumentWriter writer;
  for (int value : {10, 20, 30}) {
    writer.EnterScope("slot");
    writer.Write("value", value);
    writer.ExitScope();
    if (value == 10) {
      writer.EnterScope("Comment");
      writer.Write("value", 99);
      writer.ExitScope();
    }
  }
  writer.EnterScope("slot");  // an element that fails stays as the resize made it
  writer.Write("value", std::string("not a number"));
  writer.ExitScope();
  std::vector<int32_t> values;
  ASSERT_TRUE(Read(ImageOf(writer), values));
  EXPECT_EQ(values, (std::vector<int32_t>{10, 20, 30, 0}));
}

TEST_F(SerializeTest, BasicValueWithAnEmptyNameFailsBothWays) {
  tv::Type* int_type = TypeOf<int32_t>();
  const int32_t value = 42;
  tv::BinaryDocumentWriter writer;
  EXPECT_FALSE(tv::Serialize(writer, &value, int_type, nullptr, ""));
  EXPECT_EQ(writer.position, 0u);
  EXPECT_TRUE(tv::Serialize(writer, &value, int_type, nullptr, "v"));

  tv::BinaryDocumentReader reader;
  ASSERT_TRUE(LoadBytes(reader, ImageOf(writer)));
  int32_t read = 7;
  EXPECT_FALSE(tv::Deserialize(reader, &read, int_type, nullptr, ""));
  EXPECT_EQ(read, 7);
  EXPECT_TRUE(tv::Deserialize(reader, &read, int_type, nullptr, "v"));
  EXPECT_EQ(read, 42);
}

TEST_F(SerializeTest, NarrowTypesAreIntAndUnsignedValues) {
  Settings settings;
  settings.letter = -5;
  settings.shift = -300;
  settings.level = 200;
  settings.scale = 0.75f;
  settings.label = "label";
  const Bytes image = Write(settings);
  tv::BinaryDocumentReader reader;
  ASSERT_TRUE(LoadBytes(reader, image));
  int letter = 0, shift = 0;
  unsigned level = 0;
  ASSERT_TRUE(reader.Read("Letter", letter));
  ASSERT_TRUE(reader.Read("Shift", shift));
  ASSERT_TRUE(reader.Read("Level", level));
  EXPECT_EQ(letter, -5);
  EXPECT_EQ(shift, -300);
  EXPECT_EQ(level, 200u);

  Settings back;
  ASSERT_TRUE(Read(image, back));
  EXPECT_EQ(back.letter, -5);
  EXPECT_EQ(back.shift, -300);
  EXPECT_EQ(back.level, 200);
  EXPECT_EQ(back.scale, 0.75f);
  EXPECT_EQ(back.label, "label");
}

TEST_F(SerializeTest, MissingOrRefusedBasicValueTakesTheDefault) {
  tv::BinaryDocumentWriter writer;
  writer.Write("Count", std::string("five"));  // wrong kind
  writer.Write("Level", 300u);                 // out of range of UnsignedChar
  writer.Write("Letter", 200);                 // out of range of Char
  writer.Write("Shift", -40000);               // out of range of Short
  writer.Write("Scale", 2.5f);
  Settings settings;
  settings.count = 9;
  settings.level = 9;
  settings.letter = 9;
  settings.shift = 9;
  settings.label = "kept?";
  ASSERT_TRUE(Read(ImageOf(writer), settings));
  EXPECT_EQ(settings.count, 5);
  EXPECT_EQ(settings.level, 0);
  EXPECT_EQ(settings.letter, 0);
  EXPECT_EQ(settings.shift, 0);
  EXPECT_EQ(settings.scale, 2.5f);
  EXPECT_EQ(settings.label, "");  // missing too: its default is the empty text
}

TEST_F(SerializeTest, MissingValueWithoutDefaultFailsButTheWalkGoesOn) {
  tv::BinaryDocumentWriter writer;
  writer.EnterScope("Values");
  writer.EnterScope("slot");
  writer.Write("value", 8);
  writer.ExitScope();
  writer.ExitScope();
  Record record;
  record.id = 9;
  record.order = tv::RotationOrder::XY;
  EXPECT_FALSE(Read(ImageOf(writer), record));
  EXPECT_EQ(record.id, 9);
  EXPECT_EQ(record.order, tv::RotationOrder::XY);
  EXPECT_EQ(record.values, std::vector<int32_t>{8});
}

TEST_F(SerializeTest, EnumWithoutANameFailsTheWholeWalk) {
  Record record;
  record.id = 3;
  record.order = tv::RotationOrder(7);
  bool ok = true;
  const Bytes image = Write(&record, TypeOf<Record>(), &ok);
  EXPECT_FALSE(ok);
  // The document stands as written so far: the fields before "Order".
  EXPECT_EQ(RootNames(image), std::vector<std::string>{"Id"});

  tv::BinaryDocumentWriter writer;
  const tv::RotationOrder unnamed = tv::RotationOrder(9);
  EXPECT_FALSE(tv::Serialize(writer, &unnamed, TypeOf<tv::RotationOrder>(), nullptr, "Order"));
  EXPECT_EQ(writer.position, 0u);
}

TEST_F(SerializeTest, RotationOrderFourIsWrittenAsDefaultAndEveryNameReads) {
  tv::Type* order_type = TypeOf<tv::RotationOrder>();
  tv::BinaryDocumentWriter writer;
  const tv::RotationOrder yxz = tv::RotationOrder::YXZ;
  ASSERT_TRUE(tv::Serialize(writer, &yxz, order_type, nullptr, "Order"));
  writer.Write("Other", std::string("YXZ"));
  writer.Write("Last", std::string("XY"));
  writer.Write("Bad", std::string("Sideways"));
  tv::BinaryDocumentReader reader;
  ASSERT_TRUE(LoadBytes(reader, ImageOf(writer)));
  std::string text;
  ASSERT_TRUE(reader.Read("Order", text));
  EXPECT_EQ(text, "Default");

  tv::RotationOrder order = tv::RotationOrder::ZYX;
  ASSERT_TRUE(tv::Deserialize(reader, &order, order_type, nullptr, "Order"));
  EXPECT_EQ(int(order), 4);
  order = tv::RotationOrder::ZYX;
  ASSERT_TRUE(tv::Deserialize(reader, &order, order_type, nullptr, "Other"));
  EXPECT_EQ(int(order), 4);
  ASSERT_TRUE(tv::Deserialize(reader, &order, order_type, nullptr, "Last"));
  EXPECT_EQ(order, tv::RotationOrder::XY);
  EXPECT_FALSE(tv::Deserialize(reader, &order, order_type, nullptr, "Bad"));
  EXPECT_EQ(order, tv::RotationOrder::XY);

  tv::Axis axis = tv::AxisX;
  tv::BinaryDocumentWriter axis_writer;
  const tv::Axis rot_z = tv::AxisRotZ;
  ASSERT_TRUE(tv::Serialize(axis_writer, &rot_z, TypeOf<tv::Axis>(), nullptr, "Axis"));
  tv::BinaryDocumentReader axis_reader;
  ASSERT_TRUE(LoadBytes(axis_reader, ImageOf(axis_writer)));
  ASSERT_TRUE(axis_reader.Read("Axis", text));
  EXPECT_EQ(text, "AxisRotZ");
  ASSERT_TRUE(tv::Deserialize(axis_reader, &axis, TypeOf<tv::Axis>(), nullptr, "Axis"));
  EXPECT_EQ(axis, tv::AxisRotZ);
}

TEST_F(SerializeTest, UnknownEnumNameTakesTheDefaultOrFails) {
  tv::BinaryDocumentWriter writer;
  writer.Write("Order", std::string("Sideways"));
  writer.Write("Id", 1);
  const Bytes image = ImageOf(writer);

  Settings settings;
  settings.order = tv::RotationOrder::XY;
  EXPECT_TRUE(Read(image, settings));
  EXPECT_EQ(settings.order, tv::RotationOrder::ZYX);

  Record record;
  record.order = tv::RotationOrder::XY;
  EXPECT_FALSE(Read(image, record));
  EXPECT_EQ(record.order, tv::RotationOrder::XY);
  EXPECT_EQ(record.id, 1);
}

TEST_F(SerializeTest, LaterScopeOfTheSameFieldWins) {
  tv::BinaryDocumentWriter writer;
  for (float x : {1.0f, 2.0f}) {
    writer.EnterScope("Offset");
    writer.Write("x", x);
    writer.ExitScope();
    writer.EnterScope("Position");
    writer.Write("x", x * 10);
    writer.ExitScope();
  }
  const Bytes image = ImageOf(writer);
  Settings settings;
  ASSERT_TRUE(Read(image, settings));
  EXPECT_EQ(settings.offset.x, 2);

  auto transform = std::make_shared<tv::Transform>();
  ASSERT_TRUE(Read(image, transform.get(), registry.GetType("Transform")));
  EXPECT_EQ(transform->GetPosition().x, 20);
}

TEST_F(SerializeTest, UnknownScopesAreIgnored) {
  tv::BinaryDocumentWriter writer;
  writer.EnterScope("Unknown");
  writer.Write("Count", 77);
  writer.ExitScope();
  writer.Write("Count", 8);
  Settings settings;
  ASSERT_TRUE(Read(ImageOf(writer), settings));
  EXPECT_EQ(settings.count, 8);
}

TEST_F(SerializeTest, FailedBaseEndsTheWalkInsideItsScope) {
  tv::BinaryDocumentWriter writer;
  writer.Write("After", 1);
  writer.EnterScope("Strict");  // without "Must", which has no default
  writer.ExitScope();
  writer.EnterScope("Tail");
  writer.EnterScope("slot");
  writer.Write("value", 5);
  writer.ExitScope();
  writer.ExitScope();
  tv::BinaryDocumentReader reader;
  ASSERT_TRUE(LoadBytes(reader, ImageOf(writer)));
  Loose loose;
  loose.tail = {1, 2};
  EXPECT_FALSE(tv::Deserialize(reader, &loose, TypeOf<Loose>(), nullptr, ""));
  EXPECT_EQ(loose.after, 1);
  EXPECT_EQ(loose.tail, (std::vector<int32_t>{1, 2}));
  EXPECT_EQ(reader.GetScopeName(), "Strict");

  // With the base's value present the whole object reads.
  tv::BinaryDocumentWriter good;
  good.EnterScope("Strict");
  good.Write("Must", 4);
  good.ExitScope();
  good.Write("After", 1);
  good.EnterScope("Tail");
  good.ExitScope();
  Loose back;
  ASSERT_TRUE(Read(ImageOf(good), back));
  EXPECT_EQ(back.must, 4);
}

TEST_F(SerializeTest, ContextStackIsBalancedOnEveryPath) {
  tv::SerializationContext write_context;
  tv::DeserializationContext read_context;
  EXPECT_EQ(write_context.GetName(), "SerializationContext");
  EXPECT_EQ(read_context.GetName(), "DeserializationContext");

  Tagged tagged;
  tagged.value = 12;
  const Bytes image = Write(&tagged, TypeOf<Tagged>(), nullptr, &write_context);
  EXPECT_TRUE(write_context.object_stack.empty());
  Tagged back;
  ASSERT_TRUE(Read(image, &back, TypeOf<Tagged>(), &read_context));
  EXPECT_TRUE(read_context.object_stack.empty());
  EXPECT_EQ(back.value, 12);

  // The serializer ran inside the walk's own entry for the object.
  const auto& calls = serialize_test::TaggedCalls();
  ASSERT_EQ(calls.size(), 2u);
  for (const auto& call : calls) EXPECT_EQ(call.stack_size, 1u);
  EXPECT_EQ(calls[0].top_object, &tagged);
  EXPECT_EQ(calls[1].top_object, &back);
  EXPECT_EQ(calls[0].top_type, "Tagged");

  // Failures pop as well.
  Record record;
  record.order = tv::RotationOrder(8);
  bool ok = true;
  Write(&record, TypeOf<Record>(), &ok, &write_context);
  EXPECT_FALSE(ok);
  EXPECT_TRUE(write_context.object_stack.empty());
  tv::BinaryDocumentWriter failing;
  failing.EnterScope("Strict");
  failing.ExitScope();
  Loose loose;
  EXPECT_FALSE(Read(ImageOf(failing), &loose, TypeOf<Loose>(), &read_context));
  EXPECT_TRUE(read_context.object_stack.empty());
}

TEST_F(SerializeTest, SerializerCanHandTheRestToTheGenericWalk) {
  Tagged tagged;
  tagged.value = 3;
  const Bytes image = Write(tagged);
  EXPECT_EQ(RootNames(image), (std::vector<std::string>{"Kind", "Value"}));

  tv::BinaryDocumentWriter no_kind;
  no_kind.Write("Value", 3);
  Tagged back;
  EXPECT_FALSE(Read(ImageOf(no_kind), back));
  EXPECT_EQ(back.value, 0);
  // Skipping the serializer reads the generic form alone.
  tv::BinaryDocumentReader reader;
  ASSERT_TRUE(LoadBytes(reader, ImageOf(no_kind)));
  EXPECT_TRUE(tv::Deserialize(reader, &back, TypeOf<Tagged>(), nullptr, "", true));
  EXPECT_EQ(back.value, 3);
}

TEST_F(SerializeTest, AdapterRunsOnTheWayOutAndIn) {
  Scaled scaled;
  scaled.amount = 4;
  const Bytes image = Write(scaled);
  tv::BinaryDocumentReader reader;
  ASSERT_TRUE(LoadBytes(reader, image));
  int amount = 0;
  ASSERT_TRUE(reader.Read("Amount", amount));
  EXPECT_EQ(amount, 40);
  Scaled back;
  ASSERT_TRUE(Read(image, back));
  EXPECT_EQ(back.amount, 4);
}

TEST_F(SerializeTest, DocumentScopeWrapsTheValue) {
  Wrapped wrapped;
  wrapped.v = 6;
  const Bytes image = Write(wrapped);
  EXPECT_EQ(RootNames(image), std::vector<std::string>{"Wrapper"});
  Wrapped back;
  ASSERT_TRUE(Read(image, back));
  EXPECT_EQ(back.v, 6);

  tv::BinaryDocumentWriter bare;
  bare.Write("V", 6);
  Wrapped missing;
  EXPECT_FALSE(Read(ImageOf(bare), missing));
  EXPECT_EQ(missing.v, 0);
}

TEST_F(SerializeTest, SharedPointerWithoutSerializerIsAnEmptyScope) {
  Holder holder;
  holder.marker = 1;
  const Bytes image = Write(holder);
  EXPECT_EQ(RootNames(image), (std::vector<std::string>{"Marker", "Scene"}));
  tv::BinaryDocumentReader reader;
  ASSERT_TRUE(LoadBytes(reader, image));
  ASSERT_TRUE(tv::EnterScope(reader, "Scene"));
  EXPECT_EQ(tv_test::ReadEverything(reader), 0u);
  Holder back;
  ASSERT_TRUE(Read(image, back));
  EXPECT_EQ(back.marker, 1);
  EXPECT_EQ(back.scene, nullptr);
}

TEST_F(SerializeTest, EveryEnumOfTheCoreHasItsSerializer) {
  tv::TypeRegistry core;
  tv::RegisterCoreTypes(core);
  int enums = 0;
  for (const auto& [name, type] : core.types) {
    if (!type->IsEnum()) continue;
    SCOPED_TRACE(name);
    ++enums;
    ASSERT_NE(type->serializer, nullptr);
    ASSERT_NE(type->serializer->GetStorageType(), nullptr);
    EXPECT_EQ(type->serializer->GetStorageType()->name, "String");
    EXPECT_EQ(type->serializer->GetStorageType()->registry, &core);
  }
  EXPECT_GE(enums, 2);
}

} // namespace
