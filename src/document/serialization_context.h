#pragma once
// What a serialization walk carries along: the objects it is inside of and the document's folder.
// Serializers that need more derive their own context and recognise it by GetName. A context
// lives for one load or save, on one thread; the walk leaves `object_stack` as it found it.

#include <string>
#include <utility>
#include <vector>

namespace tv {

class Type;

class SerializationContext {
public:
  virtual ~SerializationContext() = default;
  // "SerializationContext"; a derived context answers its own name.
  virtual const std::string& GetName() const;

  // (type, object) of each value the walk is inside of, the innermost last.
  std::vector<std::pair<Type*, const void*>> object_stack;
  std::string path;  // folder of the document, empty unless the caller sets it
};

class DeserializationContext {
public:
  virtual ~DeserializationContext() = default;
  // "DeserializationContext"; a derived context answers its own name.
  virtual const std::string& GetName() const;

  std::vector<std::pair<Type*, void*>> object_stack;
  std::string path;
};

// Keeps (type, object) on the context's stack for the length of one step of a walk, on every path.
template <typename Context, typename Object>
class ContextStackEntry {
public:
  ContextStackEntry(Context* context, Type* type, Object object) : context_(context) {
    if (context_ != nullptr) context_->object_stack.emplace_back(type, object);
  }
  ~ContextStackEntry() {
    if (context_ != nullptr) context_->object_stack.pop_back();
  }
  ContextStackEntry(const ContextStackEntry&) = delete;
  ContextStackEntry& operator=(const ContextStackEntry&) = delete;

private:
  Context* context_;
};

} // namespace tv
