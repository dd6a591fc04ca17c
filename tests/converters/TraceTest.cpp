// Entry traces of the converters, and proof that with DEBUG off a trace costs
// nothing: the text forms of values and group values are counted by wrapping
// the platform's own functions (this executable's definitions take precedence
// over the platform library's and forward to them).

#include "ConverterTestUtil.h"

#include <Lum/KnxConverterBitField.h>
#include <Lum/KnxConverterDateTime.h>
#include <Lum/KnxConverterFloat.h>
#include <Lum/KnxConverterInteger.h>
#include <Lum/KnxConverterScene.h>
#include <Lum/KnxConverterString.h>

#include <gtest/gtest.h>

#include <dlfcn.h>

#include <atomic>
#include <cstring>
#include <stdexcept>

using namespace LumTest;
using Lum::FloatIntegerRange;
using Lum::FloatRange;
using Lum::IntegerRange;
using Lum::LongIntegerRange;

namespace
{
std::atomic<int> g_valueTexts{0};
std::atomic<int> g_dataTexts{0};

template <typename Fn> Fn NextDefinition(const char* mangled)
{
    void* symbol = dlsym(RTLD_NEXT, mangled);
    if (symbol == nullptr)
        throw std::runtime_error(std::string("no platform definition of ") + mangled);
    Fn fn;
    std::memcpy(&fn, &symbol, sizeof fn);
    return fn;
}
} // namespace

const char* ORUVALUE::ToString() const
{
    using Fn = const char* (*)(const ORUVALUE*);
    static const Fn real = NextDefinition<Fn>("_ZNK8ORUVALUE8ToStringEv");
    ++g_valueTexts;
    return real(this);
}

std::string KnxStack::BinaryData::ToString() const
{
    using Fn = std::string (*)(const KnxStack::BinaryData*);
    static const Fn real = NextDefinition<Fn>("_ZNK8KnxStack10BinaryData8ToStringB5cxx11Ev");
    ++g_dataTexts;
    return real(this);
}

