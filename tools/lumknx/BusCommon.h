#pragma once
// What lumknx's bus commands (monitor, read, write, serve) share: the DPT of each group address, and a
// connection that stops on SIGINT and SIGTERM.
#include "Cli.h"
#include "GroupAddressPlan.h"

#include "LumBus/OpenConnection.h"

#include <Platform/KnxStack.h>

#include <boost/asio/io_context.hpp>
#include <boost/asio/signal_set.hpp>

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace LumKnx
{

// A group address argument; UsageError when it is none.
std::uint16_t GroupAddressArgument(const std::string& text);

// Where each address's DPT comes from: the plan's entry first, else --dpt.
class DptSource
{
public:
    // Reads --map (InputError when it cannot be used; its warnings go to
    // stderr) and --dpt (UsageError when it is no DPT).
    explicit DptSource(const Arguments& args);

    std::optional<KNXDPT> For(std::uint16_t address) const;
    // The plan's name of the address, or "".
    std::string NameOf(std::uint16_t address) const;
    bool HasPlan() const { return m_plan.has_value(); }
    // How the plan prints group addresses; three levels without a plan.
    LumBus::GroupAddressStyle Style() const
    {
        return m_plan ? m_plan->Style() : LumBus::GroupAddressStyle::ThreeLevel;
    }

private:
    std::optional<GroupAddressPlan> m_plan;
    std::optional<KNXDPT> m_dpt;
};

// A knxd group connection whose Receive returns Stopped on SIGINT/SIGTERM.
// BusError from connecting becomes UsageError (a malformed URL) or
// InputError (no daemon): exit 2 either way, one line on stderr.
class BusSession
{
public:
    // Reads --no-reconnect from `options` when given.
    explicit BusSession(const std::string& url, const Arguments* options = nullptr);
    LumBus::GroupConnection& Connection() { return *m_connection; }
    boost::asio::io_context& Io() { return m_io; }
    // The signal that stopped the session, 0 when none did.
    int StopSignal() const { return m_signal; }
    // "lumknx: bus: ..." on standard error when something came in unusable.
    void ReportAnomalies();

private:
    boost::asio::io_context m_io;
    boost::asio::signal_set m_signals;
    std::unique_ptr<LumBus::GroupConnection> m_connection;
    int m_signal = 0;
};

// "2026-11-25T06:40:01.123" in UTC: the trace's time column.
std::string UtcTimestamp(std::chrono::system_clock::time_point when);

// `text` as the inside of a JSON string (quotes, backslashes and control
// characters escaped).
std::string JsonEscaped(const std::string& text);

std::vector<unsigned char> ToBytes(const std::vector<std::uint8_t>& bytes);

int RunMonitor(const Arguments& args);
int RunRead(const Arguments& args);
int RunWrite(const Arguments& args);
int RunServe(const Arguments& args);
int RunDiscover(const Arguments& args);

} // namespace LumKnx
