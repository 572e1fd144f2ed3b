// Measures the name rules on the build machine.
//
//   textbench --names=TABLE.tsv [arguments of Google Benchmark]
//   textbench --names=TABLE.tsv --passes=RULE,N   only makes N passes, for a tool that counts instructions
//
// Each pass applies a rule to every name in the table. The rule "copy" is the baseline: it copies the name
// into a text with enough capacity. The measured functions reuse their texts, as the program does when it
// fills its list. Functions that return a new text would also have to allocate the text. Allocations per name
// are counted, too. The counts apply to this machine's library. Its short-string buffer holds fewer
// characters than the buffer of the library for Windows.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <new>
#include <string>
#include <string_view>
#include <vector>

#include "core/NameRules.h"
#include "core/NameTemplate.h"
#include "core/PartName.h"
#include "core/TextTools.h"

namespace {

std::size_t g_allocations = 0;

struct Sample
{
    std::wstring name;
    PartNameValues values;
    std::wstring newName;  // before sanitising
};

using Samples = std::vector<Sample>;

constexpr const wchar_t* kFileTemplate = L"%5%3_%4.%7%8.changed.%6";

Samples ReadSamples(const std::string& path)
{
    Samples samples;
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        if (!line.starts_with('#')) {
            const std::string name = line.substr(0, line.find('\t'));
            Sample sample{std::wstring(name.begin(), name.end()), {}, {}};
            sample.values = Diverses::SplitPartName(sample.name);
            sample.newName = ExpandTemplate(kFileTemplate, sample.values);
            samples.push_back(std::move(sample));
        }
    }
    return samples;
}

void Copy(const Sample& sample)
{
    static std::wstring text(1000, L'\0');
    text = sample.name;
    benchmark::DoNotOptimize(text);
}

void Split(const Sample& sample)
{
    static PartNameValues values;
    Diverses::SplitPartName(sample.name, values);
    benchmark::DoNotOptimize(values);
}

void Expand(const Sample& sample)
{
    static std::wstring text;
    ExpandTemplate(text, kFileTemplate, sample.values);
    benchmark::DoNotOptimize(text);
}

void Sanitise(const Sample& sample)
{
    static std::wstring text(1000, L'\0');
    text = sample.newName;  // the rules change it in place; the copy needs no allocation
    benchmark::DoNotOptimize(EnsureExtension(text, sample.values.strExt, EqualIgnoringCase));
    benchmark::DoNotOptimize(SanitizeFileName(text));
}

const std::map<std::string, void (*)(const Sample&)> kRules{
    {"copy", &Copy}, {"split", &Split}, {"expand", &Expand}, {"sanitise", &Sanitise}};

void MakePass(const Samples& samples, void (*rule)(const Sample&))
{
    for (const Sample& sample : samples) {
        rule(sample);
    }
}

void Measure(benchmark::State& state, const Samples& samples, void (*rule)(const Sample&))
{
    const std::size_t before = g_allocations;
    for ([[maybe_unused]] const auto& pass : state) {
        MakePass(samples, rule);
    }
    const auto names = static_cast<double>(state.iterations()) * static_cast<double>(samples.size());
    state.counters["time"] = benchmark::Counter(
        names, benchmark::Counter::kIsRate | benchmark::Counter::kInvert);  // seconds per name
    state.counters["allocations"] = static_cast<double>(g_allocations - before) / names;
}

// Removes the argument with this prefix and returns its value; empty if there is none.
std::string TakeArgument(int& count, char** arguments, std::string_view prefix)
{
    for (int i = 1; i < count; ++i) {
        const std::string_view argument = arguments[i];
        if (argument.starts_with(prefix)) {
            std::string value(argument.substr(prefix.size()));
            std::rotate(arguments + i, arguments + i + 1, arguments + count);
            --count;
            return value;
        }
    }
    return {};
}

}  // namespace

void* operator new(std::size_t size)
{
    ++g_allocations;
    void* memory = std::malloc(size);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

void operator delete(void* memory) noexcept
{
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept
{
    std::free(memory);
}

int main(int count, char** arguments)
{
    const Samples samples = ReadSamples(TakeArgument(count, arguments, "--names="));
    const std::string passes = TakeArgument(count, arguments, "--passes=");
    if (samples.empty()) {
        std::fprintf(stderr, "textbench: no names\n");
        return 2;
    }
    if (!passes.empty()) {
        const std::size_t comma = passes.find(',');
        for (int pass = 0; pass < std::stoi(passes.substr(comma + 1)); ++pass) {
            MakePass(samples, kRules.at(passes.substr(0, comma)));
        }
        return 0;
    }
    for (const auto& [name, rule] : kRules) {
        benchmark::RegisterBenchmark(name.c_str(), &Measure, samples, rule);
    }
    benchmark::Initialize(&count, arguments);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
