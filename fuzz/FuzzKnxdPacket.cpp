// Any bytes as a stream from knxd, fed in pieces whose sizes come from the
// input itself: the parser never crashes, never holds more than one message
// plus one piece, agrees with a parse of the whole stream at once, and every
// group packet's APDU decodes or is refused without reading past its end.
#include "FuzzSupport.h"

#include "LumBus/Apdu.h"
#include "LumBus/KnxdProtocol.h"

#include <vector>

using LumFuzz::Check;

namespace
{
std::vector<LumBus::KnxdMessage> Drain(LumBus::KnxdMessageParser& parser)
{
    std::vector<LumBus::KnxdMessage> out;
    while (auto m = parser.Next())
        out.push_back(std::move(*m));
    return out;
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    LumBus::KnxdMessageParser whole;
    whole.Feed(data, size);
    const std::vector<LumBus::KnxdMessage> expected = Drain(whole);

    LumBus::KnxdMessageParser pieces;
    std::vector<LumBus::KnxdMessage> got;
    std::size_t at = 0;
    while (at < size)
    {
        const std::size_t piece = std::min<std::size_t>(1 + data[at] % 37, size - at);
        pieces.Feed(data + at, piece);
        Check(pieces.Pending() <= LumBus::kMaxKnxdMessage + 2 + piece);
        for (auto& m : Drain(pieces))
            got.push_back(std::move(m));
        at += piece;
    }
    Check(got.size() == expected.size());
    Check(pieces.Failed() == whole.Failed());
    for (std::size_t i = 0; i < got.size(); ++i)
    {
        Check(got[i].type == expected[i].type && got[i].body == expected[i].body);
        Check(got[i].body.size() + 2 <= LumBus::kMaxKnxdMessage);
        if (got[i].type != LumBus::kEibGroupPacket)
            continue;
        const auto packet = LumBus::DecodeGroupPacket(got[i].body);
        if (!packet)
            continue;
        // A copy of exactly the APDU's size, so a sanitizer sees any overread.
        const std::vector<std::uint8_t> apdu(packet->apdu);
        const LumBus::DecodedApdu decoded = LumBus::DecodeGroupApdu(apdu.data(), apdu.size());
        Check(decoded.ok == decoded.error.empty());
        if (decoded.ok && decoded.service != LumBus::GroupService::Read)
        {
            // What was decoded encodes back to the same bytes, except b1's
            // low bits in long form, which carry nothing and are let through.
            std::vector<std::uint8_t> canonical = apdu;
            if (!decoded.shortForm)
                canonical[1] &= static_cast<std::uint8_t>(~LumBus::kShortValueMask);
            Check(LumBus::EncodeGroupApdu(decoded.service, decoded.data, decoded.shortForm) == canonical);
        }
    }
    return 0;
}
