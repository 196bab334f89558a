// The codec registry and LoadPicture / SavePicture, with their log lines word for word. The
// codec here is a small real one: "RW", width, height, then 8-bit gray pixels.

#include <gtest/gtest.h>

#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "file/filesystem.h"
#include "file/memory_file_driver.h"
#include "foundation/globals.h"
#include "foundation/log_system.h"
#include "picture/picture.h"
#include "picture/picture_codec.h"
#include "picture/picture_io.h"

namespace tv::test {
namespace {

struct Line {
  std::string type;
  std::string message;
  std::string details;
  bool operator==(const Line&) const = default;
};
void PrintTo(const Line& line, std::ostream* out) {
  *out << "{" << line.type << "|" << line.message << "|" << line.details << "}";
}
std::vector<Line> g_lines;

void Record(const std::string&, const std::string& message, const std::string& type, const std::string& details,
            uint32_t, bool) {
  g_lines.push_back({type, message, details});
}

class RawGrayCodec : public PictureCodec {
public:
  explicit RawGrayCodec(std::string name) : name_(std::move(name)) {}

  bool Load(FileHandle& handle, Picture& picture) override {
    seen_at.push_back(handle.Tell());
    const uint32_t start = handle.Tell();
    uint8_t header[4] = {};
    if (handle.Read(header, 4) != 4 || header[0] != 'R' || header[1] != 'W') {
      handle.Seek(int(start), SeekRef::Start);
      return false;
    }
    if (!picture.Allocate(header[2], header[3], Gray8)) return false;
    return handle.Read(picture.GetData(), uint32_t(picture.GetDataSize())) == picture.GetDataSize();
  }

  bool Save(FileHandle& handle, const Picture& picture, const std::string& parameters) override {
    saved_with = parameters;
    if (picture.GetFormat() != Gray8 || picture.GetWidth() > 255 || picture.GetHeight() > 255) return false;
    const uint8_t header[4] = {'R', 'W', uint8_t(picture.GetWidth()), uint8_t(picture.GetHeight())};
    return handle.Write(header, 4) == 4 &&
           handle.Write(picture.GetData(), uint32_t(picture.GetDataSize())) == picture.GetDataSize();
  }

  std::string GetName() const override { return name_; }

  std::vector<uint32_t> seen_at;
  std::string saved_with;

private:
  std::string name_;
};

class PictureFiles : public ::testing::Test {
protected:
  void SetUp() override {
    g_lines.clear();
    log_.print = &Record;
    log_system = &log_;
    filesystem = &files_;
    picture_codecs = &codecs_;
    files_.Mount(memory_);
    g_lines.clear();
  }
  void TearDown() override {
    picture_codecs = nullptr;
    filesystem = nullptr;
    log_system = nullptr;
  }
  void Write(const std::string& path, const std::vector<uint8_t>& bytes) {
    ASSERT_TRUE(files_.DataToFile(path, bytes.data(), uint32_t(bytes.size())));
  }

