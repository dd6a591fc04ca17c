#include "Cemi.h"

#include "DecodeFailure.h"
#include "KnxAddress.h"
#include "NameTable.h"

#include <cstdio>
#include <stdexcept>

namespace LumBus
{

namespace
{
std::string Hex(unsigned value)
{
    char text[8];
    std::snprintf(text, sizeof text, "0x%02X", value);
    return text;
}

// Message code, additional-info length; then after the additional info:
// control 1, control 2, source (2), destination (2), NPDU length.
constexpr std::size_t kHeadSize = 2;
constexpr std::size_t kFieldsSize = 7;
// An additional-info item: type, length, data.
constexpr std::size_t kInfoItemHead = 2;

bool IsDataMessage(std::uint8_t code)
{
    return code == kCemiLDataReq || code == kCemiLDataInd || code == kCemiLDataCon;
}
} // namespace

const char* CemiErrorName(CemiError error)
{
    static constexpr const char* kNames[] = {"", "truncated", "unknown message code", "bad additional info",
                                             "length mismatch"};
    return LumInternal::NameAt<CemiError::LengthMismatch>(kNames, error, "");
}

CemiDecoded DecodeCemi(const std::uint8_t* bytes, std::size_t size)
{
    CemiDecoded out;
    const auto fail = [&out](CemiError error, std::string detail)
    {
        out.frame = CemiLData{};
        return Failed(out, error, std::move(detail));
    };
    if (size < kHeadSize)
        return fail(CemiError::Truncated, "cEMI message of " + std::to_string(size) + " byte(s)");
    if (!IsDataMessage(bytes[0]))
        return fail(CemiError::UnknownMessageCode, "message code " + Hex(bytes[0]) + " is no L_Data");
    CemiLData& f = out.frame;
    f.messageCode = bytes[0];
    const std::size_t infoSize = bytes[1];
    if (size - kHeadSize < infoSize + kFieldsSize)
        return fail(CemiError::Truncated, "additional info of " + std::to_string(infoSize) +
                                              " byte(s) and the fields need " +
                                              std::to_string(kHeadSize + infoSize + kFieldsSize) +
                                              " bytes, " + std::to_string(size) + " received");
    const std::uint8_t* info = bytes + kHeadSize;
    for (std::size_t at = 0; at < infoSize;)
    {
        if (infoSize - at < kInfoItemHead || info[at + 1] > infoSize - at - kInfoItemHead)
            return fail(CemiError::BadAdditionalInfo,
                        "additional info item " + Hex(info[at]) + " at offset " + std::to_string(at) +
                            " runs past the " + std::to_string(infoSize) + " byte(s) of additional info");
        at += kInfoItemHead + info[at + 1];
    }
    f.additionalInfo.assign(info, info + infoSize);
    const std::uint8_t* p = info + infoSize;
    f.control1 = p[0];
    f.control2 = p[1];
    f.source = static_cast<std::uint16_t>(p[2] << 8 | p[3]);
    f.destination = static_cast<std::uint16_t>(p[4] << 8 | p[5]);
    const std::size_t npdu = p[6];
    const std::size_t have = size - kHeadSize - infoSize - kFieldsSize;
    if (have < npdu + 1)
        return fail(CemiError::Truncated, "NPDU length " + std::to_string(npdu) + " needs " +
                                              std::to_string(npdu + 1) + " TPDU byte(s), " +
                                              std::to_string(have) + " received");
    if (have > npdu + 1)
        return fail(CemiError::LengthMismatch, "NPDU length " + std::to_string(npdu) + " but " +
                                                   std::to_string(have) + " TPDU byte(s) received");
    f.tpdu.assign(p + kFieldsSize, p + kFieldsSize + have);
    return out;
}

std::vector<std::uint8_t> EncodeCemi(const CemiLData& frame)
{
    if (frame.additionalInfo.size() > 0xFF)
        throw std::invalid_argument("cEMI additional info has at most 255 bytes");
    if (frame.tpdu.empty() || frame.tpdu.size() > kMaxNpdu + 1)
        throw std::invalid_argument("a TPDU has 1 to 256 bytes");
    std::vector<std::uint8_t> out = {frame.messageCode,
                                     static_cast<std::uint8_t>(frame.additionalInfo.size())};
    out.insert(out.end(), frame.additionalInfo.begin(), frame.additionalInfo.end());
    out.insert(out.end(), {frame.control1, frame.control2, static_cast<std::uint8_t>(frame.source >> 8),
                           static_cast<std::uint8_t>(frame.source & 0xFF),
                           static_cast<std::uint8_t>(frame.destination >> 8),
                           static_cast<std::uint8_t>(frame.destination & 0xFF),
                           static_cast<std::uint8_t>(frame.tpdu.size() - 1)});
    out.insert(out.end(), frame.tpdu.begin(), frame.tpdu.end());
    return out;
}

CemiLData MakeGroupRequest(const GroupTelegram& telegram, std::uint16_t source)
{
    CemiLData f;
    f.messageCode = kCemiLDataReq;
    f.tpdu = EncodeGroupApdu(telegram.service, telegram.data, telegram.shortForm);
    const bool standard = f.tpdu.size() - 1 <= kMaxStandardNpdu;
    f.control1 = static_cast<std::uint8_t>((standard ? kControl1StandardFrame : 0) | kControl1DoNotRepeat |
                                           kControl1Broadcast |
                                           static_cast<unsigned>(Priority::Low) << kControl1PriorityShift);
    f.control2 =
        static_cast<std::uint8_t>(kControl2GroupAddress | kDefaultHopCount << kControl2HopCountShift);
    f.source = source;
    f.destination = telegram.destination;
    return f;
}

ReceivedTelegram ToReceivedTelegram(const CemiLData& frame)
{
    if (frame.IsGroup())
        return DecodeReceivedTelegram(frame.source, frame.destination, frame.tpdu);
    ReceivedTelegram out;
    out.telegram.source = frame.source;
    out.telegram.destination = frame.destination;
    out.apdu = frame.tpdu;
    out.problem = "destination " + FormatIndividualAddress(frame.destination) + " is no group address";
    return out;
}

std::string CemiMessageName(std::uint8_t messageCode)
{
    static constexpr LumInternal::CodeName<std::uint8_t> kNames[] = {
        {kCemiLDataReq, "L_Data.req"}, {kCemiLDataInd, "L_Data.ind"}, {kCemiLDataCon, "L_Data.con"}};
    const char* name = LumInternal::NameOf(kNames, messageCode, nullptr);
    return name != nullptr ? name : "message code " + Hex(messageCode);
}

} // namespace LumBus
