// Loading a large document into typed objects, in each of the three forms: the reader's load from
// memory and the Deserialize walk, as a resource load does, on the same objects in the same run.
//
// The document is one object holding a vector of 10,000 items of a class with a field of every
// basic type, an enum, a math type, a nested class and a vector of ints; the values are away from
// their defaults, so every field is written. It is made here by Serialize through each writer:
// about 1.8 MB in binary, 4.9 MB of JSON and 3.9 MB of XML. "Load" is the reader's load alone;
// "Load and deserialize" is what a resource load costs, into fresh objects each time: the text
// forms through the walk every form shares, binary documents through a walk of their own that
// works on the loaded nodes. "Load and read by hand" reads the same objects with code written for
// this document through the reader interface, the most that a walk through that interface could
// reach; "make objects" copies them from memory field by field, the floor under every form.

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <type_traits>
#include <vector>

#include "core/core_registration.h"
#include "document/binary_document_reader.h"
#include "document/binary_document_writer.h"
#include "document/document_scope.h"
#include "document/json_document_reader.h"
#include "document/json_document_writer.h"
#include "document/type_serialization.h"
#include "document/xml_document_reader.h"
#include "document/xml_document_writer.h"
#include "foundation/globals.h"
#include "math/rotation_order.h"
#include "math/vector3.h"
#include "ratio_reporter.h"
#include "reflection/math_type_names.h"
#include "reflection/type_registration.h"
#include "reflection/type_registry.h"

namespace bench_types {

struct Inner {
  int32_t id = 0;
  std::string tag;
  float weight = 0;
};

struct Item {
  bool flag = false;
  char letter = 0;
  int16_t shift = 0;
  int32_t count = 0;
  uint8_t level = 0;
  uint16_t port = 0;
  uint32_t mask = 0;
  float scale = 1;
  std::string name;
  tv::RotationOrder order = tv::RotationOrder::ZYX;
  tv::Vector3 position;
  Inner inner;
  std::vector<int32_t> values;
};

struct Library {
  std::string title;
  std::vector<Item> items;
};

} // namespace bench_types

namespace tv {
TV_TYPE_NAME(bench_types::Inner, "BenchInner");
TV_TYPE_NAME(bench_types::Item, "BenchItem");
TV_TYPE_NAME(bench_types::Library, "BenchLibrary");
} // namespace tv

