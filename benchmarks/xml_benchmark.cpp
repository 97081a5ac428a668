// SPDX-License-Identifier: MIT
//
// XML trees beside those of three other libraries, on 10 MB of settings and on one element with
// 100,000 children. Machines drift, so compare ratios within one run:
//
//   xml_benchmark --benchmark_repetitions=9 --benchmark_enable_random_interleaving=true
//                 --benchmark_report_aggregates_only=true
//
// Blanks between tags are nodes in this library and in libxml2, in pugixml where it is called so,
// and not in tinyxml2.
#include <benchmark/benchmark.h>
#include <libxml/parser.h>
#include <libxml/tree.h>
#include <malloc.h>
#include <tinyxml2.h>

#include <pugixml.hpp>
#include <string>

#include "foundation/store/xmldocument.h"

namespace {

/// Groups of groups with items, as settings are; some items have text, some an entity.
std::string MakeSettings() {
  std::string text = "<?xml version=\"1.0\"?>\n<settings>\n";
  for (int i = 0; text.size() < 10'000'000; ++i) {
    const std::string number = std::to_string(i);
    text += "\t<group name=\"group " + number + "\" enabled=\"1\">\n";
    for (int j = 0; j < 6; ++j) {
      text += "\t\t<item id=\"" + std::to_string(i * 6 + j) +
              "\" name=\"Capture/Format\" value=\"1920x1080\"/>\n";
    }
    text += "\t\t<path kind=\"folder\">/media/takes &amp; cuts/" + number + "</path>\n\t</group>\n";
  }
  return text + "</settings>\n";
}

std::string MakeSiblings(int count) {
  std::string text = "<list>\n";
  for (int i = 0; i < count; ++i)
    text +=
        "  <entry key=\"key" + std::to_string(i) + "\">value " + std::to_string(i) + "</entry>\n";
  return text + "</list>\n";
}

const std::string& Text(benchmark::State& state) {
  static const std::string kSettings = MakeSettings();
  static const std::string kSiblings = MakeSiblings(100'000);
  return state.range(0) == 0 ? kSettings : kSiblings;
}

struct Ours {
  explicit Ours(const std::string& text) {
    LProcessInterfaceVoid process;
    char error[260] = "";
    LXMLLoaderTemplate<char> loader{text.c_str(), error, 0, 1, 1, &process};
    document.LoadData(loader);
  }
  std::size_t Save() const {
    LStringLongTemplate<char> out;
    for (const LXMLElement& node : document.Children())
      node.SaveToBuffer(out, 0);
    benchmark::DoNotOptimize(out.Text());
    return out.Length();
  }
  LXMLDocument document;
};

struct Pugi {
  explicit Pugi(const std::string& text) { document.load_buffer(text.data(), text.size()); }
  std::size_t Save() const {
    struct Writer : pugi::xml_writer {
      void write(const void* data, std::size_t size) override {
        out.append(static_cast<const char*>(data), size);
      }
      std::string out;
    } writer;
    document.save(writer);
    benchmark::DoNotOptimize(writer.out.data());
    return writer.out.size();
  }
  pugi::xml_document document;
};

struct PugiWithBlanks {
  explicit PugiWithBlanks(const std::string& text) {
    document.load_buffer(text.data(), text.size(), pugi::parse_default | pugi::parse_ws_pcdata);
  }
  pugi::xml_document document;
};

struct Tiny {
  explicit Tiny(const std::string& text) { document.Parse(text.data(), text.size()); }
  std::size_t Save() const {
    tinyxml2::XMLPrinter printer;
    document.Print(&printer);
    benchmark::DoNotOptimize(printer.CStr());
    return static_cast<std::size_t>(printer.CStrSize());
  }
  tinyxml2::XMLDocument document;
};

struct LibXml {
  explicit LibXml(const std::string& text)
      : document(xmlReadMemory(text.data(), static_cast<int>(text.size()), nullptr, nullptr,
                               XML_PARSE_HUGE)) {}
  ~LibXml() { xmlFreeDoc(document); }
  LibXml(const LibXml&) = delete;
  LibXml& operator=(const LibXml&) = delete;
  std::size_t Save() const {
    xmlChar* out = nullptr;
    int size = 0;
    xmlDocDumpMemory(document, &out, &size);
    xmlFree(out);
    return static_cast<std::size_t>(size);
  }
  xmlDocPtr document;
};

std::size_t HeapInUse() {
  const struct mallinfo2 info = mallinfo2();
  return info.uordblks + info.hblkhd;
}

/// Until the tree is freed again.
template <typename Library>
void Load(benchmark::State& state) {
  const std::string& text = Text(state);
  for (auto _ : state)
    benchmark::DoNotOptimize(Library(text));
  const std::size_t before = HeapInUse();
  const Library library(text);
  state.counters["heapPerByte"] =
      static_cast<double>(HeapInUse() - before) / static_cast<double>(text.size());
  state.SetBytesProcessed(static_cast<std::int64_t>(text.size()) * state.iterations());
}

template <typename Library>
void Save(benchmark::State& state) {
  const Library library(Text(state));
  for (auto _ : state)
    benchmark::DoNotOptimize(library.Save());
}

#define XML_BENCHMARK(function)                                                      \
  BENCHMARK_TEMPLATE(function, Ours)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond); \
  BENCHMARK_TEMPLATE(function, Pugi)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond); \
  BENCHMARK_TEMPLATE(function, Tiny)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond); \
  BENCHMARK_TEMPLATE(function, LibXml)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)

BENCHMARK_TEMPLATE(Load, PugiWithBlanks)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
XML_BENCHMARK(Load);
XML_BENCHMARK(Save);

/// Linear in the number of children: the time of each is the same.
void LoadSiblings(benchmark::State& state) {
  const std::string text = MakeSiblings(static_cast<int>(state.range(0)));
  for (auto _ : state)
    benchmark::DoNotOptimize(Ours(text));
  state.SetItemsProcessed(state.range(0) * state.iterations());
}
BENCHMARK(LoadSiblings)->RangeMultiplier(10)->Range(1000, 1'000'000);

void Copy(benchmark::State& state) {
  const Ours library(Text(state));
  for (auto _ : state)
    benchmark::DoNotOptimize(LXMLDocument(library.document));
}
BENCHMARK(Copy)->Arg(0)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
