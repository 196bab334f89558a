// Every type of the core that can make values is filled with values away from its defaults,
// written in each form, read back into a fresh value, and compared with the original by their
// binary images. Floats are quarters, which every form keeps exactly (JSON rounds to 4 decimals).

#include <gtest/gtest.h>

#include <iterator>
#include <memory>
#include <string>

#include "document/document_format.h"
#include "serialize_test_types.h"

namespace {

using tv_test::Bytes;

// Sets every reachable value of `object` from a running seed: basic values, enum values (taken in
// turn from the enum's names), three elements per vector, the fields of bases and of the type.
void Fill(void* object, tv::Type* type, uint32_t& seed) {
  if (object == nullptr || type == nullptr) return;
  if (type->IsEnum() && type->enum_cast != nullptr && type->factory != nullptr) {
    auto entry = type->enum_values.begin();
    std::advance(entry, seed++ % type->enum_values.size());
    const tv::TypeValue value = type->enum_cast->ToValue(entry->second);
    type->factory->Copy(object, value.instance);
    return;
  }
  if (type->IsBasic()) {
    const uint32_t n = seed++;
    const std::string& name = type->name;
    // Floats in quarters stay exact in every document form.
    if (name == "Bool") *static_cast<bool*>(object) = n % 2 == 1;
    else if (name == "Char") *static_cast<char*>(object) = char(-int(n % 100) - 1);
    else if (name == "Short") *static_cast<int16_t*>(object) = int16_t(-1000 - int(n));
    else if (name == "Int") *static_cast<int32_t*>(object) = -100000 - int32_t(n);
    else if (name == "UnsignedChar") *static_cast<uint8_t*>(object) = uint8_t(200 + n % 50);
    else if (name == "UnsignedShort") *static_cast<uint16_t*>(object) = uint16_t(60000 + n);
    else if (name == "UnsignedInt") *static_cast<uint32_t*>(object) = 4000000000u + n;
    else if (name == "Float") *static_cast<float*>(object) = float(n) * 0.25f - 3.0f;
    else if (name == "String") *static_cast<std::string*>(object) = "text " + std::to_string(n);
    return;
  }
  if (type->container_factory != nullptr) {
    const auto elements = type->container_factory->MakeWriteInterface(object);
    elements->Resize(3);
    for (uint32_t i = 0; i < 3; ++i) Fill(elements->GetPointer(i), elements->element_type, seed);
    return;
  }
  for (const auto& [base, caster] : type->bases) Fill(type->CastToBase(object, base), base, seed);
  for (const auto& [field_name, field] : type->fields) {
    if (void* address = field->GetPointer(object)) {
      Fill(address, field->type, seed);
    } else {
      tv::TypeValue value(field->type);
      Fill(value.instance, field->type, seed);
      if (value.instance != nullptr) field->SetValue(object, value);
    }
  }
}

class CoreTypesRoundTrip : public serialize_test::TypesTest {
protected:
  // A value stored as one basic value (an enum, by its name) gets a key at the top: a basic value
  // needs one, and XML has no attribute without a name. Everything else stands in the root scope.
  static const char* TopName(const tv::Type* type) {
    const tv::Type* storage = type->serializer != nullptr ? type->serializer->GetStorageType() : type;
    return storage != nullptr && storage->IsBasic() ? "Value" : "";
  }

  static Bytes WriteBinary(const void* object, tv::Type* type) {
    tv::BinaryDocumentWriter writer;
    EXPECT_TRUE(tv::Serialize(writer, object, type, nullptr, TopName(type)));
    return tv_test::ImageOf(writer);
  }

  template <typename Form>
  static bool TextRoundTrip(const void* object, void* copy, tv::Type* type) {
    typename Form::Writer writer;
    if (!tv::Serialize(writer, object, type, nullptr, TopName(type))) return false;
    const std::string text = writer.SaveToString();
    typename Form::Reader reader;
    // A document of nothing has no XML text that loads, and nothing to read back either.
    return text.empty() || (reader.LoadFromString(text) && tv::Deserialize(reader, copy, type, nullptr, TopName(type)));
  }

  // Writes `object` in `format` and reads the document back into `copy`; false if a step failed.
  static bool RoundTrip(tv::DocumentFormat format, const void* object, void* copy, tv::Type* type) {
    if (format == tv::DocumentFormatXML) return TextRoundTrip<tv_test::XMLForm>(object, copy, type);
    if (format == tv::DocumentFormatJSON) return TextRoundTrip<tv_test::JSONForm>(object, copy, type);
    tv::BinaryDocumentReader reader;
    return tv_test::LoadBytes(reader, WriteBinary(object, type)) &&
           tv::Deserialize(reader, copy, type, nullptr, TopName(type));
  }

  static constexpr tv::DocumentFormat kForms[] = {tv::DocumentFormatXML, tv::DocumentFormatJSON,
                                                  tv::DocumentFormatBinary};
};

TEST_F(CoreTypesRoundTrip, EveryTypeWithAFactoryComesBackTheSameInEveryForm) {
  int round_trips = 0;
  int with_content = 0;
  for (const auto& [name, type] : registry.types) {
    if (type->factory == nullptr) continue;
    SCOPED_TRACE(name);
    tv::TypeValue original(type.get());
    uint32_t seed = 1;
    Fill(original.instance, type.get(), seed);
    const Bytes image = WriteBinary(original.instance, type.get());
    for (const tv::DocumentFormat format : kForms) {
      SCOPED_TRACE(int(format));
      tv::TypeValue copy(type.get());
      EXPECT_TRUE(RoundTrip(format, original.instance, copy.instance, type.get()));
      EXPECT_EQ(WriteBinary(copy.instance, type.get()), image);
      ++round_trips;
    }

    // Where the type has something to write, the filled value must differ from a fresh one, or
    // the comparison above proves nothing.
    const tv::TypeValue fresh(type.get());
    if (seed > 1) {
      EXPECT_NE(WriteBinary(fresh.instance, type.get()), image);
      ++with_content;
    }
  }
  // Basic types, their vectors, the math types and vectors, enums, BinaryData and the scene's
  // shared pointers, each in three forms.
  EXPECT_GE(round_trips, 3 * 45);
  EXPECT_GE(with_content, 35);
  EXPECT_TRUE(tv_test::TakeLog().empty());
}

} // namespace
