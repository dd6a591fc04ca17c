// Sends COUNT group writes through one connection and says how long that
// took: with a tunnel each write waits for its ack and confirmation, so the
// rate is the tunnel's; a receiver on the other side counts what arrived.
//
//     LumBusSendBench URL COUNT [FIRST_GROUP_ADDRESS]
#include "LumBus/KnxAddress.h"
#include "LumBus/OpenConnection.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>

int main(int argc, char** argv)
{
    if (argc < 3)
    {
        std::fprintf(stderr, "usage: LumBusSendBench URL COUNT [FIRST_GROUP_ADDRESS]\n");
        return 2;
    }
    const unsigned long count = std::strtoul(argv[2], nullptr, 10);
    const auto first = LumBus::ParseGroupAddress(argc > 3 ? argv[3] : "1/7/0");
    if (count == 0 || count > 1000000 || !first)
    {
        std::fprintf(stderr, "LumBusSendBench: COUNT is 1..1000000, then a group address\n");
        return 2;
    }
    try
    {
        boost::asio::io_context io;
        const auto connection = LumBus::OpenGroupConnection(io, argv[1]);
        const auto start = std::chrono::steady_clock::now();
        for (unsigned long i = 0; i < count; ++i)
        {
            // A 2-byte value that counts, so that a receiver can tell each one apart.
            connection->Send({0, static_cast<std::uint16_t>(*first + i % 256), LumBus::GroupService::Write,
                              {static_cast<std::uint8_t>(i >> 8), static_cast<std::uint8_t>(i)}});
        }
        const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
        std::printf("sent %lu telegrams through %s in %.3f s: %.0f per second\n", count, argv[1], took.count(),
                    static_cast<double>(count) / took.count());
        const std::string anomalies = connection->Anomalies();
        if (!anomalies.empty())
            std::printf("anomalies: %s\n", anomalies.c_str());
    }
    catch (const std::exception& e)
    {
        std::fprintf(stderr, "LumBusSendBench: %s\n", e.what());
        return 1;
    }
    return 0;
}
