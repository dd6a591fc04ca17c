#include "HostPort.h"

#include <charconv>

namespace LumBus
{

HostPortProblem ParseHostPort(std::string_view text, std::uint16_t defaultPort, HostPort& out)
{
    out.port = defaultPort;
    const auto colon = text.rfind(':');
    if (colon != std::string_view::npos)
    {
        const std::string_view portText = text.substr(colon + 1);
        unsigned port = 0;
        const auto [end, ec] = std::from_chars(portText.data(), portText.data() + portText.size(), port);
        if (ec != std::errc() || end != portText.data() + portText.size() || port == 0 || port > 0xFFFF)
            return HostPortProblem::BadPort;
        out.port = static_cast<std::uint16_t>(port);
        text = text.substr(0, colon);
    }
    if (text.empty())
        return HostPortProblem::NoHost;
    out.host = std::string(text);
    return HostPortProblem::None;
}

const char* HostPortProblemText(HostPortProblem problem, const char* noHost)
{
    switch (problem)
    {
    case HostPortProblem::BadPort:
        return "the port is no number of 1..65535";
    case HostPortProblem::NoHost:
        return noHost;
    case HostPortProblem::None:
        break;
    }
    return nullptr;
}

} // namespace LumBus
