// Any bytes as one cEMI message: the parser never crashes and never reads
// past the message (each input is copied to exactly its size), names an error
// exactly when it fails, keeps every byte of what it decodes, and a group
// telegram it finds, sent again, carries the same service and value.
#include "FuzzSupport.h"

#include "LumBus/Cemi.h"

#include <vector>

using LumFuzz::Check;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::vector<std::uint8_t> bytes(data, data + size);
    const LumBus::CemiDecoded in = LumBus::DecodeCemi(bytes.data(), bytes.size());
    Check((in.error == LumBus::CemiError::None) == in.detail.empty());
    if (in.error != LumBus::CemiError::None)
    {
        Check(in.frame.tpdu.empty());
        return 0;
    }
    Check(LumBus::EncodeCemi(in.frame) == bytes);
    const LumBus::ReceivedTelegram received = LumBus::ToReceivedTelegram(in.frame);
    Check(received.telegram.source == in.frame.source &&
          received.telegram.destination == in.frame.destination);
    Check(received.apdu == in.frame.tpdu);
    if (!received.problem.empty())
        return 0;
    Check(in.frame.IsGroup());
    const std::vector<std::uint8_t> sent = LumBus::EncodeCemi(LumBus::MakeGroupRequest(received.telegram));
    const LumBus::CemiDecoded back = LumBus::DecodeCemi(sent.data(), sent.size());
    Check(back.error == LumBus::CemiError::None);
    const LumBus::ReceivedTelegram twice = LumBus::ToReceivedTelegram(back.frame);
    Check(twice.problem.empty() && twice.telegram.service == received.telegram.service &&
          twice.telegram.data == received.telegram.data &&
          twice.telegram.shortForm == received.telegram.shortForm);
    return 0;
}
