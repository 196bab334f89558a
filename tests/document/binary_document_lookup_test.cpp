// Reads by name start where the previous read of the scope stopped; whatever
// the order of the reads, each must still find the first element of its name,
// as a search from the start would.

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "document/binary_document_reader.h"
#include "document/binary_document_writer.h"

namespace {

// a=1, b=2, a=3 (a float), c=4, scope s { a=5 }, d=6: repeated names, one of
// another kind.
tv::BinaryData RepeatedNames() {
  tv::BinaryDocumentWriter writer;
  writer.Write("a", 1);
  writer.Write("b", 2);
  writer.Write("a", 3.0f);
  writer.Write("c", 4);
  writer.EnterScope("s");
  writer.Write("a", 5);
  writer.ExitScope();
  writer.Write("d", 6);
  tv::BinaryData image;
  EXPECT_TRUE(writer.Save(image));
  return image;
}

TEST(BinaryDocumentLookup, ReadsInAnyOrderFindTheFirstOfEachName) {
  tv::BinaryDocumentReader reader;
  ASSERT_TRUE(reader.Load(RepeatedNames()));
  // Forwards, backwards, repeated and missing names, in one sequence so each
  // read starts where the one before it left off.
  const std::vector<std::pair<const char *, int>> reads = {
      {"c", 4}, {"a", 1}, {"d", 6},   {"b", 2}, {"a", 1},
      {"a", 1}, {"c", 4}, {"zz", -1}, {"d", 6}, {"b", 2}};
  for (const auto &[name, expected] : reads) {
    SCOPED_TRACE(name);
    int value = -1;
    EXPECT_EQ(reader.Read(name, value), expected >= 0);
    EXPECT_EQ(value, expected);
  }
  // The first "a" is an int: a float read of it fails rather than taking the
  // later float.
  float number = 0;
  EXPECT_FALSE(reader.Read("a", number));

  // A scope keeps its own read position, and the parent's is where it was after
  // leaving it.
  ASSERT_TRUE(reader.EnterFirstChild());
  int inner = 0;
  EXPECT_TRUE(reader.Read("a", inner));
  EXPECT_EQ(inner, 5);
  EXPECT_FALSE(reader.Read("b", inner));
  ASSERT_TRUE(reader.ExitScope());
  int outer = 0;
  EXPECT_TRUE(reader.Read("a", outer));
  EXPECT_EQ(outer, 1);
}

TEST(BinaryDocumentLookup, NamesAreTakenByTextNotByAddress) {
  tv::BinaryDocumentReader reader;
  ASSERT_TRUE(reader.Load(RepeatedNames()));
  // One buffer holding each name in turn: the reader must not answer from what
  // the address held.
  char name[8];
  for (const auto &[text, expected] : std::vector<std::pair<const char *, int>>{
           {"a", 1}, {"b", 2}, {"c", 4}, {"a", 1}, {"q", -1}, {"d", 6}}) {
    std::strcpy(name, text);
    SCOPED_TRACE(name);
    int value = -1;
    EXPECT_EQ(reader.Read(name, value), expected >= 0);
    EXPECT_EQ(value, expected);
  }
  // A reader loaded again forgets the names of the document before.
  tv::BinaryDocumentWriter other;
  other.Write("d", 9);
  tv::BinaryData image;
  ASSERT_TRUE(other.Save(image));
  ASSERT_TRUE(reader.Load(image));
  int value = 0;
  EXPECT_FALSE(reader.Read("a", value));
  EXPECT_TRUE(reader.Read("d", value));
  EXPECT_EQ(value, 9);
}

} // namespace
