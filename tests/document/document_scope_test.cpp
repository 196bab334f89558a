// The helpers over the interface: counting and finding scopes, paths, leaving several scopes,
// and the writer's scope guard.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "document/document_scope.h"
#include "document_test_support.h"

using namespace tv;

namespace {

// Three levels with repeated names and a value "At" at each stop.
constexpr const char* kTree =
    "{\"At\": \"root\", \"A\": {\"At\": \"A1\", \"B\": {\"At\": \"B1\"}}, \"X\": {\"At\": \"X\"},"
    " \"A\": {\"At\": \"A2\", \"B\": {\"At\": \"B2\", \"C\": {\"At\": \"C\"}}, \"B\": {\"At\": \"B3\"}}}";

std::string At(DocumentReader& reader) {
  std::string at;
  reader.Read("At", at);
  return at;
}

// EnterPath takes the first scope of each name from the current scope; on a miss it leaves what
// it entered. Counting moves nothing.
TEST(DocumentScopeHelpers, PathsAndCountsFromTheRoot) {
  const struct {
    const char* path;
    bool found;
    const char* at;
    int children, b_scopes;
  } rows[] = {
      {"X", true, "X", 0, 0},          {"A", true, "A1", 1, 1},
      {"A/B", true, "B1", 0, 0},       {"A/B/C", false, "root", 3, 0},  // the first A/B has no C
      {"Missing/B", false, "root", 3, 0},
  };
  JSONDocumentReader reader;
  for (const auto& row : rows) {
    SCOPED_TRACE(row.path);
    ASSERT_TRUE(reader.LoadFromString(kTree));
    EXPECT_EQ(EnterPath(reader, row.path), row.found);
    EXPECT_EQ(At(reader), row.at);
    EXPECT_EQ(CountChildScopes(reader), row.children);
    EXPECT_EQ(CountScopes(reader, "B"), row.b_scopes);
    EXPECT_EQ(At(reader), row.at);
  }
  EXPECT_EQ(CountScopes(reader, "A"), 2);
  ASSERT_TRUE(EnterScope(reader, "A"));
  EXPECT_FALSE(EnterScope(reader, "C"));
  EXPECT_EQ(At(reader), "A1");
}

// Paths are relative to the current scope; ExitScopes stops, false, at the root.
TEST(DocumentScopeHelpers, RelativePathsAndExitScopes) {
  JSONDocumentReader reader;
  ASSERT_TRUE(reader.LoadFromString(kTree));
  EXPECT_TRUE(ExitScopes(reader, 0));
  ASSERT_TRUE(reader.EnterFirstChild());
  ASSERT_TRUE(reader.EnterNextSibling());
  ASSERT_TRUE(reader.EnterNextSibling());
  ASSERT_TRUE(EnterPath(reader, "B/C"));
  EXPECT_EQ(At(reader), "C");
  EXPECT_TRUE(ExitScopes(reader, 2));
  EXPECT_EQ(At(reader), "A2");
  EXPECT_FALSE(ExitScopes(reader, 3));
  EXPECT_EQ(reader.GetScopeName(), "root");

  JSONDocumentWriter writer;
  ASSERT_TRUE(EnterPath(writer, "P/Q/R"));
  writer.Write("Deep", 1);
  EXPECT_TRUE(ExitScopes(writer, 2));
  EXPECT_TRUE(ExitScopes(writer, 0));
  EXPECT_FALSE(ExitScopes(writer, 2));
  ASSERT_TRUE(reader.LoadFromString(writer.SaveToString()));
  tv_test::ExpectScript(reader, "P{Q{R{Deep=1}}}");
}

// A writer that records its calls and refuses to enter scopes named "Bad".
class RecordingWriter : public DocumentWriter {
public:
  using DocumentWriter::Write;
  bool EnterScope(const char* name) override {
    calls += std::string("+") + name + " ";
    return name != std::string("Bad") && ++depth;
  }
  bool ExitScope() override {
    calls += "- ";
    return depth > 0 && depth-- > 0;
  }
  bool Write(const char*, const std::string&) override { return true; }
  bool Write(const char*, float) override { return true; }
  bool Write(const char*, unsigned int) override { return true; }
  bool Write(const char*, int) override { return true; }
  bool Write(const char*, bool) override { return true; }
  bool Save(const std::string&) override { return true; }

  std::string calls;
  int depth = 0;
};

TEST(DocumentWriterPath, LeavesWhatItEnteredWhenAPartIsRefused) {
  RecordingWriter writer;
  EXPECT_FALSE(EnterPath(writer, "A/B/Bad/C"));
  EXPECT_EQ(writer.calls, "+A +B +Bad - - ");
  EXPECT_EQ(writer.depth, 0);
}

// The guard leaves its scope exactly once, at Close or destruction; a refused scope is never left,
// and Close tells whether the writer agreed.
TEST(DocumentScopeGuard, LeavesWhatItEnteredOnce) {
  RecordingWriter writer;
  {
    DocumentScope scope(writer, "A");
    EXPECT_TRUE(scope.IsEntered());
    EXPECT_TRUE(scope.Close());
    EXPECT_FALSE(scope.IsEntered());
    EXPECT_FALSE(scope.Close());
    DocumentScope outer(writer, "B");
    DocumentScope inner(writer, "C");
  }
  EXPECT_EQ(writer.calls, "+A - +B +C - - ");

  writer.calls.clear();
  writer.EnterScope("Outer");
  {
    DocumentScope refused(writer, "Bad");
    EXPECT_FALSE(refused.IsEntered());
    EXPECT_FALSE(refused.Close());
  }
  EXPECT_EQ(writer.depth, 1);
  ASSERT_TRUE(writer.ExitScope());
  DocumentScope scope(writer, "A");
  ASSERT_TRUE(writer.ExitScope());  // someone else left it already
  EXPECT_FALSE(scope.Close());
  EXPECT_EQ(writer.calls, "+Outer +Bad - +A - - ");
}

} // namespace
