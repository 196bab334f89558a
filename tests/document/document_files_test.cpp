// Whole files in and out of typed objects: the form chosen by the format or the path, the binary
// form as the fallback, the context handed to the walk, and every way a load or save fails.

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "core/core_registration.h"
#include "document/document_files.h"
#include "document_test_support.h"
#include "serialize_test_types.h"

namespace {

using serialize_test::Record;
using serialize_test::Settings;
using serialize_test::Tagged;
using tv_test::LogLine;
using tv_test::TakeLog;

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
    tv::AddMemberField(tv::RegisterValueType<Named>(registry), "Size", &Named::size);
    tv::types = &registry;
    record.id = 7;
    record.values = {3, -1, 4};
    record.points = {tv::Vector3(1, 2, 3), tv::Vector3(-0.5f, 0.25f, 8)};
    record.order = tv::RotationOrder::XZY;
  }
  void TearDown() override {
    tv::types = nullptr;
    DocumentTest::TearDown();
  }

  tv::TypeRegistry registry;
  Record record;
};

// The form comes from an explicit format, else from the extension on save and the extension or
// first bytes on load; where none can be told, the binary form. A base class rides along.
TEST_F(DocumentFiles, SavesAndLoadsInTheFormOfTheFormatOrPath) {
  const struct {
    const char* path;
    tv::DocumentFormat save, load;
    const char* head;
    bool loads;
  } rows[] = {
      {"r.xml", tv::DocumentFormatUnknown, tv::DocumentFormatUnknown, "<", true},
      {"r.json", tv::DocumentFormatUnknown, tv::DocumentFormatUnknown, "{", true},
      {"r.bin", tv::DocumentFormatUnknown, tv::DocumentFormatUnknown, "NBIN", true},
      {"r.scn", tv::DocumentFormatUnknown, tv::DocumentFormatUnknown, "{", true},
      {"r.dat", tv::DocumentFormatUnknown, tv::DocumentFormatUnknown, "NBIN", true},
      {"x.dat", tv::DocumentFormatXML, tv::DocumentFormatUnknown, "<", true},  // read by its first byte
      {"j.xml", tv::DocumentFormatJSON, tv::DocumentFormatUnknown, "{", false},  // the extension says XML
      {"j.xml", tv::DocumentFormatJSON, tv::DocumentFormatJSON, "{", true},
      {"odd.xml", tv::DocumentFormat(9), tv::DocumentFormat(9), "NBIN", true},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.path);
    ASSERT_TRUE(tv::SaveObject(record, row.path, row.save));
    EXPECT_EQ(temp.Get(row.path).substr(0, std::string(row.head).size()), row.head);
    Record back;
    EXPECT_EQ(tv::LoadObject(back, row.path, row.load), row.loads);
    if (row.loads) {
      EXPECT_EQ(back, record);
    }

    serialize_test::Wheel wheel, wheel_back;
    wheel.enabled = false;  // in the scope of its base
    wheel.weight = 12;
    wheel.radius = 2.5f;
    ASSERT_TRUE(tv::SaveObject(wheel, row.path, row.save));
    ASSERT_EQ(tv::LoadObject(wheel_back, row.path, row.load), row.loads);
    if (row.loads) {
      EXPECT_TRUE(!wheel_back.enabled && wheel_back.weight == 12 && wheel_back.radius == 2.5f);
    }
  }
  EXPECT_TRUE(TakeLog().empty());
}

// The walk gets the caller's context, or one made for the call, with the object on its stack.
TEST_F(DocumentFiles, TheWalkRunsWithTheCallersContextOrOneMadeForTheCall) {
  Tagged tagged, back;
  tagged.value = 4;
  tv::SerializationContext save_context;
  save_context.path = "kept";
  tv::Type* type = registry.GetType<Tagged>();
  ASSERT_TRUE(tv::SaveObject(&tagged, type, "tagged.json", tv::DocumentFormatUnknown, save_context));
  EXPECT_EQ(save_context.path, "kept");
  EXPECT_TRUE(save_context.object_stack.empty());
  tv::DeserializationContext load_context;
  ASSERT_TRUE(tv::LoadObject(&back, type, "tagged.json", tv::DocumentFormatUnknown, load_context));
  EXPECT_EQ(back.value, 4);
  ASSERT_TRUE(tv::LoadObject(back, "tagged.json"));
  ASSERT_TRUE(tv::SaveObject(tagged, "tagged.bin"));
  ASSERT_TRUE(tv::LoadObjectFromString(&back, type, "{\"Kind\": \"tagged\", \"Value\": 5}", tv::DocumentFormatJSON,
                                       load_context));
  EXPECT_EQ(back.value, 5);
  const std::vector<serialize_test::SerializerCall>& calls = serialize_test::TaggedCalls();
  ASSERT_EQ(calls.size(), 5u);
  for (const serialize_test::SerializerCall& call : calls) {
    EXPECT_EQ(call.stack_size, 1u);
    EXPECT_EQ(call.top_type, "Tagged");
  }
  EXPECT_EQ(calls[0].top_object, &tagged);
  EXPECT_EQ(calls[1].top_object, &back);
}

// The typed load names a resource by its path, before the load, so also when the load fails.
TEST_F(DocumentFiles, TheTypedLoadNamesAResourceByItsPath) {
  Named named{"not stored", 9}, back, missing;
  ASSERT_TRUE(tv::SaveObject(named, "named.json"));
  EXPECT_EQ(temp.Get("named.json").find("not stored"), std::string::npos);
  ASSERT_TRUE(tv::LoadObject(back, "named.json"));
  EXPECT_EQ(back.name, "named.json");
  EXPECT_EQ(back.size, 9);
  EXPECT_FALSE(tv::LoadObject(missing, "gone.json"));
  EXPECT_EQ(missing.name, "gone.json");
}

