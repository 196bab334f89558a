// Loading a large document through our readers, and reading it, against the parser of the library
// underneath alone, on the same text in the same run.
//
// The document is made here by our writers: 20,000 "Node" scopes, each with a value of every kind
// and a child "Transform" of three floats, plus a few values at the root; about 4 MB of JSON and
// 3 MB of XML. "Load" is LoadFromString: the parse with the peer's flags or options (for JSON
// through a handler that limits the nesting), plus what the reader sets up. "Load and read"
// then reads every value through the interface, as a serializer does: by the names it knows, scope
// by scope, in the child loop. The peers parse the same text into their document object
// model and stop there, the floor for any reader built on them.

#include <rapidjson/document.h>
#include <tinyxml2.h>

#include <string>
#include <vector>

#include "document/document_reader.h"
#include "document/document_scope.h"
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

// Reads the document as a serializer does, by the names it knows: the root's values, then each
// node's values and its transform's. The sum keeps the reads alive; `nodes` counts what was found.
int64_t ReadScene(tv::DocumentReader& reader, int& nodes) {
  int64_t sum = 0;
  int version = 0;
  std::string text;
  sum += reader.Read("Version", version) ? version : -1;
  sum += reader.Read("Title", text) ? int64_t(text.size()) : -1;
  if (!tv::EnterScope(reader, "Scene")) return sum;
  if (reader.EnterFirstChild()) {
    do {
      int index = 0;
      unsigned mask = 0;
      float weight = 0, x = 0, y = 0, z = 0;
      bool visible = false;
      bool found = reader.Read("Name", text) && reader.Read("Index", index) && reader.Read("Mask", mask) &&
                   reader.Read("Weight", weight) && reader.Read("Visible", visible);
      if (found && tv::EnterScope(reader, "Transform")) {
        found = reader.Read("X", x) && reader.Read("Y", y) && reader.Read("Z", z);
        reader.ExitScope();
      }
      nodes += found;
      sum += int64_t(text.size()) + index + mask + int64_t(weight + x + y + z) + visible;
    } while (reader.EnterNextSibling());
  }
  reader.ExitScope();
  return sum;
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
void LoadAndRead(benchmark::State& state, const std::string& text) {
  for (auto _ : state) {
    Reader reader;
    if (!reader.LoadFromString(text)) state.SkipWithError("load failed");
    int nodes = 0;
    benchmark::DoNotOptimize(ReadScene(reader, nodes));
    if (nodes != kNodes) state.SkipWithError("nodes missed");
  }
  state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(text.size()));
}

void BM_JSONReader_Load(benchmark::State& state) { LoadOnly<tv::JSONDocumentReader>(state, JSONText()); }
void BM_JSONReader_LoadAndRead(benchmark::State& state) { LoadAndRead<tv::JSONDocumentReader>(state, JSONText()); }
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
void BM_XMLReader_LoadAndRead(benchmark::State& state) { LoadAndRead<tv::XMLDocumentReader>(state, XMLText()); }
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
BENCHMARK(BM_JSONReader_LoadAndRead)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_TinyXML2_Parse)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_XMLReader_Load)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_XMLReader_LoadAndRead)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace

int main(int argc, char** argv) {
  std::printf("JSON text: %zu bytes, XML text: %zu bytes\n", JSONText().size(), XMLText().size());
  using Ratio = tv::bench::RatioReporter::Ratio;
  return tv::bench::RunWithRatios(
      argc, argv,
      {Ratio{"JSON reader load / RapidJSON parse alone", "BM_JSONReader_Load/real_time",
             "BM_RapidJSON_Parse/real_time", "1.0 is the floor"},
       Ratio{"JSON reader load and read / RapidJSON parse alone", "BM_JSONReader_LoadAndRead/real_time",
             "BM_RapidJSON_Parse/real_time", ""},
       Ratio{"XML reader load / TinyXML-2 parse alone", "BM_XMLReader_Load/real_time", "BM_TinyXML2_Parse/real_time",
             "1.0 is the floor"},
       Ratio{"XML reader load and read / TinyXML-2 parse alone", "BM_XMLReader_LoadAndRead/real_time",
             "BM_TinyXML2_Parse/real_time", ""}});
}
