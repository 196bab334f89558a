#pragma once
// Positional message text: format("Failed to open '%1'").arg(path).
// Substitution is textual and immediate: arg() replaces every "%N" for the next N at once.

#include <cstdint>
#include <string>

namespace tv {

class format {
public:
  format(std::string text) : text(std::move(text)) {}
  format(const char* text) : text(text ? text : "") {}

  format& arg(const std::string& value);
  format& arg(const char* value);
  format& arg(uint8_t value);
  format& arg(uint16_t value);
  format& arg(uint32_t value);
  format& arg(int32_t value);
  // Sizes and durations are 64-bit; printing them should not need a cast at every call site.
  format& arg(uint64_t value);
  format& arg(int64_t value);
  // Padded form: decimal, right-aligned in `width` characters filled with `fill` ("%03d"-like).
  format& arg(int64_t value, int width, char fill);

  operator const std::string&() const { return text; }
  const std::string& str() const { return text; }

  std::string text;
  int32_t next_index = 1;
};

// A pointer as the standard output stream prints it ("0x55d0c0ffee10"); how messages name drivers.
std::string to_string(const void* pointer);

} // namespace tv
