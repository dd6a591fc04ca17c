#pragma once
// The loop every blocking call of the bus connections waits in.
#include <boost/asio/io_context.hpp>

#include <chrono>

namespace LumBus
{

// Runs handlers until `done` or the deadline; false at the deadline.
template <typename Done>
bool RunUntil(boost::asio::io_context& io, std::chrono::steady_clock::time_point deadline, Done done)
{
    while (!done())
    {
        if (std::chrono::steady_clock::now() >= deadline)
            return false;
        if (io.stopped())
            io.restart();
        io.run_one_until(deadline);
    }
    return true;
}

} // namespace LumBus
