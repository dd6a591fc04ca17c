// Main of the conversion and configuration benchmarks: log4cplus is set up as
// in production (WARN, so no debug line is formatted) with every line dropped.

#include "AllocationCounter.h"

#include <Platform/Logging.h>

#include <benchmark/benchmark.h>

#include <log4cplus/initializer.h>
#include <log4cplus/logger.h>
#include <log4cplus/nullappender.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <new>

namespace
{
std::atomic<std::uint64_t> g_allocations{0};
} // namespace

std::uint64_t LumBench::Allocations()
{
    return g_allocations.load(std::memory_order_relaxed);
}

// This operator new is malloc underneath, so free is its matching release.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wmismatched-new-delete"

// Every allocation of the process is counted, so a benchmark can report how
// many its operation makes.
void* operator new(std::size_t size)
{
    g_allocations.fetch_add(1, std::memory_order_relaxed);
    if (void* p = std::malloc(size == 0 ? 1 : size))
        return p;
    throw std::bad_alloc();
}

void operator delete(void* p) noexcept
{
    std::free(p);
}

void operator delete(void* p, std::size_t) noexcept
{
    std::free(p);
}

// Over-aligned requests (memory resources make them) count as well.
void* operator new(std::size_t size, std::align_val_t alignment)
{
    g_allocations.fetch_add(1, std::memory_order_relaxed);
    const std::size_t align = std::max(static_cast<std::size_t>(alignment), sizeof(void*));
    if (void* p = std::aligned_alloc(align, (size + align - 1) / align * align))
        return p;
    throw std::bad_alloc();
}

void operator delete(void* p, std::align_val_t) noexcept
{
    std::free(p);
}

void operator delete(void* p, std::size_t, std::align_val_t) noexcept
{
    std::free(p);
}
#pragma GCC diagnostic pop

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
