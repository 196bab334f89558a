#include "plugin/shared_library.h"

#include <dlfcn.h>

namespace tv {
namespace {

std::string LoaderError() {
  const char* text = dlerror();
  return text ? std::string(text) : std::string("unknown dynamic loader error");
}

} // namespace

DlSharedLibrary::~DlSharedLibrary() { Close(); }

bool DlSharedLibrary::Open(const std::string& path) {
  Close();
  handle_ = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (handle_ == nullptr) {
    error_ = LoaderError();
    return false;
  }
  path_ = path;
  error_.clear();
  return true;
}

void DlSharedLibrary::Close() {
  if (handle_ != nullptr) dlclose(handle_);
  handle_ = nullptr;
  path_.clear();
}

void* DlSharedLibrary::GetSymbol(const char* name) {
  if (handle_ == nullptr) {
    error_ = "library is not open";
    return nullptr;
  }
  dlerror();
  void* symbol = dlsym(handle_, name);
  if (symbol == nullptr) error_ = LoaderError();
  return symbol;
}

} // namespace tv
