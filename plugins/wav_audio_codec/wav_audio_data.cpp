#include "wav_audio_data.h"

#include <algorithm>
#include <climits>
#include <cstring>

#include "file/filesystem.h"
#include "foundation/globals.h"
#include "foundation/log.h"

namespace tv {
namespace {

uint32_t ReadLE32(const uint8_t* bytes) {
  return uint32_t(bytes[0]) | uint32_t(bytes[1]) << 8 | uint32_t(bytes[2]) << 16 | uint32_t(bytes[3]) << 24;
}

bool ReadTag(FileHandle& handle, char (&tag)[4]) {
  std::memset(tag, 0, sizeof(tag));
  return handle.Read(tag, 4) == 4;
}

bool TagIs(const char (&tag)[4], const char* expected) { return std::memcmp(tag, expected, 4) == 0; }

} // namespace

AudioFormat WAVAudioData::GetFormat() { return format; }

// The handle's seek takes a signed 32-bit offset. A payload it can't pass over ends the chunk walk
// rather than sending it backwards.
bool WAVAudioData::SkipForward(uint32_t count) {
  if (count > uint32_t(INT32_MAX)) return false;
  if (uint64_t(handle->Tell()) + count > uint64_t(INT32_MAX)) return false;
  return handle->Seek(int(count), SeekRef::Current) == 0;
}

bool WAVAudioData::Open(const std::string& path) {
  handle = filesystem != nullptr ? filesystem->Open(path, FileMode::Read) : nullptr;
  if (!handle) return false;

  char tag[4];
  ReadTag(*handle, tag);
  if (!TagIs(tag, "RIFF")) return false;
  handle->Seek(4, SeekRef::Current);
  ReadTag(*handle, tag);
  if (!TagIs(tag, "WAVE")) return false;

  // Cleared once: a short "fmt " chunk leaves zeros (or an earlier chunk's bytes) for what it lacks.
  uint8_t fields[16] = {};
  while (ReadTag(*handle, tag)) {
    uint8_t size_bytes[4] = {};
    handle->Read(size_bytes, 4);
    const uint32_t chunk_size = ReadLE32(size_bytes);

    if (TagIs(tag, "fmt ")) {
      const uint32_t want = std::min<uint32_t>(chunk_size, 16);
      if (chunk_size > 16)
        warn(tv::format("Unexpected WAV 'format' chunk size, found %1 expected %2").arg(chunk_size).arg(uint32_t(16)));
      if (handle->Read(fields, want) != want) {
        error(tv::format("Mangled WAV 'format' chunk in '%1'").arg(path));
        return false;
      }
      const uint32_t compression = uint32_t(fields[0]) | uint32_t(fields[1]) << 8;
      if (compression != 1) {
        error(tv::format("Unsupported WAV compression code in '%1'").arg(path));
        return false;
      }
      format.encoding = 0;
      format.channels = fields[2];
      format.frequency = ReadLE32(fields + 4);
      format.resolution = fields[14];
      if (want < chunk_size && !SkipForward(chunk_size - want)) break;
    } else if (TagIs(tag, "data")) {
      data_offset = handle->Tell();
      data_size = chunk_size;
      if (!SkipForward(chunk_size)) break;
    } else {
      // No pad byte is skipped behind a chunk of odd size.
      if (!SkipForward(chunk_size)) break;
    }
  }

  handle->Seek(int(std::min<uint32_t>(data_offset, INT32_MAX)), SeekRef::Start);
  debug(tv::format("WAV '%1' - %2hz %3bit %4 channel(s)")
            .arg(path)
            .arg(format.frequency)
            .arg(format.resolution)
            .arg(format.channels));
  return true;
}

void WAVAudioData::Close() {
  handle.reset();
  data_offset = 0;
  data_size = 0;
  format.frequency = 0;
  format.resolution = 0;
  format.channels = 0;
}

int WAVAudioData::IsEnded() {
  if (!handle) return 1;
  return uint64_t(handle->Tell()) >= uint64_t(data_offset) + data_size ? 1 : 0;
}

bool WAVAudioData::Seek(time_ns t) {
  if (!handle) return false;
  // 128-bit intermediates: a hostile frequency times a large time must not overflow.
  const __int128 sample = __int128(format.frequency) * t / 1000000000;
  const __int128 position = sample * (format.resolution >> 3) * format.channels + data_offset;
  if (position < INT32_MIN || position > INT32_MAX) return false;
  return handle->Seek(int(position), SeekRef::Start) == 0;
}

uint32_t WAVAudioData::GetFrame(void* buffer, time_ns& frame_time) {
  frame_time = 0;
  if (!handle) return 0;
  const uint64_t position = handle->Tell();
  // A format without whole bytes per frame, or without a frequency, has no time to give.
  const uint64_t frame_bytes = uint64_t(format.resolution >> 3) * format.channels;
  if (frame_bytes != 0 && format.frequency != 0 && position >= data_offset) {
    const uint64_t frames = (position - data_offset) / frame_bytes;
    frame_time = time_ns(frames * 1000000000ull) / time_ns(format.frequency);
  }
  const uint64_t end = uint64_t(data_offset) + data_size;
  const uint64_t remaining = position < end ? end - position : 0;
  const uint32_t count = uint32_t(std::min<uint64_t>(remaining, GetFrameSize()));
  return count == 0 ? 0 : handle->Read(buffer, count);
}

uint32_t WAVAudioData::GetFrameSize() {
  return (uint32_t(format.resolution) * format.channels * format.frequency) >> 3;
}

uint32_t WAVAudioData::GetDataSize() { return data_size; }

} // namespace tv
