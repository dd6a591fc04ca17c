#pragma once
// cEMI data messages, the KNX telegram inside tunnelling requests and routing
// indications: message code, additional information (length, then type-
// length-value items), control fields 1 and 2, source, destination, NPDU
// length (the bytes after the TPCI) and the TPDU (TPCI, APCI, data), which
// is what Apdu.h decodes. Apart from any I/O so that it can be tested and
// fuzzed alone.
//
//     const LumBus::CemiDecoded in = LumBus::DecodeCemi(bytes, size);
//     if (in.error == LumBus::CemiError::None && in.frame.messageCode == LumBus::kCemiLDataInd)
//         deliver(LumBus::ToReceivedTelegram(in.frame));
#include "LumBus/GroupTelegram.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace LumBus
{

// Message codes of the data services.
constexpr std::uint8_t kCemiLDataReq = 0x11;
constexpr std::uint8_t kCemiLDataInd = 0x29;
constexpr std::uint8_t kCemiLDataCon = 0x2E;

// Control field 1: frame type (1 standard), reserved, repeat (1 do not
// repeat), broadcast (1 ordinary, 0 system), priority (2 bits), ack request,
// confirm (in L_Data.con: 1 the telegram was not sent).
constexpr std::uint8_t kControl1StandardFrame = 0x80;
constexpr std::uint8_t kControl1DoNotRepeat = 0x20;
constexpr std::uint8_t kControl1Broadcast = 0x10;
constexpr std::uint8_t kControl1PriorityMask = 0x0C;
constexpr unsigned kControl1PriorityShift = 2;
constexpr std::uint8_t kControl1AckRequest = 0x02;
constexpr std::uint8_t kControl1ConfirmError = 0x01;
// Control field 2: destination type (1 group), hop count (3 bits), extended frame format (4 bits).
constexpr std::uint8_t kControl2GroupAddress = 0x80;
constexpr std::uint8_t kControl2HopCountMask = 0x70;
constexpr unsigned kControl2HopCountShift = 4;
constexpr std::uint8_t kControl2ExtendedFormatMask = 0x0F;

// Hops a new telegram may travel through line couplers.
constexpr std::uint8_t kDefaultHopCount = 6;
// The longest NPDU of a standard frame; longer ones go in an extended frame.
constexpr std::size_t kMaxStandardNpdu = 15;
// The NPDU length is one byte.
constexpr std::size_t kMaxNpdu = 255;

enum class Priority
{
    System = 0,
    Normal = 1,
    Urgent = 2,
    Low = 3
};

struct CemiLData
{
    std::uint8_t messageCode = kCemiLDataReq;
    // The additional information as it stands (items of type, length, data).
    std::vector<std::uint8_t> additionalInfo;
    std::uint8_t control1 = 0;
    std::uint8_t control2 = 0;
    std::uint16_t source = 0;
    std::uint16_t destination = 0;
    // TPCI, APCI and data: one byte more than the NPDU length.
    std::vector<std::uint8_t> tpdu;

    bool IsGroup() const { return (control2 & kControl2GroupAddress) != 0; }
    // An L_Data.con that reports the telegram as not sent.
    bool IsNegativeConfirmation() const
    {
        return messageCode == kCemiLDataCon && (control1 & kControl1ConfirmError) != 0;
    }
    Priority GetPriority() const
    {
        return static_cast<Priority>((control1 & kControl1PriorityMask) >> kControl1PriorityShift);
    }
    unsigned HopCount() const { return (control2 & kControl2HopCountMask) >> kControl2HopCountShift; }
};

enum class CemiError
{
    None,
    Truncated,          // fewer bytes than the fields, the additional info or the NPDU length need
    UnknownMessageCode, // no L_Data.req, .ind or .con
    BadAdditionalInfo,  // an item of the additional info runs past its end
    LengthMismatch      // bytes after the TPDU the NPDU length announces
};

// "truncated", "unknown message code", "bad additional info", "length mismatch"; "" for None.
const char* CemiErrorName(CemiError error);

struct CemiDecoded
{
    CemiError error = CemiError::None;
    CemiLData frame;    // only when error is None
    std::string detail; // when error is not None: one line saying what and where
};

// Decodes one cEMI data message. Never throws, never reads past `size`.
CemiDecoded DecodeCemi(const std::uint8_t* bytes, std::size_t size);

// The bytes of `frame`. Throws std::invalid_argument when the additional info
// is longer than 255 bytes or the TPDU is empty or longer than kMaxNpdu + 1.
std::vector<std::uint8_t> EncodeCemi(const CemiLData& frame);

// An L_Data.req of a group telegram from `source` (0.0.0: the interface puts
// in its own), low priority, standard frame when the NPDU fits one, else an
// extended frame. Throws std::invalid_argument as EncodeGroupApdu does.
CemiLData MakeGroupRequest(const GroupTelegram& telegram, std::uint16_t source = 0);

// The telegram in an L_Data.ind or .con, as the knxd connection delivers it:
// addresses always; `problem` says why it is no group read, response or write
// (a destination that is an individual address included).
ReceivedTelegram ToReceivedTelegram(const CemiLData& frame);

// "L_Data.req", "L_Data.ind", "L_Data.con"; "message code 0xNN" for others.
std::string CemiMessageName(std::uint8_t messageCode);

} // namespace LumBus