namespace {

using bench_types::Inner;
using bench_types::Item;
using bench_types::Library;

constexpr int kItems = 10000;

tv::TypeRegistry& Registry() {
  static tv::TypeRegistry* registry = [] {
    auto* made = new tv::TypeRegistry();
    tv::RegisterCoreTypes(*made);
    tv::Type* inner = tv::RegisterValueType<Inner>(*made);
    tv::AddMemberField(inner, "Id", &Inner::id);
    tv::AddMemberField(inner, "Tag", &Inner::tag);
    tv::AddMemberField(inner, "Weight", &Inner::weight);
    tv::Type* item = tv::RegisterValueType<Item>(*made);
    tv::AddMemberField(item, "Flag", &Item::flag);
    tv::AddMemberField(item, "Letter", &Item::letter);
    tv::AddMemberField(item, "Shift", &Item::shift);
    tv::AddMemberField(item, "Count", &Item::count);
    tv::AddMemberField(item, "Level", &Item::level);
    tv::AddMemberField(item, "Port", &Item::port);
    tv::AddMemberField(item, "Mask", &Item::mask);
    tv::AddMemberField(item, "Scale", &Item::scale);
    tv::AddMemberField(item, "Name", &Item::name);
    tv::AddMemberField(item, "Order", &Item::order);
    tv::AddMemberField(item, "Position", &Item::position);
    item->AddField("Inner", new tv::ClassField<Item, Inner>(&Item::inner));
    item->AddField("Values", new tv::ClassField<Item, std::vector<int32_t>>(&Item::values));
    tv::RegisterVectorType<Item>(*made);
    tv::Type* library = tv::RegisterValueType<Library>(*made);
    tv::AddMemberField(library, "Title", &Library::title);
    library->AddField("Items", new tv::ClassField<Library, std::vector<Item>>(&Library::items));
    tv::types = made;
    return made;
  }();
  return *registry;
}

tv::Type* LibraryType() { return Registry().GetType<Library>(); }

const Library& Original() {
  static const Library library = [] {
    Library made;
    made.title = "Benchmark library";
    made.items.resize(kItems);
    for (int i = 0; i < kItems; ++i) {
      Item& item = made.items[size_t(i)];
      item.flag = i % 2 == 0;
      item.letter = char('a' + i % 26);
      item.shift = int16_t(-i % 3000 - 1);
      item.count = i * 7 + 1;
      item.level = uint8_t(i % 250 + 1);
      item.port = uint16_t(40000 + i % 20000);
      item.mask = 0x80000000u + uint32_t(i);
      item.scale = 0.25f * float(i % 100) + 2.0f;
      item.name = "item_" + std::to_string(i);
      item.order = tv::RotationOrder(1 + i % 5);
      item.position = tv::Vector3(float(i) * 0.5f + 1, -float(i) * 0.25f - 1, 3.75f);
      item.inner.id = i + 1;
      item.inner.tag = i % 3 == 0 ? "red" : (i % 3 == 1 ? "green" : "blue");
      item.inner.weight = 1.5f + float(i % 10);
      item.values = {i, -i - 1, i * 2 + 1};
    }
    return made;
  }();
  return library;
}

template <typename Writer>
void WriteLibrary(Writer& writer) {
  if (!tv::Serialize(writer, &Original(), LibraryType(), nullptr, "")) std::abort();
}

const tv::BinaryData& BinaryImage() {
  static const tv::BinaryData image = [] {
    tv::BinaryDocumentWriter writer;
    WriteLibrary(writer);
    tv::BinaryData made;
    if (!writer.Save(made)) std::abort();
    return made;
  }();
  return image;
}

const std::string& JSONText() {
  static const std::string text = [] {
    tv::JSONDocumentWriter writer;
    WriteLibrary(writer);
    return writer.SaveToString();
  }();
  return text;
}

const std::string& XMLText() {
  static const std::string text = [] {
    tv::XMLDocumentWriter writer;
    WriteLibrary(writer);
    return writer.SaveToString();
  }();
  return text;
}

// Whether `library` holds what was written: every item, and the last one field for field.
bool Complete(const Library& library) {
  if (library.items.size() != size_t(kItems) || library.title != Original().title) return false;
  const Item& a = library.items.back();
  const Item& b = Original().items.back();
  return a.flag == b.flag && a.letter == b.letter && a.shift == b.shift && a.count == b.count && a.level == b.level &&
         a.port == b.port && a.mask == b.mask && a.scale == b.scale && a.name == b.name && a.order == b.order &&
         a.position == b.position && a.inner.id == b.inner.id && a.inner.tag == b.inner.tag &&
         a.inner.weight == b.inner.weight && a.values == b.values;
}

bool LoadInto(tv::BinaryDocumentReader& reader) { return reader.Load(BinaryImage()); }
bool LoadInto(tv::JSONDocumentReader& reader) { return reader.LoadFromString(JSONText()); }
bool LoadInto(tv::XMLDocumentReader& reader) { return reader.LoadFromString(XMLText()); }

template <typename Reader>
int64_t DocumentBytes() {
  if constexpr (std::is_same_v<Reader, tv::BinaryDocumentReader>) return int64_t(BinaryImage().size);
  else if constexpr (std::is_same_v<Reader, tv::JSONDocumentReader>) return int64_t(JSONText().size());
  else return int64_t(XMLText().size());
}

template <typename Reader>
void Load(benchmark::State& state) {
  for (auto _ : state) {
    Reader reader;
    if (!LoadInto(reader)) state.SkipWithError("load failed");
    benchmark::DoNotOptimize(reader);
  }
  state.SetBytesProcessed(int64_t(state.iterations()) * DocumentBytes<Reader>());
}

template <typename Reader>
void LoadAndDeserialize(benchmark::State& state) {
  tv::Type* type = LibraryType();
  for (auto _ : state) {
    Reader reader;
    Library library;
    if (!LoadInto(reader) || !tv::Deserialize(reader, &library, type, nullptr, "")) state.SkipWithError("load failed");
    benchmark::DoNotOptimize(library);
    state.PauseTiming();
    if (!Complete(library)) state.SkipWithError("items missed");
    state.ResumeTiming();
  }
  state.SetBytesProcessed(int64_t(state.iterations()) * DocumentBytes<Reader>());
}


// The same objects loaded and read by hand-written code through the reader interface, with no
// type descriptions: the floor under any walk of the types, and so the best ratio between the
// forms that a walk through the interface can reach.
void ReadItemByHand(tv::DocumentReader& reader, Item& item) {
  reader.Read("Count", item.count);
  reader.Read("Flag", item.flag);
  int8_t letter = 0;
  reader.Read("Letter", letter);
  item.letter = char(letter);
  reader.Read("Level", item.level);
  reader.Read("Mask", item.mask);
  reader.Read("Name", item.name);
  std::string order;
  reader.Read("Order", order);
  static const tv::Type* order_type = Registry().GetType<tv::RotationOrder>();
  if (const auto named = order_type->enum_values.find(order); named != order_type->enum_values.end())
    item.order = tv::RotationOrder(named->second);
  reader.Read("Port", item.port);
  reader.Read("Scale", item.scale);
  reader.Read("Shift", item.shift);
  if (!reader.EnterFirstChild()) return;
  do {
    const std::string scope = reader.GetScopeName();
    if (scope == "Inner") {
      reader.Read("Id", item.inner.id);
      reader.Read("Tag", item.inner.tag);
      reader.Read("Weight", item.inner.weight);
    } else if (scope == "Position") {
      reader.Read("x", item.position.x);
      reader.Read("y", item.position.y);
      reader.Read("z", item.position.z);
    } else if (scope == "Values") {
      item.values.resize(size_t(tv::CountScopes(reader, "slot")));
      size_t at = 0;
      if (reader.EnterFirstChild()) {
        do reader.Read("value", item.values[at++]);
        while (reader.EnterNextSibling());
      }
    }
  } while (reader.EnterNextSibling());
}

template <typename Reader>
void LoadAndReadByHand(benchmark::State& state) {
  for (auto _ : state) {
    Reader reader;
    if (!LoadInto(reader)) state.SkipWithError("load failed");
    Library library;
    reader.Read("Title", library.title);
    if (!tv::EnterScope(reader, "Items")) state.SkipWithError("no items");
    library.items.resize(size_t(tv::CountScopes(reader, "slot")));
    size_t at = 0;
    if (reader.EnterFirstChild()) {
      do ReadItemByHand(reader, library.items[at++]);
      while (reader.EnterNextSibling());
    }
    reader.ExitScope();
    benchmark::DoNotOptimize(library);
    state.PauseTiming();
    if (!Complete(library)) state.SkipWithError("items missed");
    state.ResumeTiming();
  }
  state.SetBytesProcessed(int64_t(state.iterations()) * DocumentBytes<Reader>());
}

// The objects made from the original's values with no document at all: the floor of every form.
void BM_MakeObjects(benchmark::State& state) {
  for (auto _ : state) {
    Library library;
    library.title = Original().title;
    library.items.resize(Original().items.size());
    for (size_t i = 0; i < library.items.size(); ++i) {
      const Item& from = Original().items[i];
      Item& to = library.items[i];
      benchmark::DoNotOptimize(from);
      to.flag = from.flag; to.letter = from.letter; to.shift = from.shift; to.count = from.count;
      to.level = from.level; to.port = from.port; to.mask = from.mask; to.scale = from.scale;
      to.name = from.name; to.order = from.order; to.position = from.position;
      to.inner.id = from.inner.id; to.inner.tag = from.inner.tag; to.inner.weight = from.inner.weight;
      to.values.resize(from.values.size());
      for (size_t v = 0; v < from.values.size(); ++v) to.values[v] = from.values[v];
    }
    benchmark::DoNotOptimize(library);
  }
}
BENCHMARK(BM_MakeObjects)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_Binary_Load(benchmark::State& state) { Load<tv::BinaryDocumentReader>(state); }
void BM_JSON_Load(benchmark::State& state) { Load<tv::JSONDocumentReader>(state); }
void BM_XML_Load(benchmark::State& state) { Load<tv::XMLDocumentReader>(state); }
void BM_Binary_LoadAndDeserialize(benchmark::State& state) { LoadAndDeserialize<tv::BinaryDocumentReader>(state); }
void BM_JSON_LoadAndDeserialize(benchmark::State& state) { LoadAndDeserialize<tv::JSONDocumentReader>(state); }
void BM_XML_LoadAndDeserialize(benchmark::State& state) { LoadAndDeserialize<tv::XMLDocumentReader>(state); }
void BM_Binary_LoadAndReadByHand(benchmark::State& state) { LoadAndReadByHand<tv::BinaryDocumentReader>(state); }
void BM_JSON_LoadAndReadByHand(benchmark::State& state) { LoadAndReadByHand<tv::JSONDocumentReader>(state); }

BENCHMARK(BM_Binary_Load)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_JSON_Load)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_XML_Load)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Binary_LoadAndDeserialize)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_JSON_LoadAndDeserialize)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_XML_LoadAndDeserialize)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Binary_LoadAndReadByHand)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_JSON_LoadAndReadByHand)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace

