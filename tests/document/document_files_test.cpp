// Whole files in and out of typed objects: the form chosen by the format or the path, the binary
// form as the fallback, the context handed to the walk, and every way a load or save fails.

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "core/core_registration.h"
#include "document/document_files.h"
#include "document_fixture.h"
#include "serialize_test_types.h"

namespace {

using serialize_test::Loose;
using serialize_test::Record;
using serialize_test::Settings;
using serialize_test::Tagged;
using serialize_test::Wheel;

// A resource: known by the path it was loaded from, which its document does not hold.
struct Named {
  std::string name;
  int32_t size = 0;
};
// Has a type name but is never registered.
struct Unregistered {
  int32_t value = 0;
};

} // namespace

namespace tv {
TV_TYPE_NAME(Named, "Named");
TV_TYPE_NAME(Unregistered, "Unregistered");
} // namespace tv

namespace {

class DocumentFiles : public tv_test::DocumentTest {
protected:
  void SetUp() override {
    DocumentTest::SetUp();
    tv::RegisterCoreTypes(registry);
    serialize_test::RegisterTestTypes(registry);
    tv::Type* named = tv::RegisterValueType<Named>(registry);
    tv::AddMemberField(named, "Size", &Named::size);
    tv::types = &registry;
  }
  void TearDown() override {
    tv::types = nullptr;
    DocumentTest::TearDown();
  }

  static Record MakeRecord() {
    Record record;
    record.id = 7;
    record.values = {3, -1, 4};
    record.points = {tv::Vector3(1, 2, 3), tv::Vector3(-0.5f, 0.25f, 8)};
    record.order = tv::RotationOrder::XZY;
    return record;
  }

  static void ExpectSameRecord(const Record& a, const Record& b) {
    EXPECT_EQ(a.id, b.id);
    EXPECT_EQ(a.values, b.values);
    EXPECT_EQ(a.points, b.points);
    EXPECT_EQ(a.order, b.order);
  }

  tv::TypeRegistry registry;
};

TEST_F(DocumentFiles, SavesAndLoadsInTheFormOfTheExtension) {
  const Record record = MakeRecord();
  Wheel wheel;
  wheel.enabled = false;  // in the scope of its base
  wheel.weight = 12;
  wheel.radius = 2.5f;
  const struct {
    const char* extension;
    const char* head;
  } cases[] = {{"xml", "<"}, {"json", "{"}, {"bin", "NBIN"}, {"scn", "{"}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.extension);
    const std::string record_path = std::string("record.") + c.extension;
    ASSERT_TRUE(tv::SaveObject(record, record_path));
    EXPECT_EQ(temp.Get(record_path).substr(0, std::string(c.head).size()), c.head);
    Record record_back;
    ASSERT_TRUE(tv::LoadObject(record_back, record_path));
    ExpectSameRecord(record_back, record);

    const std::string wheel_path = std::string("wheel.") + c.extension;
    ASSERT_TRUE(tv::SaveObject(wheel, wheel_path));
    Wheel wheel_back;
    ASSERT_TRUE(tv::LoadObject(wheel_back, wheel_path));
    EXPECT_EQ(wheel_back.enabled, false);
    EXPECT_EQ(wheel_back.weight, 12);
    EXPECT_EQ(wheel_back.radius, 2.5f);
  }
  EXPECT_TRUE(tv_test::TakeLog().empty());
}

TEST_F(DocumentFiles, AnExplicitFormatWinsOverTheExtension) {
  const Record record = MakeRecord();
  ASSERT_TRUE(tv::SaveObject(record, "record.dat", tv::DocumentFormatXML));
  EXPECT_EQ(temp.Get("record.dat").substr(0, 1), "<");
  ASSERT_TRUE(tv::SaveObject(record, "record.xml", tv::DocumentFormatJSON));
  EXPECT_EQ(temp.Get("record.xml").substr(0, 1), "{");

  Record back;
  // Read by its first byte, as its extension tells nothing.
  ASSERT_TRUE(tv::LoadObject(back, "record.dat"));
  ExpectSameRecord(back, record);
  // The extension alone would pick XML for JSON text.
  Record wrong;
  EXPECT_FALSE(tv::LoadObject(wrong, "record.xml"));
  ASSERT_TRUE(tv::LoadObject(back = Record(), "record.xml", tv::DocumentFormatJSON));
  ExpectSameRecord(back, record);
}

