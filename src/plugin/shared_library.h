#pragma once
// A shared library mapped with the dynamic loader (RTLD_NOW | RTLD_LOCAL): its symbols stay
// private to it, and the host resolves what it needs by name. Unmapped on destruction.

#include <string>

namespace tv {

// A mapped library as the plugin host sees it: held through an owning pointer, unmapped when
// destroyed.
struct SharedLibrary {
  virtual ~SharedLibrary() = default;
  // Address of an exported symbol, or null.
  virtual void* GetFunctionPointer(const std::string& name) = 0;
};

class DlSharedLibrary : public SharedLibrary {
public:
  DlSharedLibrary() = default;
  ~DlSharedLibrary() override;
  DlSharedLibrary(const DlSharedLibrary&) = delete;
  DlSharedLibrary& operator=(const DlSharedLibrary&) = delete;

  void* GetFunctionPointer(const std::string& name) override { return GetSymbol(name.c_str()); }

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
