// The conversion steps of the facade, driven through converters of the tests.
#include "FacadeTestSupport.h"

#include <LogCapture.h>
#include <Lum/KnxValueConverter.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace FacadeTest;
using Action = ScriptedConverter::Action;
using Lum::KnxValueConverter;

namespace
{

constexpr log4cplus::LogLevel kError = log4cplus::ERROR_LOG_LEVEL;
constexpr log4cplus::LogLevel kInfo = log4cplus::INFO_LOG_LEVEL;

struct Row
{
    std::uint16_t main;
    std::uint16_t sub;
    std::uint8_t bits;
    std::int32_t ivt;
    Action action;
};

struct Expected
{
    log4cplus::LogLevel level;
    std::string text; // "{val}" and "{raw}" stand for the value's and the group value's text forms
};

std::string Fill(std::string text, const ORUVALUE& value, const KnxStack::GroupValue& gv)
{
    const auto replace = [&text](const std::string& key, const std::string& by)
    {
        const auto at = text.find(key);
        if (at != std::string::npos)
        {
            text.replace(at, key.size(), by);
        }
    };
    const char* valueText = value.ToString();
    replace("{val}", valueText ? valueText : "");
    replace("{raw}", gv.GetRawData().ToString());
    return text;
}

void Register(KnxValueConverter& converter, const std::vector<Row>& rows,
              const std::shared_ptr<Recorder>& rec)
{
    for (const Row& r : rows)
    {
        ASSERT_TRUE(converter.AddDptValueMapEntry(r.main, r.sub, r.bits, static_cast<OruValueType>(r.ivt),
                                                  OruDP::ivstNone, ScriptedConverter(rec, r.action)));
    }
}

void ExpectLines(const LumTest::LogCapture& log, const std::vector<Expected>& expected, const ORUVALUE& value,
                 const KnxStack::GroupValue& gv)
{
    const auto lines = log.Lines();
    ASSERT_EQ(lines.size(), expected.size()) << (lines.empty() ? std::string() : lines.front().line);
    for (std::size_t i = 0; i < lines.size(); ++i)
    {
        EXPECT_EQ(lines[i].level, expected[i].level) << lines[i].line;
        EXPECT_EQ(lines[i].text, Fill(expected[i].text, value, gv)) << lines[i].line;
    }
}

const std::vector<Row> kStandardRows = {
    {1, 0, 1, 2, Action::Succeed},    {9, 0, 16, 3, Action::Succeed},  {9, 1, 16, 3, Action::Succeed},
    {5, 0, 8, 6, Action::Succeed},    {14, 0, 32, 3, Action::Succeed}, {13, 0, 32, 4, Action::Succeed},
    {11, 0, 24, 11, Action::Succeed}, {12, 0, 32, 8, Action::Succeed},
};

// ---------------------------------------------------------------- ToKnxValue

struct ToCase
{
    const char* name;
    std::vector<Row> rows;
    KNXDPT dpt;
    ORUVALUE value;
    bool result;
    KNXDPT dptAfter;
    bool converterCalled;
    std::vector<Expected> log;
};

ORUVALUE Typed(std::int32_t type)
{
    ORUVALUE v;
    v.ivt = static_cast<OruValueType>(type);
    return v;
}

std::vector<ToCase> ToCases()
{
    const std::vector<Row> fails = {{9, 1, 16, 3, Action::Fail}};
    return {
        {"DefaultByValueType",
         kStandardRows,
         Dpt(0, 0, 0),
         ORUVALUE::FromBool(true),
         true,
         Dpt(1, 1, 1),
         true,
         {}},
        {"DefaultBySizeWhenTypeHasNone",
         kStandardRows,
         Dpt(0, 0, 16),
         Typed(5),
         false,
         Dpt(9, 0, 16),
         false,
         {{kError, "Invalid value type found for DPT = 9.0 val.ivt=5"}}},
        {"DefaultByTypeBeforeSize",
         kStandardRows,
         Dpt(0, 0, 8),
         ORUVALUE::FromFloat(1.5),
         false,
         Dpt(5, 1, 8),
         false,
         {{kError, "Invalid value type found for DPT = 5.1 val.ivt=3"}}},
        {"NoDefaultAtAll",
         kStandardRows,
         Dpt(0, 0, 3),
         Typed(5),
         false,
         Dpt(0, 0, 3),
         false,
         {{kInfo, "Could not find DPT for bit size 3"}}},
        {"NoDefaultForIntegerOfThatSize",
         kStandardRows,
         Dpt(0, 0, 24),
         ORUVALUE::FromInteger(1),
         true,
         Dpt(10, 1, 24),
         false,
         {{kError, "No Entry found for DPT = 10.1"},
          {kError, "No Entry found for DPT = 10.1"},
          {kError, "Assume validity and accept value!"}}},
        {"ExactEntry",
         kStandardRows,
         Dpt(9, 1, 16),
         ORUVALUE::FromFloat(21.5),
         true,
         Dpt(9, 1, 16),
         true,
         {}},
        {"MainEntryForOtherSub",
         kStandardRows,
         Dpt(9, 7, 16),
         ORUVALUE::FromFloat(21.5),
         true,
         Dpt(9, 7, 16),
         true,
         {}},
        {"CompatibleType",
         kStandardRows,
         Dpt(12, 1, 32),
         ORUVALUE::FromWord(7),
         true,
         Dpt(12, 1, 32),
         true,
         {}},
        {"UnsetTypePassesAnyEntry", kStandardRows, Dpt(9, 1, 16), Typed(0), true, Dpt(9, 1, 16), true, {}},
        {"IncompatibleType",
         kStandardRows,
         Dpt(9, 1, 16),
         ORUVALUE::FromString("x"),
         false,
         Dpt(9, 1, 16),
         false,
         {{kError, "Invalid value type found for DPT = 9.1 val.ivt=10"}}},
        {"DateForDateTimeEntryRejected",
         {{19, 0, 64, 13, Action::Succeed}},
         Dpt(19, 1),
         Typed(11),
         false,
         Dpt(19, 1),
         false,
         {{kError, "Invalid value type found for DPT = 19.1 val.ivt=11"}}},
        {"DateTimeForDateEntryAccepted", kStandardRows, Dpt(11, 1), Typed(13), true, Dpt(11, 1), true, {}},
        {"ConverterRejects",
         fails,
         Dpt(9, 1, 16),
         ORUVALUE::FromFloat(-300.0),
         false,
         Dpt(9, 1, 16),
         true,
         {{kError, "Convert to KNX value failed for DPT = 9.1 val = {val}"}}},
        {"NoEntryAssumesValidity",
         kStandardRows,
         Dpt(99, 1),
         ORUVALUE::FromInteger(5),
         true,
         Dpt(99, 1),
         false,
         {{kError, "No Entry found for DPT = 99.1"},
          {kError, "No Entry found for DPT = 99.1"},
          {kError, "Assume validity and accept value!"}}},
        {"NoMainEntryAssumesValidity",
         {{9, 1, 16, 3, Action::Succeed}},
         Dpt(9, 5),
         ORUVALUE::FromFloat(1.0),
         true,
         Dpt(9, 5),
         false,
         {{kError, "No Entry found for DPT = 9.x"},
          {kError, "No Entry found for DPT = 9.5"},
          {kError, "Assume validity and accept value!"}}},
        {"StackExceptionCaught",
         {{9, 1, 16, 3, Action::ThrowGroupValueException}},
         Dpt(9, 1),
         ORUVALUE::FromFloat(1.0),
         false,
         Dpt(9, 1),
         true,
         {{kError, "Exception caught during conversion of ORUVALUE to GroupValue: scripted failure"}}},
    };
}

void PrintTo(const ToCase& c, std::ostream* os)
{
    *os << c.name;
}

class ToKnxValueFlow : public ::testing::TestWithParam<ToCase>
{
};

} // namespace