TEST_F(DocumentFiles, AFormThatCantBeToldIsWrittenAndReadAsBinary) {
  const Record record = MakeRecord();
  ASSERT_TRUE(tv::SaveObject(record, "record.dat"));
  EXPECT_EQ(temp.Get("record.dat").substr(0, 4), "NBIN");
  Record back;
  ASSERT_TRUE(tv::LoadObject(back, "record.dat"));
  ExpectSameRecord(back, record);
  // Same for a format that is no form at all.
  ASSERT_TRUE(tv::SaveObject(record, "odd.xml", tv::DocumentFormat(9)));
  EXPECT_EQ(temp.Get("odd.xml").substr(0, 4), "NBIN");
  ASSERT_TRUE(tv::LoadObject(back = Record(), "odd.xml", tv::DocumentFormat(9)));
  ExpectSameRecord(back, record);
  EXPECT_TRUE(tv_test::TakeLog().empty());
}

TEST_F(DocumentFiles, TheWalkRunsWithTheCallersContextOrOneMadeForTheCall) {
  Tagged tagged;
  tagged.value = 4;
  tv::SerializationContext save_context;
  save_context.path = "kept";
  ASSERT_TRUE(tv::SaveObject(&tagged, registry.GetType<Tagged>(), "tagged.json", tv::DocumentFormatUnknown,
                             save_context));
  EXPECT_EQ(save_context.path, "kept");
  EXPECT_TRUE(save_context.object_stack.empty());

  Tagged back;
  tv::DeserializationContext load_context;
  ASSERT_TRUE(tv::LoadObject(&back, registry.GetType<Tagged>(), "tagged.json", tv::DocumentFormatUnknown,
                             load_context));
  EXPECT_EQ(back.value, 4);
  ASSERT_TRUE(tv::LoadObject(back, "tagged.json"));
  ASSERT_TRUE(tv::SaveObject(tagged, "tagged.bin"));

  // Every call saw a context holding the object at the top, the object itself.
  const std::vector<serialize_test::SerializerCall>& calls = serialize_test::TaggedCalls();
  ASSERT_EQ(calls.size(), 4u);
  for (const serialize_test::SerializerCall& call : calls) {
    EXPECT_EQ(call.stack_size, 1u);
    EXPECT_EQ(call.top_type, "Tagged");
  }
  EXPECT_EQ(calls[0].top_object, &tagged);
  EXPECT_EQ(calls[1].top_object, &back);
}

TEST_F(DocumentFiles, TheTypedLoadNamesAResourceByItsPath) {
  Named named;
  named.name = "not stored";
  named.size = 9;
  ASSERT_TRUE(tv::SaveObject(named, "named.json"));
  EXPECT_EQ(temp.Get("named.json").find("not stored"), std::string::npos);
  Named back;
  ASSERT_TRUE(tv::LoadObject(back, "named.json"));
  EXPECT_EQ(back.name, "named.json");
  EXPECT_EQ(back.size, 9);
  // Named before the load, so also when it fails.
  Named missing;
  EXPECT_FALSE(tv::LoadObject(missing, "gone.json"));
  EXPECT_EQ(missing.name, "gone.json");
}

TEST_F(DocumentFiles, LoadsTextOfTheTwoTextFormsOnly) {
  Settings settings;
  ASSERT_TRUE(tv::LoadObjectFromString(settings, "<Document Count=\"8\" Label=\"x\"/><Offset x=\"2\"/>",
                                       tv::DocumentFormatXML));
  EXPECT_EQ(settings.count, 8);
  EXPECT_EQ(settings.label, "x");
  EXPECT_EQ(settings.offset.x, 2.0f);
  ASSERT_TRUE(tv::LoadObjectFromString(settings, "{\"Count\": 9, \"Order\": \"XYZ\"}", tv::DocumentFormatJSON));
  EXPECT_EQ(settings.count, 9);
  EXPECT_EQ(settings.order, tv::RotationOrder::XYZ);
  EXPECT_EQ(settings.label, "");  // a missing value takes its default

  Settings untouched;
  untouched.count = 1;
  const std::string json = "{\"Count\": 3}";
  EXPECT_FALSE(tv::LoadObjectFromString(untouched, json, tv::DocumentFormatUnknown));
  EXPECT_FALSE(tv::LoadObjectFromString(untouched, json, tv::DocumentFormatBinary));
  EXPECT_FALSE(tv::LoadObjectFromString(untouched, json, tv::DocumentFormatXML));
  EXPECT_FALSE(tv::LoadObjectFromString(untouched, "{\"Count\": 3,}", tv::DocumentFormatJSON));
  EXPECT_FALSE(tv::LoadObjectFromString(untouched, "", tv::DocumentFormatJSON));
  EXPECT_EQ(untouched.count, 1);

  tv::DeserializationContext context;
  Tagged tagged;
  ASSERT_TRUE(tv::LoadObjectFromString(&tagged, registry.GetType<Tagged>(), "{\"Kind\": \"tagged\", \"Value\": 5}",
                                       tv::DocumentFormatJSON, context));
  EXPECT_EQ(tagged.value, 5);
  ASSERT_EQ(serialize_test::TaggedCalls().size(), 1u);
  EXPECT_EQ(serialize_test::TaggedCalls()[0].stack_size, 1u);
}

