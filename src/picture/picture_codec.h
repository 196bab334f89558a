#pragma once
// Picture codecs and their registry. The core decodes and encodes no file format itself: codecs
// come from plugins (or the host) and register in `picture_codecs`, the vector of the core
// globals shared by every module, in order of registration. The registry does not own them:
// whoever registers a codec takes it out again (a plugin in its PluginUnload) before freeing it.
// Filled at start-up and read afterwards, without a lock.

#include <string>

#include "file/file_handle.h"
#include "foundation/globals.h"

namespace tv {

class Picture;

class PictureCodec {
public:
  virtual ~PictureCodec();
  // Decodes the file from the handle's position into `picture`. A codec that refuses the file
  // leaves the handle where it found it, so that the next codec can try.
  virtual bool Load(FileHandle& handle, Picture& picture) = 0;
  // Encodes `picture` into the handle. `parameters` is free text for the codec, such as
  // "format: tga".
  virtual bool Save(FileHandle& handle, const Picture& picture, const std::string& parameters) = 0;
  // The registry name, such as "STB".
  virtual std::string GetName() const = 0;
};

// Appends `codec`; false, with nothing changed, when a codec of that name is there already (or
// the registry does not exist).
bool RegisterCodec(PictureCodec* codec);
// The first codec named exactly `name`, or null.
PictureCodec* FindCodec(const std::string& name);

} // namespace tv
