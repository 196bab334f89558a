#include "foundation/string_utils.h"

#include <utf8.h>

#include <algorithm>
#include <iterator>
#include <limits>

namespace tv {

size_t replace_all(std::string& text, const std::string& what, const std::string& by) {
  if (what.empty()) return 0;
  size_t count = 0;
  size_t at = text.find(what);
  while (at != std::string::npos) {
    text.replace(at, what.size(), by);
    ++count;
    at = text.find(what, at + by.size());
  }
  return count;
}

std::string slice(const std::string& text, int64_t from, int64_t count) {
  const int64_t length = int64_t(text.size());
  int64_t begin = from < 0 ? length + from : from;
  begin = std::clamp<int64_t>(begin, 0, length);
  // Saturating: begin + count must not overflow for a huge count.
  int64_t end = count > 0 ? (count > length - begin ? length : begin + count) : length + count;
  end = std::clamp<int64_t>(end, begin, length);
  return text.substr(size_t(begin), size_t(end - begin));
}

std::string left(const std::string& text, int64_t n) {
  if (n <= 0) return std::string();
  return slice(text, 0, n);
}

std::string right(const std::string& text, int64_t n) {
  // -INT64_MIN doesn't exist; any from beyond the end gives the same empty result.
  const int64_t from = n == std::numeric_limits<int64_t>::min() ? std::numeric_limits<int64_t>::max() : -n;
  return slice(text, from, 0);
}

namespace {
char FoldAscii(char c) { return (c >= 'A' && c <= 'Z') ? char(c - 'A' + 'a') : c; }
} // namespace

bool starts_with(const std::string& text, const std::string& prefix, bool case_sensitive) {
  if (prefix.size() > text.size()) return false;
  if (case_sensitive) return text.compare(0, prefix.size(), prefix) == 0;
  for (size_t i = 0; i < prefix.size(); ++i)
    if (FoldAscii(text[i]) != FoldAscii(prefix[i])) return false;
  return true;
}

std::string to_lower(const std::string& text, int64_t from, int64_t to) {
  std::string result = text;
  const int64_t length = int64_t(text.size());
  const int64_t begin = std::clamp<int64_t>(from, 0, length);
  const int64_t end = to < 0 ? length : std::clamp<int64_t>(to, begin, length);
  for (int64_t i = begin; i < end; ++i) result[size_t(i)] = FoldAscii(result[size_t(i)]);
  return result;
}

std::vector<std::string> split(const std::string& text, const std::string& separator,
                               const std::string& strip) {
  std::vector<std::string> pieces;
  if (separator.empty()) {
    if (!text.empty()) pieces.push_back(text);
    return pieces;
  }
  size_t start = 0;
  size_t at = text.find(separator);
  while (at != std::string::npos) {
    std::string piece = text.substr(start, at - start);
    if (!strip.empty()) replace_all(piece, strip, "");
    pieces.push_back(std::move(piece));
    start = at + separator.size();
    at = text.find(separator, start);
  }
  if (start < text.size()) pieces.push_back(text.substr(start));
  return pieces;
}

std::string lstrip(const std::string& text, const std::string& chars) {
  const size_t at = text.find_first_not_of(chars);
  return at == std::string::npos ? std::string() : text.substr(at);
}

std::string rstrip(const std::string& text, const std::string& chars) {
  const size_t at = text.find_last_not_of(chars);
  return at == std::string::npos ? std::string() : text.substr(0, at + 1);
}

std::string reduce(const std::string& text, const std::string& fill, const std::string& chars) {
  const std::string stripped = rstrip(lstrip(text, chars), chars);
  std::string result;
  result.reserve(stripped.size());
  size_t i = 0;
  while (i < stripped.size()) {
    if (chars.find(stripped[i]) != std::string::npos) {
      while (i < stripped.size() && chars.find(stripped[i]) != std::string::npos) ++i;
      result += fill;
    } else {
      result += stripped[i++];
    }
  }
  return result;
}

std::string normalize_eol(const std::string& text, bool to_crlf) {
  std::string result = text;
  replace_all(result, "\r\n", "\n");
  if (to_crlf) replace_all(result, "\n", "\r\n");
  return result;
}

namespace {

// Matches one "[...]" set against `c`. `p` points behind the "["; on success it is left behind the
// "]". Returns -1 for a set that isn't closed (the whole match fails), else 1 or 0.
int MatchSet(const char*& p, char c) {
  bool matched = false;
  while (*p != ']') {
    if (*p == '\0') return -1;
    if (*p == '\\') {
      ++p;
      if (*p == '\0') return -1;
    }
    if (*p == c) matched = true;
    ++p;
  }
  ++p;
  return matched ? 1 : 0;
}

} // namespace

bool match_wildcard(const char* text, const char* pattern) {
  if (text == nullptr || pattern == nullptr) return false;
  const char* star_pattern = nullptr;  // behind the most recent "*"
  const char* star_text = nullptr;     // where that "*" began to consume
  const char* t = text;
  const char* p = pattern;
  for (;;) {
    bool ok = false;
    if (*p == '*') {
      while (*p == '*') ++p;
      star_pattern = p;
      star_text = t;
      continue;
    }
    if (*p == '\0') {
      if (*t == '\0') return true;
      ok = false;
    } else if (*p == '?') {
      if (*t != '\0') { ++t; ++p; ok = true; }
    } else if (*p == '[') {
      const char* q = p + 1;
      if (*t != '\0') {
        const int r = MatchSet(q, *t);
        if (r < 0) return false;
        if (r == 1) { ++t; p = q; ok = true; }
      } else {
        // An unclosed set fails the whole match even at the end of the text.
        if (MatchSet(q, '\0') < 0) return false;
      }
    } else {
      const char* q = p;
      if (*q == '\\') {
        ++q;
        if (*q == '\0') return false;
      }
      if (*t != '\0' && *t == *q) { t++; p = q + 1; ok = true; }
    }
    if (ok) continue;
    // Mismatch: restart one character further on from the most recent "*".
    if (star_pattern == nullptr || *star_text == '\0') return false;
    ++star_text;
    t = star_text;
    p = star_pattern;
  }
}

std::u16string utf8_to_wchar(const std::string& text) {
  std::u16string result;
  result.reserve(text.size());
  utf8::utf8to16(text.begin(), text.end(), std::back_inserter(result));
  return result;
}

std::string wchar_to_utf8(const std::u16string& text) {
  std::string result;
  result.reserve(text.size());
  utf8::utf16to8(text.begin(), text.end(), std::back_inserter(result));
  return result;
}

} // namespace tv
