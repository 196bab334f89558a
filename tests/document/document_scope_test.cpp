// The helpers over the interface: counting and finding scopes, paths, leaving several scopes,
// and the writer's scope guard.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "document/document_scope.h"
#include "document_fixture.h"

using namespace tv;
using tv_test::ChildNames;

namespace {

// A document of three levels, with repeated names and a value at each stop.
constexpr const char* kTree =
    "{\"At\": \"root\", \"A\": {\"At\": \"A1\", \"B\": {\"At\": \"B1\"}}, \"X\": {\"At\": \"X\"},"
    " \"A\": {\"At\": \"A2\", \"B\": {\"At\": \"B2\", \"C\": {\"At\": \"C\"}}, \"B\": {\"At\": \"B3\"}}}";

std::string At(DocumentReader& reader) {
  std::string at;
  reader.Read("At", at);
  return at;
}

class DocumentScopeHelpers : public ::testing::Test {
protected:
  void SetUp() override { ASSERT_TRUE(reader.LoadFromString(kTree)); }
  JSONDocumentReader reader;
};

TEST_F(DocumentScopeHelpers, CountsLeaveTheReaderWhereItWas) {
  EXPECT_EQ(CountChildScopes(reader), 3);
  EXPECT_EQ(At(reader), "root");
  EXPECT_EQ(CountScopes(reader, "A"), 2);
  EXPECT_EQ(CountScopes(reader, "B"), 0);
  EXPECT_EQ(CountScopes(reader, "Missing"), 0);
  EXPECT_EQ(At(reader), "root");

  ASSERT_TRUE(EnterPath(reader, "X"));
  EXPECT_EQ(CountChildScopes(reader), 0);
  EXPECT_EQ(At(reader), "X");
}

TEST_F(DocumentScopeHelpers, EnterScopeFindsTheFirstOfThatNameOrStaysWhereItWas) {
  ASSERT_TRUE(EnterScope(reader, "X"));
  EXPECT_EQ(At(reader), "X");
  ASSERT_TRUE(reader.ExitScope());
  ASSERT_TRUE(EnterScope(reader, "A"));
  EXPECT_EQ(At(reader), "A1");
  EXPECT_FALSE(EnterScope(reader, "C"));
  EXPECT_EQ(At(reader), "A1");
  EXPECT_EQ(reader.GetScopeName(), "A");
}

TEST_F(DocumentScopeHelpers, EnterPathFollowsEachPartOrReturnsToWhereItStarted) {
  ASSERT_TRUE(EnterPath(reader, "A/B"));
  EXPECT_EQ(At(reader), "B1");  // the first A, and its first B
  ASSERT_TRUE(ExitScopes(reader, 2));
  EXPECT_EQ(At(reader), "root");

  // The last of three parts is missing under the first "A/B": back at the start.
  EXPECT_FALSE(EnterPath(reader, "A/B/C"));
  EXPECT_EQ(reader.GetScopeName(), "root");
  EXPECT_EQ(At(reader), "root");

  ASSERT_TRUE(EnterScope(reader, "X"));
  EXPECT_FALSE(EnterPath(reader, "Missing/B"));
  EXPECT_EQ(At(reader), "X");
  ASSERT_TRUE(reader.ExitScope());

  // Paths are relative to the current scope.
  ASSERT_TRUE(reader.EnterFirstChild());
  ASSERT_TRUE(reader.EnterNextSibling());
  ASSERT_TRUE(reader.EnterNextSibling());
  ASSERT_EQ(At(reader), "A2");
  ASSERT_TRUE(EnterPath(reader, "B/C"));
  EXPECT_EQ(At(reader), "C");
  EXPECT_TRUE(ExitScopes(reader, 3));
  EXPECT_EQ(At(reader), "root");
}

TEST_F(DocumentScopeHelpers, ExitScopesStopsAtTheRoot) {
  EXPECT_TRUE(ExitScopes(reader, 0));
  ASSERT_TRUE(EnterPath(reader, "A/B"));
  EXPECT_FALSE(ExitScopes(reader, 3));
  EXPECT_EQ(reader.GetScopeName(), "root");

  JSONDocumentWriter writer;
  ASSERT_TRUE(EnterPath(writer, "P/Q/R"));
  writer.Write("Deep", 1);
  EXPECT_TRUE(ExitScopes(writer, 2));
  EXPECT_TRUE(ExitScopes(writer, 0));
  EXPECT_FALSE(ExitScopes(writer, 2));
  ASSERT_TRUE(reader.LoadFromString(writer.SaveToString()));
  ASSERT_TRUE(EnterPath(reader, "P/Q/R"));
  int deep = 0;
  EXPECT_TRUE(reader.Read("Deep", deep));
}

// A writer that records its calls and refuses to enter scopes of one name.
class RecordingWriter : public DocumentWriter {
public:
  using DocumentWriter::Write;
  bool EnterScope(const char* name) override {
    calls.push_back(std::string("enter ") + name);
    if (refused == name) return false;
    ++depth;
    return true;
  }
  bool ExitScope() override {
    calls.push_back("exit");
    if (depth == 0) return false;
    --depth;
    return true;
  }
  bool Write(const char*, const std::string&) override { return true; }
  bool Write(const char*, float) override { return true; }
  bool Write(const char*, unsigned int) override { return true; }
  bool Write(const char*, int) override { return true; }
  bool Write(const char*, bool) override { return true; }
  bool Save(const std::string&) override { return true; }

