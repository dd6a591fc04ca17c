#pragma once
// Heap allocations made by the whole process so far; the benchmark main
// replaces the global operator new to count them.
#include <cstdint>

namespace LumBench
{
std::uint64_t Allocations();

// Reports the allocations per iteration of the benchmark loop it outlives as
// the counter "allocs" (every benchmark of a run must report it).
template <typename State> class CountAllocations
{
public:
    explicit CountAllocations(State& state) : m_state(state), m_before(Allocations()) {}
    ~CountAllocations()
    {
        const auto iterations = static_cast<double>(m_state.iterations());
        m_state.counters["allocs"] =
            iterations > 0 ? static_cast<double>(Allocations() - m_before) / iterations : 0.0;
    }
    CountAllocations(const CountAllocations&) = delete;
    CountAllocations& operator=(const CountAllocations&) = delete;

private:
    State& m_state;
    std::uint64_t m_before;
};
} // namespace LumBench
