#pragma once
// A group connection to a bus: telegrams out (destination + service + value)
// and in (source, destination, service, value). One interface, one class per
// transport; today knxd's client socket, on Boost.Asio, single-threaded: the
// caller's io_context runs only while the caller waits in Receive or Open.
//
//     boost::asio::io_context io;
//     LumBus::KnxdConnection bus(io, "local:/tmp/eib");      // throws BusError
//     bus.Send({0, 0x0801, LumBus::GroupService::Write, {0x0C, 0x33}});
//     LumBus::ReceivedTelegram in;
//     if (bus.Receive(in, deadline) == LumBus::ReceiveStatus::Telegram) ...
#include "LumBus/Apdu.h"
#include "LumBus/GroupTelegram.h"
#include "LumBus/KnxdProtocol.h"

#include <boost/asio/generic/stream_protocol.hpp>
#include <boost/asio/io_context.hpp>

#include <array>
#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace LumBus
{

// Why a connection cannot go on. what() is one line for the user.
class BusError : public std::runtime_error
{
public:
    enum class Kind
    {
        BadUrl,      // the address of the daemon is malformed
        NoDaemon,    // nothing answers there
        Refused,     // the daemon answered with an error
        Lost,        // the connection broke while in use ("connection lost: ...")
        NotConfirmed // the bus did not take a telegram (a negative confirmation, or none)
    };
    BusError(Kind kind, const std::string& what) : std::runtime_error(what), m_kind(kind) {}
    Kind GetKind() const { return m_kind; }

private:
    Kind m_kind;
};

// Where knxd listens: "local:/path" (its -u socket) or "ip:host[:port]" (its
// -i TCP port, 6720 when not given).
struct KnxdUrl
{
    enum class Kind
    {
        Local,
        Tcp
    };
    Kind kind = Kind::Local;
    std::string path; // Local: the socket's path; Tcp: the host
    std::uint16_t port = 0;
};
constexpr std::uint16_t kKnxdDefaultPort = 6720;
// Throws BusError(BadUrl) saying what is wrong.
KnxdUrl ParseKnxdUrl(std::string_view text);

enum class ReceiveStatus
{
    Telegram,
    Timeout,
    Stopped // Stop() was called by a handler that ran while waiting
};

class GroupConnection
{
public:
    virtual ~GroupConnection() = default;
    // Sends one telegram. Throws BusError(Lost) when the connection broke.
    virtual void Send(const GroupTelegram& telegram) = 0;
    // Waits for the next telegram from another client until `deadline` (none:
    // for ever). Throws BusError(Lost, Refused) when the connection broke.
    virtual ReceiveStatus Receive(ReceivedTelegram& out,
                                  std::optional<std::chrono::steady_clock::time_point> deadline) = 0;
    // Makes the current or next Receive return Stopped; for handlers (signals)
    // that run on the same io_context.
    virtual void Stop() = 0;
    // What came in that could not be used, counted, on one line; "" when nothing.
    virtual std::string Anomalies() const { return {}; }
};

class KnxdConnection final : public GroupConnection
{
public:
    // Connects and opens a group socket within `timeout`. Throws BusError:
    // BadUrl, NoDaemon (nothing listens), Refused or Lost (no answer in time).
    KnxdConnection(boost::asio::io_context& io, const std::string& url,
                   std::chrono::milliseconds timeout = std::chrono::milliseconds(2000));

    void Send(const GroupTelegram& telegram) override;
    // Sends an APDU as it stands, for what the group services do not build
    // (tests of how peers take malformed telegrams). Throws BusError(Lost).
    void SendApdu(std::uint16_t destination, const std::vector<std::uint8_t>& apdu);
    ReceiveStatus Receive(ReceivedTelegram& out,
                          std::optional<std::chrono::steady_clock::time_point> deadline) override;
    void Stop() override { m_stopped = true; }

private:
    // The next whole message, reading as needed; none at the deadline or on Stop().
    std::optional<KnxdMessage> NextMessage(std::optional<std::chrono::steady_clock::time_point> deadline);
    void StartRead();
    void SendBytes(const std::vector<std::uint8_t>& bytes);
    [[noreturn]] void Lost(const std::string& why) const;

    boost::asio::io_context& m_io;
    boost::asio::generic::stream_protocol::socket m_socket;
    std::string m_url;
    KnxdMessageParser m_parser;
    std::array<std::uint8_t, 64 * 1024> m_readBuffer{};
    bool m_reading = false;
    // A read still pending when the connection goes finds it expired.
    std::shared_ptr<bool> m_alive = std::make_shared<bool>(true);
    bool m_stopped = false;
    std::string m_readError; // set when the read side ended
};

} // namespace LumBus
