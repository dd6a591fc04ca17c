// Main of the conversion and configuration benchmarks: log4cplus is set up as
// in production (WARN, so no debug line is formatted) with every line dropped.

#include <Platform/Logging.h>

#include <benchmark/benchmark.h>

#include <log4cplus/initializer.h>
#include <log4cplus/logger.h>
#include <log4cplus/nullappender.h>

int main(int argc, char** argv)
{
    log4cplus::Initializer initializer;
    log4cplus::Logger root = log4cplus::Logger::getRoot();
    root.addAppender(log4cplus::SharedAppenderPtr(new log4cplus::NullAppender));
    root.setLogLevel(log4cplus::WARN_LOG_LEVEL);
    log4cplus::Logger(Lum::GetGlobalDefaultLogger()).setLogLevel(log4cplus::WARN_LOG_LEVEL);

    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
