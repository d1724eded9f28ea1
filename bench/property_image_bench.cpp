// A property-set image against the same content as JSON text, from a property list and into one.
#include <benchmark/benchmark.h>

#include <atomic>
#include <cstdlib>
#include <new>
#include <nlohmann/json.hpp>
#include <string>

#include "bench/measure.h"
#include "platform/text.h"
#include "properties/property_image.h"
#include "properties/property_set.h"

namespace {

std::atomic<std::size_t> allocations{0};

}  // namespace

// Not inlined: the compiler would take them for a mismatch with the library's own.
[[gnu::noinline]] void* operator new(std::size_t size) {
  ++allocations;
  if (void* memory = std::malloc(size)) return memory;
  throw std::bad_alloc();
}
[[gnu::noinline]] void operator delete(void* memory) noexcept { std::free(memory); }
[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }

namespace {

using namespace orv;
using Json = nlohmann::json;

constexpr int kProperties = 60;

// The public controls of one operating mode: all of them text, most of them numbers.
ORVPropertyList TypicalProperties() {
  const char* const texts[] = {"1", "0", "50", "-12", "Enabled", "Headphones with microphone"};
  ORVPropertyList list;
  for (int i = 0; i < kProperties; ++i)
    list.push_back({L"ZENSND-Equalizer Band " + std::to_wstring(i) + L" Level",
                    std::string(texts[i % std::size(texts)])});
  return list;
}

Json AsJson(const ORVPropertyList& list) {
  Json json = Json::object();
  for (const ORVPropertyEntry& entry : list)
    json[Utf8FromWide(entry.name)] = boost::any_cast<const std::string&>(entry.value);
  return json;
}

ORVPropertyList FromJson(const Json& json) {
  ORVPropertyList list;
  list.reserve(json.size());
  for (const auto& [name, value] : json.items())
    list.push_back({WideFromUtf8(name), value.get_ref<const std::string&>()});
  return list;
}

template <class Work>
void Measure(benchmark::State& state, Work work) {
  const std::size_t before = allocations;
  for (auto _ : state) work();
  state.counters["allocations_per_property"] =
      static_cast<double>(allocations - before) /
      (static_cast<double>(state.iterations()) * kProperties);
}

// Also compares the work with two rivals in the same run.
template <class Work, class Rival, class BareRival>
void MeasureAgainst(benchmark::State& state, Work work, Rival rival, BareRival bare_rival) {
  Measure(state, work);
  constexpr std::size_t kRuns = 3000;
  const double own = ProcessorTime(kRuns, work);
  state.counters["times_faster_than_json"] = ProcessorTime(kRuns, rival) / own;
  state.counters["times_faster_than_bare_json"] = ProcessorTime(kRuns, bare_rival) / own;
}

// Bare: only the JSON document, without the list that the image is made from and read into.
void DumpBareJson(const Json& json) { benchmark::DoNotOptimize(json.dump()); }
void DumpJson(const ORVPropertyList& list) { benchmark::DoNotOptimize(AsJson(list).dump()); }
void ParseBareJson(const std::string& text) { benchmark::DoNotOptimize(Json::parse(text)); }
void ParseJson(const std::string& text) { benchmark::DoNotOptimize(FromJson(Json::parse(text))); }

void Encode(const ORVPropertyList& list) {
  ImageBytes image;
  benchmark::DoNotOptimize(EncodeImage(list, image));
  benchmark::DoNotOptimize(image.data());
}

void Decode(const ImageBytes& image) {
  ORVPropertyList list;
  benchmark::DoNotOptimize(DecodeImage(image, ImageReading::Replace, list));
  benchmark::DoNotOptimize(list.data());
}

void ImageEncode(benchmark::State& state) {
  const ORVPropertyList list = TypicalProperties();
  const Json json = AsJson(list);
  MeasureAgainst(
      state, [&] { Encode(list); }, [&] { DumpJson(list); }, [&] { DumpBareJson(json); });
}
BENCHMARK(ImageEncode);

void ImageDecode(benchmark::State& state) {
  const ORVPropertyList list = TypicalProperties();
  ImageBytes image;
  EncodeImage(list, image);
  const std::string text = AsJson(list).dump();
  MeasureAgainst(
      state, [&] { Decode(image); }, [&] { ParseJson(text); }, [&] { ParseBareJson(text); });
}
BENCHMARK(ImageDecode);

// The set's part of a control write: one property of two hundred changes, and its record in the
// kept image with it. "unchanged_image_ns" is for the image of a set without changes.
void ChangeOneOfTwoHundred(benchmark::State& state) {
  ORVPropertySet set;
  for (int i = 0; i < 200; ++i)
    set.SetProperty(L"ZENSND-Equalizer Band " + std::to_wstring(i) + L" Level", "50");
  const std::wstring name = L"ZENSND-Equalizer Band 199 Level";
  ImageBytes image;
  bool up = false;
  for (auto _ : state) {
    boost::any present;
    set.GetProperty(name.c_str(), present);
    set.SetProperty(name, (up = !up) ? "51" : "50");
    set.GetAllPropertiesBinary(image);
    benchmark::DoNotOptimize(image.data());
  }
  const double unchanged = ProcessorTime(5000, [&] { set.GetAllPropertiesBinary(image); });
  state.counters["unchanged_image_ns"] = unchanged;
}
BENCHMARK(ChangeOneOfTwoHundred);

}  // namespace
