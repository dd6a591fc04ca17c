#include <gtest/gtest.h>

#include <log4cplus/initializer.h>
#include <log4cplus/logger.h>
#include <log4cplus/nullappender.h>

int main(int argc, char** argv)
{
    // The application owns log4cplus's lifetime, not the library.
    log4cplus::Initializer initializer;
    // Quiet by default: tests that check lines attach a LogCapture.
    log4cplus::Logger::getRoot().addAppender(log4cplus::SharedAppenderPtr(new log4cplus::NullAppender));
    testing::InitGoogleTest(&argc, argv);
#ifdef LUM_TEST_UNDER_EMULATOR
    // Under qemu-user a re-executed child is not an ARM process: fork only.
    testing::FLAGS_gtest_death_test_style = "fast";
#else
    testing::FLAGS_gtest_death_test_style = "threadsafe";
#endif
    return RUN_ALL_TESTS();
}
