// Needs only GoogleTest and Boost: cross-builds for the 32-bit target with KnxPelMapping.cpp alone.

#include <Lum/KnxPelMapping.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>

namespace
{
using namespace Lum::KnxPelMapping;
using Lum::LogicalDeviceId;
using Lum::ParameterType;

const LogicalDeviceId ld1{1}, ld2{2};

template <typename T> std::string Show(const boost::optional<T>& v)
{
    return v ? std::to_string(static_cast<long long>(*v)) : "none";
}

// Everything the predicates and inverses say about one identifier: the logical device from the object ("-"
// for none), "L" for any logical device, C(O channel), V(alue), P(arameter channel), then per ld the
// parameter type and number, the CO number and which app-control data point (0 state .. 3 debug) it is.
std::string Describe(unsigned long id)
{
    const auto ld = GetLogicalDeviceIdFromObject(id);
    std::string s = (ld ? std::to_string(ld->Get()) : "-") + (IsAnyLogicalKnxDeviceId(id) ? "L" : "");
    s += std::string(IsCoChannel(id) ? " C" : "") + (IsCoValue(id) ? " V" : "") +
         (IsParameterChannel(id) ? " P" : "");
    // The value builders from a channel agree with the predicates (in 32 bits).
    const std::string next = std::to_string(static_cast<std::uint32_t>(id + 1));
    s += Show(GetCoValueObjModelId(id)) == (IsCoChannel(id) ? next : "none") ? "" : " !co";
    s += Show(GetParameterValueObjModelId(id)) == (IsParameterChannel(id) ? next : "none") ? "" : " !par";
    for (const LogicalDeviceId l : {ld1, ld2})
    {
        const std::string at = " " + std::to_string(l.Get()) + ":";
        if (const auto type = GetParameterTypeFromObjModelId(id, l))
            s += at + "t" + Show(type) + "n" + Show(GetParameterNumberFromObjModelId(id, l));
        if (const auto co = GetCoNumberFromObjModelId(id, l))
            s += at + "co" + Show(co);
        s += std::string(IsAppHostAppControlState(id, l) ? at + "a0" : "") +
             (IsAppHostAppControlEvent(id, l) ? at + "a1" : "") +
             (IsAppHostAppControlAliveHeartbeat(id, l) ? at + "a2" : "") +
             (IsAppHostAppControlAppDebug(id, l) ? at + "a3" : "");
    }
    return s;
}

TEST(ObjModelId, PredicatesAndInversesAtTheBoundaries)
{
    // clang-format off
    const std::pair<unsigned long, const char*> rows[] = {
        {0, "-"}, {2, "-"}, {100, "-"}, {1000, "-"}, {99999, "-"}, {100000, "1L"},
        {100001, "1L"}, {100002, "1L P"}, {100020, "1L P"}, {100021, "1L P 1:a0"}, 
        {100024, "1L P 1:a3"}, {100025, "1L P"}, {100050, "1L P"}, {100098, "1L P"},
        {100099, "1L P"}, {100100, "1L C P"}, {100101, "1L V P 1:co1 2:co50001"}, {100200, "1L C P"},
        {100201, "1L V P 1:co51 2:co50051"}, {100202, "1L C"}, {108288, "1L C"},
        {108289, "1L V 1:co4095 2:co54095"}, {108290, "1L"}, {108291, "1L"}, {159999, "1L"}, {160000, "1L"},
        {160001, "1L"}, {160002, "1L P 1:t0n1"}, {160003, "1L P 1:t0n1"}, {160200, "1L P 1:t0n100"},
        {160201, "1L P 1:t0n100"}, {160202, "1L"}, {170000, "1L"}, {170002, "1L P 1:t1n1"},
        {170129, "1L P 1:t1n64"}, {170130, "1L"}, {180000, "1L P 1:t2n0"}, {180002, "1L P 1:t2n1"},
        {180511, "1L P 1:t2n255"}, {180512, "1L P 1:t2n0"}, {180601, "1L P 1:t2n44"},
        {181001, "1L P 1:t2n244"}, {181002, "1L"}, {189999, "1L"}, {190002, "1L"}, 
        {200000, "2L"}, {200022, "2L P 2:a1"}, {200050, "2L P"}, {200100, "2L C P"},
        {200101, "2L V P 1:co1 2:co1"}, {208288, "2L C"}, {208289, "2L V 1:co4095 2:co4095"},
        {260002, "2L P 2:t0n1"}, {280601, "2L P 2:t2n44"}, {299999, "2L"}, {300000, "-L"}, {300100, "-L C P"},
        {360002, "-L P"}, {400101, "-L V P 1:co1 2:co1"}, {4294967295ul, "-L"}};
    // clang-format on
    for (const auto& row : rows)
        EXPECT_EQ(Describe(row.first), row.second) << row.first;
}

// Boundaries here; every number in range is built by its formula in the loops below.
TEST(ObjModelId, Builders)
{
    const auto Ip = ParameterType::Ip, Number = ParameterType::Number, Text = ParameterType::Text;
    const auto Other = [](std::uint32_t t) { return static_cast<ParameterType>(t); };
    const auto Id = [](unsigned long id) { return Show(boost::make_optional(id)); };
    // clang-format off
    const std::pair<std::string, const char*> rows[] = {
        {Id(GetDeviceObjModelId()), "1000"}, {Id(GetKnxDeviceObjModelId()), "1000"},
        {Id(GetLogicalKnxDeviceObjModelId(ld1)), "100000"},
        {Id(GetLogicalKnxDeviceObjModelId(ld2)), "200000"},
        {Id(GetAppHostAppControlChannelObjModelId(ld1)), "100020"},
        {Id(GetAppHostAppControlStateObjModelId(ld1)), "100021"},
        {Id(GetAppHostAppControlEventObjModelId(ld1)), "100022"},
        {Id(GetAppHostAppControlAliveObjModelId(ld1)), "100023"},
        {Id(GetAppHostAppControlAppDebugObjModelId(ld2)), "200024"},
        {Id(GetMaxParametersOfType(Ip)), "100"}, {Id(GetMaxParametersOfType(Number)), "64"},
        {Id(GetMaxParametersOfType(Text)), "500"}, {Id(GetMaxParametersOfType(Other(3))), "0"},
        // n = 0 is built although IsParameterChannel rejects it; an unknown type has maximum 0.
        {Show(GetParameterChannelObjModelId(0, ld1, Ip)), "160000"},
        {Show(GetParameterValueObjModelId(0, ld2, Number)), "270001"},
        {Show(GetParameterChannelObjModelId(0, ld1, Other(3))), "190000"},
        {Show(GetParameterValueObjModelId(1, ld1, Other(3))), "none"},
        // 10000 * 429497 = 2^32 + 2704: the product wraps at 32 bits.
        {Show(GetParameterChannelObjModelId(0, ld1, Other(429497))), "162704"},
        {Show(GetParameterChannelObjModelId(65535, ld2, Text)), "none"},
        {Show(GetCoChannelObjModelId(0, ld1)), "100098"}, {Show(GetCoValueObjModelId(0, ld1)), "none"},
        {Show(GetCoChannelObjModelId(4096, ld2)), "none"}, {Show(GetCoValueObjModelId(4096, ld1)), "none"},
        {Show(GetCoValueObjModelId(65535, ld2)), "none"}};
    // clang-format on
    for (const auto& row : rows)
        EXPECT_EQ(row.first, row.second);
}

TEST(ObjModelId, InversesOverTheWholeDomains)
{
    using Typed = boost::optional<unsigned long> (*)(unsigned short, LogicalDeviceId);
    const Typed typed[] = {GetIpParameterValueObjModelId, GetNumberParameterValueObjModelId,
                           GetTextParameterValueObjModelId};
    for (const LogicalDeviceId ld : {ld1, ld2})
    {
        const unsigned long base = 100000ul * static_cast<unsigned long>(ld.Get());
        for (unsigned n = 1; n <= 4095; ++n)
        {
            const auto channel = GetCoChannelObjModelId(static_cast<unsigned short>(n), ld);
            const auto value = GetCoValueObjModelId(static_cast<unsigned short>(n), ld);
            ASSERT_EQ(Show(channel), std::to_string(base + 98 + 2 * n));
            ASSERT_EQ(Show(value), std::to_string(base + 99 + 2 * n));
            ASSERT_TRUE(IsCoChannel(*channel) && !IsCoValue(*channel) && IsCoValue(*value) &&
                        !IsCoChannel(*value));
            ASSERT_EQ(Show(GetCoNumberFromObjModelId(*value, ld)), std::to_string(n));
            ASSERT_EQ(Show(GetLogicalDeviceIdFromObject(*value)), std::to_string(ld.Get())) << n;
        }
        for (const ParameterType type : {ParameterType::Ip, ParameterType::Number, ParameterType::Text})
        {
            const auto t = static_cast<unsigned>(type);
            const unsigned max = static_cast<unsigned>(GetMaxParametersOfType(type));
            for (unsigned n = 1; n <= max + 1; ++n)
            {
                const auto channel = GetParameterChannelObjModelId(static_cast<unsigned short>(n), ld, type);
                const auto value = GetParameterValueObjModelId(static_cast<unsigned short>(n), ld, type);
                const unsigned long id = base + 60000 + 10000 * t + 2 * n;
                ASSERT_EQ(Show(channel), n > max ? "none" : std::to_string(id));
                ASSERT_EQ(Show(value), n > max ? "none" : std::to_string(id + 1));
                ASSERT_EQ(Show(typed[t](static_cast<unsigned short>(n), ld)), Show(value));
                // One past the maximum is not recognised either.
                ASSERT_EQ(IsParameterChannel(id) || IsParameterChannel(id + 1), n <= max) << id;
                if (n > max)
                    break;
                ASSERT_EQ(Show(GetParameterValueObjModelId(id)), Show(value)) << n;
                for (const unsigned long each : {id, id + 1})
                {
                    ASSERT_TRUE(IsParameterChannel(each) && !IsCoChannel(each) && !IsCoValue(each)) << each;
                    ASSERT_EQ(Show(GetParameterTypeFromObjModelId(each, ld)), std::to_string(t)) << each;
                    ASSERT_EQ(Show(GetParameterNumberFromObjModelId(each, ld)), std::to_string(n % 256))
                        << each;
                }
            }
        }
    }
}

// Where long has 64 bits, identifiers are still taken modulo 2^32; where it has 32, wrap is 0.
TEST(ObjModelId, ArithmeticIsThirtyTwoBitsWide)
{
    const unsigned long wrap = static_cast<unsigned long>(std::numeric_limits<std::uint32_t>::max()) + 1ul;
    for (const unsigned long id : {100100ul, 100101ul, 99999ul, 200000ul, 160002ul, 2ul, 100021ul, 0ul})
        EXPECT_EQ(Describe(wrap + id), Describe(id)) << id;
    EXPECT_EQ(Show(GetCoValueObjModelId(wrap + 100100)), "100101");
    EXPECT_TRUE(IsAnyLogicalKnxDeviceId(0ul - 1ul));
    // 0 - 1 in the predicates' own arithmetic is 4294967295, not -1.
    EXPECT_EQ(Show(GetParameterValueObjModelId(0ul - 1ul)), "none");
}

} // namespace
