// How fast text crosses the border between bytes and 16-bit units. Each case is to be read as a ratio:
// "memcpy" copies as many units as the conversion reads or writes, "icu" is ICU's own road for the same text.
#include <platform/code_page.h>
#include <stringutils/astring.h>

#include <benchmark/benchmark.h>
#include <cstring>
#include <memory>
#include <string>
#include <unicode/ustring.h>

namespace {

enum TextKind { Ascii, French, Japanese };

// `length` units of text.
std::u16string MakeText(TextKind kind, std::size_t length) {
    static constexpr std::u16string_view kSamples[] = {
        u"Frequency(1.25e+09, 'Hz') SMatrix(0.125, -0.75) ",
        u"la fr\u00E9quence r\u00E9solue \u00E0 1,25 GHz est donn\u00E9e par l'\u00E9l\u00E9ment ",
        u"\u5468\u6CE2\u6570\u306E\u89E3\u6790\u7D50\u679C\u3092\u8868\u793A\u3057\u307E\u3059\u3002"};
    std::u16string text;
    while (text.size() < length)
        text += kSamples[kind];
    text.resize(length);
    return text;
}

std::string ToUtf8(const std::u16string& text) {
    return std::string(AString(text).ToNarrow(kEncodingUtf8).View());
}

void Finish(benchmark::State& state, std::size_t units) {
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(units * sizeof(wchar16)));
}

std::size_t Length(const benchmark::State& state) {
    return static_cast<std::size_t>(state.range(0));
}

void CopyUnits(benchmark::State& state) {
    const std::u16string text = MakeText(Ascii, Length(state));
    std::u16string copy(text.size(), u'\0');
    for (auto _ : state) {
        std::memcpy(copy.data(), text.data(), text.size() * sizeof(wchar16));
        benchmark::DoNotOptimize(copy.data());
        benchmark::ClobberMemory();
    }
    Finish(state, text.size());
}

template <TextKind Kind>
void Decode(benchmark::State& state) {
    const std::u16string text = MakeText(Kind, Length(state));
    const std::string bytes = ToUtf8(text);
    AString units;
    for (auto _ : state) {
        units.Assign(kEncodingUtf8, bytes.data(), static_cast<int>(bytes.size()));
        benchmark::DoNotOptimize(units.data());
        benchmark::ClobberMemory();
    }
    Finish(state, text.size());
}

template <TextKind Kind>
void DecodeByIcu(benchmark::State& state) {
    const std::u16string text = MakeText(Kind, Length(state));
    const std::string bytes = ToUtf8(text);
    std::u16string units(text.size(), u'\0');
    for (auto _ : state) {
        UErrorCode error = U_ZERO_ERROR;
        u_strFromUTF8WithSub(units.data(), static_cast<int32_t>(units.size()), nullptr, bytes.data(),
                             static_cast<int32_t>(bytes.size()), 0xFFFD, nullptr, &error);
        benchmark::DoNotOptimize(units.data());
        benchmark::ClobberMemory();
    }
    Finish(state, text.size());
}

// Into memory that is there.
template <TextKind Kind>
void Encode(benchmark::State& state) {
    const std::u16string text = MakeText(Kind, Length(state));
    AStringBuf bytes;
    for (auto _ : state) {
        benchmark::DoNotOptimize(Encode(kEncodingUtf8, text.data(), text.size(), bytes));
        benchmark::ClobberMemory();
    }
    Finish(state, text.size());
}

template <TextKind Kind>
void EncodeByIcu(benchmark::State& state) {
    const std::u16string text = MakeText(Kind, Length(state));
    std::string bytes(3 * text.size(), '\0');
    for (auto _ : state) {
        UErrorCode error = U_ZERO_ERROR;
        u_strToUTF8WithSub(bytes.data(), static_cast<int32_t>(bytes.size()), nullptr, text.data(),
                           static_cast<int32_t>(text.size()), 0xFFFD, nullptr, &error);
        benchmark::DoNotOptimize(bytes.data());
        benchmark::ClobberMemory();
    }
    Finish(state, text.size());
}

// With a block of its own for each result, and its peer: a copy of the units into a block of its own.
void ToNarrow(benchmark::State& state) {
    const AString text(MakeText(Ascii, Length(state)));
    for (auto _ : state) {
        const AStringBuf bytes = text.ToNarrow(kEncodingUtf8);
        benchmark::DoNotOptimize(bytes.CStr());
    }
    Finish(state, text.size());
}

void CopyUnitsToNewBlock(benchmark::State& state) {
    const std::u16string text = MakeText(Ascii, Length(state));
    for (auto _ : state) {
        const std::unique_ptr<wchar16[]> copy(new wchar16[text.size()]);
        std::memcpy(copy.get(), text.data(), text.size() * sizeof(wchar16));
        benchmark::DoNotOptimize(copy.get());
        benchmark::ClobberMemory();
    }
    Finish(state, text.size());
}

void Format(benchmark::State& state) {
    AString text;
    for (auto _ : state) {
        text.Format(u"%s(%d, %ld): %s", u"stringarg", 42, 1234567L, u"a text of usual length");
        benchmark::DoNotOptimize(text.data());
    }
}

void FormatBySnprintf(benchmark::State& state) {
    char buffer[200];
    for (auto _ : state) {
        std::snprintf(buffer, sizeof buffer, "%s(%d, %ld): %s", "stringarg", 42, 1234567L,
                      "a text of usual length");
        benchmark::DoNotOptimize(buffer);
        benchmark::ClobberMemory();
    }
}

void Sizes(benchmark::internal::Benchmark* bench) {
    bench->Arg(1 << 10)->Arg(1 << 16)->Arg(1 << 24);
}

BENCHMARK(CopyUnits)->Name("memcpy")->Apply(Sizes);
BENCHMARK(Decode<Ascii>)->Name("decode/ascii")->Apply(Sizes);
BENCHMARK(Encode<Ascii>)->Name("encode/ascii")->Apply(Sizes);
BENCHMARK(CopyUnitsToNewBlock)->Name("memcpy/new block")->Apply(Sizes);
BENCHMARK(ToNarrow)->Name("ToNarrow/ascii")->Apply(Sizes);
BENCHMARK(Decode<French>)->Name("decode/french")->Apply(Sizes);
BENCHMARK(DecodeByIcu<French>)->Name("decode/french/icu")->Apply(Sizes);
BENCHMARK(Encode<French>)->Name("encode/french")->Apply(Sizes);
BENCHMARK(EncodeByIcu<French>)->Name("encode/french/icu")->Apply(Sizes);
BENCHMARK(Decode<Japanese>)->Name("decode/japanese")->Apply(Sizes);
BENCHMARK(DecodeByIcu<Japanese>)->Name("decode/japanese/icu")->Apply(Sizes);
BENCHMARK(Encode<Japanese>)->Name("encode/japanese")->Apply(Sizes);
BENCHMARK(EncodeByIcu<Japanese>)->Name("encode/japanese/icu")->Apply(Sizes);
BENCHMARK(Format)->Name("format");
BENCHMARK(FormatBySnprintf)->Name("format/snprintf");

} // namespace

BENCHMARK_MAIN();
