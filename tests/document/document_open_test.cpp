// Choosing the form of a document by extension and first bytes, and making its reader or writer.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "document/binary_document_reader.h"
#include "document/binary_document_writer.h"
#include "document/document_open.h"
#include "document_fixture.h"

using namespace tv;

namespace {

class DocumentOpen : public tv_test::DocumentTest {};

TEST_F(DocumentOpen, WritingGoesByTheExtensionAlone) {
  const std::vector<std::pair<std::string, DocumentFormat>> cases = {
      {"a.bin", DocumentFormatBinary}, {"a.json", DocumentFormatJSON},  {"a.scn", DocumentFormatJSON},
      {"a.mat", DocumentFormatJSON},   {"a.anm", DocumentFormatJSON},   {"a.xml", DocumentFormatXML},
      {"A.XML", DocumentFormatXML},    {"d/s.Scn", DocumentFormatJSON}, {"a.xml.bak", DocumentFormatUnknown},
      {"a", DocumentFormatUnknown},    {"a.", DocumentFormatUnknown},   {"dir.json/a", DocumentFormatUnknown},
      {"dir.json\\a", DocumentFormatUnknown}, {".json", DocumentFormatJSON}, {"a.txt", DocumentFormatUnknown},
  };
  for (const auto& [path, format] : cases) EXPECT_EQ(GuessDocumentFormatForWriting(path), format) << path;
  EXPECT_TRUE(tv_test::TakeLog().empty());
}

TEST_F(DocumentOpen, ReadingTakesKnownExtensionsWithoutOpeningTheFile) {
  EXPECT_EQ(GuessDocumentFormatForReading("missing.bin"), DocumentFormatBinary);
  EXPECT_EQ(GuessDocumentFormatForReading("missing.JSON"), DocumentFormatJSON);
  EXPECT_EQ(GuessDocumentFormatForReading("missing.Xml"), DocumentFormatXML);
  temp.Put("json_in_disguise.xml", "{}");
  EXPECT_EQ(GuessDocumentFormatForReading("json_in_disguise.xml"), DocumentFormatXML);
  EXPECT_TRUE(tv_test::TakeLog().empty());
}

TEST_F(DocumentOpen, ReadingJudgesOtherFilesByTheirFirstBytes) {
  const std::vector<std::pair<std::string, DocumentFormat>> cases = {
      {"{}", DocumentFormatJSON},
      {"{\"Scene\": {}}", DocumentFormatJSON},
      {"<Scene/>", DocumentFormatXML},
      {"<?", DocumentFormatXML},
      {std::string("NBIN\0\0\0\0", 8), DocumentFormatBinary},
      {"NBIN", DocumentFormatBinary},
      {"NBIX", DocumentFormatUnknown},
      {"Nothing at all", DocumentFormatUnknown},
      {"NBI", DocumentFormatUnknown},
      {" {}", DocumentFormatUnknown},  // no white space is skipped
      {"\xEF\xBB\xBF<A/>", DocumentFormatUnknown},
      {"{", DocumentFormatUnknown},    // under 2 bytes
      {"", DocumentFormatUnknown},
  };
  int index = 0;
  for (const auto& [content, format] : cases) {
    const std::string name = "file" + std::to_string(index++) + ".scn";
    temp.Put(name, content);
    EXPECT_EQ(GuessDocumentFormatForReading(name), format) << content;
  }
  EXPECT_TRUE(tv_test::TakeLog().empty());
}

TEST_F(DocumentOpen, AMissingFileOfUnknownExtensionIsReportedAndUnknown) {
  EXPECT_EQ(GuessDocumentFormatForReading("nowhere.scn"), DocumentFormatUnknown);
  const std::vector<tv_test::LogLine> lines = tv_test::TakeLog();
  ASSERT_FALSE(lines.empty());
  EXPECT_EQ(lines.back(), (tv_test::LogLine{"error", "Unable to determine document 'nowhere.scn' type, file not found"}));

  tv::filesystem = nullptr;
  EXPECT_EQ(GuessDocumentFormatForReading("nowhere.mat"), DocumentFormatUnknown);
  EXPECT_EQ(tv_test::TakeLog(), (std::vector<tv_test::LogLine>{
                                    {"error", "Unable to determine document 'nowhere.mat' type, file not found"}}));
}

TEST_F(DocumentOpen, TextInMemoryIsJudgedByItsFirstByte) {
  EXPECT_EQ(GuessDocumentFormat("{\"a\": 1}"), DocumentFormatJSON);
  EXPECT_EQ(GuessDocumentFormat("<a/>"), DocumentFormatXML);
  EXPECT_EQ(GuessDocumentFormat(" <a/>"), DocumentFormatUnknown);
  EXPECT_EQ(GuessDocumentFormat("NBIN"), DocumentFormatUnknown);
  EXPECT_EQ(GuessDocumentFormat(""), DocumentFormatUnknown);
}

TEST_F(DocumentOpen, OpensTheClassOfTheFormAndNothingForOthers) {
  EXPECT_NE(dynamic_cast<XMLDocumentReader*>(OpenDocumentReader("a.xml").get()), nullptr);
  EXPECT_NE(dynamic_cast<JSONDocumentReader*>(OpenDocumentReader("a.json").get()), nullptr);
  EXPECT_NE(dynamic_cast<BinaryDocumentReader*>(OpenDocumentReader("a.bin").get()), nullptr);
  EXPECT_NE(dynamic_cast<JSONDocumentReader*>(OpenDocumentReader("a.xml", DocumentFormatJSON).get()), nullptr);
  EXPECT_NE(dynamic_cast<BinaryDocumentReader*>(OpenDocumentReader("a.json", DocumentFormatBinary).get()), nullptr);
  EXPECT_NE(dynamic_cast<XMLDocumentWriter*>(OpenDocumentWriter("a.xml").get()), nullptr);
  EXPECT_NE(dynamic_cast<JSONDocumentWriter*>(OpenDocumentWriter("a.anm").get()), nullptr);
  EXPECT_NE(dynamic_cast<BinaryDocumentWriter*>(OpenDocumentWriter("a.BIN").get()), nullptr);
  EXPECT_NE(dynamic_cast<XMLDocumentWriter*>(OpenDocumentWriter("a.json", DocumentFormatXML).get()), nullptr);
  EXPECT_NE(dynamic_cast<BinaryDocumentWriter*>(OpenDocumentWriter("a.xml", DocumentFormatBinary).get()), nullptr);
  EXPECT_EQ(OpenDocumentWriter("a.txt"), nullptr);
  EXPECT_EQ(OpenDocumentWriter("a.xml", DocumentFormat(7)), nullptr);
  EXPECT_EQ(OpenDocumentReader("a.xml", DocumentFormat(-1)), nullptr);
  temp.Put("other.dat", "plain text");
  EXPECT_EQ(OpenDocumentReader("other.dat"), nullptr);
  EXPECT_TRUE(tv_test::TakeLog().empty());
  EXPECT_EQ(OpenDocumentReader("missing.dat"), nullptr);
}

// Callers take a null reader as a request for the binary form: a real binary file of any name
// loads that way, a file whose first byte is "N" and the rest anything else fails at Load.
TEST_F(DocumentOpen, AFileOfUnknownExtensionIsTriedAsBinary) {
  BinaryDocumentWriter writer;
  writer.EnterScope("Mesh");
  writer.Write("Count", 12u);
  writer.ExitScope();
  ASSERT_TRUE(writer.Save("mesh.geo"));
  temp.Put("notes.geo", "Not a document");
  temp.Put("short.geo", "NBIN");

  std::unique_ptr<DocumentReader> reader = OpenDocumentReader("mesh.geo");
  ASSERT_NE(dynamic_cast<BinaryDocumentReader*>(reader.get()), nullptr);
  ASSERT_TRUE(reader->Load("mesh.geo"));
  ASSERT_TRUE(reader->EnterFirstChild());
  EXPECT_EQ(reader->GetScopeName(), "Mesh");
  unsigned count = 0;
  EXPECT_TRUE(reader->Read("Count", count));
  EXPECT_EQ(count, 12u);

  EXPECT_EQ(OpenDocumentReader("notes.geo"), nullptr);
  BinaryDocumentReader fallback;
  EXPECT_FALSE(fallback.Load("notes.geo"));
  // "NBIN" alone opens as binary, and is refused by Load for its short head.
  reader = OpenDocumentReader("short.geo");
  ASSERT_NE(dynamic_cast<BinaryDocumentReader*>(reader.get()), nullptr);
  EXPECT_FALSE(reader->Load("short.geo"));
  EXPECT_TRUE(tv_test::TakeLog().empty());
}

// A scene file is written as JSON by its extension and read back by its first byte.
TEST_F(DocumentOpen, WrittenAndReadBackThroughTheGuessedForms) {
  for (const char* name : {"level.scn", "level.xml", "level.json", "level.bin"}) {
    SCOPED_TRACE(name);
    std::unique_ptr<DocumentWriter> writer = OpenDocumentWriter(name);
    ASSERT_NE(writer, nullptr);
    writer->EnterScope("Scene");
    writer->Write("Nodes", 3);
    writer->ExitScope();
    ASSERT_TRUE(writer->Save(name));

    std::unique_ptr<DocumentReader> reader = OpenDocumentReader(name);
    ASSERT_NE(reader, nullptr);
    ASSERT_TRUE(reader->Load(name));
    ASSERT_TRUE(reader->EnterFirstChild());
    int nodes = 0;
    EXPECT_TRUE(reader->Read("Nodes", nodes));
    EXPECT_EQ(nodes, 3);
  }
  EXPECT_EQ(temp.Get("level.scn").substr(0, 1), "{");
}

} // namespace
