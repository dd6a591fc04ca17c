// Value conversion as a controller does it all day: through the converter
// facade for the common DPTs, directly with the group value's 16-bit float
// accessors as the floor, through the packed-DPT functions, and the facade's
// start-up cost.

#include "AllocationCounter.h"

#include <Lum/GroupValueOruValue.h>
#include <Lum/KnxValueConverter.h>
#include <Lum/MeasureDuration.h>
#include <Platform/KnxStack.h>
#include <Platform/Logging.h>
#include <Platform/OruValue.h>

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdint>
#include <map>
#include <memory_resource>
#include <string>
#include <vector>

namespace
{

constexpr unsigned long kPacked9001 = (9ul << 16) | 1ul;

KNXDPT Dpt(std::uint16_t main, std::uint16_t sub)
{
    KNXDPT dpt;
    dpt.mainNumber = main;
    dpt.subNumber = sub;
    return dpt;
}

KnxStack::GroupValue Group(const std::vector<unsigned char>& bytes, unsigned bits)
{
    return KnxStack::GroupValue(KnxStack::BinaryData(bytes.data(), bytes.size()), bits);
}

ORUVALUE DateTime2017()
{
    ORUTIME t;
    t.SetDateTime(2017, 11, 28, 23, 7, 24, false);
    return ORUVALUE::FromTime(ivtDateTime, t);
}

// One DPT with a value on either side of the conversion.
struct Case
{
    const char* name;
    KNXDPT dpt;
    ORUVALUE value;
    KnxStack::GroupValue group;
};

std::vector<Case> Cases()
{
    return {
        {"1.001", Dpt(1, 1), ORUVALUE::FromBool(true), Group({0x01}, 1)},
        {"5.001", Dpt(5, 1), ORUVALUE::FromByte(100), Group({0x64}, 8)},
        {"9.001", Dpt(9, 1), ORUVALUE::FromFloat(21.5), Group({0x0C, 0x33}, 16)},
        {"14.056", Dpt(14, 56), ORUVALUE::FromFloat(397.0), Group({0x43, 0xC6, 0x80, 0x00}, 32)},
        {"16.001", Dpt(16, 1),
         ORUVALUE::FromString("G\xC3\xA4nsef\xC3\xBC\xC3\x9F"
                              "chen"),
         Group({0x47, 0xE4, 0x6E, 0x73, 0x65, 0x66, 0xFC, 0xDF, 0x63, 0x68, 0x65, 0x6E, 0x00, 0x00}, 112)},
        {"19.001", Dpt(19, 1), DateTime2017(), Group({0x75, 0x0B, 0x1C, 0x17, 0x07, 0x18, 0x24, 0x00}, 64)},
    };
}

// Shared by every benchmark; the map is read-only after Init().
const Lum::KnxValueConverter& Facade()
{
    static Lum::KnxValueConverter converter;
    static const bool initialised = converter.Init();
    static_cast<void>(initialised);
    return converter;
}

// The floor: DPT 9.001 written by hand, as small as a codec can be, called as
// a codec is (not inlined into the loop). Every figure of the library is
// reported as a multiple of these, measured in the same run.
inline double DecodeFloat16(const unsigned char* bytes)
{
    const unsigned raw = static_cast<unsigned>(bytes[0] << 8 | bytes[1]);
    int mantissa = raw & 0x07FF;
    if ((raw & 0x8000) != 0)
        mantissa -= 2048;
    return mantissa * (1 << ((raw >> 11) & 0x0F)) / 100.0;
}

__attribute__((noinline)) double FloorDecodeFloat16(const unsigned char* bytes)
{
    return DecodeFloat16(bytes);
}

__attribute__((noinline)) std::uint16_t FloorEncodeFloat16(double value)
{
    const double hundredths = value * 100.0;
    for (int exponent = 0; exponent < 16; ++exponent)
    {
        const long mantissa = std::lround(hundredths / (1 << exponent));
        if (mantissa >= -2048 && mantissa <= 2047)
            return static_cast<std::uint16_t>((mantissa < 0 ? 0x8000 : 0) | exponent << 11 |
                                              (mantissa & 0x07FF));
    }
    return 0x7FFF;
}

void FloorDecode9001(benchmark::State& state)
{
    const unsigned char bytes[2] = {0x0C, 0x33};
    const LumBench::CountAllocations<benchmark::State> counted(state);
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(bytes);
        benchmark::DoNotOptimize(FloorDecodeFloat16(bytes));
    }
}
BENCHMARK(FloorDecode9001);

