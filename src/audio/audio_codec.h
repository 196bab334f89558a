#pragma once
// A decoder factory: turns a path into a stream. Codecs stand in the `audio_codecs` registry
// under a registry name ("WAV"), owned by it; registering under a taken name destroys the old one.

#include <memory>
#include <string>

#include "audio/audio_data.h"
#include "foundation/globals.h"

namespace tv {

struct AudioCodec {
  virtual ~AudioCodec() = default;
  // Empty on failure.
  virtual std::shared_ptr<AudioData> Open(const std::string& path) = 0;
  virtual std::string GetExtension() = 0;
};

} // namespace tv
