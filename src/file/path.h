#pragma once
// Path helpers on UTF-8 text. "/" and "\\" are both separators; ":" ends a drive prefix.

#include <string>

namespace tv {

// Normalises separators to "/", folds "//" and "/./", resolves "x/.." pairs (leading ".." stay),
// drops a leading "./" and, for paths of two pieces or more, a trailing "/". A network path keeps
// its leading "\\\\"; a drive letter is lower-cased.
std::string CleanPath(const std::string& path);
// Exchanges "/" and "\\" in the given direction.
std::string NativePath(const std::string& path, bool to_backslash);
// Cuts the extension of the last path piece, if it has one ("a/b.txt" -> "a/b").
std::string CutFileExtension(const std::string& path);
// Keeps the folder part including its last separator ("a/b.txt" -> "a/"); no separator: unchanged.
std::string CutFileName(const std::string& path);
// The part behind the last separator ("a/b.txt" -> "b.txt"); no separator: unchanged.
std::string GetFileName(const std::string& path);
// The process's current folder.
std::string GetCurrentWorkingFolder();

} // namespace tv
