#include "file/path.h"

#include <unistd.h>

#include <vector>

#include "foundation/string_utils.h"

namespace tv {

std::string CleanPath(const std::string& path) {
  std::string clean = path;
  if (clean.size() > 2 && clean[1] == ':') clean = to_lower(clean, 0, 1);
  const bool network = starts_with(clean, "\\\\");
  replace_all(clean, "\\", "/");
  while (replace_all(clean, "//", "/") != 0) {}
  while (replace_all(clean, "/./", "/") != 0) {}
  if (network) clean = "\\\\" + clean.substr(1);
  if (starts_with(clean, "./")) clean = clean.substr(2);

  std::vector<std::string> pieces = split(clean, "/");
  if (pieces.size() < 2) return clean;
  // Remove each "name/.." pair; repeat until stable so that "a/b/../.." resolves fully.
  bool changed = true;
  while (changed) {
    changed = false;
    for (size_t i = 0; i + 1 < pieces.size(); ++i) {
      if (pieces[i] != ".." && pieces[i + 1] == "..") {
        pieces.erase(pieces.begin() + std::ptrdiff_t(i), pieces.begin() + std::ptrdiff_t(i) + 2);
        changed = true;
        break;
      }
    }
  }
  std::string joined;
  for (size_t i = 0; i < pieces.size(); ++i) {
    if (i != 0) joined += "/";
    joined += pieces[i];
  }
  return joined;
}

std::string NativePath(const std::string& path, bool to_backslash) {
  std::string result = path;
  if (to_backslash)
    replace_all(result, "/", "\\");
  else
    replace_all(result, "\\", "/");
  return result;
}

std::string CutFileExtension(const std::string& path) {
  for (size_t i = path.size(); i-- > 1;) {
    const char c = path[i];
    if (c == '.') return path.substr(0, i);
    if (c == '\\' || c == '/' || c == ':') break;
  }
  return path;
}

std::string CutFileName(const std::string& path) {
  const size_t at = path.find_last_of("\\/:");
  return at == std::string::npos ? path : path.substr(0, at + 1);
}

std::string GetFileName(const std::string& path) {
  const size_t at = path.find_last_of("\\/");
  return at == std::string::npos ? path : path.substr(at + 1);
}

std::string GetCurrentWorkingFolder() {
  // 1023 characters and a terminator, as wide as the folder may be.
  char buffer[1024];
  if (getcwd(buffer, sizeof(buffer)) == nullptr) return std::string();
  return std::string(buffer);
}

} // namespace tv
