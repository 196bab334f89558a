// The WAV stream on hand-built files in memory: the header walk, frames, seek, and hostile headers.

#include <gtest/gtest.h>

#include <memory>

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

TEST_F(WavStream, LongFormatChunkWarnsAndTheNextChunkIsFound) {
  WavBuilder wav;
  wav.Fmt(1, 2, 22050, 16, 2).Data(400);
  auto stream = OpenImage(wav.bytes);
  EXPECT_TRUE(Logged("warn", "Unexpected WAV 'format' chunk size, found 18 expected 16"));
  EXPECT_EQ(stream->GetFormat().frequency, 22050u);
  EXPECT_EQ(stream->data_offset, 12u + 8u + 18u + 8u);
  EXPECT_EQ(stream->GetDataSize(), 400u);
}

TEST_F(WavStream, CompressedFormatIsRefusedAndNoStreamExists) {
  WavBuilder wav;
  wav.Fmt(3, 2, 48000, 32).Data(64);
  filesystem_.DataToFile("float.wav", wav.bytes.data(), uint32_t(wav.bytes.size()));
  WAVAudioCodec codec;
  EXPECT_FALSE(codec.Open("float.wav"));
  EXPECT_TRUE(Logged("error", "Unsupported WAV compression code in 'float.wav'"));
}

TEST_F(WavStream, ChunksAroundTheSamplesAreWalkedOver) {
  WavBuilder wav;
  wav.Fmt(1, 1, 8000, 16).Chunk("LIST", WavBuilder::Pattern(26)).Data(1000, 3).Chunk("junk", WavBuilder::Pattern(40));
  auto stream = OpenImage(wav.bytes);
  EXPECT_EQ(stream->data_offset, 12u + 24u + 34u + 8u);
  EXPECT_EQ(stream->handle->Tell(), stream->data_offset);
  const DecodedStream decoded = DecodeAll(*stream);
  EXPECT_EQ(decoded.bytes, WavBuilder::Pattern(1000, 3));
}

TEST_F(WavStream, LastFormatAndDataChunksWin) {
  WavBuilder wav;
  wav.Fmt(1, 1, 8000, 8).Data(10, 1).Fmt(1, 2, 16000, 16).Data(20, 2);
  auto stream = OpenImage(wav.bytes);
  EXPECT_EQ(stream->GetFormat().frequency, 16000u);
  EXPECT_EQ(stream->GetFormat().channels, 2);
  EXPECT_EQ(DecodeAll(*stream).bytes, WavBuilder::Pattern(20, 2));
}

TEST_F(WavStream, MissingFormatKeepsTheDefaultFormat) {
  WavBuilder wav;
  wav.Data(192000);
  auto stream = OpenImage(wav.bytes);
  const AudioFormat format = stream->GetFormat();
  EXPECT_EQ(format.frequency, 48000u);
  EXPECT_EQ(format.resolution, 16);
  EXPECT_EQ(format.channels, 2);
  EXPECT_EQ(stream->GetFrameSize(), 192000u);
}

TEST_F(WavStream, MissingDataChunkOpensEmpty) {
  WavBuilder wav;
  wav.Fmt(1, 2, 44100, 16);
  auto stream = OpenImage(wav.bytes);
  EXPECT_EQ(stream->data_offset, 0u);
  EXPECT_EQ(stream->GetDataSize(), 0u);
  EXPECT_TRUE(DecodeAll(*stream).bytes.empty());
}

TEST_F(WavStream, RefusesWhatIsNotRiffWave) {
  std::vector<uint8_t> not_riff = WavBuilder().Fmt(1, 2, 44100, 16).Data(8).bytes;
  not_riff[0] = 'X';
  OpenImage(not_riff, false);
  std::vector<uint8_t> not_wave = WavBuilder().Fmt(1, 2, 44100, 16).Data(8).bytes;
  not_wave[11] = 'X';
  OpenImage(not_wave, false);
  OpenImage({}, false);
  // Refusals of this kind are silent.
  EXPECT_EQ(CountComplaints(), 0u);
}

TEST_F(WavStream, FormatChunkCutShortIsMangled) {
  WavBuilder wav;
  wav.Fmt(1, 2, 44100, 16);
  wav.bytes.resize(wav.bytes.size() - 5);
  OpenImage(wav.bytes, false);
  EXPECT_TRUE(Logged("error", "Mangled WAV 'format' chunk in 'x.wav'"));
}

TEST_F(WavStream, MissingFileReportsTheFileSystemLine) {
  WAVAudioCodec codec;
  EXPECT_FALSE(codec.Open("absent.wav"));
  EXPECT_TRUE(Logged("warn", "Failed to open 'absent.wav' on any mounted file driver"));
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

// A chunk size the signed seek can't take ends the walk instead of sending it backwards.
TEST_F(WavStream, HugeChunkSizeEndsTheWalk) {
  WavBuilder wav;
  wav.Fmt(1, 2, 8000, 16).Chunk("big ", 0x80000000u, WavBuilder::Pattern(16)).Data(64);
  auto stream = OpenImage(wav.bytes);
  EXPECT_EQ(stream->GetDataSize(), 0u);

  WavBuilder odd_fmt;
  odd_fmt.Fmt(1, 2, 8000, 16);
  odd_fmt.bytes[16] = 0xFF, odd_fmt.bytes[17] = 0xFF, odd_fmt.bytes[18] = 0xFF, odd_fmt.bytes[19] = 0xFF;
  odd_fmt.Data(64);
  auto second = OpenImage(odd_fmt.bytes);
  EXPECT_TRUE(Logged("warn", "Unexpected WAV 'format' chunk size, found 4294967295 expected 16"));
  EXPECT_EQ(second->GetDataSize(), 0u);
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

struct CountedCodec : AudioCodec {
  explicit CountedCodec(int& alive) : alive(alive) { ++alive; }
  ~CountedCodec() override { --alive; }
  std::shared_ptr<AudioData> Open(const std::string&) override { return nullptr; }
  std::string GetExtension() override { return "x"; }
  int& alive;
};

TEST(AudioCodecRegistry, ASecondCodecUnderANameDestroysTheFirst) {
  int alive = 0;
  AudioCodecRegistry registry;
  registry["WAV"] = std::make_unique<CountedCodec>(alive);
  auto* first = registry["WAV"].get();
  registry["WAV"] = std::make_unique<CountedCodec>(alive);
  EXPECT_EQ(alive, 1);
  EXPECT_NE(registry["WAV"].get(), first);
  EXPECT_EQ(registry.size(), 1u);
}

} // namespace
} // namespace tv::test
