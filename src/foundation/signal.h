#pragma once
// Signal<void(Args...)>: slots called in connection order on the emitting thread.
// Signal<bool(Args...)> is a vote: Emit calls every slot and is true unless one returned false.
//
// The mutex guards the slot list only and is never held while a slot runs, so a slot may connect
// or disconnect (itself included) freely; such changes take effect at the next Emit. Threads that
// emit the same signal call its slots concurrently.

#include <algorithm>
#include <functional>
#include <memory>
#include <mutex>
#include <type_traits>
#include <vector>

namespace tv {

// Opaque identity of one connection: the address of the connected std::function. Valid until
// disconnected; disconnecting an unknown or stale value changes nothing.
using Connection = const void*;

template <typename Signature>
class Signal;

template <typename Result, typename... Args>
class Signal<Result(Args...)> {
  static_assert(std::is_void_v<Result> || std::is_same_v<Result, bool>, "slots return nothing, or a vote");

public:
  using Function = std::function<Result(Args...)>;

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
  // A vote goes on through every slot after a refusal, so each slot hears of the request.
  template <typename... CallArgs>
  Result Emit(CallArgs&&... args) const {
    std::vector<std::shared_ptr<Function>> copy;
    {
      std::lock_guard<std::mutex> lock(mutex);
      copy = slots;
    }
    if constexpr (std::is_void_v<Result>) {
      for (const auto& slot : copy) (*slot)(args...);
    } else {
      bool allowed = true;
      for (const auto& slot : copy)
        if (!(*slot)(args...)) allowed = false;
      return allowed;
    }
  }

  mutable std::mutex mutex;
  std::vector<std::shared_ptr<Function>> slots;
};

} // namespace tv
