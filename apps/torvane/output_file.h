#pragma once
// A file that appears whole or not at all: written under a temporary name in the folder of the
// final one, then renamed over it. A file never committed is removed.

#include <string>
#include <utility>

namespace tv {

class OutputFile {
public:
  explicit OutputFile(std::string path) : path_(std::move(path)) {}
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  // Makes the temporary file; its name, for the writer to save to, is then `temporary()`.
  bool Open();
  const std::string& temporary() const { return temporary_; }
  // Renames the temporary file over the final one.
  bool Commit();

private:
  std::string path_;
  std::string temporary_;
};

} // namespace tv
