#pragma once
// A native window by name only: a value copied freely. The empty value (all zero) means "no
// window" and is what a failed creation gives.

#include <cstdint>

namespace tv {

struct Window {
  void* handle = nullptr;  // native window handle
  void* hook = nullptr;    // message hook of a wrapped window, else null
  uintptr_t reserved[2] = {0, 0};

  bool IsEmpty() const { return *this == Window{}; }
  friend bool operator==(const Window&, const Window&) = default;
};

} // namespace tv
