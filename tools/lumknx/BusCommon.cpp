#include "BusCommon.h"

#include <algorithm>
#include <charconv>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <iostream>

namespace LumKnx
{

std::uint16_t GroupAddressArgument(const std::string& text)
{
    const auto address = LumBus::ParseGroupAddress(text);
    if (!address)
        throw UsageError("'" + text + "' is no group address (write it as 1/2/3, 1/515 or 2563)");
    return *address;
}

DptSource::DptSource(const Arguments& args)
{
    const auto map = args.values.find("--map");
    if (map != args.values.end())
    {
        m_plan = std::move(LoadPlanOrThrow(map->second).plan);
    }
    const auto dpt = args.values.find("--dpt");
    if (dpt != args.values.end())
    {
        const auto parsed = ParseDpt(dpt->second);
        if (!parsed)
            throw UsageError("'" + dpt->second + "' is not a DPT (write it as 9.001 or 9.x)");
        m_dpt = *parsed;
    }
}

std::optional<KNXDPT> DptSource::For(std::uint16_t address) const
{
    if (m_plan)
        if (const PlanEntry* entry = m_plan->Find(address); entry != nullptr && entry->dpt)
            return entry->dpt;
    return m_dpt;
}

std::string DptSource::NameOf(std::uint16_t address) const
{
    if (!m_plan)
        return "";
    const PlanEntry* entry = m_plan->Find(address);
    return entry != nullptr ? entry->name : "";
}

BusSession::BusSession(const std::string& url, const Arguments* options) : m_signals(m_io, SIGINT, SIGTERM)
{
    // A daemon that goes away must be an error to report, not a silent death.
    std::signal(SIGPIPE, SIG_IGN);
    try
    {
        LumBus::ConnectionOptions how;
        how.reconnect = options == nullptr || !options->Has("--no-reconnect");
        // Tests of a restarted server cannot wait a minute for the heartbeat.
        if (const char* heartbeat = std::getenv("LUMKNX_KNXIP_HEARTBEAT_MS"))
        {
            unsigned long ms = 0;
            const auto [end, ec] = std::from_chars(heartbeat, heartbeat + std::strlen(heartbeat), ms);
            if (ec == std::errc() && *end == '\0' && ms >= 100 && ms <= 60000)
            {
                how.tunnelTimes.heartbeat = std::chrono::milliseconds(ms);
                how.tunnelTimes.heartbeatAnswer =
                    std::min(how.tunnelTimes.heartbeatAnswer, how.tunnelTimes.heartbeat);
            }
        }
        m_connection = LumBus::OpenGroupConnection(m_io, url, how);
    }
    catch (const LumBus::BusError& e)
    {
        if (e.GetKind() == LumBus::BusError::Kind::BadUrl)
            throw UsageError(e.what());
        throw InputError(e.what());
    }
    m_signals.async_wait(
        [this](const boost::system::error_code& ec, int signal)
        {
            if (ec)
                return;
            m_signal = signal;
            m_connection->Stop();
        });
}

void BusSession::ReportAnomalies()
{
    const std::string anomalies = m_connection->Anomalies();
    if (!anomalies.empty())
        std::cerr << "lumknx: bus: " << anomalies << '\n';
}

std::string UtcTimestamp(std::chrono::system_clock::time_point when)
{
    const auto millis =
        std::chrono::duration_cast<std::chrono::milliseconds>(when.time_since_epoch()).count();
    const std::time_t seconds = static_cast<std::time_t>(millis / 1000);
    std::tm parts{};
    ::gmtime_r(&seconds, &parts);
    char text[80]; // room for any int the format could print
    std::snprintf(text, sizeof text, "%04d-%02d-%02dT%02d:%02d:%02d.%03d", parts.tm_year + 1900,
                  parts.tm_mon + 1, parts.tm_mday, parts.tm_hour, parts.tm_min, parts.tm_sec,
                  static_cast<int>(millis % 1000));
    return text;
}

std::string JsonEscaped(const std::string& text)
{
    std::string out;
    out.reserve(text.size());
    for (const char c : text)
    {
        const auto b = static_cast<unsigned char>(c);
        if (c == '"' || c == '\\')
        {
            out.push_back('\\');
            out.push_back(c);
        }
        else if (b < 0x20 || b == 0x7F)
        {
            out += "\\u00";
            AppendHexByte(out, b, true);
        }
        else
            out.push_back(c);
    }
    return out;
}

std::vector<unsigned char> ToBytes(const std::vector<std::uint8_t>& bytes)
{
    return std::vector<unsigned char>(bytes.begin(), bytes.end());
}

} // namespace LumKnx
