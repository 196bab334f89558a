// The decoder against sox on real files that sox writes: every byte GetFrame hands out, and every
// frame time, must agree with what sox decodes from the same file.

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>

#include "file/std_file_driver.h"
#include "wav_audio_codec.h"
#include "wav_test_support.h"

namespace tv::test {
namespace {

std::vector<uint8_t> ReadBytes(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return std::vector<uint8_t>((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
}

void WriteBytes(const std::string& path, const std::vector<uint8_t>& bytes) {
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  file.write(reinterpret_cast<const char*>(bytes.data()), std::streamsize(bytes.size()));
}

int Shell(const std::string& command) { return std::system((command + " 2>/dev/null").c_str()); }

uint32_t LE32(const std::vector<uint8_t>& b, size_t at) {
  return uint32_t(b[at]) | uint32_t(b[at + 1]) << 8 | uint32_t(b[at + 2]) << 16 | uint32_t(b[at + 3]) << 24;
}

// Offset of the payload of the first chunk with `tag` in a well-formed file, walking as RIFF does.
size_t FindChunk(const std::vector<uint8_t>& b, const char* tag) {
  size_t at = 12;
  while (at + 8 <= b.size()) {
    if (std::equal(tag, tag + 4, b.begin() + long(at))) return at + 8;
    at += 8 + LE32(b, at + 4) + (LE32(b, at + 4) & 1);
  }
  return std::string::npos;
}

class WavAgainstSox : public WavFixture {
protected:
  void SetUp() override {
    WavFixture::SetUp();
    char pattern[] = "/tmp/tv_wav_sox_XXXXXX";
    ASSERT_NE(mkdtemp(pattern), nullptr);
    folder_ = pattern;
    filesystem_.Mount(std::make_shared<StdFileDriver>(folder_, true));
  }
  void TearDown() override {
    Shell("rm -rf '" + folder_ + "'");
    WavFixture::TearDown();
  }

  std::string Path(const std::string& name) const { return folder_ + "/" + name; }

  // A noisy signal, so that every byte position carries information; plain (non-extensible) header.
  void Make(const std::string& name, int rate, int channels, int bits, double seconds) {
    const std::string encoding = bits == 8 ? "" : " -e signed-integer";
    ASSERT_EQ(Shell("sox -q -R -n -t wavpcm -r " + std::to_string(rate) + " -c " + std::to_string(channels) + " -b " +
                  std::to_string(bits) + encoding + " '" + Path(name) + "' synth " + std::to_string(seconds) +
                  " whitenoise vol 0.7"),
              0);
  }

  std::vector<uint8_t> SoxRaw(const std::string& name) {
    const std::string out = Path(name + ".raw");
    EXPECT_EQ(Shell("sox -q '" + Path(name) + "' -t raw '" + out + "'"), 0);
    return ReadBytes(out);
  }

  std::shared_ptr<AudioData> Open(const std::string& name) { return codec_.Open(name); }

  WAVAudioCodec codec_;
  std::string folder_;
};

TEST_F(WavAgainstSox, EveryShapeDecodesToSoxBytesAndTimes) {
  struct Shape { int rate, channels, bits; };
  const Shape shapes[] = {{8000, 1, 8},   {8000, 2, 16},  {11025, 1, 24}, {22050, 6, 16}, {44100, 2, 16},
                          {44100, 2, 24}, {48000, 6, 24}, {48000, 1, 32}, {96000, 2, 32}, {96000, 6, 8},
                          {16000, 6, 32}, {32000, 2, 8}};
  for (const Shape& s : shapes) {
    SCOPED_TRACE(std::to_string(s.rate) + " Hz, " + std::to_string(s.channels) + " ch, " + std::to_string(s.bits) + " bit");
    Make("shape.wav", s.rate, s.channels, s.bits, 2.3);
    auto stream = Open("shape.wav");
    ASSERT_TRUE(stream);
    const AudioFormat format = stream->GetFormat();
    EXPECT_EQ(format.frequency, uint32_t(s.rate));
    EXPECT_EQ(format.channels, s.channels);
    EXPECT_EQ(format.resolution, s.bits);

    const DecodedStream decoded = DecodeAll(*stream);
    EXPECT_EQ(decoded.bytes, SoxRaw("shape.wav"));
    // Each frame starts at the time of the byte offset that it starts at in sox's output.
    const uint64_t frame_bytes = uint64_t(s.bits / 8) * uint64_t(s.channels);
    uint64_t offset = 0;
    ASSERT_EQ(decoded.frame_times.size(), 3u);
    for (size_t i = 0; i < decoded.frame_times.size(); ++i) {
      EXPECT_EQ(decoded.frame_times[i], time_ns(offset / frame_bytes * 1000000000ull / uint64_t(s.rate)));
      EXPECT_EQ(decoded.frame_times[i], time_ns(i) * 1000000000);
      offset += decoded.frame_sizes[i];
    }
  }
}

TEST_F(WavAgainstSox, SeekAgreesWithSoxTrim) {
  Make("seek.wav", 44100, 2, 16, 3.0);
  auto stream = Open("seek.wav");
  ASSERT_TRUE(stream);
  ASSERT_TRUE(stream->Seek(1250000000));
  const DecodedStream decoded = DecodeAll(*stream);
  ASSERT_EQ(Shell("sox -q '" + Path("seek.wav") + "' -t raw '" + Path("trim.raw") + "' trim 1.25"), 0);
  EXPECT_EQ(decoded.bytes, ReadBytes(Path("trim.raw")));
  EXPECT_EQ(decoded.frame_times.front(), 1250000000);
}

// Even-sized chunks around the samples: sox and the walk agree.
TEST_F(WavAgainstSox, ExtraChunksBeforeAndAfterTheSamples) {
  Make("plain.wav", 22050, 2, 16, 1.5);
  std::vector<uint8_t> bytes = ReadBytes(Path("plain.wav"));
  const size_t data = FindChunk(bytes, "data");
  ASSERT_NE(data, std::string::npos);
  const std::vector<uint8_t> list = {'L', 'I', 'S', 'T', 10, 0, 0, 0, 'I', 'N', 'F', 'O', 'I', 'C', 'M', 'T', 0, 0};
  bytes.insert(bytes.begin() + long(data - 8), list.begin(), list.end());
  const std::vector<uint8_t> tail = {'j', 'u', 'n', 'k', 4, 0, 0, 0, 1, 2, 3, 4};
  bytes.insert(bytes.end(), tail.begin(), tail.end());
  WriteBytes(Path("extra.wav"), bytes);

  auto stream = Open("extra.wav");
  ASSERT_TRUE(stream);
  EXPECT_EQ(DecodeAll(*stream).bytes, SoxRaw("extra.wav"));
  EXPECT_EQ(SoxRaw("extra.wav"), SoxRaw("plain.wav"));
}

// RIFF pads a chunk of odd size with one byte; sox skips it, the chunk walk does not. The walk then
// reads its next tag one byte early, never finds "data", and the stream opens with no samples. That
// is the decoder's defined behaviour, and this test holds it to it.
TEST_F(WavAgainstSox, OddChunkPadByteIsNotSkipped) {
  Make("plain.wav", 8000, 1, 16, 0.5);
  std::vector<uint8_t> bytes = ReadBytes(Path("plain.wav"));
  const size_t data = FindChunk(bytes, "data");
  const std::vector<uint8_t> odd = {'o', 'd', 'd', ' ', 3, 0, 0, 0, 'a', 'b', 'c', 0};
  bytes.insert(bytes.begin() + long(data - 8), odd.begin(), odd.end());
  WriteBytes(Path("odd.wav"), bytes);

  EXPECT_EQ(SoxRaw("odd.wav"), SoxRaw("plain.wav"));
  auto stream = Open("odd.wav");
  ASSERT_TRUE(stream);
  EXPECT_EQ(stream->GetDataSize(), 0u);
  EXPECT_TRUE(DecodeAll(*stream).bytes.empty());
}

// Cut copies: the stream hands out every byte that is there, partial samples included; sox gives
// whole samples only, so its output is a prefix of ours short by less than one sample frame.
TEST_F(WavAgainstSox, TruncatedCopiesDecodeWhatIsThere) {
  Make("full.wav", 48000, 6, 24, 1.2);
  const std::vector<uint8_t> full = ReadBytes(Path("full.wav"));
  const size_t data = FindChunk(full, "data");
  for (size_t cut : {data, data + 1, data + 1000, data + 288001, full.size() - 7}) {
    SCOPED_TRACE("cut at " + std::to_string(cut));
    WriteBytes(Path("cut.wav"), std::vector<uint8_t>(full.begin(), full.begin() + long(cut)));
    auto stream = Open("cut.wav");
    ASSERT_TRUE(stream);
    const DecodedStream decoded = DecodeAll(*stream);
    EXPECT_EQ(decoded.bytes, std::vector<uint8_t>(full.begin() + long(data), full.begin() + long(cut)));
    const std::vector<uint8_t> sox = SoxRaw("cut.wav");
    ASSERT_LE(sox.size(), decoded.bytes.size());
    EXPECT_LT(decoded.bytes.size() - sox.size(), 18u);
    EXPECT_TRUE(std::equal(sox.begin(), sox.end(), decoded.bytes.begin()));
  }
  // Cut inside the format chunk.
  WriteBytes(Path("head.wav"), std::vector<uint8_t>(full.begin(), full.begin() + 30));
  EXPECT_FALSE(Open("head.wav"));
  EXPECT_TRUE(Logged("error", "Mangled WAV 'format' chunk in 'head.wav'"));
}

TEST_F(WavAgainstSox, ExtensibleHeaderIsRefusedAsCompressed) {
  ASSERT_EQ(Shell("sox -q -R -n -t wav -r 48000 -c 6 -b 24 -e signed-integer '" + Path("ext.wav") +
                "' synth 0.2 whitenoise"),
            0);
  const std::vector<uint8_t> bytes = ReadBytes(Path("ext.wav"));
  const size_t fmt = FindChunk(bytes, "fmt ");
  ASSERT_NE(fmt, std::string::npos);
  ASSERT_EQ(bytes[fmt] | bytes[fmt + 1] << 8, 0xFFFE);  // WAVE_FORMAT_EXTENSIBLE
  EXPECT_FALSE(Open("ext.wav"));
  EXPECT_TRUE(Logged("error", "Unsupported WAV compression code in 'ext.wav'"));
}

} // namespace
} // namespace tv::test
