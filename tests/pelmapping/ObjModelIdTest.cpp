// Object-model identifiers: builders, predicates and inverses.
//
// Needs only GoogleTest and Boost headers, so it can be cross-built for the
// 32-bit target together with src/LumObjectModel/KnxPelMapping.cpp alone.

#include <Lum/KnxPelMapping.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <limits>
#include <string>
#include <vector>

namespace
{
using namespace Lum::KnxPelMapping;
using Lum::LogicalDeviceId;
using Lum::ParameterType;
using OptId = boost::optional<unsigned long>;

const LogicalDeviceId ld1{1};
const LogicalDeviceId ld2{2};
const ParameterType Ip = ParameterType::Ip;
const ParameterType Number = ParameterType::Number;
const ParameterType Text = ParameterType::Text;
const std::vector<ParameterType> allTypes{Ip, Number, Text};

// 2^32 as unsigned long on a 64-bit host, 0 where long has 32 bits: adding it
// must not change any result.
const unsigned long wrap = static_cast<unsigned long>(std::numeric_limits<std::uint32_t>::max()) + 1ul;

std::string Show(const OptId& id)
{
    return id ? std::to_string(*id) : "none";
}

TEST(ObjModelIdBuilders, FixedIdentifiers)
{
    struct Row
    {
        const char* what;
        unsigned long actual;
        unsigned long expected;
    };
    const Row rows[] = {
        {"device", GetDeviceObjModelId(), 1000},
        {"knx device", GetKnxDeviceObjModelId(), 1000},
        {"logical 1", GetLogicalKnxDeviceObjModelId(ld1), 100000},
        {"logical 2", GetLogicalKnxDeviceObjModelId(ld2), 200000},
        {"app-control channel 1", GetAppHostAppControlChannelObjModelId(ld1), 100020},
        {"app-control state 1", GetAppHostAppControlStateObjModelId(ld1), 100021},
        {"app-control event 1", GetAppHostAppControlEventObjModelId(ld1), 100022},
        {"app-control alive 1", GetAppHostAppControlAliveObjModelId(ld1), 100023},
        {"app-control debug 1", GetAppHostAppControlAppDebugObjModelId(ld1), 100024},
        {"app-control channel 2", GetAppHostAppControlChannelObjModelId(ld2), 200020},
        {"app-control state 2", GetAppHostAppControlStateObjModelId(ld2), 200021},
        {"app-control event 2", GetAppHostAppControlEventObjModelId(ld2), 200022},
        {"app-control alive 2", GetAppHostAppControlAliveObjModelId(ld2), 200023},
        {"app-control debug 2", GetAppHostAppControlAppDebugObjModelId(ld2), 200024},
        {"max Ip", GetMaxParametersOfType(Ip), 100},
        {"max Number", GetMaxParametersOfType(Number), 64},
        {"max Text", GetMaxParametersOfType(Text), 500},
        {"max type 3", GetMaxParametersOfType(static_cast<ParameterType>(3)), 0},
        {"max type 2^32-1", GetMaxParametersOfType(static_cast<ParameterType>(0xFFFFFFFFu)), 0},
    };
    for (const Row& row : rows)
        EXPECT_EQ(row.actual, row.expected) << row.what;
}

TEST(ObjModelIdBuilders, DeviceIsNoLogicalDevice)
{
    EXPECT_FALSE(IsAnyLogicalKnxDeviceId(GetDeviceObjModelId()));
    EXPECT_FALSE(GetLogicalDeviceIdFromObject(GetKnxDeviceObjModelId()));
}

TEST(ObjModelIdBuilders, ParameterChannelsAndValues)
{
    struct Row
    {
        unsigned short n;
        LogicalDeviceId ld;
        ParameterType type;
        OptId channel; // the value is channel + 1 where present
    };
    const Row rows[] = {
        {0, ld1, Ip, 160000ul}, // accepted, although IsParameterChannel rejects it
        {1, ld1, Ip, 160002ul},
        {100, ld1, Ip, 160200ul},
        {101, ld1, Ip, boost::none},
        {100, ld2, Ip, 260200ul},
        {0, ld1, Number, 170000ul},
        {1, ld2, Number, 270002ul},
        {64, ld2, Number, 270128ul},
        {65, ld2, Number, boost::none},
        {1, ld1, Text, 180002ul},
        {255, ld1, Text, 180510ul},
        {256, ld1, Text, 180512ul},
        {500, ld1, Text, 181000ul},
        {501, ld1, Text, boost::none},
        {500, ld2, Text, 281000ul},
        {65535, ld2, Text, boost::none},
        // An unknown type has maximum 0: only n = 0 gets through.
        {0, ld1, static_cast<ParameterType>(3), 190000ul},
        {1, ld1, static_cast<ParameterType>(3), boost::none},
        // 10000 * 429497 = 2^32 + 2704: the product wraps at 32 bits.
        {0, ld1, static_cast<ParameterType>(429497), 162704ul},
    };
    for (const Row& row : rows)
    {
        const std::string where = "n=" + std::to_string(row.n) + " ld=" + std::to_string(row.ld.Get()) +
                                  " t=" + std::to_string(static_cast<unsigned>(row.type));
        EXPECT_EQ(Show(GetParameterChannelObjModelId(row.n, row.ld, row.type)), Show(row.channel)) << where;
        const OptId value = row.channel ? OptId(*row.channel + 1) : boost::none;
        EXPECT_EQ(Show(GetParameterValueObjModelId(row.n, row.ld, row.type)), Show(value)) << where;

        std::function<OptId(unsigned short, LogicalDeviceId)> typed;
        switch (row.type)
        {
        case ParameterType::Ip:
            typed = GetIpParameterValueObjModelId;
            break;
        case ParameterType::Number:
            typed = GetNumberParameterValueObjModelId;
            break;
        case ParameterType::Text:
            typed = GetTextParameterValueObjModelId;
            break;
        }
        if (typed)
        {
            EXPECT_EQ(Show(typed(row.n, row.ld)), Show(value)) << where;
        }
    }
}

TEST(ObjModelIdBuilders, ParameterValueFromChannel)
{
    const std::pair<unsigned long, OptId> rows[] = {
        {160002, 160003ul},    {181000, 181001ul},    {270128, 270129ul},
        {160003, 160004ul}, // a value passes the loose predicate too
        {100100, 100101ul}, // and so does a CO channel
        {160000, boost::none}, {170130, boost::none}, {99999, boost::none},
    };
    for (const auto& row : rows)
        EXPECT_EQ(Show(GetParameterValueObjModelId(row.first)), Show(row.second)) << row.first;
}

TEST(ObjModelIdBuilders, CoChannelsAndValues)
{
    struct Row
    {
        unsigned short n;
        LogicalDeviceId ld;
        OptId channel;
        OptId value;
    };
    const Row rows[] = {
        {0, ld1, 100098ul, boost::none}, // below the CO area: no value
        {1, ld1, 100100ul, 100101ul},           {2, ld1, 100102ul, 100103ul},
        {4095, ld1, 108288ul, 108289ul},        {4096, ld1, boost::none, boost::none},
        {0, ld2, 200098ul, boost::none},        {1, ld2, 200100ul, 200101ul},
        {4095, ld2, 208288ul, 208289ul},        {4096, ld2, boost::none, boost::none},
        {65535, ld2, boost::none, boost::none},
    };
    for (const Row& row : rows)
    {
        const std::string where = "n=" + std::to_string(row.n) + " ld=" + std::to_string(row.ld.Get());
        EXPECT_EQ(Show(GetCoChannelObjModelId(row.n, row.ld)), Show(row.channel)) << where;
        EXPECT_EQ(Show(GetCoValueObjModelId(row.n, row.ld)), Show(row.value)) << where;
    }

    const std::pair<unsigned long, OptId> fromChannel[] = {
        {100100, 100101ul},    {108288, 108289ul},    {208288, 208289ul}, {100101, boost::none},
        {100098, boost::none}, {108290, boost::none}, {100, boost::none},
    };
    for (const auto& row : fromChannel)
        EXPECT_EQ(Show(GetCoValueObjModelId(row.first)), Show(row.second)) << row.first;
}

TEST(ObjModelIdPredicates, LogicalDevice)
{
    const std::pair<unsigned long, bool> any[] = {
        {0, false}, {1000, false}, {99999, false}, {100000, true}, {300000, true}, {4294967295ul, true},
    };
    for (const auto& row : any)
        EXPECT_EQ(IsAnyLogicalKnxDeviceId(row.first), row.second) << row.first;

    const std::pair<unsigned long, int> fromObject[] = {
        {0, 0},      {1000, 0},   {99999, 0},  {100000, 1},       {199999, 1},
        {200000, 2}, {299999, 2}, {300000, 0}, {4294967295ul, 0},
    };
    for (const auto& row : fromObject)
    {
        const auto ld = GetLogicalDeviceIdFromObject(row.first);
        EXPECT_EQ(ld ? ld->Get() : 0, row.second) << row.first;
    }
}

TEST(ObjModelIdPredicates, CoChannelAndValue)
{
    struct Row
    {
        unsigned long id;
        bool channel;
        bool value;
    };
    const Row rows[] = {
        {0, false, false},
        {1, false, false},
        {100, false, false}, // CO area offset, but below the first block
        {101, false, false},
        {99999, false, false},
        {100000, false, false}, // remainder 0: 0 - 100 wraps and fails the bound
        {100001, false, false},
        {100050, false, false},
        {200050, false, false},
        {100098, false, false},
        {100099, false, false},
        {100100, true, false},
        {100101, false, true},
        {108288, true, false},
        {108289, false, true},
        {108290, false, false},
        {108291, false, false},
        {200100, true, false},
        {208289, false, true},
        {300100, true, false}, // the logical device is not tested
        {4294967295ul, false, false},
    };
    for (const Row& row : rows)
    {
        EXPECT_EQ(IsCoChannel(row.id), row.channel) << row.id;
        EXPECT_EQ(IsCoValue(row.id), row.value) << row.id;
    }
}

TEST(ObjModelIdPredicates, AppControl)
{
    using Predicate = bool (*)(unsigned long, LogicalDeviceId);
    const Predicate predicates[] = {IsAppHostAppControlState, IsAppHostAppControlEvent,
                                    IsAppHostAppControlAliveHeartbeat, IsAppHostAppControlAppDebug};
    for (const LogicalDeviceId ld : {ld1, ld2})
    {
        const unsigned long base = 100000ul * static_cast<unsigned long>(ld.Get());
        for (unsigned long offset = 19; offset <= 25; ++offset)
        {
            for (unsigned p = 0; p < 4; ++p)
            {
                const bool expected = offset == 21 + p;
                EXPECT_EQ(predicates[p](base + offset, ld), expected) << base + offset << " predicate " << p;
                // The other device's number is never recognised.
                const unsigned long other = (ld.Get() == 1 ? 200000ul : 100000ul) + offset;
                EXPECT_FALSE(predicates[p](other, ld)) << other << " predicate " << p;
            }
        }
    }
    EXPECT_TRUE(IsAppHostAppControlEvent(200022, ld2));
    EXPECT_FALSE(IsAppHostAppControlEvent(100022, ld2));
}

TEST(ObjModelIdPredicates, ParameterChannelIsLoose)
{
    const std::pair<unsigned long, bool> rows[] = {
        {2, false},
        {99999, false},
        {100000, false},
        {100001, false},
        {100002, true}, // below the parameter area, remainder small enough
        {100100, true}, // a CO channel
        {100200, true},
        {100201, true},
        {100202, false},
        {159999, false}, // remainder 59999 gives type 5
        {160000, false}, // remainder below 2
        {160001, false},
        {160002, true},
        {160003, true}, // a value passes as well
        {160200, true}, // Ip 100
        {160201, true},
        {160202, false}, // Ip 101
        {170000, false},
        {170001, false},
        {170002, true},
        {170129, true},  // Number 64
        {170130, false}, // Number 65
        {180000, true},  // remainder 20000 is taken modulo 10000 as type 1
        {180002, true},
        {181001, true},  // Text 500
        {181002, false}, // Text 501
        {189999, false},
        {190002, false}, // type 3
        {260002, true},
        {360002, true}, // the logical device is not tested
        {4294967295ul, false},
    };
    for (const auto& row : rows)
        EXPECT_EQ(IsParameterChannel(row.first), row.second) << row.first;
}

TEST(ObjModelIdInverse, ParameterTypeAndNumber)
{
    struct Row
    {
        unsigned long id;
        LogicalDeviceId ld;
        boost::optional<ParameterType> type;
        int number; // -1: none
    };
    const Row rows[] = {
        {160002, ld1, Ip, 1},           {160201, ld1, Ip, 100},         {170129, ld1, Number, 64},
        {180601, ld1, Text, 44}, // text parameter 300, eight bits wide
        {180511, ld1, Text, 255},       {180512, ld1, Text, 0},         {181001, ld1, Text, 244},
        {280601, ld2, Text, 44},        {160000, ld1, boost::none, -1}, // not a parameter channel
        {170130, ld1, boost::none, -1}, {100100, ld1, boost::none, -1}, // passes the predicate, but type 10
        {100002, ld1, boost::none, -1}, {360002, ld1, boost::none, -1}, // (360002 mod 160000) / 10000 = 4
        {260002, ld2, Ip, 1},           {260002, ld1, boost::none, -1}, // (260002 mod 160000) / 10000 = 10:
                                                                        // the wrong device's block
    };
    for (const Row& row : rows)
    {
        const auto type = GetParameterTypeFromObjModelId(row.id, row.ld);
        EXPECT_EQ(type.has_value(), row.type.has_value()) << row.id;
        if (type && row.type)
        {
            EXPECT_EQ(*type, *row.type) << row.id;
        }
        const auto number = GetParameterNumberFromObjModelId(row.id, row.ld);
        EXPECT_EQ(number ? int{*number} : -1, row.number) << row.id;
    }
}

TEST(ObjModelIdInverse, CoNumber)
{
    struct Row
    {
        unsigned long id;
        LogicalDeviceId ld;
        int number; // -1: none
    };
    const Row rows[] = {
        {100101, ld1, 1},     {100100, ld1, -1}, // a channel, not a value
        {100099, ld1, -1},    {108289, ld1, 4095},  {108291, ld1, -1},
        {200101, ld2, 1},     {200101, ld1, 1},     // modulo 100000 strips any block
        {208289, ld2, 4095},  {100101, ld2, 50001}, // modulo 200000 leaves device 1 unreduced
        {108289, ld2, 54095}, {400101, ld2, 1},
    };
    for (const Row& row : rows)
    {
        const auto number = GetCoNumberFromObjModelId(row.id, row.ld);
        EXPECT_EQ(number ? int{*number} : -1, row.number) << row.id << " ld " << row.ld.Get();
    }
}

TEST(ObjModelIdInverse, EveryCoNumberRoundTrips)
{
    for (const LogicalDeviceId ld : {ld1, ld2})
    {
        for (unsigned n = 1; n <= 4095; ++n)
        {
            const auto channel = GetCoChannelObjModelId(static_cast<unsigned short>(n), ld);
            const auto value = GetCoValueObjModelId(static_cast<unsigned short>(n), ld);
            ASSERT_TRUE(channel && value) << n;
            ASSERT_EQ(*value, *channel + 1) << n;
            ASSERT_TRUE(IsCoChannel(*channel)) << n;
            ASSERT_FALSE(IsCoValue(*channel)) << n;
            ASSERT_TRUE(IsCoValue(*value)) << n;
            ASSERT_FALSE(IsCoChannel(*value)) << n;
            ASSERT_FALSE(GetCoNumberFromObjModelId(*channel, ld)) << n;
            const auto number = GetCoNumberFromObjModelId(*value, ld);
            ASSERT_TRUE(number) << n;
            ASSERT_EQ(*number, n) << "ld " << ld.Get();
            const auto owner = GetLogicalDeviceIdFromObject(*value);
            ASSERT_TRUE(owner && *owner == ld) << n;
        }
    }
}

TEST(ObjModelIdInverse, EveryParameterRoundTrips)
{
    for (const LogicalDeviceId ld : {ld1, ld2})
    {
        for (const ParameterType type : allTypes)
        {
            const unsigned max = static_cast<unsigned>(GetMaxParametersOfType(type));
            for (unsigned n = 1; n <= max; ++n)
            {
                const auto channel = GetParameterChannelObjModelId(static_cast<unsigned short>(n), ld, type);
                const auto value = GetParameterValueObjModelId(static_cast<unsigned short>(n), ld, type);
                ASSERT_TRUE(channel && value) << n;
                ASSERT_EQ(*value, *channel + 1);
                ASSERT_EQ(Show(GetParameterValueObjModelId(*channel)), Show(value)) << n;
                const auto owner = GetLogicalDeviceIdFromObject(*channel);
                ASSERT_TRUE(owner && *owner == ld) << n;
                for (const unsigned long id : {*channel, *value})
                {
                    ASSERT_TRUE(IsParameterChannel(id)) << id;
                    ASSERT_FALSE(IsCoChannel(id) || IsCoValue(id)) << id;
                    const auto gotType = GetParameterTypeFromObjModelId(id, ld);
                    ASSERT_TRUE(gotType) << id;
                    ASSERT_EQ(*gotType, type) << id;
                    const auto gotNumber = GetParameterNumberFromObjModelId(id, ld);
                    ASSERT_TRUE(gotNumber) << id;
                    ASSERT_EQ(*gotNumber, n % 256) << id;
                }
            }
            // One past the maximum: the builder refuses, and the identifier
            // it would have made is not recognised either.
            ASSERT_FALSE(GetParameterChannelObjModelId(static_cast<unsigned short>(max + 1), ld, type));
            const unsigned long past = 100000ul * static_cast<unsigned long>(ld.Get()) + 60000 +
                                       10000 * static_cast<unsigned>(type) + 2 * (max + 1);
            ASSERT_FALSE(IsParameterChannel(past)) << past;
            ASSERT_FALSE(IsParameterChannel(past + 1)) << past + 1;
        }
    }
}

TEST(ObjModelIdArithmetic, IsThirtyTwoBitsWide)
{
    // Where long has 64 bits, identifiers are still taken modulo 2^32; where it
    // has 32, wrap is 0 and these are the plain cases.
    EXPECT_TRUE(IsCoChannel(wrap + 100100));
    EXPECT_FALSE(IsCoValue(wrap)); // 0 after the wrap: no predecessor
    EXPECT_TRUE(IsCoValue(wrap + 100101));
    EXPECT_FALSE(IsAnyLogicalKnxDeviceId(wrap + 99999));
    EXPECT_TRUE(IsAnyLogicalKnxDeviceId(0ul - 1ul));
    const auto ld = GetLogicalDeviceIdFromObject(wrap + 200000);
    ASSERT_TRUE(ld);
    EXPECT_EQ(ld->Get(), 2);
    EXPECT_TRUE(IsParameterChannel(wrap + 160002));
    EXPECT_FALSE(IsParameterChannel(wrap + 2));
    const auto co = GetCoNumberFromObjModelId(wrap + 100101, ld1);
    ASSERT_TRUE(co);
    EXPECT_EQ(*co, 1);
    EXPECT_TRUE(IsAppHostAppControlState(wrap + 100021, ld1));
    EXPECT_EQ(Show(GetCoValueObjModelId(wrap + 100100)), "100101");
    // 0 - 1 in the predicates' own arithmetic is 4294967295, not -1.
    EXPECT_EQ(Show(GetParameterValueObjModelId(0ul - 1ul)), "none");
}

} // namespace
