// Loading a large document through our readers, and walking it, against the parser of the library
// underneath alone, on the same text in the same run.
//
// The document is made here by our writers: 20,000 "Node" scopes, each with a value of every kind
// and a child "Transform" of three floats, plus a few values at the root; about 4 MB of JSON and
// 3 MB of XML. "Load" is LoadFromString (for JSON the nesting pre-scan, then the parse with the
// same flags as the peer; for XML the parse with the same options as the peer). "Load and walk"
// then visits every scope through the interface and reads every value by name in its listed kind,
// as a serializer reads a document. The peers parse the same text into their document object
// model and stop there, the floor for any reader built on them.

#include <rapidjson/document.h>
#include <tinyxml2.h>

#include <string>
#include <vector>

#include "document/document_reader.h"
#include "document/json_document_reader.h"
#include "document/json_document_writer.h"
#include "document/xml_document_reader.h"
#include "document/xml_document_writer.h"
#include "ratio_reporter.h"

namespace {

constexpr int kNodes = 20000;

void WriteScene(tv::DocumentWriter& writer) {
  writer.Write("Version", 3);
  writer.Write("Title", std::string("Benchmark scene with \"quotes\" & <markup>"));
  writer.EnterScope("Scene");
  for (int i = 0; i < kNodes; ++i) {
    writer.EnterScope("Node");
    writer.Write("Name", "node_" + std::to_string(i));
    writer.Write("Index", i - kNodes / 2);
    writer.Write("Mask", 0x80000000u + unsigned(i));
    writer.Write("Weight", float(i) * 0.37f);
    writer.Write("Visible", i % 3 != 0);
    writer.EnterScope("Transform");
    writer.Write("X", float(i) * 1.5f);
    writer.Write("Y", -float(i) * 0.25f);
    writer.Write("Z", 1.0f / float(i + 1));
    writer.ExitScope();
    writer.ExitScope();
  }
  writer.ExitScope();
}

const std::string& JSONText() {
  static const std::string text = [] {
    tv::JSONDocumentWriter writer;
    WriteScene(writer);
    return writer.SaveToString();
  }();
  return text;
}

const std::string& XMLText() {
  static const std::string text = [] {
    tv::XMLDocumentWriter writer;
    WriteScene(writer);
    return writer.SaveToString();
  }();
  return text;
}

// Reads every value of the current scope in its listed kind; a sum keeps the reads alive.
int64_t ReadValues(tv::DocumentReader& reader, std::vector<tv::DocumentValueInfo>& values) {
  int64_t sum = 0;
  reader.ListValues(values);
  for (const tv::DocumentValueInfo& value : values) {
    const char* name = value.name.c_str();
    switch (value.kind) {
    case tv::DocumentValueBool: {
      bool flag = false;
      sum += reader.Read(name, flag) && flag;
      break;
    }
    case tv::DocumentValueInt: {
      int number = 0;
      reader.Read(name, number);
      sum += number;
      break;
    }
    case tv::DocumentValueUnsigned: {
      unsigned number = 0;
      reader.Read(name, number);
      sum += number;
      break;
    }
    case tv::DocumentValueFloat: {
      float number = 0;
      reader.Read(name, number);
      sum += int64_t(number);
      break;
    }
    case tv::DocumentValueString: {
      std::string text;
      reader.Read(name, text);
      sum += int64_t(text.size());
      break;
    }
    default:
      break;
    }
  }
  return sum;
}

// Every scope, depth first, and every value in it; the count of scopes is checked by the caller.
int64_t Walk(tv::DocumentReader& reader, int64_t& scopes) {
  std::vector<tv::DocumentValueInfo> values;
  int64_t sum = ReadValues(reader, values);
  int depth = 0;
  for (;;) {
    if (reader.EnterFirstChild()) {
      ++depth;
      ++scopes;
      sum += ReadValues(reader, values);
      continue;
    }
    for (;;) {
      if (depth == 0) return sum;
      if (reader.EnterNextSibling()) {
        ++scopes;
        sum += ReadValues(reader, values);
        break;
      }
      --depth;
    }
  }
}

template <typename Reader>
void LoadOnly(benchmark::State& state, const std::string& text) {
  for (auto _ : state) {
    Reader reader;
    if (!reader.LoadFromString(text)) state.SkipWithError("load failed");
    benchmark::DoNotOptimize(reader);
  }
  state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(text.size()));
}

template <typename Reader>
void LoadAndWalk(benchmark::State& state, const std::string& text, int64_t expected_scopes) {
  for (auto _ : state) {
    Reader reader;
    if (!reader.LoadFromString(text)) state.SkipWithError("load failed");
    int64_t scopes = 0;
    benchmark::DoNotOptimize(Walk(reader, scopes));
    if (scopes != expected_scopes) state.SkipWithError("walk missed scopes");
  }
  state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(text.size()));
}

void BM_JSONReader_Load(benchmark::State& state) { LoadOnly<tv::JSONDocumentReader>(state, JSONText()); }
void BM_JSONReader_LoadAndWalk(benchmark::State& state) {
  LoadAndWalk<tv::JSONDocumentReader>(state, JSONText(), 1 + 2 * kNodes);
}
void BM_RapidJSON_Parse(benchmark::State& state) {
  const std::string& text = JSONText();
  for (auto _ : state) {
    rapidjson::Document document(nullptr, 1024);
    document.Parse(text.data(), text.size());
    if (document.HasParseError()) state.SkipWithError("parse failed");
    benchmark::DoNotOptimize(document);
  }
  state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(text.size()));
}

void BM_XMLReader_Load(benchmark::State& state) { LoadOnly<tv::XMLDocumentReader>(state, XMLText()); }
void BM_XMLReader_LoadAndWalk(benchmark::State& state) {
  // The root's values sit in the "Document" element, itself a top-level scope.
  LoadAndWalk<tv::XMLDocumentReader>(state, XMLText(), 2 + 2 * kNodes);
}
void BM_TinyXML2_Parse(benchmark::State& state) {
  const std::string& text = XMLText();
  for (auto _ : state) {
    tinyxml2::XMLDocument document(true, tinyxml2::PRESERVE_WHITESPACE);
    document.Parse(text.c_str());
    if (document.Error()) state.SkipWithError("parse failed");
    benchmark::DoNotOptimize(document);
  }
  state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(text.size()));
}

BENCHMARK(BM_RapidJSON_Parse)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_JSONReader_Load)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_JSONReader_LoadAndWalk)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_TinyXML2_Parse)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_XMLReader_Load)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_XMLReader_LoadAndWalk)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace

int main(int argc, char** argv) {
  std::printf("JSON text: %zu bytes, XML text: %zu bytes\n", JSONText().size(), XMLText().size());
  using Ratio = tv::bench::RatioReporter::Ratio;
  return tv::bench::RunWithRatios(
      argc, argv,
      {Ratio{"JSON reader load / RapidJSON parse alone", "BM_JSONReader_Load/real_time",
             "BM_RapidJSON_Parse/real_time", "1.0 is the floor"},
       Ratio{"JSON reader load and walk / RapidJSON parse alone", "BM_JSONReader_LoadAndWalk/real_time",
             "BM_RapidJSON_Parse/real_time", ""},
       Ratio{"XML reader load / TinyXML-2 parse alone", "BM_XMLReader_Load/real_time", "BM_TinyXML2_Parse/real_time",
             "1.0 is the floor"},
       Ratio{"XML reader load and walk / TinyXML-2 parse alone", "BM_XMLReader_LoadAndWalk/real_time",
             "BM_TinyXML2_Parse/real_time", ""}});
}