void FloorEncode9001(benchmark::State& state)
{
    double celsius = 21.5;
    unsigned char bytes[2];
    const LumBench::CountAllocations<benchmark::State> counted(state);
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(celsius);
        const std::uint16_t raw = FloorEncodeFloat16(celsius);
        bytes[0] = static_cast<unsigned char>(raw >> 8);
        bytes[1] = static_cast<unsigned char>(raw);
        benchmark::DoNotOptimize(bytes);
    }
}
BENCHMARK(FloorEncode9001);

// Lower bounds: what any implementation must spend that keeps the library's
// published surface. They say how far a target can be reached at all.

// A facade decode cannot do less than the floor, the DEBUG check of the
// converter's entry trace and the virtual call into the entry's converter.
struct BoundConverter
{
    virtual ~BoundConverter() = default;
    virtual double Decode(const unsigned char* bytes) const { return DecodeFloat16(bytes); }
};

void BoundTraceCheckAndVirtualDecode(benchmark::State& state)
{
    const unsigned char bytes[2] = {0x0C, 0x33};
    const BoundConverter converter;
    const BoundConverter* call = &converter;
    benchmark::DoNotOptimize(call);
    const LumBench::CountAllocations<benchmark::State> counted(state);
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(bytes);
        const bool traced = Lum::GetGlobalDefaultLogger().isEnabledFor(log4cplus::DEBUG_LOG_LEVEL);
        benchmark::DoNotOptimize(traced);
        benchmark::DoNotOptimize(call->Decode(bytes));
    }
}
BENCHMARK(BoundTraceCheckAndVirtualDecode);

// Init cannot do less than building the map's exported two-level tree: the
// same keys as the filled table, an arena of the same size, 32-byte payloads
// that copy without a converter clone, then destroyed, as Init's benchmark
// builds and destroys a converter.
void BoundTwoLevelTreeCopy(benchmark::State& state)
{
    struct Payload
    {
        std::uint64_t words[4];
    };
    using Tree = std::pmr::map<std::uint16_t, std::pmr::map<std::uint16_t, Payload>>;
    Lum::KnxValueConverter filled;
    filled.Init();
    Tree prototype;
    for (const auto& main : filled.GetDptValueMap().Entries())
        for (const auto& sub : main.second)
            prototype[main.first][sub.first] = Payload{};
    if (prototype.empty())
    {
        state.SkipWithError("Init() registered nothing");
        return;
    }
    const LumBench::CountAllocations<benchmark::State> counted(state);
    for (auto _ : state)
    {
        std::pmr::monotonic_buffer_resource arena(16384);
        const Tree copy(prototype, &arena);
        benchmark::DoNotOptimize(copy.size());
    }
}
BENCHMARK(BoundTwoLevelTreeCopy);

// What the scope timer of GroupValueToOruValue costs by itself: start and read.
void BareCpuTimer(benchmark::State& state)
{
    const LumBench::CountAllocations<benchmark::State> counted(state);
    for (auto _ : state)
    {
        boost::timer::cpu_timer timer;
        benchmark::DoNotOptimize(timer.elapsed());
    }
}
BENCHMARK(BareCpuTimer);

// Runs `step` once per iteration, counting allocations; the first step that
// returns false ends the benchmark with `failure`, so no figure is reported
// for work that did not happen.
template <typename Step> void RunChecked(benchmark::State& state, const char* failure, Step step)
{
    const LumBench::CountAllocations<benchmark::State> counted(state);
    for (auto _ : state)
    {
        if (!step())
        {
            state.SkipWithError(failure);
            break;
        }
    }
}

