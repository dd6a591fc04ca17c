#include "GroupTelegram.h"

namespace LumBus
{

ReceivedTelegram DecodeReceivedTelegram(std::uint16_t source, std::uint16_t destination,
                                        std::vector<std::uint8_t> apdu)
{
    ReceivedTelegram out;
    out.telegram.source = source;
    out.telegram.destination = destination;
    out.apdu = std::move(apdu);
    DecodedApdu decoded = DecodeGroupApdu(out.apdu.data(), out.apdu.size());
    out.problem = std::move(decoded.error);
    out.telegram.service = decoded.service;
    out.telegram.data = std::move(decoded.data);
    out.telegram.shortForm = decoded.shortForm;
    return out;
}

} // namespace LumBus
