#pragma once
// The three forms of a document, as stored in settings and passed to the open calls.

#include <cstdint>

namespace tv {

enum DocumentFormat : int32_t {
  DocumentFormatUnknown = 0,
  DocumentFormatXML = 1,
  DocumentFormatJSON = 2,
  DocumentFormatBinary = 3,
};

} // namespace tv
