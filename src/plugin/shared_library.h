#pragma once
// A shared library mapped with the dynamic loader (RTLD_NOW | RTLD_LOCAL): its symbols stay
// private to it, and the host resolves what it needs by name. Unmapped on destruction.

#include <string>

namespace tv {

class SharedLibrary {
public:
  SharedLibrary() = default;
  ~SharedLibrary();
  SharedLibrary(const SharedLibrary&) = delete;
  SharedLibrary& operator=(const SharedLibrary&) = delete;

  // False on failure, with the loader's reason in GetError().
  bool Open(const std::string& path);
  void Close();
  bool IsOpen() const { return handle_ != nullptr; }
  // Address of an exported symbol, or null (with the reason in GetError()).
  void* GetSymbol(const char* name);
  const std::string& GetError() const { return error_; }
  const std::string& GetPath() const { return path_; }

private:
  void* handle_ = nullptr;
  std::string path_;
  std::string error_;
};

} // namespace tv
