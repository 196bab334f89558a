#include "output_file.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

namespace tv {

OutputFile::~OutputFile() {
  if (!temporary_.empty()) std::remove(temporary_.c_str());
}

bool OutputFile::Open() {
  const size_t slash = path_.rfind('/');
  const std::string folder = slash == std::string::npos ? std::string() : path_.substr(0, slash + 1);
  const std::string name = slash == std::string::npos ? path_ : path_.substr(slash + 1);
  std::string pattern = folder + "." + name + ".XXXXXX";
  const int descriptor = mkstemp(pattern.data());
  if (descriptor < 0) return false;
  temporary_ = pattern;
  // mkstemp makes a private file; the output gets the mode any new file would get.
  const mode_t mask = umask(0);
  umask(mask);
  const bool moded = fchmod(descriptor, 0666 & ~mask) == 0;
  return close(descriptor) == 0 && moded;
}

bool OutputFile::Commit() {
  if (std::rename(temporary_.c_str(), path_.c_str()) != 0) return false;
  temporary_.clear();
  return true;
}

} // namespace tv
