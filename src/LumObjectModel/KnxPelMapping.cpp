#include <Lum/KnxPelMapping.h>

#include <array>
#include <cstdint>

namespace Lum
{
namespace KnxPelMapping
{

namespace
{
// Identifiers are 32-bit on the target. Everything below works on Id so that a
// 64-bit unsigned long cannot change a result: subtractions must wrap at 2^32
// (a remainder below the subtracted base turns huge and fails the bound that
// follows), products must wrap likewise.
using Id = std::uint32_t;

constexpr Id kDeviceId = 1000;
constexpr Id kLogicalDeviceStride = 100000;
constexpr Id kAppControlChannelOffset = 20;
constexpr Id kCoChannelOffset = 98; // CO n sits at +98+2n, so CO 1 at +100
constexpr Id kFirstCoChannelOffset = 100;
constexpr Id kMaxCoNumber = 4095;
constexpr Id kCoAreaSpan = 8189; // channel offsets 100..8289
constexpr Id kParameterAreaOffset = 60000;
constexpr Id kParameterTypeStride = 10000;
constexpr Id kMaxTextParameters = 500;

constexpr std::array<Id, 3> kMaxParametersOfType{{100, 64, 500}};

static_assert(Id{0} - Id{1} == Id{4294967295u}, "identifier arithmetic must wrap at 32 bits");

constexpr Id ToId(unsigned long id)
{
    return static_cast<Id>(id);
}

Id BlockBase(LogicalDeviceId ld)
{
    return static_cast<Id>(ld.Get()) * kLogicalDeviceStride;
}

constexpr Id TypeNumber(ParameterType type)
{
    return static_cast<Id>(type);
}

Id MaxParameters(Id type)
{
    return type < kMaxParametersOfType.size() ? kMaxParametersOfType[type] : 0;
}

boost::optional<unsigned long> Some(Id id)
{
    return static_cast<unsigned long>(id);
}

Id AppControlChannel(LogicalDeviceId ld)
{
    return BlockBase(ld) + kAppControlChannelOffset;
}

bool IsCoChannelId(Id id)
{
    return id > kLogicalDeviceStride - 1 &&
           (id % kLogicalDeviceStride) - kFirstCoChannelOffset <= kCoAreaSpan && id % 2 == 0;
}
} // namespace

unsigned long GetDeviceObjModelId()
{
    return kDeviceId;
}

unsigned long GetKnxDeviceObjModelId()
{
    return kDeviceId;
}

unsigned long GetLogicalKnxDeviceObjModelId(LogicalDeviceId ld)
{
    return BlockBase(ld);
}

unsigned long GetAppHostAppControlChannelObjModelId(LogicalDeviceId ld)
{
    return AppControlChannel(ld);
}

unsigned long GetAppHostAppControlStateObjModelId(LogicalDeviceId ld)
{
    return AppControlChannel(ld) + 1;
}

unsigned long GetAppHostAppControlEventObjModelId(LogicalDeviceId ld)
{
    return AppControlChannel(ld) + 2;
}

unsigned long GetAppHostAppControlAliveObjModelId(LogicalDeviceId ld)
{
    return AppControlChannel(ld) + 3;
}

unsigned long GetAppHostAppControlAppDebugObjModelId(LogicalDeviceId ld)
{
    return AppControlChannel(ld) + 4;
}

unsigned long GetMaxParametersOfType(ParameterType type)
{
    return MaxParameters(TypeNumber(type));
}

boost::optional<unsigned long> GetParameterChannelObjModelId(unsigned short n, LogicalDeviceId ld,
                                                             ParameterType type)
{
    const Id t = TypeNumber(type);
    if (n > MaxParameters(t))
        return boost::none;
    return Some(BlockBase(ld) + kParameterAreaOffset + kParameterTypeStride * t + Id{2} * n);
}

boost::optional<unsigned long> GetParameterValueObjModelId(unsigned short n, LogicalDeviceId ld,
                                                           ParameterType type)
{
    const auto channel = GetParameterChannelObjModelId(n, ld, type);
    if (!channel)
        return boost::none;
    return Some(ToId(*channel) + 1);
}

boost::optional<unsigned long> GetParameterValueObjModelId(unsigned long channelId)
{
    if (!IsParameterChannel(channelId))
        return boost::none;
    return Some(ToId(channelId) + 1);
}

boost::optional<unsigned long> GetIpParameterValueObjModelId(unsigned short n, LogicalDeviceId ld)
{
    if (n > GetMaxParametersOfType(ParameterType::Ip))
        return boost::none;
    return GetParameterValueObjModelId(n, ld, ParameterType::Ip);
}

boost::optional<unsigned long> GetNumberParameterValueObjModelId(unsigned short n, LogicalDeviceId ld)
{
    if (n > GetMaxParametersOfType(ParameterType::Number))
        return boost::none;
    return GetParameterValueObjModelId(n, ld, ParameterType::Number);
}

boost::optional<unsigned long> GetTextParameterValueObjModelId(unsigned short n, LogicalDeviceId ld)
{
    if (n > kMaxTextParameters)
        return boost::none;
    return GetParameterValueObjModelId(n, ld, ParameterType::Text);
}

boost::optional<unsigned long> GetCoChannelObjModelId(unsigned short n, LogicalDeviceId ld)
{
    if (n > kMaxCoNumber)
        return boost::none;
    return Some(BlockBase(ld) + kCoChannelOffset + Id{2} * n);
}

boost::optional<unsigned long> GetCoValueObjModelId(unsigned long channelId)
{
    if (!IsCoChannel(channelId))
        return boost::none;
    return Some(ToId(channelId) + 1);
}

boost::optional<unsigned long> GetCoValueObjModelId(unsigned short n, LogicalDeviceId ld)
{
    const auto channel = GetCoChannelObjModelId(n, ld);
    if (!channel)
        return boost::none;
    return GetCoValueObjModelId(*channel);
}

bool IsAnyLogicalKnxDeviceId(unsigned long id)
{
    return ToId(id) > kLogicalDeviceStride - 1;
}

bool IsCoChannel(unsigned long id)
{
    return IsCoChannelId(ToId(id));
}

bool IsCoValue(unsigned long id)
{
    const Id value = ToId(id);
    return value != 0 && IsCoChannelId(value - 1);
}

bool IsAppHostAppControlState(unsigned long id, LogicalDeviceId ld)
{
    return ToId(id) == AppControlChannel(ld) + 1;
}

bool IsAppHostAppControlEvent(unsigned long id, LogicalDeviceId ld)
{
    return ToId(id) == AppControlChannel(ld) + 2;
}

bool IsAppHostAppControlAliveHeartbeat(unsigned long id, LogicalDeviceId ld)
{
    return ToId(id) == AppControlChannel(ld) + 3;
}

bool IsAppHostAppControlAppDebug(unsigned long id, LogicalDeviceId ld)
{
    return ToId(id) == AppControlChannel(ld) + 4;
}

bool IsParameterChannel(unsigned long id)
{
    const Id value = ToId(id);
    // Only the device blocks are searched, not the parameter areas within
    // them: the remainder is taken modulo 60000 without testing that it
    // reached 60000, so 100002 and the CO channel 100100 pass as well. Callers
    // rely on this looseness; keep it.
    if (value < kLogicalDeviceStride)
        return false;
    Id r = (value % kLogicalDeviceStride) % kParameterAreaOffset;
    if (r < 2)
        return false;
    const Id t = (r - 2) / kParameterTypeStride;
    if (t > 2)
        return false;
    if (t != 0)
        r %= kParameterTypeStride * t;
    return (r >> 1) <= MaxParameters(t);
}

boost::optional<LogicalDeviceId> GetLogicalDeviceIdFromObject(unsigned long id)
{
    return LogicalDeviceId::Create(static_cast<int>(ToId(id) / kLogicalDeviceStride));
}

boost::optional<ParameterType> GetParameterTypeFromObjModelId(unsigned long id, LogicalDeviceId ld)
{
    if (!IsParameterChannel(id))
        return boost::none;
    const Id t = (ToId(id) % (BlockBase(ld) + kParameterAreaOffset)) / kParameterTypeStride;
    if (t > 2)
        return boost::none;
    return static_cast<ParameterType>(t);
}

boost::optional<unsigned char> GetParameterNumberFromObjModelId(unsigned long id, LogicalDeviceId ld)
{
    const auto type = GetParameterTypeFromObjModelId(id, ld);
    if (!type)
        return boost::none;
    const Id base = BlockBase(ld) + kParameterAreaOffset + kParameterTypeStride * TypeNumber(*type);
    // The result is eight bits wide by interface: numbers above 255 wrap.
    return static_cast<unsigned char>((ToId(id) % base) >> 1);
}

boost::optional<unsigned short> GetCoNumberFromObjModelId(unsigned long id, LogicalDeviceId ld)
{
    const Id value = ToId(id);
    if (value % 2 == 0)
        return boost::none;
    if (!IsCoChannelId(value & ~Id{1}))
        return boost::none;
    return static_cast<unsigned short>((((value % BlockBase(ld)) - kFirstCoChannelOffset) >> 1) + 1);
}

} // namespace KnxPelMapping
} // namespace Lum
