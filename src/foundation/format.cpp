#include "foundation/format.h"

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
  std::string key(1, '%');
  key += Digits(uint64_t(next_index), false);
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

// The fill goes between the sign and the digits, as with std::internal: "-05".
format& format::arg(int64_t value, int width, char fill) {
  const std::string digits = SignedDigits(value);
  if (width <= 0 || digits.size() >= size_t(width)) return arg(digits);
  const size_t sign = value < 0 ? 1 : 0;
  std::string padded = digits.substr(0, sign);
  padded.append(size_t(width) - digits.size(), fill);
  padded.append(digits, sign);
  return arg(padded);
}

std::string to_string(const void* pointer) {
  std::ostringstream stream;
  stream << pointer;
  return stream.str();
}

} // namespace tv
