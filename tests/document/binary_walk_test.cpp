// Binary documents from the writer are deserialized by a walk of their own, which matches names
// as dictionary indices and copies basic values straight out of the image. The shared walk, which
// reaches the same document only through the reader interface, is the oracle: for documents with
// every irregularity a file may hold, both walks must leave the same objects and give the same
// answer. (Documents in the writer's order are the core types round trip's.)

#include <gtest/gtest.h>

#include <string>

#include "forwarding_reader.h"
#include "serialize_test_types.h"

namespace {

using serialize_test::Sample;

class BinaryWalk : public serialize_test::TypesTest {
protected:
  // Deserialize's answer and the object it leaves, as JSON text with every field written.
  std::string Read(tv::DocumentReader& reader) {
    Sample read;  // away from the defaults, so that a skipped read and a default set on failure show
    read.flag = true;
    read.letter = 'q';
    read.shift = 1;
    read.count = -5;
    read.level = 2;
    read.port = 3;
    read.name = "before";
    tv::Type* type = registry.GetType<Sample>();
    const bool answer = tv::Deserialize(reader, &read, type, nullptr, "");
    EXPECT_EQ(reader.GetScopeName(), "root");
    tv::JSONDocumentWriter writer;
    EXPECT_TRUE(tv::Serialize(writer, &read, type, nullptr, ""));
    return (answer ? "true " : "false ") + writer.SaveToString();
  }
};

TEST_F(BinaryWalk, IrregularDocumentsReadAlike) {
  const char* const documents[] = {
      // scopes and values in reverse order, the base scope last
      "Inner{Weight=3f Values{slot{value=4} slot{value=5}}} Inners{slot{Weight=6f Values{}}} Scale=2f Port=80u "
      "Flag=false Order='XZY' Hidden=17 Count=3 WalkBase{Label='late' Id=4}",
      // values outside the ranges of narrow fields
      "Letter=300 Shift=40000 Level=256u Port=70000u Count=5",
      // values of the wrong kind
      "Count=2f Flag=1 Name=8 Mask=-1 Scale=3u Hidden='x' Order='NoSuchOrder'",
      // repeated names, foreign scopes between slots, slots without a value
      "Count=1 Count=2 Name='first' Name='second' Count{} Inner{Values{slot{value=1} Other{value=9} slot{other=3} "
      "slot{value=2f} slot{value=4}}} Inner{Weight=8f}",
      "Inners{}",
      "",
  };
  for (const char* document : documents) {
    SCOPED_TRACE(document);
    const tv_test::Bytes image = tv_test::ImageOfScript(document);
    tv::BinaryDocumentReader direct, forwarded_target;
    ASSERT_TRUE(tv_test::LoadBytes(direct, image));
    ASSERT_TRUE(direct.HasUniqueNames());
    ASSERT_TRUE(tv_test::LoadBytes(forwarded_target, image));
    tv_test::ForwardingReader forwarded(forwarded_target);
    EXPECT_EQ(Read(direct), Read(forwarded));
  }
}

} // namespace
