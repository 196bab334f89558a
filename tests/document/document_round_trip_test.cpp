// What both text forms promise alike: values of every kind come back, scopes nest and repeat,
// the scope contract holds at the edges, and bad text or files are refused cleanly.

#include <gtest/gtest.h>

#include <cfloat>
#include <climits>
#include <string>
#include <vector>

#include "document/document_scope.h"
#include "document_fixture.h"

using namespace tv;
using tv_test::ChildNames;

namespace {

template <typename Form>
class DocumentRoundTrip : public tv_test::DocumentTest {
protected:
  std::string FileName(const std::string& stem) const { return stem + "." + Form::kExtension; }
};

using Forms = ::testing::Types<tv_test::XMLForm, tv_test::JSONForm>;
TYPED_TEST_SUITE(DocumentRoundTrip, Forms);

// Strings that a printer must escape or must leave alone. (A lone carriage return is left out:
// XML parsers turn it into a line feed.)
const std::vector<std::pair<const char*, std::string>> kStrings = {
    {"Empty", ""},
    {"Markup", "<a href=\"x\">&amp; 'q' ]]></a>"},
    {"Controls", "tab\there\nnew line, back\\slash"},
    {"Unicode", "Caf\xC3\xA9 \xE2\x88\x91 \xF0\x9F\x98\x80"},
    {"Spaces", "  padded  "},
};

void WriteEveryKind(DocumentWriter& writer) {
  writer.Write("Zero", 0);
  writer.Write("IntMin", INT_MIN);
  writer.Write("IntMax", INT_MAX);
  writer.Write("UintMax", UINT_MAX);
  writer.Write("UintZero", 0u);
  writer.Write("Yes", true);
  writer.Write("No", false);
  writer.Write("Negative", -2.5f);
  writer.Write("Whole", 3.0f);
  writer.Write("Largest", FLT_MAX);
  writer.Write("Lowest", -FLT_MAX);
  writer.Write("Small", -0.125f);
  for (const auto& [name, value] : kStrings) writer.Write(name, value);
}

void ExpectEveryKind(DocumentReader& reader) {
  int number = 1;
  EXPECT_TRUE(reader.Read("Zero", number));
  EXPECT_EQ(number, 0);
  EXPECT_TRUE(reader.Read("IntMin", number));
  EXPECT_EQ(number, INT_MIN);
  EXPECT_TRUE(reader.Read("IntMax", number));
  EXPECT_EQ(number, INT_MAX);
  unsigned whole = 1;
  EXPECT_TRUE(reader.Read("UintMax", whole));
  EXPECT_EQ(whole, UINT_MAX);
  EXPECT_TRUE(reader.Read("UintZero", whole));
  EXPECT_EQ(whole, 0u);
  bool flag = false;
  EXPECT_TRUE(reader.Read("Yes", flag));
  EXPECT_TRUE(flag);
  EXPECT_TRUE(reader.Read("No", flag));
  EXPECT_FALSE(flag);
  float real = 0;
  EXPECT_TRUE(reader.Read("Negative", real));
  EXPECT_EQ(real, -2.5f);
  EXPECT_TRUE(reader.Read("Whole", real));
  EXPECT_EQ(real, 3.0f);
  EXPECT_TRUE(reader.Read("Largest", real));
  EXPECT_EQ(real, FLT_MAX);
  EXPECT_TRUE(reader.Read("Lowest", real));
  EXPECT_EQ(real, -FLT_MAX);
  EXPECT_TRUE(reader.Read("Small", real));
  EXPECT_EQ(real, -0.125f);
  for (const auto& [name, value] : kStrings) {
    std::string text = "unchanged";
    EXPECT_TRUE(reader.Read(name, text)) << name;
    EXPECT_EQ(text, value) << name;
  }
}

TYPED_TEST(DocumentRoundTrip, EveryKindAndAwkwardValueComesBackFromFileAndText) {
  typename TypeParam::Writer writer;
  ASSERT_TRUE(writer.EnterScope("Values"));
  WriteEveryKind(writer);
  ASSERT_TRUE(writer.ExitScope());
  const std::string path = this->FileName("values");
  ASSERT_TRUE(writer.Save(path));
  // Save writes exactly the text, without the printer's terminating NUL.
  EXPECT_EQ(this->temp.Get(path), writer.SaveToString());

  typename TypeParam::Reader from_file;
  ASSERT_TRUE(from_file.Load(path));
  ASSERT_TRUE(EnterScope(from_file, "Values"));
  ExpectEveryKind(from_file);

  typename TypeParam::Reader from_text;
  ASSERT_TRUE(from_text.LoadFromString(writer.SaveToString()));
  ASSERT_TRUE(EnterScope(from_text, "Values"));
  ExpectEveryKind(from_text);
}

TYPED_TEST(DocumentRoundTrip, DeepNestingAndRepeatedScopeNamesComeBackInOrder) {
  constexpr int kDepth = 60;  // well inside the XML parser's nesting limit
  typename TypeParam::Writer writer;
  for (int level = 0; level < kDepth; ++level) {
    for (int slot = 0; slot < 3; ++slot) {
      DocumentScope scope(writer, "Slot");
      ASSERT_TRUE(scope.IsEntered());
      writer.Write("Index", level * 10 + slot);
    }
    ASSERT_TRUE(writer.EnterScope("Level"));
    writer.Write("Depth", level);
  }
  ASSERT_TRUE(ExitScopes(writer, kDepth));
  EXPECT_FALSE(writer.ExitScope());

  typename TypeParam::Reader reader;
  ASSERT_TRUE(reader.LoadFromString(writer.SaveToString()));
  for (int level = 0; level < kDepth; ++level) {
    SCOPED_TRACE(level);
    ASSERT_EQ(ChildNames(reader), (std::vector<std::string>{"Slot", "Slot", "Slot", "Level"}));
    EXPECT_EQ(CountScopes(reader, "Slot"), 3);
    ASSERT_TRUE(reader.EnterFirstChild());
    for (int slot = 0; slot < 3; ++slot) {
      int index = -1;
      EXPECT_TRUE(reader.Read("Index", index));
      EXPECT_EQ(index, level * 10 + slot);
      ASSERT_TRUE(reader.EnterNextSibling());
    }
    ASSERT_EQ(reader.GetScopeName(), "Level");
    int depth = -1;
    EXPECT_TRUE(reader.Read("Depth", depth));
    EXPECT_EQ(depth, level);
  }
  EXPECT_FALSE(reader.EnterFirstChild());
  EXPECT_TRUE(ExitScopes(reader, kDepth));
  EXPECT_EQ(reader.GetScopeName(), "root");
  EXPECT_FALSE(reader.ExitScope());
}

TYPED_TEST(DocumentRoundTrip, ScopeContractHoldsAtTheRootAndAfterTheLastSibling) {
  typename TypeParam::Reader empty;
  EXPECT_EQ(empty.GetScopeName(), "root");
  EXPECT_FALSE(empty.EnterFirstChild());
  EXPECT_FALSE(empty.EnterNextSibling());
  EXPECT_FALSE(empty.ExitScope());
  std::string text = "unchanged";
  EXPECT_FALSE(empty.Read("Anything", text));
  EXPECT_EQ(text, "unchanged");

  typename TypeParam::Writer writer;
  EXPECT_FALSE(writer.ExitScope());
  writer.EnterScope("A");
  writer.Write("Which", 1);
  writer.ExitScope();
  writer.EnterScope("A");  // a second scope of that name, not the first one again
  writer.Write("Which", 2);
  writer.EnterScope("Inner");
  writer.ExitScope();
  writer.ExitScope();

  typename TypeParam::Reader reader;
  ASSERT_TRUE(reader.LoadFromString(writer.SaveToString()));
  ASSERT_TRUE(reader.EnterFirstChild());
  int which = 0;
  EXPECT_TRUE(reader.Read("Which", which));
  EXPECT_EQ(which, 1);
  EXPECT_FALSE(reader.EnterFirstChild());
  EXPECT_EQ(reader.GetScopeName(), "A");  // a failed EnterFirstChild stays
  ASSERT_TRUE(reader.EnterNextSibling());
  EXPECT_TRUE(reader.Read("Which", which));
  EXPECT_EQ(which, 2);
  ASSERT_TRUE(reader.EnterFirstChild());
  EXPECT_EQ(reader.GetScopeName(), "Inner");
  EXPECT_FALSE(reader.EnterNextSibling());  // none left: the parent is current
  EXPECT_EQ(reader.GetScopeName(), "A");
  EXPECT_TRUE(reader.Read("Which", which));
  EXPECT_FALSE(reader.EnterNextSibling());
  EXPECT_EQ(reader.GetScopeName(), "root");
  // Read looks only in the current scope.
  which = 0;
  EXPECT_FALSE(reader.Read("Which", which));
  EXPECT_EQ(which, 0);
}

TYPED_TEST(DocumentRoundTrip, MissingValuesAndOtherKindsLeaveTheTargetUnchanged) {
  typename TypeParam::Writer writer;
  writer.EnterScope("S");
  writer.Write("Text", std::string("words"));
  writer.Write("Flag", true);
  writer.Write("Negative", -1);
  writer.Write("Fraction", 0.5f);
  writer.ExitScope();
  typename TypeParam::Reader reader;
  ASSERT_TRUE(reader.LoadFromString(writer.SaveToString()));
  ASSERT_TRUE(EnterScope(reader, "S"));

  int number = 42;
  unsigned whole = 42;
  float real = 42;
  bool flag = false;
  EXPECT_FALSE(reader.Read("Text", number));
  EXPECT_FALSE(reader.Read("Text", whole));
  EXPECT_FALSE(reader.Read("Text", real));
  EXPECT_FALSE(reader.Read("Text", flag));
  EXPECT_FALSE(reader.Read("Negative", whole));
  EXPECT_FALSE(reader.Read("Fraction", number));
  EXPECT_FALSE(reader.Read("Flag", number));
  EXPECT_FALSE(reader.Read("Missing", number));
  EXPECT_FALSE(reader.Read("S", number));  // a scope is no value
  EXPECT_EQ(number, 42);
  EXPECT_EQ(whole, 42u);
  EXPECT_EQ(real, 42.0f);
  EXPECT_FALSE(flag);
  EXPECT_FALSE(reader.Read(nullptr, number));
}

TYPED_TEST(DocumentRoundTrip, BinaryBlocksAreRefusedByTextForms) {
  typename TypeParam::Writer writer;
  EXPECT_FALSE(writer.IsBinary());
  BinaryData block;
  block.Write("abc", 3);
  EXPECT_FALSE(writer.Write("Block", block));
  writer.Write("Marker", 1);

  typename TypeParam::Reader reader;
  EXPECT_FALSE(reader.IsBinary());
  ASSERT_TRUE(reader.LoadFromString(writer.SaveToString()));
  BinaryData out;
  EXPECT_FALSE(reader.Read("Block", out));
  EXPECT_EQ(out.size, 0u);
  std::string text;
  EXPECT_FALSE(reader.Read("Block", text));  // nothing was written in its place
}

TYPED_TEST(DocumentRoundTrip, NarrowValuesWidenOnWriteAndAreRangeCheckedOnRead) {
  typename TypeParam::Writer writer;
  writer.Write("I8", int8_t(-128));
  writer.Write("I16", int16_t(32767));
  writer.Write("U8", uint8_t(255));
  writer.Write("U16", uint16_t(65535));
  writer.Write("Over8", 128);
  writer.Write("Under8", -129);
  writer.Write("Over16", 32768);
  writer.Write("Under16", -32769);
  writer.Write("OverU8", 256u);
  writer.Write("OverU16", 65536u);
  writer.Write("NegativeU", -1);

  typename TypeParam::Reader reader;
  ASSERT_TRUE(reader.LoadFromString(writer.SaveToString()));
  int8_t i8 = 0;
  int16_t i16 = 0;
  uint8_t u8 = 0;
  uint16_t u16 = 0;
  EXPECT_TRUE(reader.Read("I8", i8));
  EXPECT_EQ(i8, -128);
  EXPECT_TRUE(reader.Read("I16", i16));
  EXPECT_EQ(i16, 32767);
  EXPECT_TRUE(reader.Read("U8", u8));
  EXPECT_EQ(u8, 255);
  EXPECT_TRUE(reader.Read("U16", u16));
  EXPECT_EQ(u16, 65535);
  // Refused values leave the last good ones in place.
  EXPECT_FALSE(reader.Read("Over8", i8));
  EXPECT_FALSE(reader.Read("Under8", i8));
  EXPECT_FALSE(reader.Read("Over16", i16));
  EXPECT_FALSE(reader.Read("Under16", i16));
  EXPECT_FALSE(reader.Read("OverU8", u8));
  EXPECT_FALSE(reader.Read("OverU16", u16));
  EXPECT_FALSE(reader.Read("NegativeU", u8));
  EXPECT_FALSE(reader.Read("NegativeU", u16));
  EXPECT_EQ(i8, -128);
  EXPECT_EQ(i16, 32767);
  EXPECT_EQ(u8, 255);
  EXPECT_EQ(u16, 65535);
  // A narrow read of an unsigned that fits an int8 still goes through the int slot.
  EXPECT_TRUE(reader.Read("OverU8", i16));
  EXPECT_EQ(i16, 256);
}

TYPED_TEST(DocumentRoundTrip, ValuesAreListedInOrderWithTheKindThatReadsThem) {
  typename TypeParam::Writer writer;
  writer.EnterScope("S");
  writer.Write("Flag", true);
  writer.Write("Count", -3);
  writer.Write("Size", 3000000000u);
  writer.Write("Ratio", 0.5f);
  writer.Write("Name", "x");
  writer.EnterScope("Child");
  writer.ExitScope();
  writer.ExitScope();

  typename TypeParam::Reader reader;
  ASSERT_TRUE(reader.LoadFromString(writer.SaveToString()));
  std::vector<DocumentValueInfo> values = {{"stale", DocumentValueOther}};
  EXPECT_TRUE(reader.ListValues(values));
  EXPECT_TRUE(values.empty());  // the root holds none
  ASSERT_TRUE(EnterScope(reader, "S"));
  ASSERT_TRUE(reader.ListValues(values));
  std::vector<std::pair<std::string, DocumentValueKind>> listed;
  for (const DocumentValueInfo& value : values) listed.emplace_back(value.name, value.kind);
  EXPECT_EQ(listed, (std::vector<std::pair<std::string, DocumentValueKind>>{{"Flag", DocumentValueBool},
                                                                            {"Count", DocumentValueInt},
                                                                            {"Size", DocumentValueUnsigned},
                                                                            {"Ratio", DocumentValueFloat},
                                                                            {"Name", DocumentValueString}}));
}

TYPED_TEST(DocumentRoundTrip, FilesThatCannotBeReadOrWrittenFailWithoutAMessageOfTheirOwn) {
  typename TypeParam::Reader reader;
  EXPECT_FALSE(reader.Load(this->FileName("missing")));
  EXPECT_EQ(reader.GetScopeName(), "root");
  // Only the file system's warning: the document classes add nothing.
  for (const tv_test::LogLine& line : tv_test::TakeLog()) EXPECT_EQ(line.first, "warn") << line.second;

  typename TypeParam::Writer writer;
  writer.Write("Value", 1);
  std::filesystem::create_directory(this->temp / "folder");
  EXPECT_FALSE(writer.Save("folder"));
  tv_test::TakeLog();

  tv::filesystem = nullptr;
  EXPECT_FALSE(writer.Save(this->FileName("nowhere")));
  EXPECT_FALSE(reader.Load(this->FileName("nowhere")));
}

TYPED_TEST(DocumentRoundTrip, LoadingAgainStartsOverAndAFailedLoadLeavesNothing) {
  typename TypeParam::Writer first;
  first.EnterScope("First");
  first.Write("Value", 1);
  first.ExitScope();
  typename TypeParam::Writer second;
  second.EnterScope("Second");
  second.ExitScope();

  typename TypeParam::Reader reader;
  ASSERT_TRUE(reader.LoadFromString(first.SaveToString()));
  ASSERT_TRUE(reader.EnterFirstChild());
  ASSERT_TRUE(reader.LoadFromString(second.SaveToString()));
  EXPECT_EQ(reader.GetScopeName(), "root");
  EXPECT_EQ(ChildNames(reader), (std::vector<std::string>{"Second"}));

  ASSERT_TRUE(reader.LoadFromString(first.SaveToString()));
  ASSERT_TRUE(reader.EnterFirstChild());
  std::string broken = first.SaveToString();
  broken.resize(broken.size() / 2);
  EXPECT_FALSE(reader.LoadFromString(broken));
  EXPECT_EQ(reader.GetScopeName(), "root");
  EXPECT_FALSE(reader.EnterFirstChild());
  EXPECT_FALSE(reader.ExitScope());
  int value = 7;
  EXPECT_FALSE(reader.Read("Value", value));
  EXPECT_EQ(value, 7);
}

} // namespace