  std::vector<std::string> calls;
  std::string refused;
  int depth = 0;
};

TEST(DocumentWriterPath, LeavesWhatItEnteredWhenAPartIsRefused) {
  RecordingWriter writer;
  writer.refused = "Bad";
  EXPECT_FALSE(EnterPath(writer, "A/B/Bad/C"));
  EXPECT_EQ(writer.calls,
            (std::vector<std::string>{"enter A", "enter B", "enter Bad", "exit", "exit"}));
  EXPECT_EQ(writer.depth, 0);
}

TEST(DocumentScopeGuard, LeavesItsScopeOnceWhenClosedOrDestroyed) {
  RecordingWriter writer;
  {
    DocumentScope scope(writer, "A");
    EXPECT_TRUE(scope.IsEntered());
    EXPECT_TRUE(scope.Close());
    EXPECT_FALSE(scope.IsEntered());
    EXPECT_FALSE(scope.Close());
  }
  EXPECT_EQ(writer.calls, (std::vector<std::string>{"enter A", "exit"}));

  writer.calls.clear();
  {
    DocumentScope outer(writer, "A");
    DocumentScope inner(writer, "B");
  }
  EXPECT_EQ(writer.calls, (std::vector<std::string>{"enter A", "enter B", "exit", "exit"}));
  EXPECT_EQ(writer.depth, 0);
}

TEST(DocumentScopeGuard, ARefusedScopeIsNeverLeft) {
  RecordingWriter writer;
  writer.refused = "Bad";
  writer.EnterScope("Outer");
  {
    DocumentScope scope(writer, "Bad");
    EXPECT_FALSE(scope.IsEntered());
    EXPECT_FALSE(scope.Close());
  }
  // The scope around it is still current.
  EXPECT_EQ(writer.depth, 1);
  EXPECT_EQ(writer.calls, (std::vector<std::string>{"enter Outer", "enter Bad"}));
}

TEST(DocumentScopeGuard, CloseTellsWhetherTheWriterLeftTheScope) {
  RecordingWriter writer;
  DocumentScope scope(writer, "A");
  ASSERT_TRUE(writer.ExitScope());  // someone else left it already
  EXPECT_FALSE(scope.Close());
  EXPECT_EQ(writer.calls, (std::vector<std::string>{"enter A", "exit", "exit"}));
}

} // namespace