TEST_F(DocumentFiles, AMissingOrMalformedFileFailsAndLeavesTheObjectAlone) {
  temp.Put("broken.json", "{\"Id\": 3,");
  temp.Put("broken.xml", "<Document Id=\"3\">");
  temp.Put("notes.dat", "Not a document at all");
  temp.Put("short.dat", "NBIN");
  for (const char* path : {"missing.json", "missing.bin", "broken.json", "broken.xml", "notes.dat", "short.dat"}) {
    SCOPED_TRACE(path);
    Record record;
    record.id = 77;
    EXPECT_FALSE(tv::LoadObject(record, path));
    EXPECT_EQ(record.id, 77);
  }
  // The file system's warnings for the missing files; the document classes say nothing.
  EXPECT_EQ(tv_test::TakeLog(), (std::vector<tv_test::LogLine>{
                                    {"warn", "Failed to open 'missing.json' on any mounted file driver"},
                                    {"warn", "Failed to open 'missing.bin' on any mounted file driver"}}));

  // The guess by first bytes reports a missing file, then the binary reader tries it.
  Record record;
  EXPECT_FALSE(tv::LoadObject(record, "missing.scn"));
  EXPECT_EQ(tv_test::TakeLog(), (std::vector<tv_test::LogLine>{
                                    {"warn", "Failed to open 'missing.scn' on any mounted file driver"},
                                    {"error", "Unable to determine document 'missing.scn' type, file not found"},
                                    {"warn", "Failed to open 'missing.scn' on any mounted file driver"}}));
}

TEST_F(DocumentFiles, AFailedWalkFailsTheLoadWithWhatCouldBeRead) {
  // "Must" of the base has no default: the base scope fails, and ends the walk.
  temp.Put("loose.json", "{\"After\": 4, \"Strict\": {}, \"Tail\": {\"slot\": {\"value\": 1}}}");
  Loose loose;
  EXPECT_FALSE(tv::LoadObject(loose, "loose.json"));
  EXPECT_EQ(loose.after, 4);
  EXPECT_TRUE(loose.tail.empty());
}

TEST_F(DocumentFiles, AFailedWalkSavesNothing) {
  Settings settings;
  settings.order = tv::RotationOrder(77);  // an enum value without a name
  for (const char* path : {"settings.json", "settings.xml", "settings.bin"}) {
    SCOPED_TRACE(path);
    EXPECT_FALSE(tv::SaveObject(settings, path));
    EXPECT_FALSE(std::filesystem::exists(temp / path));
  }
}

TEST_F(DocumentFiles, AnUnwritablePathFailsTheSave) {
  temp.Put("plain", "a file, no folder");
  const Record record = MakeRecord();
  for (const char* path : {"plain/record.json", "plain/record.xml", "plain/record.bin"}) {
    SCOPED_TRACE(path);
    EXPECT_FALSE(tv::SaveObject(record, path));
  }
  tv_test::TakeLog();
  tv::filesystem = nullptr;
  EXPECT_FALSE(tv::SaveObject(record, "record.json"));
  Record back;
  EXPECT_FALSE(tv::LoadObject(back, "record.json"));
}

TEST_F(DocumentFiles, ATypeThatIsNotRegisteredFails) {
  Unregistered value;
  EXPECT_FALSE(tv::SaveObject(value, "value.json"));
  EXPECT_FALSE(std::filesystem::exists(temp / "value.json"));
  temp.Put("value.json", "{\"Value\": 1}");
  EXPECT_FALSE(tv::LoadObject(value, "value.json"));
  EXPECT_FALSE(tv::LoadObjectFromString(value, "{\"Value\": 1}", tv::DocumentFormatJSON));
  EXPECT_EQ(registry.FindType("Unregistered"), nullptr);  // looked up, never made
  tv::DeserializationContext context;
  EXPECT_FALSE(tv::LoadObject(&value, nullptr, "value.json", tv::DocumentFormatJSON, context));
  tv::types = nullptr;
  Settings settings;
  EXPECT_FALSE(tv::SaveObject(settings, "settings.json"));
  for (const auto& line : tv_test::TakeLog()) ADD_FAILURE() << line.first << ": " << line.second;
}

} // namespace