namespace
{

struct Op
{
    const char* name;
    std::shared_ptr<const Lum::KnxConverter> conv;
    bool toKnx;
    KNXDPT dpt;
    ORUVALUE value;
    Bytes bytes;
    bool traced;
};

template <typename T, typename... A> std::shared_ptr<const Lum::KnxConverter> Make(A&&... a)
{
    return std::make_shared<const T>(std::forward<A>(a)...);
}

std::vector<Op> AllOperations()
{
    const auto date = []
    {
        ORUTIME t;
        t.Clear(true);
        t.SetDateTime(2020, 2, 3, 4, 5, 6, true);
        return t;
    }();
    std::vector<Op> ops = {
        {"Default",
         Make<Lum::KnxConverterDefault>(),
         true,
         Dpt(232, 600, 24),
         ORUVALUE::FromDWord(5),
         {},
         false},
        {"Default",
         Make<Lum::KnxConverterDefault>(),
         false,
         Dpt(232, 600, 24),
         ORUVALUE::FromDWord(0),
         {1, 2, 3},
         false},
        {"1Bit", Make<Lum::KnxConverter1Bit>(), true, Dpt(1, 1), ORUVALUE::FromBool(true), {}, true},
        {"1Bit", Make<Lum::KnxConverter1Bit>(), false, Dpt(1, 1), ORUVALUE::FromBool(false), {1}, false},
        {"2Bit", Make<Lum::KnxConverter2Bit>(), true, Dpt(2, 1), ORUVALUE::FromByte(3), {}, true},
        {"2Bit", Make<Lum::KnxConverter2Bit>(), false, Dpt(2, 1), ORUVALUE::FromByte(0), {3}, true},
        {"4Bit",
         Make<Lum::KnxConverter4Bit>(FloatIntegerRange(-100.0, 100.0, 0, 15)),
         true,
         Dpt(3, 7),
         ORUVALUE::FromByte(9),
         {},
         true},
        {"4Bit",
         Make<Lum::KnxConverter4Bit>(FloatIntegerRange(-100.0, 100.0, 0, 15)),
         false,
         Dpt(3, 7),
         ORUVALUE::FromByte(0),
         {9},
         true},
        {"Char",
         Make<Lum::KnxConverter8BitString>(IntegerRange(0, 127, 0, 127)),
         true,
         Dpt(4, 1),
         ORUVALUE::FromString("A"),
         {},
         true},
        {"Char",
         Make<Lum::KnxConverter8BitString>(IntegerRange(0, 127, 0, 127)),
         false,
         Dpt(4, 1),
         ORUVALUE::FromString(""),
         {0x41},
         true},
        {"Byte",
         Make<Lum::KnxConverterByte8BitUnsigned>(IntegerRange(0, 254, 0, 254)),
         true,
         Dpt(5, 6),
         ORUVALUE::FromByte(7),
         {},
         true},
        {"Byte",
         Make<Lum::KnxConverterByte8BitUnsigned>(IntegerRange(0, 254, 0, 254)),
         false,
         Dpt(5, 6),
         ORUVALUE::FromByte(0),
         {7},
         true},
        {"Signed8",
         Make<Lum::KnxConverterInteger8BitSigned>(IntegerRange(-128, 127, -128, 127)),
         true,
         Dpt(6, 10),
         ORUVALUE::FromInteger(-3),
         {},
         true},
        {"Signed8",
         Make<Lum::KnxConverterInteger8BitSigned>(IntegerRange(-128, 127, -128, 127)),
         false,
         Dpt(6, 10),
         ORUVALUE::FromInteger(0),
         {0xFD},
         true},
        {"Status",
         Make<Lum::KnxConverterStatus8Bit>(IntegerRange(0, 255, 0, 255)),
         true,
         Dpt(6, 20),
         ORUVALUE::FromByte(0x6A),
         {},
         true},
        {"Status",
         Make<Lum::KnxConverterStatus8Bit>(IntegerRange(0, 255, 0, 255)),
         false,
         Dpt(6, 20),
         ORUVALUE::FromByte(0),
         {0x6A},
         true},
        {"Unsigned16",
         Make<Lum::KnxConverterInteger16BitUnsigned>(IntegerRange(0, 65535, 0, 65535)),
         true,
         Dpt(7, 1),
         ORUVALUE::FromWord(1000),
         {},
         true},
        {"Unsigned16",
         Make<Lum::KnxConverterInteger16BitUnsigned>(IntegerRange(0, 65535, 0, 65535)),
         false,
         Dpt(7, 1),
         ORUVALUE::FromWord(0),
         {0x03, 0xE8},
         true},
        {"Signed16",
         Make<Lum::KnxConverterInteger16BitSigned>(IntegerRange(-32768, 32767, -32768, 32767)),
         true,
         Dpt(8, 1),
         ORUVALUE::FromInteger(-1000),
         {},
         true},
        {"Signed16",
         Make<Lum::KnxConverterInteger16BitSigned>(IntegerRange(-32768, 32767, -32768, 32767)),
         false,
         Dpt(8, 1),
         ORUVALUE::FromInteger(0),
         {0xFC, 0x18},
         true},
        {"Float16",
         Make<Lum::KnxConverterFloat16BitFloat>(FloatRange(-273.0, 670760.0, -273.0, 670760.0)),
         true,
         Dpt(9, 1),
         ORUVALUE::FromFloat(21.0),
         {},
         true},
        {"Float16",
         Make<Lum::KnxConverterFloat16BitFloat>(FloatRange(-273.0, 670760.0, -273.0, 670760.0)),
         false,
         Dpt(9, 1),
         ORUVALUE::FromFloat(0.0),
         {0x0C, 0x1A},
         true},
        {"TimeOfDay",
         Make<Lum::KnxConverterTimeOfDay>(),
         true,
         Dpt(10, 1),
         ORUVALUE::FromTime(ivtDayTime, date),
         {},
         true},
        {"TimeOfDay",
         Make<Lum::KnxConverterTimeOfDay>(),
         false,
         Dpt(10, 1),
         Typed(ivtDayTime, 0),
         {0x4D, 0x17, 0x2A},
         true},
        {"Date",
         Make<Lum::KnxConverterDate>(),
         true,
         Dpt(11, 1),
         ORUVALUE::FromTime(ivtDate, date),
         {},
         true},
        {"Date",
         Make<Lum::KnxConverterDate>(),
         false,
         Dpt(11, 1),
         Typed(ivtDate, 0),
         {0x04, 0x01, 0x02},
         true},
        {"Unsigned32",
         Make<Lum::KnxConverterInteger32BitUnsigned>(LongIntegerRange(0, 4294967295LL, 0, 4294967295LL)),
         true,
         Dpt(12, 1),
         ORUVALUE::FromDWord(9),
         {},
         true},
        {"Unsigned32",
         Make<Lum::KnxConverterInteger32BitUnsigned>(LongIntegerRange(0, 4294967295LL, 0, 4294967295LL)),
         false,
         Dpt(12, 1),
         ORUVALUE::FromDWord(0),
         {0, 0, 0, 9},
         true},
        {"Signed32",
         Make<Lum::KnxConverterInteger32BitSigned>(IntegerRange(-1000, 1000, -1000, 1000)),
         true,
         Dpt(13, 10),
         ORUVALUE::FromInteger(-7),
         {},
         true},
        {"Signed32",
         Make<Lum::KnxConverterInteger32BitSigned>(IntegerRange(-1000, 1000, -1000, 1000)),
         false,
         Dpt(13, 10),
         ORUVALUE::FromInteger(0),
         {0xFF, 0xFF, 0xFF, 0xF9},
         true},
        {"Float32",
         Make<Lum::KnxConverterFloat32BitFloat>(FloatRange(-1e38, 1e38, -1e38, 1e38)),
         true,
         Dpt(14, 68),
         ORUVALUE::FromFloat(397.0),
         {},
         true},
        {"Float32",
         Make<Lum::KnxConverterFloat32BitFloat>(FloatRange(-1e38, 1e38, -1e38, 1e38)),
         false,
         Dpt(14, 68),
         ORUVALUE::FromFloat(0.0),
         {0x43, 0xC6, 0x80, 0x00},
         true},
        {"Text",
         Make<Lum::KnxConverter14ByteString>(IntegerRange(0, 127, 0, 127)),
         true,
         Dpt(16, 0),
         ORUVALUE::FromString("KNX"),
         {},
         true},
        {"Text",
         Make<Lum::KnxConverter14ByteString>(IntegerRange(0, 127, 0, 127)),
         false,
         Dpt(16, 0),
         ORUVALUE::FromString(""),
         {'K', 'N', 'X', 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0},
         true},
        {"SceneNumber",
         Make<Lum::KnxConverterSceneNumber>(IntegerRange(0, 63, 0, 63)),
         true,
         Dpt(17, 1),
         ORUVALUE::FromByte(5),
         {},
         true},
        {"SceneNumber",
         Make<Lum::KnxConverterSceneNumber>(IntegerRange(0, 63, 0, 63)),
         false,
         Dpt(17, 1),
         ORUVALUE::FromByte(0),
         {5},
         true},
        {"SceneControl",
         Make<Lum::KnxConverterSceneControl>(IntegerRange(0, 63, 0, 63)),
         true,
         Dpt(18, 1),
         ORUVALUE::FromByte(0x85),
         {},
         true},
        {"SceneControl",
         Make<Lum::KnxConverterSceneControl>(IntegerRange(0, 63, 0, 63)),
         false,
         Dpt(18, 1),
         ORUVALUE::FromByte(0),
         {0x85},
         true},
        {"DateTime",
         Make<Lum::KnxConverterDateTime>(),
         true,
         Dpt(19, 1),
         ORUVALUE::FromTime(ivtDateTime, date),
         {},
         false},
        {"DateTime",
         Make<Lum::KnxConverterDateTime>(),
         false,
         Dpt(19, 1),
         Typed(ivtDateTime, 0),
         {0x75, 0x0B, 0x1C, 0x17, 0x07, 0x18, 0x24, 0x00},
         false},
        {"SceneInfo",
         Make<Lum::KnxConverterSceneInfo>(IntegerRange(-64, 64, 0, 255)),
         true,
         Dpt(26, 1),
         ORUVALUE::FromByte(0x45),
         {},
         true},
        {"SceneInfo",
         Make<Lum::KnxConverterSceneInfo>(IntegerRange(-64, 64, 0, 255)),
         false,
         Dpt(26, 1),
         ORUVALUE::FromByte(0),
         {0x45},
         true},
        {"Counter24",
         Make<Lum::KnxConverterInteger24BitUnsigned>(LongIntegerRange(0, 16777215, 0, 16777215)),
         true,
         Dpt(232, 600),
         ORUVALUE::FromDWord(0xFF0000u),
         {},
         true},
        {"Counter24",
         Make<Lum::KnxConverterInteger24BitUnsigned>(LongIntegerRange(0, 16777215, 0, 16777215)),
         false,
         Dpt(232, 600),
         ORUVALUE::FromDWord(0),
         {0xFF, 0x00, 0x00},
         true},
    };
    return ops;
}

// Runs one operation; every one of them succeeds.
bool RunOp(const Op& op)
{
    KnxStack::GroupValue group = Group(op.bytes, static_cast<unsigned>(op.bytes.size() * 8));
    ORUVALUE value = op.value;
    return op.toKnx ? op.conv->ToKnxValue(op.dpt, value, group) : op.conv->FromKnxValue(op.dpt, group, value);
}

std::string Describe(const Op& op)
{
    return std::string(op.name) + (op.toKnx ? " ToKnxValue" : " FromKnxValue");
}

TEST(Trace, EntryLineOfEveryTracedOperation)
{
    for (const Op& op : AllOperations())
    {
        std::string expected;
        const KnxStack::GroupValue group = Group(op.bytes, static_cast<unsigned>(op.bytes.size() * 8));
        std::ostringstream dpt;
        dpt << op.dpt.mainNumber << '.' << op.dpt.subNumber;
        if (op.toKnx)
        {
            const char* text = op.value.ToString();
            expected = "DPT is used. DPT = " + dpt.str() +
                       " ivt=" + std::to_string(static_cast<int>(op.value.ivt)) +
                       " val=" + (text ? text : "");
        }
        else
        {
            expected = "DPT is used. DPT = " + dpt.str() +
                       " grp.size=" + std::to_string(group.GetDefinedSize()) +
                       " grp.val=" + group.GetRawData().ToString();
        }

        LogCapture capture;
        ASSERT_TRUE(RunOp(op)) << Describe(op);
        const auto debug = capture.Texts(log4cplus::DEBUG_LOG_LEVEL);
        if (op.traced)
        {
            EXPECT_EQ(std::vector<std::string>{expected}, debug) << Describe(op);
        }
        else
            EXPECT_TRUE(debug.empty()) << Describe(op);
        EXPECT_TRUE(capture.TextsAtLeast(log4cplus::INFO_LOG_LEVEL).empty()) << Describe(op);
    }
}

TEST(Trace, DptPrintsWithoutPadding)
{
    const Lum::KnxConverterByte8BitUnsigned conv(IntegerRange(0, 254, 0, 254));
    LogCapture capture;
    KnxStack::GroupValue group;
    ASSERT_TRUE(conv.ToKnxValue(Dpt(5, 6), ORUVALUE::FromByte(1), group));
    const auto debug = capture.Texts(log4cplus::DEBUG_LOG_LEVEL);
    ASSERT_EQ(1u, debug.size());
    EXPECT_EQ(0u, debug[0].find("DPT is used. DPT = 5.6 ivt=6 val=")) << debug[0];
    // The line carries the function's name before " - ".
    EXPECT_NE(std::string::npos, capture.Lines()[0].line.find("ToKnxValue")) << capture.Lines()[0].line;
}

TEST(Trace, NothingIsFormattedWithDebugOff)
{
    const std::vector<Op> ops = AllOperations();
    {
        LogCapture capture;
        capture.SetLevel(log4cplus::INFO_LOG_LEVEL);
        g_valueTexts = 0;
        g_dataTexts = 0;
        for (const Op& op : ops)
            ASSERT_TRUE(RunOp(op)) << Describe(op);
        EXPECT_EQ(0, g_valueTexts.load());
        EXPECT_EQ(0, g_dataTexts.load());
        EXPECT_TRUE(capture.Lines().empty());
    }
    // The counters do see the traces when DEBUG is on.
    for (const Op& op : ops)
    {
        LogCapture capture;
        g_valueTexts = 0;
        g_dataTexts = 0;
        ASSERT_TRUE(RunOp(op));
        EXPECT_EQ(op.traced && op.toKnx ? 1 : 0, g_valueTexts.load()) << Describe(op);
        EXPECT_EQ(op.traced && !op.toKnx ? 1 : 0, g_dataTexts.load()) << Describe(op);
    }
}

TEST(Trace, ValueWithoutTextLeavesTheLineShort)
{
    // A type the value library does not know has no text form.
    const Lum::KnxConverterFloat16BitFloat conv(FloatRange(-10.0, 10.0, -10.0, 10.0));
    ORUVALUE value = ORUVALUE::FromFloat(1.0);
    value.ivt = static_cast<OruValueType>(777);
    ASSERT_EQ(nullptr, value.ToString());
    LogCapture capture;
    KnxStack::GroupValue group;
    EXPECT_TRUE(conv.ToKnxValue(Dpt(9, 1), value, group));
    EXPECT_EQ(std::vector<std::string>{"DPT is used. DPT = 9.1 ivt=777 val="},
              capture.Texts(log4cplus::DEBUG_LOG_LEVEL));
}

} // namespace