// Text in memory loads in the two text forms only; a missing value takes its default.
TEST_F(DocumentFiles, LoadsTextOfTheTwoTextFormsOnly) {
  Settings settings;
  ASSERT_TRUE(tv::LoadObjectFromString(settings, "<Document Count=\"8\" Label=\"x\"/><Offset x=\"2\"/>",
                                       tv::DocumentFormatXML));
  EXPECT_TRUE(settings.count == 8 && settings.label == "x" && settings.offset.x == 2.0f);
  ASSERT_TRUE(tv::LoadObjectFromString(settings, "{\"Count\": 9, \"Order\": \"XYZ\"}", tv::DocumentFormatJSON));
  EXPECT_TRUE(settings.count == 9 && settings.order == tv::RotationOrder::XYZ && settings.label.empty());

  const std::pair<const char*, tv::DocumentFormat> refused[] = {
      {"{\"Count\": 3}", tv::DocumentFormatUnknown}, {"{\"Count\": 3}", tv::DocumentFormatBinary},
      {"{\"Count\": 3}", tv::DocumentFormatXML},     {"{\"Count\": 3,}", tv::DocumentFormatJSON},
      {"", tv::DocumentFormatJSON}};
  for (const auto& [text, format] : refused) {
    Settings untouched;
    untouched.count = 1;
    EXPECT_FALSE(tv::LoadObjectFromString(untouched, text, format)) << text << " " << format;
    EXPECT_EQ(untouched.count, 1);
  }
}

// A missing or malformed file fails and leaves the object alone. Only the file system warns, and
// the guess by first bytes reports a missing file before the binary reader tries it.
TEST_F(DocumentFiles, AMissingOrMalformedFileFailsAndLeavesTheObjectAlone) {
  temp.Put("broken.json", "{\"Id\": 3,");
  temp.Put("broken.xml", "<Document Id=\"3\">");
  temp.Put("notes.dat", "Not a document at all");
  temp.Put("short.dat", "NBIN");
  for (const char* path : {"missing.json", "missing.bin", "broken.json", "broken.xml", "notes.dat", "short.dat"}) {
    Record untouched = record;
    EXPECT_FALSE(tv::LoadObject(untouched, path)) << path;
    EXPECT_EQ(untouched, record);
  }
  EXPECT_EQ(TakeLog(), (std::vector<LogLine>{{"warn", "Failed to open 'missing.json' on any mounted file driver"},
                                             {"warn", "Failed to open 'missing.bin' on any mounted file driver"}}));
  EXPECT_FALSE(tv::LoadObject(record, "missing.scn"));
  EXPECT_EQ(TakeLog(), (std::vector<LogLine>{
                           {"warn", "Failed to open 'missing.scn' on any mounted file driver"},
                           {"error", "Unable to determine document 'missing.scn' type, file not found"},
                           {"warn", "Failed to open 'missing.scn' on any mounted file driver"}}));
}

// A failed walk fails the load with what could be read: "Must" of the base has no default, so the
// base scope fails and ends the walk before "Tail".
TEST_F(DocumentFiles, AFailedWalkFailsTheLoadWithWhatCouldBeRead) {
  temp.Put("loose.json", "{\"After\": 4, \"Strict\": {}, \"Tail\": {\"slot\": {\"value\": 1}}}");
  serialize_test::Loose loose;
  EXPECT_FALSE(tv::LoadObject(loose, "loose.json"));
  EXPECT_EQ(loose.after, 4);
  EXPECT_TRUE(loose.tail.empty());
}

// A failed walk (an enum value without a name), an unwritable path or no file system save nothing.
TEST_F(DocumentFiles, AFailedWalkOrWriteSavesNothing) {
  Settings settings;
  settings.order = tv::RotationOrder(77);
  temp.Put("plain", "a file, no folder");
  for (const char* extension : {"json", "xml", "bin"}) {
    const std::string path = std::string("settings.") + extension;
    EXPECT_FALSE(tv::SaveObject(settings, path)) << path;
    EXPECT_FALSE(std::filesystem::exists(temp / path)) << path;
    EXPECT_FALSE(tv::SaveObject(record, std::string("plain/record.") + extension)) << extension;
  }
  TakeLog();
  tv::filesystem = nullptr;
  EXPECT_FALSE(tv::SaveObject(record, "record.json"));
  EXPECT_FALSE(tv::LoadObject(record, "record.json"));
}

// A type that is not registered, or no registry, fails quietly; the lookup makes no type.
TEST_F(DocumentFiles, ATypeThatIsNotRegisteredFails) {
  Unregistered value;
  EXPECT_FALSE(tv::SaveObject(value, "value.json"));
  EXPECT_FALSE(std::filesystem::exists(temp / "value.json"));
  temp.Put("value.json", "{\"Value\": 1}");
  EXPECT_FALSE(tv::LoadObject(value, "value.json"));
  EXPECT_FALSE(tv::LoadObjectFromString(value, "{\"Value\": 1}", tv::DocumentFormatJSON));
  EXPECT_EQ(registry.FindType("Unregistered"), nullptr);
  tv::DeserializationContext context;
  EXPECT_FALSE(tv::LoadObject(&value, nullptr, "value.json", tv::DocumentFormatJSON, context));
  tv::types = nullptr;
  EXPECT_FALSE(tv::SaveObject(Settings(), "settings.json"));
  for (const auto& line : TakeLog()) ADD_FAILURE() << line.first << ": " << line.second;
}

} // namespace
