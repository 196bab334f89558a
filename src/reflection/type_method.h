#pragma once
// Callable methods of a type, for scripts and tools.

#include <cstdint>

#include "reflection/type_value.h"

namespace tv {

class Type;

class TypeMethod {
public:
  virtual ~TypeMethod() = default;
  virtual uint32_t GetParameterCount() const = 0;
  virtual Type* GetReturnType() const = 0;
  // Null for an index past the parameters.
  virtual Type* GetParameterType(uint32_t index) const = 0;
  // Calls the method on `object`. False if `argument_count` does not match (or there is no
  // object); the result goes to `out` unless it is null.
  virtual bool Call(void* object, const TypeValue* arguments, uint32_t argument_count, TypeValue* out) const = 0;
};

// A const member function of C without parameters, returning an R by value.
template <typename C, typename R>
class ClassConstMethod final : public TypeMethod {
public:
  using Method = R (C::*)() const;
  ClassConstMethod(Type* return_type, Method method) : return_type_(return_type), method_(method) {}

  uint32_t GetParameterCount() const override { return 0; }
  Type* GetReturnType() const override { return return_type_; }
  Type* GetParameterType(uint32_t) const override { return nullptr; }
  bool Call(void* object, const TypeValue*, uint32_t argument_count, TypeValue* out) const override {
    if (argument_count != 0 || object == nullptr) return false;
    const R result = (static_cast<const C*>(object)->*method_)();
    if (out != nullptr) *out = TypeValue(return_type_, &result);
    return true;
  }

private:
  Type* return_type_;
  Method method_;
};

} // namespace tv
