#include "picture/picture_codec.h"

namespace tv {

PictureCodec::~PictureCodec() = default;

bool RegisterCodec(PictureCodec* codec) {
  if (picture_codecs == nullptr || codec == nullptr || FindCodec(codec->GetName()) != nullptr) return false;
  picture_codecs->push_back(codec);
  return true;
}

PictureCodec* FindCodec(const std::string& name) {
  if (picture_codecs == nullptr) return nullptr;
  for (PictureCodec* codec : *picture_codecs)
    if (codec->GetName() == name) return codec;
  return nullptr;
}

} // namespace tv
