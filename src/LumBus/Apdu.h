#pragma once
// The application part of a group telegram as it travels between knxd and its
// clients: `b0 b1 [data]`. The service sits in the APCI bits spread over b0's
// low 2 bits and b1's high 2 bits; a value of up to 6 bits shares b1 (short
// form), longer values follow b1 byte by byte (long form).
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace LumBus
{

// b0's high 6 bits are the transport control field; group data leaves them 0.
constexpr std::uint8_t kTpciMask = 0xFC;
// APCI values of the three group services, after masking with kApciMask.
constexpr std::uint16_t kApciRead = 0x000;
constexpr std::uint16_t kApciResponse = 0x040;
constexpr std::uint16_t kApciWrite = 0x080;
// ((b0 & 3) << 8 | b1) & kApciMask is the service of a group APDU.
constexpr std::uint16_t kApciMask = 0x3C0;
// b1's low bits that carry a short-form value.
constexpr std::uint8_t kShortValueMask = 0x3F;
// The widest value that fits the short form.
constexpr unsigned kShortValueBits = 6;
// An APDU never carries more than this after b1 (the longest extended frame).
constexpr std::size_t kMaxApduData = 254;

enum class GroupService
{
    Read,
    Response,
    Write
};

// "read", "response", "write".
const char* ServiceName(GroupService service);

// Builds the APDU of a group service. With `shortForm` the value's single
// byte (at most kShortValueMask) goes into b1; otherwise `data` follows b1.
// A read carries no data: `data` is ignored. Throws std::invalid_argument when
// a short-form value is wider than 6 bits or `data` is longer than kMaxApduData.
std::vector<std::uint8_t> EncodeGroupApdu(GroupService service, const std::vector<std::uint8_t>& data,
                                          bool shortForm);

struct DecodedApdu
{
    bool ok = false;
    GroupService service = GroupService::Read;
    // The value as DecodeForDisplay takes it: a short-form value as one byte
    // (b1's low 6 bits); empty for a read.
    std::vector<std::uint8_t> data;
    bool shortForm = false;
    std::string error; // when !ok: one line saying why
};

// Decodes an APDU of `size` bytes at `bytes`. Anything that is no group
// read, response or write (too short, another APCI, a transport control
// bit set, data on a read, too long) yields !ok with the reason; never throws
// and never reads past `size`.
DecodedApdu DecodeGroupApdu(const std::uint8_t* bytes, std::size_t size);

} // namespace LumBus
