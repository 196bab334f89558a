#include "picture/picture_io.h"

#include "file/filesystem.h"
#include "foundation/format.h"
#include "foundation/globals.h"
#include "foundation/log.h"
#include "picture/picture.h"
#include "picture/picture_codec.h"

namespace tv {
namespace {

bool DecodeWithAny(FileHandle& handle, Picture& picture) {
  if (picture_codecs == nullptr) return false;
  // No rewind between codecs: each one that refuses leaves the handle where it found it.
  for (PictureCodec* codec : *picture_codecs)
    if (codec->Load(handle, picture)) return true;
  return false;
}

bool DecodeWithNamed(FileHandle& handle, Picture& picture, const std::string& path, const std::string& codec_name) {
  PictureCodec* codec = FindCodec(codec_name);
  if (codec == nullptr) {
    error(format("Unknown codec '%1' to load picture '%2'").arg(codec_name).arg(path));
    return false;
  }
  return codec->Load(handle, picture);
}

} // namespace

bool LoadPicture(Picture& picture, const std::string& path, const std::string& codec_name) {
  log(format("Load picture from '%1', codec '%2'").arg(path).arg(codec_name.empty() ? std::string("-") : codec_name));
  if (filesystem == nullptr) return false;
  std::shared_ptr<FileHandle> handle = filesystem->Open(path, FileMode::Read);
  if (!handle) return false;
  const bool loaded =
      codec_name.empty() ? DecodeWithAny(*handle, picture) : DecodeWithNamed(*handle, picture, path, codec_name);
  // Whatever the codec allocated, even on its way to failing, now draws with this module's code.
  picture.AdoptRenderer();
  if (!loaded) {
    error(format("Failed to load picture '%1'").arg(path));
    return false;
  }
  log(format("Loaded picture '%1' %2x%3").arg(path).arg(picture.GetWidth()).arg(picture.GetHeight()));
  return true;
}

bool SavePicture(const Picture& picture, const std::string& path, const std::string& codec_name,
                 const std::string& parameters) {
  debug(format("Save picture (%1x%2) to '%3', codec '%4'")
            .arg(picture.GetWidth())
            .arg(picture.GetHeight())
            .arg(path)
            .arg(codec_name),
        parameters);
  PictureCodec* codec = FindCodec(codec_name);
  if (codec == nullptr) {
    error(format("Unknown codec '%1' to save picture '%2'").arg(codec_name).arg(path));
    return false;
  }
  if (filesystem == nullptr) return false;
  std::shared_ptr<FileHandle> handle = filesystem->Open(path, FileMode::Write);
  if (!handle) return false;
  return codec->Save(*handle, picture, parameters);
}

} // namespace tv
