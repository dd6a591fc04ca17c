#pragma once

#include <Lum/Export.h>
#include <Platform/BoundedInt.h>
#include <Platform/OruValue.h>

#include <boost/optional.hpp>

#include <cstdint>
#include <string>

namespace Lum
{

struct LogicalDeviceIdTag
{
};

// One of the two logical KNX devices of the controller.
using LogicalDeviceId = BoundedInt<int, 1, 2, LogicalDeviceIdTag>;

enum class ParameterType : std::uint32_t
{
    Ip = 0,
    Number = 1,
    Text = 2,
};

// Object-model identifiers: where each object of the device lives in the
// 32-bit identifier space, and what an identifier denotes. Identifiers are
// unsigned long for the callers, but every computation is done modulo 2^32 so
// that 64-bit hosts give the same answers as the 32-bit target.
//
// Per logical device ld the block 100000*ld .. 100000*ld+99999 holds
//   +20..+24          app-control channel, state, event, alive heartbeat, app debug
//   +100..+8289       CO channels (even) and values (odd), CO n at +98+2n
//   +60000+10000*t+2n parameter n of type t (channel even, value odd)
namespace KnxPelMapping
{

LUM_OM_API unsigned long GetDeviceObjModelId();
LUM_OM_API unsigned long GetKnxDeviceObjModelId();
LUM_OM_API unsigned long GetLogicalKnxDeviceObjModelId(LogicalDeviceId ld);

LUM_OM_API unsigned long GetAppHostAppControlChannelObjModelId(LogicalDeviceId ld);
LUM_OM_API unsigned long GetAppHostAppControlStateObjModelId(LogicalDeviceId ld);
LUM_OM_API unsigned long GetAppHostAppControlEventObjModelId(LogicalDeviceId ld);
LUM_OM_API unsigned long GetAppHostAppControlAliveObjModelId(LogicalDeviceId ld);
LUM_OM_API unsigned long GetAppHostAppControlAppDebugObjModelId(LogicalDeviceId ld);

// 100 for Ip, 64 for Number, 500 for Text, 0 for anything else.
LUM_OM_API unsigned long GetMaxParametersOfType(ParameterType type);

// None when n exceeds the maximum of the type. n = 0 is accepted although
// IsParameterChannel does not recognise the result.
LUM_OM_API boost::optional<unsigned long> GetParameterChannelObjModelId(unsigned short n, LogicalDeviceId ld,
                                                                        ParameterType type);
LUM_OM_API boost::optional<unsigned long> GetParameterValueObjModelId(unsigned short n, LogicalDeviceId ld,
                                                                      ParameterType type);
LUM_OM_API boost::optional<unsigned long> GetParameterValueObjModelId(unsigned long channelId);
LUM_OM_API boost::optional<unsigned long> GetIpParameterValueObjModelId(unsigned short n, LogicalDeviceId ld);
LUM_OM_API boost::optional<unsigned long> GetNumberParameterValueObjModelId(unsigned short n,
                                                                            LogicalDeviceId ld);
LUM_OM_API boost::optional<unsigned long> GetTextParameterValueObjModelId(unsigned short n,
                                                                          LogicalDeviceId ld);

// None for n >= 4096; CO 0 yields a channel that IsCoChannel rejects.
LUM_OM_API boost::optional<unsigned long> GetCoChannelObjModelId(unsigned short n, LogicalDeviceId ld);
LUM_OM_API boost::optional<unsigned long> GetCoValueObjModelId(unsigned long channelId);
LUM_OM_API boost::optional<unsigned long> GetCoValueObjModelId(unsigned short n, LogicalDeviceId ld);

// True for every identifier from 100000 on; the device number is not tested.
LUM_OM_API bool IsAnyLogicalKnxDeviceId(unsigned long id);
LUM_OM_API bool IsCoChannel(unsigned long id);
LUM_OM_API bool IsCoValue(unsigned long id);
LUM_OM_API bool IsAppHostAppControlState(unsigned long id, LogicalDeviceId ld);
LUM_OM_API bool IsAppHostAppControlEvent(unsigned long id, LogicalDeviceId ld);
LUM_OM_API bool IsAppHostAppControlAliveHeartbeat(unsigned long id, LogicalDeviceId ld);
LUM_OM_API bool IsAppHostAppControlAppDebug(unsigned long id, LogicalDeviceId ld);
// Loose on purpose: accepts parameter values as well as channels, does not
// test the logical device, and accepts some identifiers below the parameter
// area of a block (100002, the CO channel 100100).
LUM_OM_API bool IsParameterChannel(unsigned long id);

LUM_OM_API boost::optional<LogicalDeviceId> GetLogicalDeviceIdFromObject(unsigned long id);
LUM_OM_API boost::optional<ParameterType> GetParameterTypeFromObjModelId(unsigned long id,
                                                                         LogicalDeviceId ld);
// Eight bits wide: text parameters 256..500 come back modulo 256.
LUM_OM_API boost::optional<unsigned char> GetParameterNumberFromObjModelId(unsigned long id,
                                                                           LogicalDeviceId ld);
// Only CO value identifiers (odd) are accepted. ld must be that of the
// identifier's own block: the remainder is taken modulo 100000*ld.
LUM_OM_API boost::optional<unsigned short> GetCoNumberFromObjModelId(unsigned long id, LogicalDeviceId ld);

// Value type and default value of the objects of a DPT. A packed DPT holds
// the main number in its upper and the sub number in its lower 16 bits.

// Name of the value type of a main number; "Empty" when it is not supported.
LUM_OM_API std::string GetIvtFromMainType(unsigned long mainNumber);
// Name of the value subtype of a main number; "Generic" when it is not supported.
LUM_OM_API std::string GetIstFromMainType(unsigned long mainNumber);
// Value type of a packed DPT; 1 (the empty type) when the main number is not supported.
LUM_OM_API OruValueType GetIvtFromDpt(unsigned int dpt);
// The serialized default value of a packed DPT (flag is handed to
// ORUVALUE::Serialize); none when the main number is not supported.
LUM_OM_API boost::optional<std::string> GetDefaultValueFromDpt(unsigned long dpt, bool flag);

} // namespace KnxPelMapping
} // namespace Lum
