#pragma once
// Pictures from and to files, through the core's Filesystem and the registered codecs.

#include <string>

namespace tv {

class Picture;

// Decodes the file at `path` with the codec named `codec_name`, or with the first registered
// codec that takes it when the name is empty. Logs what it loads and each failure but an open
// failure (the file system reports that). A failed load leaves `picture`'s pixels as the codec
// left them. Once a codec has run, the picture's renderer is made anew by this module (drawing
// state kept, clip box reset), so that the picture does not depend on the codec's module staying
// mapped.
bool LoadPicture(Picture& picture, const std::string& path, const std::string& codec_name);
// Encodes `picture` into the file at `path` with the codec named `codec_name`; `parameters` go to
// the codec as they are.
bool SavePicture(const Picture& picture, const std::string& path, const std::string& codec_name,
                 const std::string& parameters);

} // namespace tv
