// Choosing the form of a document by extension and first bytes, and making its reader or writer.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "document/document_open.h"
#include "document_test_support.h"

using namespace tv;

namespace {

class DocumentOpen : public tv_test::DocumentTest {};

// Writing goes by the extension alone, case aside; reading takes the three form extensions without
// opening the file.
TEST_F(DocumentOpen, ExtensionsDecideWithoutOpeningTheFile) {
  const std::pair<std::string, DocumentFormat> writing[] = {
      {"a.bin", DocumentFormatBinary}, {"a.json", DocumentFormatJSON},  {"a.scn", DocumentFormatJSON},
      {"a.mat", DocumentFormatJSON},   {"a.anm", DocumentFormatJSON},   {"a.xml", DocumentFormatXML},
      {"A.XML", DocumentFormatXML},    {"d/s.Scn", DocumentFormatJSON}, {"a.xml.bak", DocumentFormatUnknown},
      {"a", DocumentFormatUnknown},    {"a.", DocumentFormatUnknown},   {"dir.json/a", DocumentFormatUnknown},
      {"dir.json\\a", DocumentFormatUnknown}, {".json", DocumentFormatJSON}, {"a.txt", DocumentFormatUnknown},
  };
  for (const auto& [path, format] : writing) EXPECT_EQ(GuessDocumentFormatForWriting(path), format) << path;
  temp.Put("json_in_disguise.xml", "{}");
  const std::pair<std::string, DocumentFormat> reading[] = {
      {"missing.bin", DocumentFormatBinary}, {"missing.JSON", DocumentFormatJSON},
      {"missing.Xml", DocumentFormatXML},    {"json_in_disguise.xml", DocumentFormatXML}};
  for (const auto& [path, format] : reading) EXPECT_EQ(GuessDocumentFormatForReading(path), format) << path;
  EXPECT_TRUE(tv_test::TakeLog().empty());
}

// Other files are judged by their first bytes, with no white space skipped; text in memory by its
// first byte alone. A missing file is reported and Unknown.
TEST_F(DocumentOpen, OtherFilesAreJudgedByTheirFirstBytes) {
  const std::pair<std::string, DocumentFormat> rows[] = {
      {"{}", DocumentFormatJSON},     {"{\"Scene\": {}}", DocumentFormatJSON},
      {"<Scene/>", DocumentFormatXML}, {"<?", DocumentFormatXML},
      {std::string("NBIN\0\0\0\0", 8), DocumentFormatBinary}, {"NBIN", DocumentFormatBinary},
      {"NBIX", DocumentFormatUnknown}, {"Nothing at all", DocumentFormatUnknown},
      {"NBI", DocumentFormatUnknown},  {" {}", DocumentFormatUnknown},
      {"\xEF\xBB\xBF<A/>", DocumentFormatUnknown}, {"{", DocumentFormatUnknown},  // under 2 bytes
      {"", DocumentFormatUnknown},
  };
  for (const auto& [content, format] : rows) {
    temp.Put("file.scn", content);
    EXPECT_EQ(GuessDocumentFormatForReading("file.scn"), format) << content;
  }
  EXPECT_TRUE(tv_test::TakeLog().empty());
  EXPECT_EQ(GuessDocumentFormat("{\"a\": 1}"), DocumentFormatJSON);
  EXPECT_EQ(GuessDocumentFormat("<a/>"), DocumentFormatXML);
  for (const char* text : {" <a/>", "NBIN", ""}) EXPECT_EQ(GuessDocumentFormat(text), DocumentFormatUnknown);

  EXPECT_EQ(GuessDocumentFormatForReading("nowhere.scn"), DocumentFormatUnknown);
  const std::vector<tv_test::LogLine> lines = tv_test::TakeLog();
  ASSERT_FALSE(lines.empty());
  EXPECT_EQ(lines.back(), (tv_test::LogLine{"error", "Unable to determine document 'nowhere.scn' type, file not found"}));
  tv::filesystem = nullptr;
  EXPECT_EQ(GuessDocumentFormatForReading("nowhere.mat"), DocumentFormatUnknown);
  EXPECT_EQ(tv_test::TakeLog(), (std::vector<tv_test::LogLine>{
                                    {"error", "Unable to determine document 'nowhere.mat' type, file not found"}}));
}

// The class of the form, guessed or given; nothing for a form that is none or can't be told.
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
}

// Callers take a null reader as a request for the binary form: a real binary file of any name
// loads that way; "NBIN" alone opens as binary and is refused by Load for its short head.
TEST_F(DocumentOpen, AFileOfUnknownExtensionIsTriedAsBinary) {
  BinaryDocumentWriter writer;
  ASSERT_TRUE(tv_test::WriteScript(writer, "Mesh{Count=12u}"));
  ASSERT_TRUE(writer.Save("mesh.geo"));
  temp.Put("notes.geo", "Not a document");
  temp.Put("short.geo", "NBIN");
  std::unique_ptr<DocumentReader> reader = OpenDocumentReader("mesh.geo");
  ASSERT_NE(dynamic_cast<BinaryDocumentReader*>(reader.get()), nullptr);
  ASSERT_TRUE(reader->Load("mesh.geo"));
  tv_test::ExpectScript(*reader, "Mesh{Count=12u}");
  EXPECT_EQ(OpenDocumentReader("notes.geo"), nullptr);
  EXPECT_FALSE(BinaryDocumentReader().Load("notes.geo"));
  reader = OpenDocumentReader("short.geo");
  ASSERT_NE(dynamic_cast<BinaryDocumentReader*>(reader.get()), nullptr);
  EXPECT_FALSE(reader->Load("short.geo"));
  EXPECT_TRUE(tv_test::TakeLog().empty());
}

// What the writer of a guessed form saves, the reader of the guessed form loads; a scene file is
// JSON by its extension and read back by its first byte.
TEST_F(DocumentOpen, WrittenAndReadBackThroughTheGuessedForms) {
  for (const char* name : {"level.scn", "level.xml", "level.json", "level.bin"}) {
    SCOPED_TRACE(name);
    std::unique_ptr<DocumentWriter> writer = OpenDocumentWriter(name);
    ASSERT_NE(writer, nullptr);
    ASSERT_TRUE(tv_test::WriteScript(*writer, "Scene{Nodes=3}"));
    ASSERT_TRUE(writer->Save(name));
    std::unique_ptr<DocumentReader> reader = OpenDocumentReader(name);
    ASSERT_NE(reader, nullptr);
    ASSERT_TRUE(reader->Load(name));
    tv_test::ExpectScript(*reader, "Scene{Nodes=3}");
  }
  EXPECT_EQ(temp.Get("level.scn").substr(0, 1), "{");
}

} // namespace
