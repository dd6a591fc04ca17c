#include "Apdu.h"

#include "NameTable.h"

#include <cstdio>
#include <stdexcept>

namespace LumBus
{

namespace
{
std::uint16_t ServiceApci(GroupService service)
{
    switch (service)
    {
    case GroupService::Read:
        return kApciRead;
    case GroupService::Response:
        return kApciResponse;
    case GroupService::Write:
        return kApciWrite;
    }
    return kApciRead;
}

std::string Hex(unsigned value, int digits)
{
    char text[8];
    std::snprintf(text, sizeof text, "%0*X", digits, value);
    return text;
}
} // namespace

const char* ServiceName(GroupService service)
{
    static constexpr const char* kNames[] = {"read", "response", "write"};
    return LumInternal::NameAt<GroupService::Write>(kNames, service, "read");
}

std::vector<std::uint8_t> EncodeGroupApdu(GroupService service, const std::vector<std::uint8_t>& data,
                                          bool shortForm)
{
    const std::uint16_t apci = ServiceApci(service);
    std::vector<std::uint8_t> apdu;
    apdu.reserve(2 + data.size());
    apdu.push_back(static_cast<std::uint8_t>(apci >> 8));
    apdu.push_back(static_cast<std::uint8_t>(apci & 0xFF));
    if (service == GroupService::Read)
        return apdu;
    if (shortForm)
    {
        if (data.size() != 1 || (data[0] & ~kShortValueMask) != 0)
            throw std::invalid_argument("a short-form value is one byte of at most 6 bits");
        apdu[1] |= data[0];
        return apdu;
    }
    if (data.size() > kMaxApduData)
        throw std::invalid_argument("a group value has at most " + std::to_string(kMaxApduData) + " bytes");
    apdu.insert(apdu.end(), data.begin(), data.end());
    return apdu;
}

DecodedApdu DecodeGroupApdu(const std::uint8_t* bytes, std::size_t size)
{
    DecodedApdu out;
    if (size < 2)
    {
        out.error = "APDU of " + std::to_string(size) + " byte(s), a group service needs 2";
        return out;
    }
    if (size > 2 + kMaxApduData)
    {
        out.error = "APDU of " + std::to_string(size) + " bytes is longer than any frame";
        return out;
    }
    if ((bytes[0] & kTpciMask) != 0)
    {
        out.error = "transport control " + Hex(bytes[0] & kTpciMask, 2) + " is no group data";
        return out;
    }
    const unsigned apci = ((bytes[0] & 0x03u) << 8 | bytes[1]) & kApciMask;
    switch (apci)
    {
    case kApciRead:
        if (size != 2)
        {
            out.error = "a read carries " + std::to_string(size - 2) + " data byte(s)";
            return out;
        }
        out.service = GroupService::Read;
        break;
    case kApciResponse:
        out.service = GroupService::Response;
        break;
    case kApciWrite:
        out.service = GroupService::Write;
        break;
    default:
        out.error = "APCI " + Hex(apci, 3) + " is no group read, response or write";
        return out;
    }
    if (out.service != GroupService::Read)
    {
        out.shortForm = size == 2;
        if (out.shortForm)
            out.data.push_back(bytes[1] & kShortValueMask);
        else
            out.data.assign(bytes + 2, bytes + size);
    }
    out.ok = true;
    return out;
}

} // namespace LumBus
