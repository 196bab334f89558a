#pragma once

#include "audio/audio_codec.h"

namespace tv {

// Registered under "WAV" by the plugin; opens WAVAudioData streams.
struct WAVAudioCodec : AudioCodec {
  std::shared_ptr<AudioData> Open(const std::string& path) override;
  std::string GetExtension() override;
};

} // namespace tv
