#include "foundation/format.h"

#include <iomanip>
#include <sstream>

#include "foundation/string_utils.h"

namespace tv {
namespace {

// Decimal digits without stream objects: these overloads sit on every log line.
std::string Digits(uint64_t value, bool negative) {
  char buffer[24];
  char* end = buffer + sizeof(buffer);
  char* p = end;
  do {
    *--p = char('0' + value % 10);
    value /= 10;
  } while (value != 0);
  if (negative) *--p = '-';
  return std::string(p, end);
}

std::string SignedDigits(int64_t value) {
  // Negate in unsigned arithmetic so that INT64_MIN has a magnitude.
  return value < 0 ? Digits(0 - uint64_t(value), true) : Digits(uint64_t(value), false);
}

} // namespace

format& format::arg(const std::string& value) {
  std::string key = "%" + Digits(uint64_t(next_index), false);
  ++next_index;
  replace_all(text, key, value);
  return *this;
}

format& format::arg(const char* value) { return arg(std::string(value ? value : "")); }
format& format::arg(uint8_t value) { return arg(Digits(value, false)); }
format& format::arg(uint16_t value) { return arg(Digits(value, false)); }
format& format::arg(uint32_t value) { return arg(Digits(value, false)); }
format& format::arg(uint64_t value) { return arg(Digits(value, false)); }
format& format::arg(int32_t value) { return arg(SignedDigits(value)); }
format& format::arg(int64_t value) { return arg(SignedDigits(value)); }

format& format::arg(int64_t value, int width, char fill) {
  std::ostringstream stream;
  stream << std::internal << std::setw(width) << std::setfill(fill) << value;
  return arg(stream.str());
}

std::string to_string(const void* pointer) {
  std::ostringstream stream;
  stream << pointer;
  return stream.str();
}

} // namespace tv
