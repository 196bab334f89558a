// Arbitrary bytes as a binary document deserialized into a small family of types twice: by the
// walk of binary documents, which matches names as dictionary indices and copies values out of
// the image, and by the walk every form shares, through a reader that only passes calls on. Both
// must leave the same objects, and neither may read outside the image.

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "core/core_registration.h"
#include "document/binary_document_reader.h"
#include "document/binary_document_writer.h"
#include "document/type_serialization.h"
#include "foundation/globals.h"
#include "foundation/log_system.h"
#include "math/rotation_order.h"
#include "reflection/math_type_names.h"
#include "reflection/type_registration.h"
#include "reflection/type_registry.h"
#include "tests/document/forwarding_reader.h"

namespace fuzz_types {

struct Base {
  int32_t id = 0;
  bool operator==(const Base&) const = default;
};

struct Part : Base {
  uint32_t mask = 0;  // no default: a part without it fails, and so does its base
  bool operator==(const Part&) const = default;
};

struct Item : Base {
  bool flag = false;
  char letter = 0;
  uint16_t port = 0;
  uint32_t mask = 0;
  float scale = 0;
  std::string name;
  tv::RotationOrder order = tv::RotationOrder::ZYX;
  std::vector<int32_t> values;
  Part part;              // a nested class with a default
  std::vector<Part> parts;
  std::vector<Item> items;  // nested to any depth the file has
};

} // namespace fuzz_types

namespace tv {
TV_TYPE_NAME(fuzz_types::Base, "Base");
TV_TYPE_NAME(fuzz_types::Part, "Part");
TV_TYPE_NAME(fuzz_types::Item, "Item");
} // namespace tv

namespace {

using fuzz_types::Base;
using fuzz_types::Item;
using fuzz_types::Part;

using tv_test::ForwardingReader;

struct Services {
  Services() {
    log.print = &tv::DiscardLogLine;
    tv::log_system = &log;
    tv::RegisterCoreTypes(registry);
    tv::Type* base = tv::RegisterValueType<Base>(registry);
    tv::AddMemberField(base, "Id", &Base::id);
    tv::Type* part = tv::RegisterValueType<Part>(registry);
    part->AddBase(base, new tv::ConcreteTypeCaster<Part, Base>());
    part->AddField("Mask", new tv::ClassField<Part, uint32_t>(&Part::mask));
    tv::RegisterVectorType<Part>(registry);
    item = tv::RegisterValueType<Item>(registry);
    item->AddBase(base, new tv::ConcreteTypeCaster<Item, Base>());
    tv::AddMemberField(item, "Flag", &Item::flag);
    tv::AddMemberField(item, "Letter", &Item::letter);
    tv::AddMemberField(item, "Port", &Item::port);
    item->AddField("Mask", new tv::ClassField<Item, uint32_t>(&Item::mask));
    tv::AddMemberField(item, "Scale", &Item::scale);
    tv::AddMemberField(item, "Name", &Item::name);
    tv::AddMemberField(item, "Order", &Item::order);
    item->AddField("Values", new tv::ClassField<Item, std::vector<int32_t>>(&Item::values));
    tv::AddMemberField(item, "Part", &Item::part);
    item->AddField("Parts", new tv::ClassField<Item, std::vector<Part>>(&Item::parts));
    tv::RegisterVectorType<Item>(registry);
    item->AddField("Items", new tv::ClassField<Item, std::vector<Item>>(&Item::items));
  }
  tv::LogSystem log;
  tv::TypeRegistry registry;
  tv::Type* item = nullptr;
};

// The object read, written out again: in binary, which keeps every float (NaN too) bit for bit.
std::vector<uint8_t> ReadAndWrite(tv::DocumentReader& reader, tv::Type* type, bool& answer) {
  Item read;
  tv::DeserializationContext context;
  answer = tv::Deserialize(reader, &read, type, &context, "");
  if (reader.GetScopeName() != "root" || !context.object_stack.empty()) __builtin_trap();
  tv::BinaryDocumentWriter writer;
  tv::BinaryData image;
  if (!tv::Serialize(writer, &read, type, nullptr, "") || !writer.Save(image)) __builtin_trap();
  return std::vector<uint8_t>(image.data.begin(), image.data.begin() + image.size);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static Services services;
  // Each element may become an object; a small file keeps the objects few.
  if (size > (1u << 16)) return 0;
  tv::BinaryData input;
  input.Write(data, uint32_t(size));
  tv::BinaryDocumentReader direct;
  if (!direct.Load(input)) return 0;
  tv::BinaryDocumentReader target;
  if (!target.Load(input)) __builtin_trap();
  ForwardingReader forwarded(target);
  bool direct_answer = false;
  bool shared_answer = false;
  const std::vector<uint8_t> direct_image = ReadAndWrite(direct, services.item, direct_answer);
  const std::vector<uint8_t> shared_image = ReadAndWrite(forwarded, services.item, shared_answer);
  if (direct_answer != shared_answer || direct_image != shared_image) __builtin_trap();
  return 0;
}
