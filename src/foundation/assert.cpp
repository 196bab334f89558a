#include "foundation/assert.h"

namespace tv {

void NullAssertHandler(const char*, int, const char*, const char*, const char*) {}

} // namespace tv