TEST_P(ToKnxValueFlow, FollowsTheConversionSteps)
{
    const ToCase& c = GetParam();
    auto recorder = std::make_shared<Recorder>();
    KnxValueConverter converter;
    Register(converter, c.rows, recorder);

    const KnxStack::GroupValue untouched = Group({0x11, 0x22}, 16);
    KnxStack::GroupValue gv = untouched;
    KNXDPT dpt = c.dpt;
    LumTest::LogCapture log;
    log.SetLevel(log4cplus::INFO_LOG_LEVEL);

    EXPECT_EQ(converter.ToKnxValue(dpt, c.value, gv), c.result);

    EXPECT_EQ(dpt.mainNumber, c.dptAfter.mainNumber);
    EXPECT_EQ(dpt.subNumber, c.dptAfter.subNumber);
    EXPECT_EQ(dpt.bitSize, c.dptAfter.bitSize);
    ASSERT_EQ(recorder->toKnx.size(), c.converterCalled ? 1u : 0u);
    if (c.converterCalled)
    {
        // The converter sees the DPT as chosen and the caller's value.
        EXPECT_EQ(recorder->toKnx[0].dpt.mainNumber, c.dptAfter.mainNumber);
        EXPECT_EQ(recorder->toKnx[0].dpt.subNumber, c.dptAfter.subNumber);
        EXPECT_TRUE(recorder->toKnx[0].value == c.value);
    }
    if (c.converterCalled && c.result)
    {
        EXPECT_EQ(gv, Group({ScriptedConverter::kWrittenByte}, 8));
    }
    else
    {
        EXPECT_EQ(gv, untouched);
    }
    ExpectLines(log, c.log, c.value, gv);
}

