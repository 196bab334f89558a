#include "foundation/thread_name.h"

#include <pthread.h>

#include <map>
#include <mutex>

namespace tv {
namespace {

std::mutex g_names_mutex;
std::map<std::thread::id, std::string>& Names() {
  static std::map<std::thread::id, std::string> names;
  return names;
}

} // namespace

void SetCurrentThreadName(const std::string& name) {
  {
    std::lock_guard<std::mutex> lock(g_names_mutex);
    Names()[std::this_thread::get_id()] = name;
  }
  pthread_setname_np(pthread_self(), name.substr(0, 15).c_str());
}

std::string GetThreadName(std::thread::id id) {
  std::lock_guard<std::mutex> lock(g_names_mutex);
  const auto found = Names().find(id);
  return found == Names().end() ? std::string() : found->second;
}

} // namespace tv
