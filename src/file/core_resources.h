#pragma once
// The engine's built-in resources: a zip archive embedded in the library's read-only data, served
// under "@core/".

#include <cstdint>
#include <span>

namespace tv {

// The embedded archive's bytes.
std::span<const uint8_t> GetCoreArchive();

// Mounts the embedded archive on "@core/" of the `filesystem` global, unless something is mounted
// there already: a host folder on that prefix takes the place of the built-in data. The bytes are
// copied into a memory file first, so the mount doesn't depend on the library staying mapped.
// Returns whether it mounted.
bool MountCoreResources();

} // namespace tv