INSTANTIATE_TEST_SUITE_P(Cases, ToKnxValueFlow, ::testing::ValuesIn(ToCases()),
                         [](const ::testing::TestParamInfo<ToCase>& p) { return p.param.name; });

TEST(ToKnxValueFlowMore, NullConverterIsReported)
{
    KnxValueConverter converter;
    converter.AddDptValueMapEntry(9, 1, 16, ivtFloat, OruDP::ivstNone, NullCloningConverter());
    KNXDPT dpt = Dpt(9, 1);
    KnxStack::GroupValue gv;
    LumTest::LogCapture log;
    EXPECT_FALSE(converter.ToKnxValue(dpt, ORUVALUE::FromFloat(1.0), gv));
    EXPECT_EQ(log.Texts(), std::vector<std::string>{"NULL pointer as KnxConverter for DPT = 9.1"});
}

TEST(ToKnxValueFlowMore, OtherExceptionsPropagate)
{
    auto recorder = std::make_shared<Recorder>();
    KnxValueConverter converter;
    Register(converter, {{9, 1, 16, 3, Action::ThrowOther}}, recorder);
    KNXDPT dpt = Dpt(9, 1);
    KnxStack::GroupValue gv;
    EXPECT_THROW(converter.ToKnxValue(dpt, ORUVALUE::FromFloat(1.0), gv), std::logic_error);
}

TEST(ToKnxValueFlowMore, BeforeInitEveryDptIsAcceptedAsValid)
{
    KnxValueConverter converter;
    for (const KNXDPT& d : {Dpt(9, 1), Dpt(1, 1), Dpt(0, 0, 0)})
    {
        KNXDPT dpt = d;
        const KnxStack::GroupValue untouched = Group({0x01}, 1);
        KnxStack::GroupValue gv = untouched;
        LumTest::LogCapture log;
        EXPECT_TRUE(converter.ToKnxValue(dpt, ORUVALUE::FromBool(true), gv));
        EXPECT_EQ(gv, untouched);
        const auto texts = log.Texts(log4cplus::ERROR_LOG_LEVEL);
        ASSERT_FALSE(texts.empty());
        EXPECT_EQ(texts.back(), "Assume validity and accept value!");
    }
}

// -------------------------------------------------------------- FromKnxValue

