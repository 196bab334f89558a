#include "reflection/type_field.h"

#include "reflection/type.h"

namespace tv {

const void* TypeField::GetConstPointer(const void*) const { return nullptr; }

void* TypeField::GetPointer(void*) const { return nullptr; }

TypeValue TypeField::GetValue(const void* object) const {
  TypeValue value(type);
  if (value.instance != nullptr && object != nullptr) Get(object, value.instance);
  return value;
}

bool TypeField::SetValue(void* object, const TypeValue& value) const {
  if (object == nullptr || type == nullptr) return false;
  // No value clears a shared pointer: an empty pointer of the field's type is stored.
  if (value.type == nullptr) {
    if (type->shared_ptr_accessor == nullptr || type->factory == nullptr) return false;
    void* empty = type->factory->New();
    Set(object, empty);
    type->factory->Delete(empty);
    return true;
  }
  if (value.instance == nullptr) return false;
  if (IsSameType(value.type, type)) {
    Set(object, value.instance);
    return true;
  }
  static const uint32_t kIntHash = TypeNameHash("Int");
  if (type->IsEnum() && value.type->GetNameHash() == kIntHash) {
    const int32_t number = *static_cast<const int32_t*>(value.instance);
    if (type->enum_cast != nullptr) {
      // Through the enum's own width, whatever the byte order.
      const TypeValue narrowed = type->enum_cast->ToValue(number);
      if (narrowed.instance == nullptr) return false;
      Set(object, narrowed.instance);
    } else {
      Set(object, value.instance);
    }
    return true;
  }
  if (type->shared_ptr_accessor != nullptr && type->factory != nullptr &&
      IsSameType(type->shared_ptr_accessor->GetPointeeType(), value.type)) {
    void* pointer = type->factory->New();
    const bool assigned = type->shared_ptr_accessor->AssignCopy(pointer, value.instance);
    if (assigned) Set(object, pointer);
    type->factory->Delete(pointer);
    return assigned;
  }
  return false;
}

} // namespace tv
