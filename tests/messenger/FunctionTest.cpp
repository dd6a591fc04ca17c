#include <Lum/Function.h>

#include <gtest/gtest.h>

#include <log4cplus/consoleappender.h>
#include <log4cplus/logger.h>

#include <memory>
#include <string>

namespace
{

bool AlwaysFalse()
{
    return false;
}

TEST(Function, EmptyUntilGivenACallable)
{
    Lum::BoolReader empty;
    Lum::BoolReader null(nullptr);
    Lum::BoolReader filled([] { return true; });
    EXPECT_FALSE(empty);
    EXPECT_FALSE(null);
    ASSERT_TRUE(filled);
    EXPECT_TRUE(filled());
}

TEST(Function, AcceptsFunctionPointersAndCallableObjects)
{
    const Lum::BoolReader fromPointer(&AlwaysFalse);
    const Lum::BoolReader fromStd(std::function<bool()>([] { return true; }));
    EXPECT_FALSE(fromPointer());
    EXPECT_TRUE(fromStd());

    const Lum::function<std::string(const std::string&, int)> repeat = [](const std::string& s, int n)
    {
        std::string out;
        for (int i = 0; i < n; ++i)
            out += s;
        return out;
    };
    EXPECT_EQ(repeat("ab", 3), "ababab");
}

TEST(Function, CopiesShareOneStorage)
{
    int calls = 0;
    const Lum::BoolReader counting([calls]() mutable { return ++calls % 2 == 1; });
    const Lum::BoolReader copy = counting; // NOLINT(performance-unnecessary-copy-initialization)
    EXPECT_TRUE(counting());
    EXPECT_FALSE(copy()); // the copy saw the first call
    EXPECT_TRUE(copy());
}

TEST(Function, KeepsTheCallableAliveAfterTheOriginalIsGone)
{
    auto flag = std::make_shared<bool>(true);
    Lum::BoolReader copy;
    {
        const Lum::BoolReader original([flag] { return *flag; });
        copy = original;
    }
    flag.reset();
    EXPECT_TRUE(copy());
}

TEST(FunctionDeathTest, CallingAnEmptyWrapperIsAnAssertionFailure)
{
    const Lum::BoolReader empty;
    EXPECT_DEATH(
        {
            // The assertion report goes to the log; make it visible to the death test.
            log4cplus::Logger::getRoot().addAppender(
                log4cplus::SharedAppenderPtr(new log4cplus::ConsoleAppender(true, true)));
            static_cast<void>(empty());
        },
        "LUM_ASSERT2\\(m_storage\\) failed");
}

} // namespace
