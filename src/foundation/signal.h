#pragma once
// Signal<void(Args...)>: slots called in connection order on the emitting thread.
//
// The mutex guards the slot list only and is never held while a slot runs, so a slot may connect
// or disconnect (itself included) freely; such changes take effect at the next Emit. Threads that
// emit the same signal call its slots concurrently.

#include <algorithm>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

namespace tv {

// Opaque identity of one connection: the address of the connected std::function. Valid until
// disconnected; disconnecting an unknown or stale value changes nothing.
using Connection = const void*;

template <typename Signature>
class Signal;

template <typename... Args>
class Signal<void(Args...)> {
public:
  using Function = std::function<void(Args...)>;

  Signal() = default;
  Signal(const Signal&) = delete;
  Signal& operator=(const Signal&) = delete;

  Connection Connect(Function function) {
    auto slot = std::make_shared<Function>(std::move(function));
    Connection connection = slot.get();
    std::lock_guard<std::mutex> lock(mutex);
    slots.push_back(std::move(slot));
    return connection;
  }

  void Disconnect(Connection connection) {
    std::lock_guard<std::mutex> lock(mutex);
    std::erase_if(slots, [connection](const auto& slot) { return slot.get() == connection; });
  }

  void DisconnectAll() {
    std::lock_guard<std::mutex> lock(mutex);
    slots.clear();
  }

  size_t GetSlotCount() const {
    std::lock_guard<std::mutex> lock(mutex);
    return slots.size();
  }

  // Calls a copy of the slot list, so a slot survives its own disconnection during the call.
  // A slot holding an empty function throws std::bad_function_call and ends the emission.
  template <typename... CallArgs>
  void Emit(CallArgs&&... args) const {
    std::vector<std::shared_ptr<Function>> copy;
    {
      std::lock_guard<std::mutex> lock(mutex);
      if (slots.empty()) return;
      copy = slots;
    }
    for (const auto& slot : copy) (*slot)(args...);
  }

  mutable std::mutex mutex;
  std::vector<std::shared_ptr<Function>> slots;
};

} // namespace tv
