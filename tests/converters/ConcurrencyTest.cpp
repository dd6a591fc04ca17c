#include "ConverterTestUtil.h"

#include <Lum/KnxConverterDateTime.h>
#include <Lum/KnxConverterFloat.h>
#include <Lum/KnxConverterInteger.h>
#include <Lum/KnxConverterString.h>

#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <thread>

using namespace LumTest;

namespace
{

// One converter object serves every thread of the process: conversions must
// not share anything mutable, traces included.
TEST(ConverterConcurrency, SharedConvertersOnManyThreads)
{
    const Lum::KnxConverterFloat16BitFloat float16(Lum::FloatRange(-273.0, 670760.0, -273.0, 670760.0));
    const Lum::KnxConverterInteger32BitSigned signed32(Lum::IntegerRange(0, 100, 0, 1000));
    const Lum::KnxConverter14ByteString text(Lum::IntegerRange(32, 126, 32, 126));
    const Lum::KnxConverterTimeOfDay timeOfDay;

    LogCapture capture; // DEBUG on: traces are formatted on every thread
    std::atomic<int> failures{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
    {
        threads.emplace_back(
            [&, t]
            {
                for (int i = 0; i < 200; ++i)
                {
                    KnxStack::GroupValue group;
                    ORUVALUE value = Typed(ivtUnset, 0);
                    const double celsius = (t * 200 + i) / 10.0;
                    bool ok = float16.ToKnxValue(Dpt(9, 1), ORUVALUE::FromFloat(celsius), group) &&
                              float16.FromKnxValue(Dpt(9, 1), group, value) &&
                              std::abs(value.GetFloat() - celsius) < 0.1;
                    ok = ok && signed32.ToKnxValue(Dpt(13, 1), ORUVALUE::FromInteger(i % 101), group) &&
                         group.GetAsSigned32() == (i % 101) * 10;
                    ok = ok &&
                         text.FromKnxValue(Dpt(16, 0),
                                           Group({'a', 0xE9, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}, 112),
                                           value) &&
                         value.GetString().str() == "a__";
                    ok = ok && timeOfDay.FromKnxValue(Dpt(10, 1), Group({0x4D, 0x17, 0x2A}, 24), value) &&
                         value.GetTime().hour == 13;
                    if (!ok)
                        ++failures;
                }
            });
    }
    for (std::thread& th : threads)
        th.join();
    EXPECT_EQ(0, failures.load());
    EXPECT_EQ(4u * 200u, capture.Texts(log4cplus::INFO_LOG_LEVEL).size()); // one notice per text read
}

} // namespace
