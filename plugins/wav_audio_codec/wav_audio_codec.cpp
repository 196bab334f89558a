#include "wav_audio_codec.h"

#include "wav_audio_data.h"

namespace tv {

std::shared_ptr<AudioData> WAVAudioCodec::Open(const std::string& path) {
  auto stream = std::make_shared<WAVAudioData>();
  if (!stream->Open(path)) return nullptr;
  return stream;
}

std::string WAVAudioCodec::GetExtension() { return "wav"; }

} // namespace tv