namespace
{

struct FromCase
{
    const char* name;
    std::vector<Row> rows;
    KNXDPT dpt;
    KnxStack::GroupValue gv;
    bool result;
    KNXDPT dptAfter;
    std::int32_t ivtAfter; // -1: the value as the caller handed it
    bool converterCalled;
    KnxStack::GroupValue handed; // what the converter received
    std::vector<Expected> log;
};

std::vector<FromCase> FromCases()
{
    const auto g16 = Group({0x0C, 0x1A}, 16);
    const auto g32 = Group({0x0C, 0x1A, 0x00, 0x00}, 32);
    const std::vector<Row> shortAndVariable = {{1, 0, 1, 2, Action::Succeed},
                                               {3, 0, 4, 3, Action::Succeed},
                                               {24, 0, 8, 10, Action::Succeed},
                                               {28, 0, 8, 10, Action::Succeed},
                                               {99, 0, 8, 6, Action::Succeed}};
    return {
        {"ExactEntry", kStandardRows, Dpt(9, 1, 16), g16, true, Dpt(9, 1, 16), 3, true, g16, {}},
        {"SizeOfGroupValueWhenNoDptNoSize",
         kStandardRows,
         Dpt(0, 0, 0),
         g32,
         true,
         Dpt(14, 0, 32),
         3,
         true,
         g32,
         {}},
        {"NoDefaultForGroupValueSize",
         kStandardRows,
         Dpt(0, 0, 0),
         Group({0x01}, 3),
         false,
         Dpt(0, 0, 0),
         -1,
         false,
         {},
         {{kError, "Convert from KNX value failed. Missing DPT. GroupValue = {raw}"}}},
        {"DefaultByGivenSize",
         kStandardRows,
         Dpt(0, 0, 8),
         Group({0x64}, 8),
         true,
         Dpt(5, 0, 8),
         6,
         true,
         Group({0x64}, 8),
         {}},
        {"NoDefaultForGivenSize",
         kStandardRows,
         Dpt(0, 0, 3),
         Group({0x01}, 3),
         false,
         Dpt(0, 0, 3),
         -1,
         false,
         {},
         {{kInfo, "Could not find DPT for bit size 3"}}},
        {"GivenSizeWinsOverGroupValue",
         kStandardRows,
         Dpt(0, 0, 1),
         g16,
         false,
         Dpt(1, 1, 1),
         2,
         false,
         {},
         {{kError,
           "Failed to convert a GroupValue for DPT 1.1 because of unexpected bit size: 16, expected: 1"}}},
        {"UnexpectedBitSize",
         kStandardRows,
         Dpt(9, 1),
         g32,
         false,
         Dpt(9, 1),
         3,
         false,
         {},
         {{kError,
           "Failed to convert a GroupValue for DPT 9.1 because of unexpected bit size: 32, expected: 16"}}},
        {"ShortValueInSixBitsIsReReadAtItsWidth",
         shortAndVariable,
         Dpt(1, 1),
         Group({0x01}, 6),
         true,
         Dpt(1, 1),
         2,
         true,
         Group({0x01}, 1),
         {}},
        {"FourBitValueInSixBits",
         shortAndVariable,
         Dpt(3, 7),
         Group({0x0B}, 6),
         true,
         Dpt(3, 7),
         3,
         true,
         Group({0x0B}, 4),
         {}},
        {"ShortValueAtItsWidth",
         shortAndVariable,
         Dpt(1, 1),
         Group({0x01}, 1),
         true,
         Dpt(1, 1),
         2,
         true,
         Group({0x01}, 1),
         {}},
        {"ShortValueOfSizeZeroPasses",
         shortAndVariable,
         Dpt(1, 1),
         Group({0x01}, 0),
         true,
         Dpt(1, 1),
         2,
         true,
         Group({0x01}, 0),
         {}},
        {"ShortTypeTooLong",
         shortAndVariable,
         Dpt(1, 1),
         Group({0x01}, 7),
         false,
         Dpt(1, 1),
         2,
         false,
         {},
         {{kError,
           "Failed to convert a GroupValue for DPT 1.1 because of unexpected bit size: 7, expected: 1"}}},
        {"UnsizedMainTooLong",
         shortAndVariable,
         Dpt(99, 1),
         Group({0x01}, 8),
         false,
         Dpt(99, 1),
         6,
         false,
         {},
         {{kError,
           "Failed to convert a GroupValue for DPT 99.1 because of unexpected bit size: 8, expected: 0"}}},
        {"VariableLengthAnySize",
         shortAndVariable,
         Dpt(24, 1),
         Group({0x41, 0x42, 0x00}, 24),
         true,
         Dpt(24, 1),
         10,
         true,
         Group({0x41, 0x42, 0x00}, 24),
         {}},
        {"VariableLengthInSixBitsGetsEmptyValue",
         shortAndVariable,
         Dpt(28, 1),
         Group({0x41}, 6),
         true,
         Dpt(28, 1),
         10,
         true,
         KnxStack::GroupValue(),
         {}},
        {"ConverterRejects",
         {{9, 1, 16, 3, Action::Fail}},
         Dpt(9, 1),
         g16,
         false,
         Dpt(9, 1),
         3,
         true,
         g16,
         {{kError, "Convert from KNX value failed for DPT = 9.1 GroupValue = 0C 1A"}}},
        {"StackExceptionCaught",
         {{9, 1, 16, 3, Action::ThrowGroupValueException}},
         Dpt(9, 1),
         g16,
         false,
         Dpt(9, 1),
         3,
         true,
         g16,
         {{kError,
           "Exception caught during conversion of GroupValue: scripted failure(DPT: 9.1, Value: 0C 1A"}}},
        {"NoEntryAssumesValidity",
         kStandardRows,
         Dpt(22, 1),
         g16,
         true,
         Dpt(22, 1),
         -1,
         false,
         {},
         {{kError, "No Entry found for DPT = 22.1"},
          {kError, "No Entry found for DPT = 22.1"},
          {kError, "Assume validity and accept value!"}}},
    };
}

void PrintTo(const FromCase& c, std::ostream* os)
{
    *os << c.name;
}

class FromKnxValueFlow : public ::testing::TestWithParam<FromCase>
{
};

} // namespace

