// Any bytes as one UDP datagram: the frame parser never crashes and never
// reads past the datagram (each input is copied to exactly its size), names
// an error exactly when it fails, and what it decodes encodes to a frame that
// decodes again to the same bytes. The cEMI message inside tunnelling and
// routing frames goes through the cEMI parser as well.
#include "FuzzSupport.h"

#include "LumBus/Cemi.h"
#include "LumBus/KnxIpFrame.h"

#include <vector>

using LumFuzz::Check;

namespace
{
void CheckCemi(const std::vector<std::uint8_t>& cemi)
{
    const std::vector<std::uint8_t> copy(cemi);
    const LumBus::CemiDecoded in = LumBus::DecodeCemi(copy.data(), copy.size());
    Check((in.error == LumBus::CemiError::None) == in.detail.empty());
    if (in.error == LumBus::CemiError::None)
        Check(LumBus::EncodeCemi(in.frame) == copy);
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::vector<std::uint8_t> datagram(data, data + size);
    const LumBus::KnxIpFrame frame = LumBus::DecodeKnxIpFrame(datagram.data(), datagram.size());
    Check((frame.error == LumBus::KnxIpError::None) == frame.detail.empty());
    if (frame.error != LumBus::KnxIpError::None)
    {
        Check(*LumBus::KnxIpErrorName(frame.error) != '\0');
        return 0;
    }
    Check(LumBus::KnxIpServiceType(frame.body) == frame.service);
    const std::vector<std::uint8_t> encoded = LumBus::EncodeKnxIpFrame(frame.body);
    // Skipped description blocks, reserved bytes and what follows a refusal
    // are not kept; nothing else is dropped and nothing added.
    Check(encoded.size() <= datagram.size());
    const LumBus::KnxIpFrame again = LumBus::DecodeKnxIpFrame(encoded.data(), encoded.size());
    Check(again.error == LumBus::KnxIpError::None);
    Check(LumBus::EncodeKnxIpFrame(again.body) == encoded);
    if (const auto* t = std::get_if<LumBus::TunnellingRequest>(&frame.body))
        CheckCemi(t->cemi);
    if (const auto* r = std::get_if<LumBus::RoutingIndication>(&frame.body))
        CheckCemi(r->cemi);
    return 0;
}
