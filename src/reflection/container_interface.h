#pragma once
// Element access to container types, so that documents and tools walk any vector through one
// interface. A factory makes interfaces over one container object; the caller owns them, and an
// interface is valid while its container lives.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "reflection/type_value.h"

namespace tv {

class Type;

class ContainerReadInterface {
public:
  ContainerReadInterface(Type* element, const void* object) : element_type(element), container(object) {}
  virtual ~ContainerReadInterface() = default;
  virtual uint32_t GetSize() const = 0;
  // `out` becomes a copy of element `index`.
  virtual void GetValue(TypeValue& out, uint32_t index) const = 0;
  virtual const void* GetPointer(uint32_t index) const = 0;

  Type* element_type;
  const void* container;
};

class ContainerWriteInterface {
public:
  ContainerWriteInterface(Type* element, void* object) : element_type(element), container(object) {}
  virtual ~ContainerWriteInterface() = default;
  // New elements are default values; true on success.
  virtual bool Resize(uint32_t count) = 0;
  // Copies `value` into element `index`; false, nothing changed, for another type or an index
  // past the end.
  virtual bool SetValue(uint32_t index, const TypeValue& value) = 0;
  virtual void* GetPointer(uint32_t index) = 0;

  Type* element_type;
  void* container;
};

class ContainerInterfaceFactory {
public:
  explicit ContainerInterfaceFactory(Type* element) : element_type(element) {}
  virtual ~ContainerInterfaceFactory() = default;
  virtual std::unique_ptr<ContainerReadInterface> MakeReadInterface(const void* object) const = 0;
  virtual std::unique_ptr<ContainerWriteInterface> MakeWriteInterface(void* object) const = 0;
  // For a container that keeps its elements side by side, a resize without an interface, for
  // walks that fill many small containers: resizes the one at `object` to `count` (new elements
  // default) and sets `first` to element 0 (null when empty), each next element `element_size`
  // bytes further. False, nothing done, for a container of another layout.
  virtual bool ResizeContiguous(void* /*object*/, uint32_t /*count*/, void*& /*first*/,
                                size_t& /*element_size*/) const {
    return false;
  }

  Type* element_type;
};

template <typename T>
class StdVectorReadInterface final : public ContainerReadInterface {
public:
  StdVectorReadInterface(Type* element, const std::vector<T>* object) : ContainerReadInterface(element, object) {}
  uint32_t GetSize() const override { return uint32_t(Vector().size()); }
  void GetValue(TypeValue& out, uint32_t index) const override {
    if (index < Vector().size()) out = TypeValue(element_type, &Vector()[index]);
    else out.Reset();
  }
  const void* GetPointer(uint32_t index) const override {
    return index < Vector().size() ? &Vector()[index] : nullptr;
  }

private:
  const std::vector<T>& Vector() const { return *static_cast<const std::vector<T>*>(container); }
};

template <typename T>
class StdVectorWriteInterface final : public ContainerWriteInterface {
public:
  StdVectorWriteInterface(Type* element, std::vector<T>* object) : ContainerWriteInterface(element, object) {}
  bool Resize(uint32_t count) override {
    Vector().resize(count);
    return true;
  }
  bool SetValue(uint32_t index, const TypeValue& value) override {
    if (index >= Vector().size() || value.instance == nullptr || !IsSameType(value.type, element_type)) return false;
    Vector()[index] = *static_cast<const T*>(value.instance);
    return true;
  }
  void* GetPointer(uint32_t index) override { return index < Vector().size() ? &Vector()[index] : nullptr; }

private:
  std::vector<T>& Vector() { return *static_cast<std::vector<T>*>(container); }
};

template <typename T>
class StdVectorInterfaceFactory final : public ContainerInterfaceFactory {
public:
  explicit StdVectorInterfaceFactory(Type* element) : ContainerInterfaceFactory(element) {}
  std::unique_ptr<ContainerReadInterface> MakeReadInterface(const void* object) const override {
    return std::make_unique<StdVectorReadInterface<T>>(element_type, static_cast<const std::vector<T>*>(object));
  }
  std::unique_ptr<ContainerWriteInterface> MakeWriteInterface(void* object) const override {
    return std::make_unique<StdVectorWriteInterface<T>>(element_type, static_cast<std::vector<T>*>(object));
  }
  bool ResizeContiguous(void* object, uint32_t count, void*& first, size_t& element_size) const override {
    auto& vector = *static_cast<std::vector<T>*>(object);
    vector.resize(count);
    first = vector.data();
    element_size = sizeof(T);
    return true;
  }
};

} // namespace tv
