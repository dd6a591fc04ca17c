#include "BusCommon.h"
#include "Output.h"
#include "ValueText.h"

#include <Lum/KnxValueConverter.h>

#include <iostream>

namespace LumKnx
{

namespace
{
using Clock = std::chrono::steady_clock;
constexpr unsigned long kDefaultReadTimeoutMs = 2000;

void RequireOneDptSource(const Arguments& options)
{
    if (options.Has("--dpt") && options.Has("--map"))
        throw UsageError("give --dpt or --map, not both");
}
bool IsResponseFrom(const LumBus::ReceivedTelegram& in, std::uint16_t address)
{
    return in.problem.empty() && in.telegram.destination == address &&
           in.telegram.service == LumBus::GroupService::Response;
}
} // namespace

int RunRead(const Arguments& options)
{
    options.PositionalExactly(2,
                              "read needs a knxd URL and a group address, e.g. 'read local:/tmp/eib 1/2/3'");
    RequireOneDptSource(options);
    const std::uint16_t address = GroupAddressArgument(options.positional[1]);
    const unsigned long timeout = options.Number("--timeout", 3600000UL).value_or(kDefaultReadTimeoutMs);
    const DptSource dpts(options);
    const auto dpt = dpts.For(address);

    BusSession session(options.positional[0]);
    LumBus::ReceivedTelegram in;
    try
    {
        session.Connection().Send({0, address, LumBus::GroupService::Read, {}, false});
        const auto deadline = Clock::now() + std::chrono::milliseconds(timeout);
        for (;;)
        {
            const auto status = session.Connection().Receive(in, deadline);
            if (status == LumBus::ReceiveStatus::Stopped)
            {
                std::cerr << "lumknx: stopped before a response came\n";
                return 1;
            }
            if (status == LumBus::ReceiveStatus::Timeout)
            {
                std::cerr << "lumknx: no response from " << LumBus::FormatGroupAddress(address) << " within "
                          << timeout << " ms\n";
                return 1;
            }
            // Other traffic goes on meanwhile; only the answer counts.
            if (IsResponseFrom(in, address))
                break;
        }
    }
    catch (const LumBus::BusError& e)
    {
        if (e.GetKind() != LumBus::BusError::Kind::NotConfirmed)
            throw InputError(e.what());
        std::cerr << "lumknx: " << e.what() << '\n';
        return 1;
    }

    const auto bytes = ToBytes(in.telegram.data);
    if (!dpt)
    {
        std::cout << FormatHex(bytes) << '\n';
        return 0;
    }
    Lum::KnxValueConverter converter;
    converter.Init();
    const ValueText value = DecodeForDisplay(converter, *dpt, bytes);
    if (!value.decoded)
    {
        std::cout << FormatHex(bytes) << '\n';
        std::cerr << "lumknx: the response from " << LumBus::FormatIndividualAddress(in.telegram.source)
                  << " does not fit " << FormatDpt(*dpt) << ": " << value.reason << '\n';
        return 1;
    }
    PrintDecoded(value);
    return 0;
}

int RunWrite(const Arguments& options)
{
    options.PositionalExactly(
        3, "write needs a knxd URL, a group address and a value, e.g. 'write local:/tmp/eib "
           "1/2/3 21.5 --dpt 9.001'");
    RequireOneDptSource(options);
    const std::uint16_t address = GroupAddressArgument(options.positional[1]);
    const DptSource dpts(options);
    const auto dpt = dpts.For(address);
    if (!dpt)
        throw UsageError("no DPT for " + LumBus::FormatGroupAddress(address) +
                         (dpts.HasPlan() ? ": the plan assigns none; give --dpt" : ": give --dpt or --map"));

    Lum::KnxValueConverter converter;
    converter.Init();
    const Encoded encoded = EncodeFromText(converter, *dpt, options.positional[2]);
    if (!encoded.group)
    {
        std::cerr << "lumknx: " << encoded.reason << '\n';
        return 1;
    }
    if (!encoded.warning.empty())
        std::cerr << "lumknx: warning: " << encoded.warning << '\n';
    const KnxStack::BinaryData& raw = encoded.group->GetRawData();
    LumBus::GroupTelegram telegram;
    telegram.destination = address;
    telegram.service = LumBus::GroupService::Write;
    telegram.data.assign(raw.GetData(), raw.GetData() + raw.GetSize());
    telegram.shortForm = encoded.group->GetDefinedSize() <= LumBus::kShortValueBits;

    BusSession session(options.positional[0]);
    try
    {
        session.Connection().Send(telegram);
    }
    catch (const LumBus::BusError& e)
    {
        if (e.GetKind() != LumBus::BusError::Kind::NotConfirmed)
            throw InputError(e.what());
        std::cerr << "lumknx: " << e.what() << '\n';
        return 1;
    }
    return 0;
}

} // namespace LumKnx
