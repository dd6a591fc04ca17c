#pragma once
// A group telegram as every transport hands it over: knxd's client socket and
// the KNXnet/IP frames alike. Kept apart from any I/O so that the codecs can
// be tested and fuzzed without a socket library.
#include "LumBus/Apdu.h"

#include <cstdint>
#include <string>
#include <vector>

namespace LumBus
{

struct GroupTelegram
{
    std::uint16_t source = 0; // ignored when sending: the daemon sets it
    std::uint16_t destination = 0;
    GroupService service = GroupService::Write;
    // The value after the APCI; a value of up to 6 bits as one byte. Empty for a read.
    std::vector<std::uint8_t> data;
    // Send the one byte of `data` in b1 (values of up to 6 bits only).
    bool shortForm = false;
};

struct ReceivedTelegram
{
    GroupTelegram telegram; // addresses always; the rest only when `problem` is empty
    std::vector<std::uint8_t> apdu;
    std::string problem; // why the APDU is no group read/response/write
};

// The telegram with `apdu` from `source` to `destination`, as every
// transport delivers it: service and value when the APDU is a group read,
// response or write (DecodeGroupApdu), else `problem` says why not.
ReceivedTelegram DecodeReceivedTelegram(std::uint16_t source, std::uint16_t destination,
                                        std::vector<std::uint8_t> apdu);

} // namespace LumBus