TEST_P(FromKnxValueFlow, FollowsTheConversionSteps)
{
    const FromCase& c = GetParam();
    auto recorder = std::make_shared<Recorder>();
    KnxValueConverter converter;
    Register(converter, c.rows, recorder);

    const ORUVALUE callers = ORUVALUE::FromInteger(-7);
    ORUVALUE value = callers;
    KNXDPT dpt = c.dpt;
    LumTest::LogCapture log;
    log.SetLevel(log4cplus::INFO_LOG_LEVEL);

    EXPECT_EQ(converter.FromKnxValue(dpt, c.gv, value), c.result);

    EXPECT_EQ(dpt.mainNumber, c.dptAfter.mainNumber);
    EXPECT_EQ(dpt.subNumber, c.dptAfter.subNumber);
    EXPECT_EQ(dpt.bitSize, c.dptAfter.bitSize);
    if (c.ivtAfter < 0)
    {
        EXPECT_TRUE(value == callers);
    }
    else
    {
        EXPECT_EQ(value.ivt, c.ivtAfter);
    }
    ASSERT_EQ(recorder->fromKnx.size(), c.converterCalled ? 1u : 0u);
    if (c.converterCalled)
    {
        EXPECT_EQ(recorder->fromKnx[0].group, c.handed);
        EXPECT_EQ(recorder->fromKnx[0].value.ivt, c.ivtAfter) << "the entry's type is set before the call";
        EXPECT_EQ(recorder->fromKnx[0].dpt.mainNumber, c.dptAfter.mainNumber);
        EXPECT_EQ(recorder->fromKnx[0].dpt.subNumber, c.dptAfter.subNumber);
    }
    if (c.converterCalled && c.result)
    {
        EXPECT_EQ(value.GetByte(), ScriptedConverter::kReadByte);
    }
    ExpectLines(log, c.log, value, c.gv);
}

INSTANTIATE_TEST_SUITE_P(Cases, FromKnxValueFlow, ::testing::ValuesIn(FromCases()),
                         [](const ::testing::TestParamInfo<FromCase>& p) { return p.param.name; });

TEST(FromKnxValueFlowMore, NullConverterIsReportedAfterTheTypeIsSet)
{
    KnxValueConverter converter;
    converter.AddDptValueMapEntry(9, 1, 16, ivtFloat, OruDP::ivstNone, NullCloningConverter());
    KNXDPT dpt = Dpt(9, 1);
    ORUVALUE value = ORUVALUE::FromInteger(3);
    LumTest::LogCapture log;
    EXPECT_FALSE(converter.FromKnxValue(dpt, Group({0x0C, 0x1A}, 16), value));
    EXPECT_EQ(value.ivt, ivtFloat);
    EXPECT_EQ(log.Texts(), std::vector<std::string>{"NULL pointer as KnxConverter for DPT = 9.1"});
}

TEST(FromKnxValueFlowMore, OtherExceptionsPropagate)
{
    auto recorder = std::make_shared<Recorder>();
    KnxValueConverter converter;
    Register(converter, {{9, 1, 16, 3, Action::ThrowOther}}, recorder);
    KNXDPT dpt = Dpt(9, 1);
    ORUVALUE value;
    EXPECT_THROW(converter.FromKnxValue(dpt, Group({0x0C, 0x1A}, 16), value), std::logic_error);
}

TEST(FromKnxValueFlowMore, BeforeInitEveryDptIsAcceptedAndTheValueLeftAlone)
{
    KnxValueConverter converter;
    KNXDPT dpt = Dpt(0, 0, 0);
    const ORUVALUE callers = ORUVALUE::FromWord(77);
    ORUVALUE value = callers;
    LumTest::LogCapture log;
    EXPECT_TRUE(converter.FromKnxValue(dpt, Group({0x0C, 0x1A}, 16), value));
    EXPECT_TRUE(value == callers);
    EXPECT_EQ(dpt.mainNumber, 9); // the size default is still chosen
    EXPECT_EQ(log.Texts(),
              (std::vector<std::string>{"No Entry found for DPT = 9.0", "No Entry found for DPT = 9.0",
                                        "Assume validity and accept value!"}));
}
