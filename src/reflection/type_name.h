#pragma once
// Run-time names of C++ types and the hash that is a type's identity.
//
// Types are looked up by name, never by a compile-time id: an id of the compiler would differ
// between the host and each plugin module, a name and its hash do not. TypeName<T>() is the one
// place where a C++ type meets its name; registration and every lookup for a C++ type go through
// it. A type without a name entry fails to compile, rather than silently getting another name.

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace tv {

class BinaryData;

// FNV-1a, 32 bits, over the bytes of the name. The empty name hashes to the start value.
constexpr uint32_t kTypeNameHashStart = 2166136261u;
constexpr uint32_t TypeNameHash(std::string_view name) {
  uint32_t hash = kTypeNameHashStart;
  for (const char c : name) {
    hash ^= uint8_t(c);
    hash *= 16777619u;
  }
  return hash;
}

// Specialised once per named C++ type (TV_TYPE_NAME); Get() returns a function-local static, so
// the first call from any thread initialises it safely.
template <typename T>
struct TypeNameOf;

template <typename T>
const std::string& TypeName() {
  return TypeNameOf<T>::Get();
}

#define TV_TYPE_NAME(CppType, text)                       \
  template <>                                            \
  struct TypeNameOf<CppType> {                           \
    static const std::string& Get() {                    \
      static const std::string name(text);               \
      return name;                                       \
    }                                                    \
  }

// A vector is named after its element: "Vector3" gives "Vector3Vector".
template <typename T>
struct TypeNameOf<std::vector<T>> {
  static const std::string& Get() {
    static const std::string name = TypeName<T>() + "Vector";
    return name;
  }
};

// A shared pointer is by default the class name inside std::shared_ptr<>; classes whose pointer
// is named with a leading "s" ("sCamera") specialise the full type.
template <typename T>
struct TypeNameOf<std::shared_ptr<T>> {
  static const std::string& Get() {
    static const std::string name = "std::shared_ptr<" + TypeName<T>() + ">";
    return name;
  }
};

// Script callables: handles whose meaning belongs to the script back end. The core only names,
// creates and copies them.
struct Function {
  void* handle = nullptr;
  bool operator==(const Function&) const = default;
};
struct CFunction {
  void* handle = nullptr;
  bool operator==(const CFunction&) const = default;
};

TV_TYPE_NAME(bool, "Bool");
TV_TYPE_NAME(char, "Char");
TV_TYPE_NAME(int16_t, "Short");
TV_TYPE_NAME(int32_t, "Int");
TV_TYPE_NAME(uint8_t, "UnsignedChar");
TV_TYPE_NAME(uint16_t, "UnsignedShort");
TV_TYPE_NAME(uint32_t, "UnsignedInt");
TV_TYPE_NAME(float, "Float");
TV_TYPE_NAME(std::string, "String");
TV_TYPE_NAME(Function, "Function");
TV_TYPE_NAME(CFunction, "CFunction");
TV_TYPE_NAME(BinaryData, "BinaryData");

} // namespace tv