int main(int argc, char** argv) {
  Registry();
  std::printf("%d items: binary %u bytes, JSON %zu bytes, XML %zu bytes\n", kItems, BinaryImage().size,
              JSONText().size(), XMLText().size());
  using Ratio = tv::bench::RatioReporter::Ratio;
  return tv::bench::RunWithRatios(
      argc, argv,
      {Ratio{"binary load and deserialize / JSON load and deserialize", "BM_Binary_LoadAndDeserialize/real_time",
             "BM_JSON_LoadAndDeserialize/real_time", "at least 5"},
       Ratio{"binary load and deserialize / XML load and deserialize", "BM_Binary_LoadAndDeserialize/real_time",
             "BM_XML_LoadAndDeserialize/real_time", ""},
       Ratio{"binary load and hand-written reads / JSON the same (the interface's best)",
             "BM_Binary_LoadAndReadByHand/real_time", "BM_JSON_LoadAndReadByHand/real_time", ""},
       Ratio{"binary: load and deserialize / load and hand-written reads (the walk's cost)",
             "BM_Binary_LoadAndDeserialize/real_time", "BM_Binary_LoadAndReadByHand/real_time", ""},
       Ratio{"binary load and deserialize / the objects made from memory (the floor of any form)",
             "BM_Binary_LoadAndDeserialize/real_time", "BM_MakeObjects/real_time", ""},
       Ratio{"binary load / JSON load", "BM_Binary_Load/real_time", "BM_JSON_Load/real_time", ""},
       Ratio{"binary load / XML load", "BM_Binary_Load/real_time", "BM_XML_Load/real_time", ""}});
}