  LogSystem log_;
  Filesystem files_;
  std::shared_ptr<MemoryFileDriver> memory_ = std::make_shared<MemoryFileDriver>();
  PictureCodecRegistry codecs_;
};

TEST_F(PictureFiles, RegisteringANameTwiceKeepsTheFirst) {
  RawGrayCodec first("Raw");
  RawGrayCodec second("Raw");
  RawGrayCodec other("Other");
  EXPECT_TRUE(RegisterCodec(&first));
  EXPECT_FALSE(RegisterCodec(&second));
  EXPECT_TRUE(RegisterCodec(&other));
  EXPECT_EQ(codecs_, (PictureCodecRegistry{&first, &other}));
  EXPECT_EQ(FindCodec("Raw"), &first);
  EXPECT_EQ(FindCodec("Other"), &other);
  EXPECT_EQ(FindCodec("raw"), nullptr);
  EXPECT_EQ(FindCodec(""), nullptr);
  EXPECT_FALSE(RegisterCodec(nullptr));
  picture_codecs = nullptr;
  EXPECT_FALSE(RegisterCodec(&second));
  EXPECT_EQ(FindCodec("Raw"), nullptr);
}

TEST_F(PictureFiles, AnUnknownCodecNameLogsBothLinesInOrder) {
  Write("a.raw", {'R', 'W', 1, 1, 7});
  RawGrayCodec raw("Raw");
  RegisterCodec(&raw);
  Picture picture;
  EXPECT_FALSE(LoadPicture(picture, "a.raw", "Nope"));
  EXPECT_EQ(g_lines, (std::vector<Line>{{"", "Load picture from 'a.raw', codec 'Nope'", ""},
                                        {"error", "Unknown codec 'Nope' to load picture 'a.raw'", ""},
                                        {"error", "Failed to load picture 'a.raw'", ""}}));
  EXPECT_TRUE(raw.seen_at.empty());
}

TEST_F(PictureFiles, WithoutANameEachCodecIsOfferedTheFileInOrder) {
  Write("b.raw", {'R', 'W', 2, 1, 10, 20});
  RawGrayCodec raw("Raw");
  // A codec that refuses must leave the handle where it was: the second one starts at 0 too.
  struct Other : RawGrayCodec {
    using RawGrayCodec::RawGrayCodec;
    bool Load(FileHandle& handle, Picture&) override {
      seen_at.push_back(handle.Tell());
      uint8_t byte = 0;
      handle.Read(&byte, 1);
      handle.Seek(-1, SeekRef::Current);
      return false;
    }
  } other("Other");
  RegisterCodec(&other);
  RegisterCodec(&raw);
  Picture picture;
  ASSERT_TRUE(LoadPicture(picture, "b.raw", ""));
  EXPECT_EQ(other.seen_at, std::vector<uint32_t>{0});
  EXPECT_EQ(raw.seen_at, std::vector<uint32_t>{0});
  EXPECT_EQ(picture.GetWidth(), 2u);
  EXPECT_EQ(picture.GetData(1, 0)[0], 20);
  EXPECT_EQ(g_lines, (std::vector<Line>{{"", "Load picture from 'b.raw', codec '-'", ""},
                                        {"", "Loaded picture 'b.raw' 2x1", ""}}));
}

TEST_F(PictureFiles, NoCodecTakingTheFileFailsWithOneLine) {
  Write("c.txt", {'h', 'e', 'l', 'l', 'o'});
  RawGrayCodec raw("Raw");
  RegisterCodec(&raw);
  Picture picture;
  EXPECT_FALSE(LoadPicture(picture, "c.txt", ""));
  EXPECT_FALSE(LoadPicture(picture, "c.txt", "Raw"));
  EXPECT_EQ(g_lines, (std::vector<Line>{{"", "Load picture from 'c.txt', codec '-'", ""},
                                        {"error", "Failed to load picture 'c.txt'", ""},
                                        {"", "Load picture from 'c.txt', codec 'Raw'", ""},
                                        {"error", "Failed to load picture 'c.txt'", ""}}));
}

TEST_F(PictureFiles, AFileThatDoesNotOpenAddsNoLineOfItsOwn) {
  RawGrayCodec raw("Raw");
  RegisterCodec(&raw);
  Picture picture;
  EXPECT_FALSE(LoadPicture(picture, "missing.raw", "Raw"));
  ASSERT_FALSE(g_lines.empty());
  EXPECT_EQ(g_lines.front(), (Line{"", "Load picture from 'missing.raw', codec 'Raw'", ""}));
  for (const Line& line : g_lines) EXPECT_EQ(line.message.find("Failed to load picture"), std::string::npos);
  EXPECT_TRUE(raw.seen_at.empty());
}

TEST_F(PictureFiles, SaveLogsAtDebugLevelWithTheParametersAsDetails) {
  RawGrayCodec raw("Raw");
  RegisterCodec(&raw);
  Picture picture(3, 2, Gray8);
  picture.PutPixel(2, 1, Color(1, 1, 1, 1));
  ASSERT_TRUE(SavePicture(picture, "out.raw", "Raw", "quality: high"));
  EXPECT_EQ(raw.saved_with, "quality: high");
  EXPECT_EQ(g_lines, (std::vector<Line>{{"debug", "Save picture (3x2) to 'out.raw', codec 'Raw'", "quality: high"}}));
  g_lines.clear();
  Picture loaded;
  ASSERT_TRUE(LoadPicture(loaded, "out.raw", "Raw"));
  EXPECT_TRUE(loaded.Compare(picture, 0));
}

TEST_F(PictureFiles, SavingWithAnUnknownCodecLogsAndWritesNothing) {
  Picture picture(1, 1, Gray8);
  EXPECT_FALSE(SavePicture(picture, "out.raw", "Nope", ""));
  EXPECT_EQ(g_lines, (std::vector<Line>{{"debug", "Save picture (1x1) to 'out.raw', codec 'Nope'", ""},
                                        {"error", "Unknown codec 'Nope' to save picture 'out.raw'", ""}}));
  EXPECT_FALSE(files_.Exists("out.raw"));
}

} // namespace
} // namespace tv::test
