// The generic walk between typed objects and documents: the document forms it writes, what it
// reads back from documents it did not write, and how it fails (through the binary document pair);
// every type of the core in every form; and the binary form's own walk against the shared one.

#include <gtest/gtest.h>

#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "document/document_format.h"
#include "document/serialization_context.h"
#include "forwarding_reader.h"
#include "scene/transform.h"
#include "serialize_test_types.h"

namespace {

using namespace serialize_test;
using tv_test::Bytes;
using tv_test::ExpectImage;
using tv_test::ImageOf;
using tv_test::ImageOfScript;
using tv_test::LoadBytes;

class SerializeTest : public TypesTest {
protected:
  template <typename T>
  tv::Type* TypeOf() {
    return registry.GetType<T>();
  }
  // The document of one object at the top, with an empty name; `ok` gets Serialize's answer.
  Bytes Write(const void* object, tv::Type* type, bool* ok = nullptr, tv::SerializationContext* context = nullptr) {
    tv::BinaryDocumentWriter writer;
    const bool written = tv::Serialize(writer, object, type, context, "");
    if (ok != nullptr) *ok = written;
    else EXPECT_TRUE(written);
    return ImageOf(writer);
  }
  template <typename T>
  Bytes Write(const T& object) {
    return Write(&object, TypeOf<T>());
  }
  bool Read(const Bytes& image, void* object, tv::Type* type, tv::DeserializationContext* context = nullptr) {
    tv::BinaryDocumentReader reader;
    EXPECT_TRUE(LoadBytes(reader, image));
    return tv::Deserialize(reader, object, type, context, "");
  }
  template <typename T>
  bool Read(const Bytes& image, T& object) {
    return Read(image, &object, TypeOf<T>());
  }
  template <typename T>
  bool ReadScript(const std::string& script, T& object) {
    return Read(ImageOfScript(script), object);
  }
};

// Documents as the walk writes them, read into a fresh object and written again, come out the
// same: fields in name order, basic ones as values and others as scopes; fields at their default
// left out, and a base whose fields all have their defaults leaves no scope; a field without a
// default written even at its zero value; vectors as "slot" scopes, basic elements under "value",
// class elements with their fields in the slot; narrow integers as int and unsigned values; enums
// by name, RotationOrder 4 as "Default"; a serializer's own value before the generic walk's; an
// adapter's value; a document scope around the fields; an empty scope for a shared pointer whose
// type has no serializer and no fields. The objects read hold what the documents say.
TEST_F(SerializeTest, DocumentsComeBackThroughObjects) {
  const std::pair<const char*, const char*> rows[] = {
      {"Settings", ""},
      {"Settings", "Count=6 Offset{y=2f}"},
      {"Settings", "Label='label' Letter=-5 Level=200u Order='Default' Scale=0.75f Shift=-300"},
      {"Wheel", ""},
      {"Wheel", "Radius=2f"},
      {"Wheel", "Radius=2f Part{Weight=3}"},
      {"Record", "Id=0 Order='ZYX' Points{} Values{}"},
      {"Record",
       "Id=7 Order='XZY' Points{slot{x=1f y=2f z=3f} slot{}} Values{slot{value=1} slot{value=-2} slot{value=3}}"},
      {"Tagged", "Kind='tagged' Value=3"},
      {"Scaled", "Amount=40"},
      {"Wrapped", "Wrapper{V=6}"},
      {"Holder", "Marker=1 Scene{}"},
  };
  for (const auto& [type_name, script] : rows) {
    tv::Type* type = registry.GetType(type_name);
    tv::TypeValue object(type);
    EXPECT_TRUE(Read(ImageOfScript(script), object.instance, type)) << script;
    ExpectImage(Write(object.instance, type), script);
  }

  Settings settings;
  ASSERT_TRUE(ReadScript(rows[2].second, settings));
  EXPECT_TRUE(settings.letter == -5 && settings.shift == -300 && settings.level == 200 && settings.scale == 0.75f &&
              settings.label == "label" && int(settings.order) == 4);
  Wheel wheel;
  wheel.enabled = false;
  ASSERT_TRUE(ReadScript(rows[5].second, wheel));
  EXPECT_TRUE(wheel.enabled && wheel.weight == 3 && wheel.radius == 2);  // in the base's scope, the default
  wheel.enabled = false;
  ASSERT_TRUE(ReadScript(rows[4].second, wheel));
  EXPECT_FALSE(wheel.enabled);  // no base scope: the base's fields are not touched
  Record record;
  ASSERT_TRUE(ReadScript(rows[7].second, record));
  EXPECT_EQ(record, (Record{7, {1, -2, 3}, {tv::Vector3(1, 2, 3), tv::Vector3()}, tv::RotationOrder::XZY, false}));
  ASSERT_TRUE(ReadScript(rows[6].second, record));
  EXPECT_EQ(record, Record());
  record.hidden = true;
  ExpectImage(Write(record), rows[6].second);  // "Hidden" is never written, yet read
  ASSERT_TRUE(ReadScript("Hidden=true Id=1 Values{} Points{} Order='ZYX'", record = Record()));
  EXPECT_TRUE(record.hidden);
  Scaled scaled;
  ASSERT_TRUE(ReadScript(rows[9].second, scaled));
  EXPECT_EQ(scaled.amount, 4);
  Holder holder;
  ASSERT_TRUE(ReadScript(rows[11].second, holder));
  EXPECT_EQ(holder.scene, nullptr);
}

// A core component writes only what differs from its defaults, its base included; properties are
// read through a temporary and stored by their setters; a missing scope leaves a field as it was.
TEST_F(SerializeTest, CoreComponentWritesOnlyWhatDiffersFromItsDefaults) {
  tv::Type* transform_type = registry.GetType("Transform");
  auto transform = std::make_shared<tv::Transform>();
  ExpectImage(Write(transform.get(), transform_type), "");
  transform->SetEnabled(false);
  transform->SetPosition(tv::Vector3(1, 0, 0));
  const Bytes image = Write(transform.get(), transform_type);
  ExpectImage(image, "Component{Enabled=false} Position{x=1f}");
  auto back = std::make_shared<tv::Transform>();
  back->SetScale(tv::Vector3(2, 2, 2));
  ASSERT_TRUE(Read(image, back.get(), transform_type));
  EXPECT_FALSE(back->GetEnabled());
  EXPECT_TRUE(back->GetShowInEditor());
  EXPECT_EQ(back->GetPosition(), tv::Vector3(1, 0, 0));
  EXPECT_EQ(back->GetScale(), tv::Vector3(2, 2, 2));
}

// A foreign scope between slots keeps the indexes dense; an element that fails stays as the resize
// made it.
TEST_F(SerializeTest, ForeignScopeBetweenSlotsKeepsTheIndexesDense) {
  std::vector<int32_t> values;
  ASSERT_TRUE(ReadScript("slot{value=10} Comment{value=99} slot{value=20} slot{value=30} slot{value='not a number'}",
                         values));
  EXPECT_EQ(values, (std::vector<int32_t>{10, 20, 30, 0}));
}

// Values out of range of a narrow field or of the wrong kind read as missing, and a missing basic
// value takes its default where it has one.
TEST_F(SerializeTest, MissingOrRefusedValuesTakeTheDefaultOrFail) {
  Settings refused;
  refused.count = refused.level = refused.letter = refused.shift = 9;
  refused.label = "kept?";
  ASSERT_TRUE(ReadScript("Count='five' Level=300u Letter=200 Shift=-40000 Scale=2.5f", refused));
  EXPECT_TRUE(refused.count == 5 && refused.level == 0 && refused.letter == 0 && refused.shift == 0);
  EXPECT_EQ(refused.scale, 2.5f);
  EXPECT_EQ(refused.label, "");

  // Without a default the read fails and leaves the field, and the walk goes on.
  Record record;
  record.id = 9;
  record.order = tv::RotationOrder::XY;
  EXPECT_FALSE(ReadScript("Values{slot{value=8}}", record));
  EXPECT_TRUE(record.id == 9 && record.order == tv::RotationOrder::XY && record.values == std::vector<int32_t>{8});
}

// A basic value needs a name, both ways.
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

// An enum value without a name fails the whole walk, which leaves what it wrote so far; both names
// of RotationOrder 4 read as 4; an unknown name reads as missing: the default, or a failure.
TEST_F(SerializeTest, EnumsAreWrittenAndReadByName) {
  Record record;
  record.id = 3;
  record.order = tv::RotationOrder(7);
  bool ok = true;
  ExpectImage(Write(&record, TypeOf<Record>(), &ok), "Id=3");
  EXPECT_FALSE(ok);
  tv::BinaryDocumentWriter writer;
  const tv::RotationOrder unnamed = tv::RotationOrder(9);
  EXPECT_FALSE(tv::Serialize(writer, &unnamed, TypeOf<tv::RotationOrder>(), nullptr, "Order"));
  EXPECT_EQ(writer.position, 0u);

  tv::BinaryDocumentReader reader;
  ASSERT_TRUE(LoadBytes(reader, ImageOfScript("Other='YXZ' Last='XY' Bad='Sideways'")));
  for (const auto& [name, expected] : {std::pair{"Other", 4}, {"Last", 6}, {"Bad", -1}}) {
    tv::RotationOrder order = tv::RotationOrder::ZYX;
    EXPECT_EQ(tv::Deserialize(reader, &order, TypeOf<tv::RotationOrder>(), nullptr, name), expected >= 0) << name;
    EXPECT_EQ(int(order), expected >= 0 ? expected : 0) << name;
  }
  const Bytes sideways = ImageOfScript("Order='Sideways' Id=1");
  Settings settings;
  settings.order = tv::RotationOrder::XY;
  EXPECT_TRUE(Read(sideways, settings));
  EXPECT_EQ(settings.order, tv::RotationOrder::ZYX);
  record.order = tv::RotationOrder::XY;
  EXPECT_FALSE(Read(sideways, record));
  EXPECT_TRUE(record.order == tv::RotationOrder::XY && record.id == 1);
}

// Scopes are taken in document order: the later scope of one field wins; unknown scopes are
// ignored.
TEST_F(SerializeTest, LaterScopeOfTheSameFieldWinsAndUnknownScopesAreIgnored) {
  const Bytes image =
      ImageOfScript("Count=8 Offset{x=1f} Position{x=10f} Unknown{Count=77} Offset{x=2f} Position{x=20f}");
  Settings settings;
  ASSERT_TRUE(Read(image, settings));
  EXPECT_EQ(settings.offset.x, 2);
  EXPECT_EQ(settings.count, 8);
  auto transform = std::make_shared<tv::Transform>();
  ASSERT_TRUE(Read(image, transform.get(), registry.GetType("Transform")));
  EXPECT_EQ(transform->GetPosition().x, 20);
}

// A base scope that fails ends the walk at once, inside that scope ("Must" has no default).
TEST_F(SerializeTest, FailedBaseEndsTheWalkInsideItsScope) {
  tv::BinaryDocumentReader reader;
  ASSERT_TRUE(LoadBytes(reader, ImageOfScript("After=1 Strict{} Tail{slot{value=5}}")));
  Loose loose;
  loose.tail = {1, 2};
  EXPECT_FALSE(tv::Deserialize(reader, &loose, TypeOf<Loose>(), nullptr, ""));
  EXPECT_EQ(loose.after, 1);
  EXPECT_EQ(loose.tail, (std::vector<int32_t>{1, 2}));
  EXPECT_EQ(reader.GetScopeName(), "Strict");
  Loose good;
  ASSERT_TRUE(ReadScript("Strict{Must=4} After=1 Tail{}", good));
  EXPECT_EQ(good.must, 4);
}

// The context holds the object at the top while a serializer runs, and its stack is balanced on
// every path, failures included.
TEST_F(SerializeTest, ContextStackIsBalancedOnEveryPath) {
  tv::SerializationContext write_context;
  tv::DeserializationContext read_context;
  EXPECT_EQ(write_context.GetName(), "SerializationContext");
  EXPECT_EQ(read_context.GetName(), "DeserializationContext");
  Tagged tagged, back;
  tagged.value = 12;
  ASSERT_TRUE(Read(Write(&tagged, TypeOf<Tagged>(), nullptr, &write_context), &back, TypeOf<Tagged>(), &read_context));
  EXPECT_EQ(back.value, 12);
  const auto& calls = TaggedCalls();
  ASSERT_EQ(calls.size(), 2u);
  for (const auto& call : calls) EXPECT_EQ(call.stack_size, 1u);
  EXPECT_EQ(calls[0].top_object, &tagged);
  EXPECT_EQ(calls[1].top_object, &back);
  EXPECT_EQ(calls[0].top_type, "Tagged");
  EXPECT_TRUE(write_context.object_stack.empty());
  EXPECT_TRUE(read_context.object_stack.empty());

  Record record;
  record.order = tv::RotationOrder(8);
  bool ok = true;
  Write(&record, TypeOf<Record>(), &ok, &write_context);
  EXPECT_FALSE(ok);
  Loose loose;
  EXPECT_FALSE(Read(ImageOfScript("Strict{}"), &loose, TypeOf<Loose>(), &read_context));
  EXPECT_TRUE(write_context.object_stack.empty());
  EXPECT_TRUE(read_context.object_stack.empty());
}

// A serializer's read fails without its own value, and skipping the serializer reads the generic
// form alone; a document scope must be there.
TEST_F(SerializeTest, SerializersAndDocumentScopesGuardTheirForms) {
  Tagged back;
  EXPECT_FALSE(ReadScript("Value=3", back));
  EXPECT_EQ(back.value, 0);
  tv::BinaryDocumentReader reader;
  ASSERT_TRUE(LoadBytes(reader, ImageOfScript("Value=3")));
  EXPECT_TRUE(tv::Deserialize(reader, &back, TypeOf<Tagged>(), nullptr, "", true));
  EXPECT_EQ(back.value, 3);
  Wrapped missing;
  EXPECT_FALSE(ReadScript("V=6", missing));
  EXPECT_EQ(missing.v, 0);
}

TEST_F(SerializeTest, EveryEnumOfTheCoreHasItsSerializer) {
  tv::TypeRegistry core;
  tv::RegisterCoreTypes(core);
  int enums = 0;
  for (const auto& [name, type] : core.types) {
    if (!type->IsEnum()) continue;
    ++enums;
    ASSERT_NE(type->serializer, nullptr) << name;
    ASSERT_NE(type->serializer->GetStorageType(), nullptr) << name;
    EXPECT_EQ(type->serializer->GetStorageType()->name, "String") << name;
    EXPECT_EQ(type->serializer->GetStorageType()->registry, &core) << name;
  }
  EXPECT_GE(enums, 2);
}

// Sets every reachable value of `object` from a running seed: basic values, enum values (taken in
// turn from the enum's names), three elements per vector, the fields of bases and of the type.
// Floats are quarters, which every form keeps exactly (JSON rounds to 4 decimals).
void Fill(void* object, tv::Type* type, uint32_t& seed) {
  if (object == nullptr || type == nullptr) return;
  if (type->IsEnum() && type->enum_cast != nullptr && type->factory != nullptr) {
    auto entry = type->enum_values.begin();
    std::advance(entry, seed++ % type->enum_values.size());
    type->factory->Copy(object, type->enum_cast->ToValue(entry->second).instance);
    return;
  }
  if (type->IsBasic()) {
    const uint32_t n = seed++;
    const std::string& name = type->name;
    if (name == "Bool") *static_cast<bool*>(object) = n % 2 == 1;
    else if (name == "Char") *static_cast<char*>(object) = char(-int(n % 100) - 1);
    else if (name == "Short") *static_cast<int16_t*>(object) = int16_t(-1000 - int(n));
    else if (name == "Int") *static_cast<int32_t*>(object) = -100000 - int32_t(n);
    else if (name == "UnsignedChar") *static_cast<uint8_t*>(object) = uint8_t(200 + n % 50);
    else if (name == "UnsignedShort") *static_cast<uint16_t*>(object) = uint16_t(60000 + n);
    else if (name == "UnsignedInt") *static_cast<uint32_t*>(object) = 4000000000u + n;
    else if (name == "Float") *static_cast<float*>(object) = float(n) * 0.25f - 3.0f;
    else if (name == "String") *static_cast<std::string*>(object) = "text " + std::to_string(n);
    return;
  }
  if (type->container_factory != nullptr) {
    const auto elements = type->container_factory->MakeWriteInterface(object);
    elements->Resize(3);
    for (uint32_t i = 0; i < 3; ++i) Fill(elements->GetPointer(i), elements->element_type, seed);
    return;
  }
  for (const auto& [base, caster] : type->bases) Fill(type->CastToBase(object, base), base, seed);
  for (const auto& [field_name, field] : type->fields) {
    if (void* address = field->GetPointer(object)) {
      Fill(address, field->type, seed);
    } else {
      tv::TypeValue value(field->type);
      Fill(value.instance, field->type, seed);
      if (value.instance != nullptr) field->SetValue(object, value);
    }
  }
}

// A value stored as one basic value (an enum, by its name) gets a key at the top: a basic value
// needs one, and XML has no attribute without a name. Everything else stands in the root scope.
const char* TopName(const tv::Type* type) {
  const tv::Type* storage = type->serializer != nullptr ? type->serializer->GetStorageType() : type;
  return storage != nullptr && storage->IsBasic() ? "Value" : "";
}

Bytes WriteBinary(const void* object, tv::Type* type) {
  tv::BinaryDocumentWriter writer;
  EXPECT_TRUE(tv::Serialize(writer, object, type, nullptr, TopName(type)));
  return ImageOf(writer);
}

// Writes `object` in the form and reads the document back into `copy`; false if a step failed.
template <typename Form>
bool RoundTrip(const void* object, void* copy, tv::Type* type) {
  typename Form::Writer writer;
  if (!tv::Serialize(writer, object, type, nullptr, TopName(type))) return false;
  const std::string text = writer.SaveToString();
  typename Form::Reader reader;
  // A document of nothing has no XML text that loads, and nothing to read back either.
  return text.empty() || (reader.LoadFromString(text) && tv::Deserialize(reader, copy, type, nullptr, TopName(type)));
}
template <>
bool RoundTrip<tv::BinaryDocumentReader>(const void* object, void* copy, tv::Type* type) {
  tv::BinaryDocumentReader reader;
  return LoadBytes(reader, WriteBinary(object, type)) && tv::Deserialize(reader, copy, type, nullptr, TopName(type));
}

// Every type that can make values (the core's and the test types), filled away from its defaults,
// comes back from each form into a fresh value with the same binary image. From the binary form
// this is the binary walk over documents in the writer's order.
TEST_F(SerializeTest, EveryTypeWithAFactoryComesBackTheSameInEveryForm) {
  int round_trips = 0, with_content = 0;
  for (const auto& [name, type] : registry.types) {
    if (type->factory == nullptr) continue;
    SCOPED_TRACE(name);
    tv::TypeValue original(type.get());
    uint32_t seed = 1;
    Fill(original.instance, type.get(), seed);
    const Bytes image = WriteBinary(original.instance, type.get());
    const std::pair<const char*, bool (*)(const void*, void*, tv::Type*)> forms[] = {
        {"XML", RoundTrip<tv_test::XMLForm>}, {"JSON", RoundTrip<tv_test::JSONForm>},
        {"binary", RoundTrip<tv::BinaryDocumentReader>}};
    for (const auto& [form, round_trip] : forms) {
      tv::TypeValue copy(type.get());
      EXPECT_TRUE(round_trip(original.instance, copy.instance, type.get())) << form;
      EXPECT_EQ(WriteBinary(copy.instance, type.get()), image) << form;
      ++round_trips;
    }
    // Where the type has something to write, the filled value must differ from a fresh one, or
    // the comparison above proves nothing.
    if (seed > 1) {
      EXPECT_NE(WriteBinary(tv::TypeValue(type.get()).instance, type.get()), image);
      ++with_content;
    }
  }
  // Basic types, their vectors, the math types and vectors, enums, BinaryData, the scene's shared
  // pointers and the test types, each in three forms.
  EXPECT_GE(round_trips, 3 * 60);
  EXPECT_GE(with_content, 50);
  EXPECT_TRUE(tv_test::TakeLog().empty());
}

// Deserialize's answer, the context's stack at each call of a serializer inside (its depth and
// the type on top), and the Sample it leaves, as JSON text with every field written.
std::string ReadSample(tv::DocumentReader& reader, tv::Type* type) {
  Sample read;  // away from the defaults, so that a skipped read and a default set on failure show
  read.flag = true;
  read.letter = 'q';
  read.shift = 1;
  read.count = -5;
  read.level = 2;
  read.port = 3;
  read.name = "before";
  tv::DeserializationContext context;
  TaggedCalls().clear();
  const bool answer = tv::Deserialize(reader, &read, type, &context, "");
  EXPECT_EQ(reader.GetScopeName(), "root");
  EXPECT_TRUE(context.object_stack.empty());
  std::string calls;
  for (const SerializerCall& call : TaggedCalls()) calls += std::to_string(call.stack_size) + call.top_type + " ";
  tv::JSONDocumentWriter writer;
  EXPECT_TRUE(tv::Serialize(writer, &read, type, nullptr, ""));
  return (answer ? "true " : "false ") + calls + writer.SaveToString();
}

// Binary documents from the writer are deserialized by a walk of their own, which matches names
// as dictionary indices and copies basic values straight out of the image. The shared walk, which
// reaches the same document only through the reader interface, is the oracle: for documents with
// every irregularity a file may hold, both walks must leave the same objects and answer alike.
TEST_F(SerializeTest, BinaryWalkReadsIrregularDocumentsAsTheSharedWalk) {
  const char* const documents[] = {
      // scopes and values in reverse order, the base scope last
      "Tags{slot{Kind='tagged' Value=2} slot{Value=3}} Inner{Tag{Kind='tagged' Value=1} Weight=3f "
      "Values{slot{value=4} slot{value=5}}} Inners{slot{Weight=6f Values{} Tag{Kind='tagged'}}} Scale=2f Port=80u "
      "Flag=false Order='XZY' Hidden=17 Count=3 WalkBase{Label='late' Id=4} Labels{slot{Id=1} Other{} slot{Label='b'}}",
      // values outside the ranges of narrow fields
      "Letter=300 Shift=40000 Level=256u Port=70000u Count=5",
      // values of the wrong kind
      "Count=2f Flag=1 Name=8 Mask=-1 Scale=3u Hidden='x' Order='NoSuchOrder' Inners{slot{Tag=1} slot{Weight=1}}",
      "Order=3 Inners{slot{Weight='x' Values=2}}",
      // scopes named as fields held as values; a nested class that fails without a default
      "Mask=1u Count=1 Hidden=1 Scale{Scale=5f} Count{}",
      "Mask=1u Count=1 Hidden=1 Inner{Tag{Kind='other'}}",
      "Mask=1u Count=1 Hidden=1 Inner{Tag{Kind='tagged' Value=1}}",
      // repeated names, foreign scopes between slots, slots without a value
      "Count=1 Count=2 Name='first' Name='second' Count{} Inner{Values{slot{value=1} Other{value=9} slot{other=3} "
      "slot{value=2f value=6} slot{value=4}}} Inner{Weight=8f}",
      "Inners{}",
      "",
  };
  for (const char* document : documents) {
    SCOPED_TRACE(document);
    const Bytes image = ImageOfScript(document);
    tv::BinaryDocumentReader direct, forwarded_target;
    ASSERT_TRUE(LoadBytes(direct, image));
    ASSERT_TRUE(direct.HasUniqueNames());
    ASSERT_TRUE(LoadBytes(forwarded_target, image));
    tv_test::ForwardingReader forwarded(forwarded_target);
    EXPECT_EQ(ReadSample(direct, TypeOf<Sample>()), ReadSample(forwarded, TypeOf<Sample>()));
  }
}

} // namespace
