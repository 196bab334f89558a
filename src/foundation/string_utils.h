#pragma once
// Small text helpers on UTF-8 std::strings; positions and counts are in bytes.

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace tv {

// Replaces every occurrence of `what` in place, scanning left to right and resuming behind each
// replacement (so a replacement is never rescanned). Returns the count. An empty `what` does nothing.
size_t replace_all(std::string& text, const std::string& what, const std::string& by);

// Negative `from` counts from the end; `count` 0 means to the end, a negative `count` stops that
// many bytes short of the end. The result is clamped to the string.
std::string slice(const std::string& text, int64_t from, int64_t count = 0);
std::string left(const std::string& text, int64_t n);
std::string right(const std::string& text, int64_t n);

// True for an empty prefix. Case-insensitive compares fold A-Z only.
bool starts_with(const std::string& text, const std::string& prefix, bool case_sensitive = true);

// Lower-cases ASCII letters in [from, to); `to` < 0 means the end.
std::string to_lower(const std::string& text, int64_t from = 0, int64_t to = -1);

// Pieces between separators. A leading separator gives an empty first piece, a trailing one no
// empty last piece. A non-empty `strip` is removed from each piece that a separator ended.
std::vector<std::string> split(const std::string& text, const std::string& separator,
                               const std::string& strip = "");

std::string lstrip(const std::string& text, const std::string& chars = " \t\r\n");
std::string rstrip(const std::string& text, const std::string& chars = " \t\r\n");
// Strips both ends and replaces each inner run of `chars` by `fill`.
std::string reduce(const std::string& text, const std::string& fill = " ",
                   const std::string& chars = " \t\r\n");

// "\r\n" to "\n", or the reverse.
std::string normalize_eol(const std::string& text, bool to_crlf = false);

// Glob match, case sensitive: "*", "?", "[set]" with "\\" escapes. A null text never matches.
bool match_wildcard(const char* text, const char* pattern);
inline bool match_wildcard(const std::string& text, const std::string& pattern) {
  return match_wildcard(text.c_str(), pattern.c_str());
}

// UTF-8 to UTF-16 and back, for operating system and file format interfaces that speak UTF-16.
// The wide side is std::u16string, not std::wstring: wchar_t is 32 bits on Linux, and these are
// UTF-16 code units wherever the engine runs. Malformed input throws the UTF-8 library's
// exceptions (utf8::exception, a std::exception): "Invalid UTF-8" for bad bytes, "Invalid code
// point" for an encoded surrogate or a value beyond U+10FFFF, "Not enough space" for a sequence cut
// off at the end, "Invalid UTF-16" for an unpaired surrogate.
std::u16string utf8_to_wchar(const std::string& text);
std::string wchar_to_utf8(const std::u16string& text);

} // namespace tv
