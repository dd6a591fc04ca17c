// Entry traces, and proof that with DEBUG off they format nothing: this
// executable's definitions of the platform's text forms take precedence over
// the platform library's; they count the calls and forward.

#include "ConverterCases.h"

#include <gtest/gtest.h>

#include <dlfcn.h>

#include <atomic>
#include <sstream>

namespace
{
std::atomic<int> g_texts{0};

template <typename Fn> Fn Next(const char* mangled)
{
    return reinterpret_cast<Fn>(dlsym(RTLD_NEXT, mangled));
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

TEST(Trace, EntryLineOnlyWithDebugOn)
{
    std::vector<Vector> all = Vectors();
    all.push_back({&kDefault, FromBus, Dpt(232, 600, 24), D(5), Hex("01 02 03")}); // untraced, as is 19.001
    for (const Vector& v : all)
    {
        for (const bool to : {true, false})
        {
            const bool traced = v.conv != &kDefault && v.conv != &kDateTime && (to || v.conv != &k1Bit);
            for (const bool debug : {false, true})
            {
                if (v.way == (to ? FromBus : ToBus))
                    continue;
                KnxStack::GroupValue g = Group(v.bytes, v.dpt.bitSize);
                ORUVALUE value = v.value;
                LogCapture capture;
                capture.SetLevel(debug ? log4cplus::DEBUG_LOG_LEVEL : log4cplus::INFO_LOG_LEVEL);
                g_texts = 0;
                ASSERT_TRUE(to ? v.conv->ToKnxValue(v.dpt, value, g) : v.conv->FromKnxValue(v.dpt, g, value));
                EXPECT_EQ(debug && traced ? 1 : 0, g_texts.load()); // no text is formed for a line not logged

                std::ostringstream line; // DPT 5.006 prints as 5.6
                line << "DPT is used. DPT = " << v.dpt.mainNumber << '.' << v.dpt.subNumber;
                const char* text = v.value.ToString();
                if (to)
                    line << " ivt=" << v.value.ivt << " val=" << (text ? text : "");
                else
                    line << " grp.size=" << g.GetDefinedSize() << " grp.val=" << g.GetRawData().ToString();
                const auto lines = capture.Lines();
                EXPECT_EQ(debug && traced ? std::vector<std::string>{line.str()} : std::vector<std::string>{},
                          capture.Texts());
                // The function's name comes before " - ".
                EXPECT_TRUE(lines.empty() ||
                            lines[0].line.substr(0, lines[0].line.find(" - "))
                                    .find(to ? "ToKnxValue" : "FromKnxValue") != std::string::npos)
                    << line.str();
            }
        }
    }
}

} // namespace