// One conversion through the shared facade, in either direction.
template <typename In, typename Out>
void FacadeConvert(benchmark::State& state,
                   bool (Lum::KnxValueConverter::*convert)(KNXDPT&, const In&, Out&) const,
                   const KNXDPT& caseDpt, const In& in)
{
    const Lum::KnxValueConverter& converter = Facade();
    Out out;
    RunChecked(state, "conversion failed",
               [&]
               {
                   KNXDPT dpt = caseDpt;
                   const bool ok = (converter.*convert)(dpt, in, out);
                   benchmark::DoNotOptimize(out);
                   return ok;
               });
}

void FacadeToKnx(benchmark::State& state, const Case& c)
{
    FacadeConvert(state, &Lum::KnxValueConverter::ToKnxValue, c.dpt, c.value);
}

void FacadeFromKnx(benchmark::State& state, const Case& c)
{
    FacadeConvert(state, &Lum::KnxValueConverter::FromKnxValue, c.dpt, c.group);
}

void DirectSetAsFloat16(benchmark::State& state)
{
    KnxStack::GroupValue gv;
    double celsius = 21.5;
    const LumBench::CountAllocations<benchmark::State> counted(state);
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(celsius);
        gv.SetAsFloat16(celsius);
        benchmark::DoNotOptimize(gv);
    }
}
BENCHMARK(DirectSetAsFloat16);

void DirectGetAsFloat16(benchmark::State& state)
{
    const KnxStack::GroupValue gv = Group({0x0C, 0x33}, 16);
    const LumBench::CountAllocations<benchmark::State> counted(state);
    for (auto _ : state)
        benchmark::DoNotOptimize(gv.GetAsFloat16());
}
BENCHMARK(DirectGetAsFloat16);

void GroupValueToOruValue9001(benchmark::State& state)
{
    const KnxStack::GroupValue gv = Group({0x0C, 0x33}, 16);
    RunChecked(state, "conversion failed",
               [&]
               {
                   boost::optional<ORUVALUE> value = Lum::GroupValueToOruValue(gv, kPacked9001);
                   benchmark::DoNotOptimize(value);
                   return value.has_value();
               });
}
BENCHMARK(GroupValueToOruValue9001)->Name("GroupValueToOruValue/9.001");

void OruValueToGroupValue9001(benchmark::State& state)
{
    const ORUVALUE value = ORUVALUE::FromFloat(21.5);
    RunChecked(state, "conversion failed",
               [&]
               {
                   boost::optional<KnxStack::GroupValue> gv = Lum::OruValueToGroupValue(value, kPacked9001);
                   benchmark::DoNotOptimize(gv);
                   return gv.has_value();
               });
}
BENCHMARK(OruValueToGroupValue9001)->Name("OruValueToGroupValue/9.001");

void KnxValueConverterInit(benchmark::State& state)
{
    RunChecked(state, "Init() failed",
               []
               {
                   Lum::KnxValueConverter converter;
                   const bool ok = converter.Init();
                   benchmark::DoNotOptimize(converter.GetDptValueMap().Entries().size());
                   return ok;
               });
}
BENCHMARK(KnxValueConverterInit);

// The scope timer reads the process CPU times on entry and exit; below its
// threshold it logs nothing.
void MeasureDurationBelowThreshold(benchmark::State& state)
{
    const LumBench::CountAllocations<benchmark::State> counted(state);
    for (auto _ : state)
    {
        const Lum::MeasureDuration timer("Decoding a KNX value took ",
                                         boost::timer::nanosecond_type{100000000});
        benchmark::ClobberMemory();
    }
}
BENCHMARK(MeasureDurationBelowThreshold);

const bool g_registered = []
{
    static const std::vector<Case> cases = Cases();
    for (const Case& c : cases)
    {
        benchmark::RegisterBenchmark((std::string("FacadeToKnxValue/") + c.name).c_str(), FacadeToKnx, c);
        benchmark::RegisterBenchmark((std::string("FacadeFromKnxValue/") + c.name).c_str(), FacadeFromKnx, c);
    }
    return true;
}();

} // namespace
