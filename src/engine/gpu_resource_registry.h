#pragma once
// The registry of the GPU resources of the process, shared with plugins through the table. It is
// created at start-up so the table is whole; the renderer fills in what it tracks.

namespace tv {

class GpuResourceRegistry {};

} // namespace tv
