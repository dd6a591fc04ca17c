#pragma once
// "host" or "host:port", as the bus URLs and options write a server.
#include <cstdint>
#include <string>
#include <string_view>

namespace LumBus
{

struct HostPort
{
    std::string host;
    std::uint16_t port = 0;
};

enum class HostPortProblem
{
    None,
    BadPort, // the part after the last ':' is no number of 1..65535
    NoHost
};

// Splits at the last ':'; without one the port is `defaultPort`. The host is
// not looked up.
HostPortProblem ParseHostPort(std::string_view text, std::uint16_t defaultPort, HostPort& out);

// Why a bus URL with this server part is refused, `noHost` when the host is
// missing; null for None.
const char* HostPortProblemText(HostPortProblem problem, const char* noHost = "no host");

} // namespace LumBus
