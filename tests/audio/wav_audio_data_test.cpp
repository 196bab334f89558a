// The WAV stream on hand-built files in memory: the header walk, frames, seek, and hostile headers.

#include <gtest/gtest.h>

#include <memory>
#include <optional>

#include "file/memory_file_driver.h"
#include "wav_audio_codec.h"
#include "wav_builder.h"
#include "wav_test_support.h"

namespace tv::test {
namespace {

class WavStream : public WavFixture {
protected:
  void SetUp() override {
    WavFixture::SetUp();
    memory_ = std::make_shared<MemoryFileDriver>();
    filesystem_.Mount(memory_);
  }

  std::shared_ptr<WAVAudioData> OpenImage(const std::vector<uint8_t>& image, bool expect_open = true) {
    memory_->Delete("x.wav");  // memory files don't truncate on write
    filesystem_.DataToFile("x.wav", image.data(), uint32_t(image.size()));
    auto stream = std::make_shared<WAVAudioData>();
    EXPECT_EQ(stream->Open("x.wav"), expect_open);
    return stream;
  }

  std::shared_ptr<MemoryFileDriver> memory_;
};

TEST_F(WavStream, CanonicalHeaderGivesFormatSizesAndOneFrame) {
  WavBuilder wav;
  wav.Fmt(1, 2, 44100, 16).Data(100000);
  auto stream = OpenImage(wav.bytes);
  const AudioFormat format = stream->GetFormat();
  EXPECT_EQ(format.encoding, 0);
  EXPECT_EQ(format.channels, 2);
  EXPECT_EQ(format.frequency, 44100u);
  EXPECT_EQ(format.resolution, 16);
  EXPECT_EQ(stream->GetFrameSize(), 176400u);
  EXPECT_EQ(stream->GetDataSize(), 100000u);
  EXPECT_EQ(stream->data_offset, 44u);
  EXPECT_TRUE(Logged("debug", "WAV 'x.wav' - 44100hz 16bit 2 channel(s)"));

  std::vector<uint8_t> frame(stream->GetFrameSize());
  time_ns frame_time = -1;
  EXPECT_EQ(stream->IsEnded(), 0);
  ASSERT_EQ(stream->GetFrame(frame.data(), frame_time), 100000u);
  EXPECT_EQ(frame_time, 0);
  EXPECT_TRUE(std::equal(frame.begin(), frame.begin() + 100000, wav.bytes.begin() + 44));
  EXPECT_EQ(stream->GetFrame(frame.data(), frame_time), 0u);
  EXPECT_EQ(stream->IsEnded(), 1);
}

TEST_F(WavStream, FramesAreOneSecondWithTheTimeOfTheirFirstSample) {
  WavBuilder wav;
  wav.Fmt(1, 1, 8000, 8).Data(8000 * 2 + 100);
  auto stream = OpenImage(wav.bytes);
  const DecodedStream decoded = DecodeAll(*stream);
  EXPECT_EQ(decoded.frame_sizes, (std::vector<uint32_t>{8000, 8000, 100}));
  EXPECT_EQ(decoded.frame_times, (std::vector<time_ns>{0, 1000000000, 2000000000}));
}

TEST_F(WavStream, SeekMovesToTheSampleOfTheTime) {
  WavBuilder wav;
  wav.Fmt(1, 2, 44100, 16).Data(44100 * 4);
  auto stream = OpenImage(wav.bytes);
  ASSERT_TRUE(stream->Seek(500000000));
  EXPECT_EQ(stream->handle->Tell(), 44u + 22050u * 4u);
  std::vector<uint8_t> frame(stream->GetFrameSize());
  time_ns frame_time = -1;
  EXPECT_EQ(stream->GetFrame(frame.data(), frame_time), 22050u * 4u);
  EXPECT_EQ(frame_time, 500000000);

  // Back to the start, and a time beyond the end isn't clamped: the stream is simply ended.
  ASSERT_TRUE(stream->Seek(0));
  EXPECT_EQ(stream->handle->Tell(), 44u);
  ASSERT_TRUE(stream->Seek(5000000000));
  EXPECT_EQ(stream->IsEnded(), 1);
  EXPECT_EQ(stream->GetFrame(frame.data(), frame_time), 0u);
}

// The header walk over every chunk layout: the format and the samples it settles on, and the one
// line (word for word) it logs. data_offset 0 means no samples were found.
TEST_F(WavStream, HeaderWalkFindsFormatAndSamples) {
  WavBuilder odd_fmt;  // a format chunk whose size field is 0xFFFFFFFF
  odd_fmt.Fmt(1, 2, 8000, 16);
  odd_fmt.bytes[16] = odd_fmt.bytes[17] = odd_fmt.bytes[18] = odd_fmt.bytes[19] = 0xFF;
  odd_fmt.Data(64);
  const struct {
    const char* name;
    std::vector<uint8_t> image;
    uint32_t frequency;
    uint8_t channels;
    uint32_t data_offset, data_size;
    std::vector<uint8_t> samples;
    const char* warning;  // nullptr: no warning or error at all
  } rows[] = {
      {"long format chunk", WavBuilder().Fmt(1, 2, 22050, 16, 2).Data(400).bytes, 22050, 2, 12 + 8 + 18 + 8, 400,
       WavBuilder::Pattern(400), "Unexpected WAV 'format' chunk size, found 18 expected 16"},
      {"chunks around the samples",
       WavBuilder().Fmt(1, 1, 8000, 16).Chunk("LIST", WavBuilder::Pattern(26)).Data(1000, 3).Chunk("junk", WavBuilder::Pattern(40)).bytes,
       8000, 1, 12 + 24 + 34 + 8, 1000, WavBuilder::Pattern(1000, 3), nullptr},
      {"last format and data win", WavBuilder().Fmt(1, 1, 8000, 8).Data(10, 1).Fmt(1, 2, 16000, 16).Data(20, 2).bytes,
       16000, 2, 12 + 24 + 18 + 24 + 8, 20, WavBuilder::Pattern(20, 2), nullptr},
      // The default format: 48000 Hz, 16 bits, 2 channels.
      {"no format", WavBuilder().Data(192000).bytes, 48000, 2, 12 + 8, 192000, WavBuilder::Pattern(192000), nullptr},
      {"no data", WavBuilder().Fmt(1, 2, 44100, 16).bytes, 44100, 2, 0, 0, {}, nullptr},
      // A chunk size the signed seek can't take ends the walk instead of sending it backwards.
      {"huge chunk", WavBuilder().Fmt(1, 2, 8000, 16).Chunk("big ", 0x80000000u, WavBuilder::Pattern(16)).Data(64).bytes,
       8000, 2, 0, 0, {}, nullptr},
      {"huge format chunk", odd_fmt.bytes, 8000, 2, 0, 0, {},
       "Unexpected WAV 'format' chunk size, found 4294967295 expected 16"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    g_wav_lines.clear();
    auto stream = OpenImage(row.image);
    EXPECT_EQ(stream->GetFormat().frequency, row.frequency);
    EXPECT_EQ(stream->GetFormat().channels, row.channels);
    EXPECT_EQ(stream->GetFormat().resolution, 16);
    EXPECT_EQ(stream->data_offset, row.data_offset);
    EXPECT_EQ(stream->GetDataSize(), row.data_size);
    if (row.data_offset) {
      EXPECT_EQ(stream->handle->Tell(), row.data_offset);
    }
    EXPECT_EQ(DecodeAll(*stream).bytes, row.samples);
    EXPECT_EQ(CountComplaints(), row.warning ? 1u : 0u);
    if (row.warning) {
      EXPECT_TRUE(Logged("warn", row.warning));
    }
  }
}

// Files that are refused, each with its one line word for word (or silently when not RIFF/WAVE).
TEST_F(WavStream, RefusesWhatItCannotDecode) {
  WavBuilder not_riff, not_wave, cut_fmt;
  not_riff.Fmt(1, 2, 44100, 16).Data(8).bytes[0] = 'X';
  not_wave.Fmt(1, 2, 44100, 16).Data(8).bytes[11] = 'X';
  cut_fmt.Fmt(1, 2, 44100, 16).bytes.resize(cut_fmt.bytes.size() - 5);
  const struct {
    const char* name;
    std::optional<std::vector<uint8_t>> image;  // none: no such file
    const char* type;
    const char* line;  // nullptr: refused silently
  } rows[] = {
      {"not RIFF", not_riff.bytes, nullptr, nullptr},
      {"not WAVE", not_wave.bytes, nullptr, nullptr},
      {"empty", std::vector<uint8_t>{}, nullptr, nullptr},
      {"format chunk cut short", cut_fmt.bytes, "error", "Mangled WAV 'format' chunk in 'x.wav'"},
      {"float samples", WavBuilder().Fmt(3, 2, 48000, 32).Data(64).bytes, "error",
       "Unsupported WAV compression code in 'x.wav'"},
      {"missing file", std::nullopt, "warn", "Failed to open 'x.wav' on any mounted file driver"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    g_wav_lines.clear();
    memory_->Delete("x.wav");
    if (row.image) filesystem_.DataToFile("x.wav", row.image->data(), uint32_t(row.image->size()));
    WAVAudioCodec codec;
    EXPECT_EQ(codec.Open("x.wav"), nullptr);
    EXPECT_EQ(CountComplaints(), row.line ? 1u : 0u);
    if (row.line) {
      EXPECT_TRUE(Logged(row.type, row.line));
    }
  }
}

// A header may claim more samples than the file holds: frames stop where the bytes do, with an
// empty frame while the stream doesn't count as ended.
TEST_F(WavStream, DataChunkLongerThanTheFileEndsWithAnEmptyFrame) {
  WavBuilder wav;
  wav.Fmt(1, 2, 8000, 16).Chunk("data", 0xFFFFFFF0u, WavBuilder::Pattern(50000));
  auto stream = OpenImage(wav.bytes);
  EXPECT_EQ(stream->GetDataSize(), 0xFFFFFFF0u);
  std::vector<uint8_t> frame(stream->GetFrameSize());
  time_ns frame_time = 0;
  EXPECT_EQ(stream->GetFrame(frame.data(), frame_time), 32000u);
  EXPECT_EQ(stream->GetFrame(frame.data(), frame_time), 18000u);
  EXPECT_EQ(frame_time, 1000000000);
  EXPECT_EQ(stream->GetFrame(frame.data(), frame_time), 0u);
  EXPECT_EQ(stream->IsEnded(), 0);
}

// Formats with nothing to divide by open, and frames and seeks neither crash nor invent times.
TEST_F(WavStream, DegenerateFormatsOpenAndStaySafe) {
  struct Shape { uint16_t channels; uint32_t rate; uint16_t bits; };
  for (const Shape shape : {Shape{0, 8000, 16}, Shape{2, 8000, 4}, Shape{2, 0, 16}, Shape{255, 0xFFFFFFFF, 255}}) {
    WavBuilder wav;
    wav.Fmt(1, shape.channels, shape.rate, shape.bits).Data(1000);
    auto stream = OpenImage(wav.bytes);
    std::vector<uint8_t> frame(std::min<uint32_t>(stream->GetFrameSize(), 1u << 24));
    time_ns frame_time = -1;
    const uint32_t got = stream->GetFrame(frame.data(), frame_time);
    EXPECT_LE(got, std::min<uint32_t>(1000u, stream->GetFrameSize()));
    EXPECT_GE(frame_time, 0);
    stream->Seek(123456789);
    stream->Seek(INT64_MAX);
    stream->Seek(INT64_MIN);
  }
}

TEST_F(WavStream, CloseZeroesTheFormatAndTheStreamReopens) {
  WavBuilder wav;
  wav.Fmt(1, 2, 44100, 16).Data(100);
  auto stream = OpenImage(wav.bytes);
  stream->Close();
  EXPECT_FALSE(stream->handle);
  EXPECT_EQ(stream->GetFormat().frequency, 0u);
  EXPECT_EQ(stream->GetFormat().channels, 0);
  EXPECT_EQ(stream->GetFormat().resolution, 0);
  EXPECT_EQ(stream->GetDataSize(), 0u);
  EXPECT_EQ(stream->IsEnded(), 1);
  ASSERT_TRUE(stream->Open("x.wav"));
  EXPECT_EQ(stream->GetFormat().frequency, 44100u);
  EXPECT_EQ(DecodeAll(*stream).bytes.size(), 100u);
}

} // namespace
} // namespace tv::test
