// Whole files in and out of typed objects: the form chosen by the format or the path, the binary
// form as the fallback, the context handed to the walk, and every way a load or save fails.

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "document/document_files.h"
#include "serialize_test_types.h"

namespace {

using namespace tv;
using serialize_test::Record;
using serialize_test::Settings;
using serialize_test::Tagged;
using tv_test::LogLine;
using tv_test::TakeLog;

struct Named {  // a resource: known by the path it was loaded from, which its document does not hold
  std::string name;
  int32_t size = 0;
};
struct Unregistered {  // has a type name but is never registered
  int32_t value = 0;
};

} // namespace

namespace tv {
TV_TYPE_NAME(Named, "Named");
TV_TYPE_NAME(Unregistered, "Unregistered");
} // namespace tv

namespace {

class DocumentFiles : public serialize_test::TypesTest {
protected:
  void SetUp() override {
    TypesTest::SetUp();
    AddMemberField(RegisterValueType<Named>(registry), "Size", &Named::size);
    record.id = 7;
    record.values = {3, -1, 4};
    record.points = {Vector3(1, 2, 3), Vector3(-0.5f, 0.25f, 8)};
    record.order = RotationOrder::XZY;
  }
  Record record;
};

// The form comes from an explicit format, else from the extension on save and the extension or
// first bytes on load; where none can be told, the binary form.
TEST_F(DocumentFiles, SavesAndLoadsInTheFormOfTheFormatOrPath) {
  const struct {
    const char* path;
    DocumentFormat save, load;
    const char* head;
    bool loads;
  } rows[] = {
      {"r.xml", DocumentFormatUnknown, DocumentFormatUnknown, "<", true},
      {"r.json", DocumentFormatUnknown, DocumentFormatUnknown, "{", true},
      {"r.bin", DocumentFormatUnknown, DocumentFormatUnknown, "NBIN", true},
      {"r.scn", DocumentFormatUnknown, DocumentFormatUnknown, "{", true},
      {"r.dat", DocumentFormatUnknown, DocumentFormatUnknown, "NBIN", true},
      {"x.dat", DocumentFormatXML, DocumentFormatUnknown, "<", true},    // read by its first byte
      {"j.xml", DocumentFormatJSON, DocumentFormatUnknown, "{", false},  // the extension says XML
      {"j.xml", DocumentFormatJSON, DocumentFormatJSON, "{", true},
      {"odd.xml", DocumentFormat(9), DocumentFormat(9), "NBIN", true},
  };
  for (const auto& row : rows) {
    ASSERT_TRUE(SaveObject(record, row.path, row.save)) << row.path;
    EXPECT_EQ(temp.Get(row.path).substr(0, std::string(row.head).size()), row.head) << row.path;
    Record back;
    EXPECT_EQ(LoadObject(back, row.path, row.load), row.loads) << row.path;
    EXPECT_EQ(back == record, row.loads) << row.path;
  }
  EXPECT_TRUE(TakeLog().empty());
}

// The walk gets the caller's context, or one made for the call, with the object on its stack.
TEST_F(DocumentFiles, TheWalkRunsWithTheCallersContextOrOneMadeForTheCall) {
  Tagged tagged, back;
  tagged.value = 4;
  SerializationContext save_context;
  save_context.path = "kept";
  Type* type = registry.GetType<Tagged>();
  ASSERT_TRUE(SaveObject(&tagged, type, "tagged.json", DocumentFormatUnknown, save_context));
  EXPECT_EQ(save_context.path, "kept");
  EXPECT_TRUE(save_context.object_stack.empty());
  DeserializationContext load_context;
  ASSERT_TRUE(LoadObject(&back, type, "tagged.json", DocumentFormatUnknown, load_context));
  EXPECT_EQ(back.value, 4);
  ASSERT_TRUE(LoadObject(back, "tagged.json"));
  ASSERT_TRUE(SaveObject(tagged, "tagged.bin"));
  ASSERT_TRUE(LoadObjectFromString(&back, type, "{\"Kind\": \"tagged\", \"Value\": 5}", DocumentFormatJSON,
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
  ASSERT_TRUE(SaveObject(named, "named.json"));
  EXPECT_EQ(temp.Get("named.json").find("not stored"), std::string::npos);
  ASSERT_TRUE(LoadObject(back, "named.json"));
  EXPECT_EQ(back.name, "named.json");
  EXPECT_EQ(back.size, 9);
  EXPECT_FALSE(LoadObject(missing, "gone.json"));
  EXPECT_EQ(missing.name, "gone.json");
}

// Text in memory loads in the two text forms only; a missing value takes its default.
TEST_F(DocumentFiles, LoadsTextOfTheTwoTextFormsOnly) {
  Settings settings;
  ASSERT_TRUE(LoadObjectFromString(settings, "<Document Count=\"8\" Label=\"x\"/><Offset x=\"2\"/>",
                                       DocumentFormatXML));
  EXPECT_TRUE(settings.count == 8 && settings.label == "x" && settings.offset.x == 2.0f);
  ASSERT_TRUE(LoadObjectFromString(settings, "{\"Count\": 9, \"Order\": \"XYZ\"}", DocumentFormatJSON));
  EXPECT_TRUE(settings.count == 9 && settings.order == RotationOrder::XYZ && settings.label.empty());

  const std::pair<const char*, DocumentFormat> refused[] = {
      {"{\"Count\": 3}", DocumentFormatUnknown}, {"{\"Count\": 3}", DocumentFormatBinary},
      {"{\"Count\": 3}", DocumentFormatXML},     {"{\"Count\": 3,}", DocumentFormatJSON},
      {"", DocumentFormatJSON}};
  for (const auto& [text, format] : refused) {
    Settings untouched;
    untouched.count = 1;
    EXPECT_FALSE(LoadObjectFromString(untouched, text, format)) << text << " " << format;
    EXPECT_EQ(untouched.count, 1);
  }
}

// A missing or malformed file fails and leaves the object alone. Only the file system warns, and
// the guess by first bytes reports a missing file before the binary reader tries it. A failed walk
// fails the load with what could be read: the base scope "Strict" fails ("Must" has no default)
// and ends the walk before "Tail".
TEST_F(DocumentFiles, AMissingOrMalformedFileFailsTheLoad) {
  temp.Put("broken.json", "{\"Id\": 3,");
  temp.Put("broken.xml", "<Document Id=\"3\">");
  temp.Put("notes.dat", "Not a document at all");
  temp.Put("short.dat", "NBIN");
  for (const char* path : {"missing.json", "missing.xml", "missing.bin", "broken.json", "broken.xml", "notes.dat",
                           "short.dat"}) {
    Record untouched = record;
    EXPECT_FALSE(LoadObject(untouched, path)) << path;
    EXPECT_EQ(untouched, record);
  }
  EXPECT_FALSE(LoadObject(record, "missing.scn"));
  EXPECT_EQ(TakeLog(), (std::vector<LogLine>{
                           {"warn", "Failed to open 'missing.json' on any mounted file driver"},
                           {"warn", "Failed to open 'missing.xml' on any mounted file driver"},
                           {"warn", "Failed to open 'missing.bin' on any mounted file driver"},
                           {"warn", "Failed to open 'missing.scn' on any mounted file driver"},
                           {"error", "Unable to determine document 'missing.scn' type, file not found"},
                           {"warn", "Failed to open 'missing.scn' on any mounted file driver"}}));

  temp.Put("loose.json", "{\"After\": 4, \"Strict\": {}, \"Tail\": {\"slot\": {\"value\": 1}}}");
  serialize_test::Loose loose;
  EXPECT_FALSE(LoadObject(loose, "loose.json"));
  EXPECT_EQ(loose.after, 4);
  EXPECT_TRUE(loose.tail.empty());
}

// A failed walk (an enum value without a name), an unwritable path or no file system save nothing.
TEST_F(DocumentFiles, AFailedWalkOrWriteSavesNothing) {
  Settings settings;
  settings.order = RotationOrder(77);
  temp.Put("plain", "a file, no folder");
  for (const char* extension : {"json", "xml", "bin"}) {
    const std::string path = std::string("settings.") + extension;
    EXPECT_FALSE(SaveObject(settings, path)) << path;
    EXPECT_FALSE(std::filesystem::exists(temp / path)) << path;
    EXPECT_FALSE(SaveObject(record, std::string("plain/record.") + extension)) << extension;
  }
  ASSERT_TRUE(SaveObject(record, "record.json"));
  TakeLog();
  filesystem = nullptr;
  for (const char* path : {"record.json", "record.xml", "record.bin"}) {
    EXPECT_FALSE(SaveObject(record, path)) << path;
    EXPECT_FALSE(LoadObject(record, path)) << path;
  }
}

// A type that is not registered, or no registry, fails quietly; the lookup makes no type.
TEST_F(DocumentFiles, ATypeThatIsNotRegisteredFails) {
  Unregistered value;
  EXPECT_FALSE(SaveObject(value, "value.json"));
  EXPECT_FALSE(std::filesystem::exists(temp / "value.json"));
  temp.Put("value.json", "{\"Value\": 1}");
  EXPECT_FALSE(LoadObject(value, "value.json"));
  EXPECT_FALSE(LoadObjectFromString(value, "{\"Value\": 1}", DocumentFormatJSON));
  EXPECT_EQ(registry.FindType("Unregistered"), nullptr);
  DeserializationContext context;
  EXPECT_FALSE(LoadObject(&value, nullptr, "value.json", DocumentFormatJSON, context));
  types = nullptr;
  EXPECT_FALSE(SaveObject(Settings(), "settings.json"));
  for (const auto& line : TakeLog()) ADD_FAILURE() << line.first << ": " << line.second;
}

} // namespace
