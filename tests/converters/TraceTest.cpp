// Entry traces, and proof that with DEBUG off they format nothing: this
// executable's definitions of the platform's text forms take precedence over
// the platform library's; they count the calls and forward.

#include "ConverterCases.h"

#include <gtest/gtest.h>

#include <dlfcn.h>

#include <atomic>
#include <cstring>
#include <functional>
#include <sstream>
#include <stdexcept>

namespace
{
std::atomic<int> g_texts{0};

template <typename Fn> Fn Next(const char* mangled)
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
    static const auto real = Next<const char* (*)(const ORUVALUE*)>("_ZNK8ORUVALUE8ToStringEv");
    ++g_texts;
    return real(this);
}

std::string KnxStack::BinaryData::ToString() const
{
    static const auto real =
        Next<std::string (*)(const KnxStack::BinaryData*)>("_ZNK8KnxStack10BinaryData8ToStringB5cxx11Ev");
    ++g_texts;
    return real(this);
}

namespace
{
using namespace LumTest;

// Runs every operation of every converter, each of which succeeds.
void ForEachOperation(const std::function<void(const Vector&, bool to, bool traced)>& check)
{
    static const Lum::KnxConverterDefault fallback;
    std::vector<Vector> all = Vectors();
    all.push_back({&fallback, Both, Dpt(232, 600, 24), D(5), Hex("01 02 03")});
    for (const Vector& v : all)
        for (bool to : {To, From})
            if (v.way != (to ? FromBus : ToBus))
                check(v, to, v.conv != &fallback && v.conv != &kDateTime && (to || v.conv != &k1Bit));
}

KnxStack::GroupValue GroupOf(const Vector& v)
{
    return Group(v.bytes, v.dpt.bitSize ? v.dpt.bitSize : static_cast<unsigned>(v.bytes.size() * 8));
}

TEST(Trace, EntryLineOfEveryOperation)
{
    ForEachOperation(
        [](const Vector& v, bool to, bool traced)
        {
            KnxStack::GroupValue g = GroupOf(v);
            ORUVALUE value = v.value;
            std::ostringstream line; // DPT 5.006 prints as 5.6
            line << "DPT is used. DPT = " << v.dpt.mainNumber << '.' << v.dpt.subNumber;
            if (to)
                line << " ivt=" << static_cast<int>(value.ivt) << " val=" << value.ToString();
            else
                line << " grp.size=" << g.GetDefinedSize() << " grp.val=" << g.GetRawData().ToString();
            LogCapture capture;
            ASSERT_TRUE(Convert(*v.conv, to, v.dpt, value, g)) << line.str();
            EXPECT_EQ(traced ? std::vector<std::string>{line.str()} : std::vector<std::string>{},
                      capture.Texts());
            if (traced) // the function's name comes before " - "
            {
                const std::string whole = capture.Lines()[0].line;
                EXPECT_NE(std::string::npos,
                          whole.substr(0, whole.find(" - ")).find(to ? "ToKnxValue" : "FromKnxValue"));
            }
        });
}

TEST(Trace, NothingIsFormattedWithDebugOff)
{
    for (const log4cplus::LogLevel level : {log4cplus::INFO_LOG_LEVEL, log4cplus::DEBUG_LOG_LEVEL})
    {
        LogCapture capture;
        capture.SetLevel(level);
        int traces = 0;
        g_texts = 0;
        ForEachOperation(
            [&traces](const Vector& v, bool to, bool traced)
            {
                KnxStack::GroupValue g = GroupOf(v);
                ORUVALUE value = v.value;
                ASSERT_TRUE(Convert(*v.conv, to, v.dpt, value, g));
                traces += traced ? 1 : 0;
            });
        // With DEBUG on the counter sees each trace's text: it is not blind.
        EXPECT_EQ(level == log4cplus::DEBUG_LOG_LEVEL ? traces : 0, g_texts.load());
        EXPECT_EQ(level == log4cplus::DEBUG_LOG_LEVEL ? traces : 0, static_cast<int>(capture.Lines().size()));
    }
}

TEST(Trace, ValueWithoutTextLeavesTheLineShort)
{
    ORUVALUE value = F(1.0);
    value.ivt = static_cast<OruValueType>(777); // unknown to the value library
    ASSERT_EQ(nullptr, value.ToString());
    LogCapture capture;
    KnxStack::GroupValue g;
    EXPECT_TRUE(kF16.ToKnxValue(Dpt(9, 1), value, g));
    EXPECT_EQ(std::vector<std::string>{"DPT is used. DPT = 9.1 ivt=777 val="}, capture.Texts());
}

} // namespace
