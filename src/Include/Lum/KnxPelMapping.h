#pragma once

/// @file
/// @brief Object-model identifiers of the controller's objects, and the value types of DPTs.

#include <Lum/Export.h>
#include <Platform/BoundedInt.h>
#include <Platform/OruValue.h>

#include <boost/optional.hpp>

#include <cstdint>
#include <string>

namespace Lum
{

/// @brief The tag that makes LogicalDeviceId a type of its own.
struct LogicalDeviceIdTag
{
};

/// @brief One of the two logical KNX devices of the controller.
using LogicalDeviceId = BoundedInt<int, 1, 2, LogicalDeviceIdTag>;

/// @brief The kind of an app parameter.
enum class ParameterType : std::uint32_t
{
    Ip = 0,     ///< An IP address parameter (up to 100).
    Number = 1, ///< A number parameter (up to 64).
    Text = 2,   ///< A text parameter (up to 500).
};

/// @brief Object-model identifiers.
///
/// Object-model identifiers: where each object of the device lives in the
/// 32-bit identifier space, and what an identifier denotes. Identifiers are
/// unsigned long for the callers, but every computation is done modulo 2^32 so
/// that 64-bit hosts give the same answers as the 32-bit target.
///
/// Per logical device ld the block 100000*ld .. 100000*ld+99999 holds
/// @verbatim
///   +20..+24          app-control channel, state, event, alive heartbeat, app debug
///   +100..+8289       CO channels (even) and values (odd), CO n at +98+2n
///   +60000+10000*t+2n parameter n of type t (channel even, value odd)
/// @endverbatim
///
/// Every function is pure: no state, no logging, no exceptions; safe from any thread.
namespace KnxPelMapping
{

/// @brief The identifier of the device (1000).
LUM_OM_API unsigned long GetDeviceObjModelId();
/// @brief The identifier of the KNX device; the same as GetDeviceObjModelId().
LUM_OM_API unsigned long GetKnxDeviceObjModelId();
/// @brief The identifier of logical device @p ld: the start of its block, 100000*ld.
LUM_OM_API unsigned long GetLogicalKnxDeviceObjModelId(LogicalDeviceId ld);

/// @brief The app-control channel of @p ld (+20).
LUM_OM_API unsigned long GetAppHostAppControlChannelObjModelId(LogicalDeviceId ld);
/// @brief The app-control state of @p ld (+21).
LUM_OM_API unsigned long GetAppHostAppControlStateObjModelId(LogicalDeviceId ld);
/// @brief The app-control event of @p ld (+22).
LUM_OM_API unsigned long GetAppHostAppControlEventObjModelId(LogicalDeviceId ld);
/// @brief The app-control alive heartbeat of @p ld (+23).
LUM_OM_API unsigned long GetAppHostAppControlAliveObjModelId(LogicalDeviceId ld);
/// @brief The app-control app debug switch of @p ld (+24).
LUM_OM_API unsigned long GetAppHostAppControlAppDebugObjModelId(LogicalDeviceId ld);

/// @brief The number of parameters of a type.
///
/// 100 for Ip, 64 for Number, 500 for Text, 0 for anything else.
LUM_OM_API unsigned long GetMaxParametersOfType(ParameterType type);

/// @brief The channel of parameter @p n of @p type in @p ld.
///
/// None when n exceeds the maximum of the type. n = 0 is accepted although
/// IsParameterChannel does not recognise the result.
LUM_OM_API boost::optional<unsigned long> GetParameterChannelObjModelId(unsigned short n, LogicalDeviceId ld,
                                                                        ParameterType type);
/// @brief The value of parameter @p n of @p type in @p ld (its channel + 1); none as for the channel.
LUM_OM_API boost::optional<unsigned long> GetParameterValueObjModelId(unsigned short n, LogicalDeviceId ld,
                                                                      ParameterType type);
/// @brief The value belonging to a parameter channel; none when IsParameterChannel() rejects it.
LUM_OM_API boost::optional<unsigned long> GetParameterValueObjModelId(unsigned long channelId);
/// @brief The value of IP parameter @p n; none above 100.
LUM_OM_API boost::optional<unsigned long> GetIpParameterValueObjModelId(unsigned short n, LogicalDeviceId ld);
/// @brief The value of number parameter @p n; none above 64.
LUM_OM_API boost::optional<unsigned long> GetNumberParameterValueObjModelId(unsigned short n,
                                                                            LogicalDeviceId ld);
/// @brief The value of text parameter @p n; none above 500.
LUM_OM_API boost::optional<unsigned long> GetTextParameterValueObjModelId(unsigned short n,
                                                                          LogicalDeviceId ld);

/// @brief The channel of communication object (CO) @p n in @p ld.
///
/// None for n >= 4096; CO 0 yields a channel that IsCoChannel rejects.
LUM_OM_API boost::optional<unsigned long> GetCoChannelObjModelId(unsigned short n, LogicalDeviceId ld);
/// @brief The value belonging to a CO channel (channel + 1); none when IsCoChannel() rejects it.
LUM_OM_API boost::optional<unsigned long> GetCoValueObjModelId(unsigned long channelId);
/// @brief The value of CO @p n in @p ld; none for n >= 4096 and for CO 0.
LUM_OM_API boost::optional<unsigned long> GetCoValueObjModelId(unsigned short n, LogicalDeviceId ld);

/// @brief Whether @p id lies in a logical device's block.
///
/// True for every identifier from 100000 on; the device number is not tested.
LUM_OM_API bool IsAnyLogicalKnxDeviceId(unsigned long id);
/// @brief Whether @p id is a CO channel (even, +100..+8289) of any logical device.
LUM_OM_API bool IsCoChannel(unsigned long id);
/// @brief Whether @p id is a CO value (odd, the identifier after a CO channel).
LUM_OM_API bool IsCoValue(unsigned long id);
/// @brief Whether @p id is the app-control state of @p ld.
LUM_OM_API bool IsAppHostAppControlState(unsigned long id, LogicalDeviceId ld);
/// @brief Whether @p id is the app-control event of @p ld.
LUM_OM_API bool IsAppHostAppControlEvent(unsigned long id, LogicalDeviceId ld);
/// @brief Whether @p id is the app-control alive heartbeat of @p ld.
LUM_OM_API bool IsAppHostAppControlAliveHeartbeat(unsigned long id, LogicalDeviceId ld);
/// @brief Whether @p id is the app-control app debug switch of @p ld.
LUM_OM_API bool IsAppHostAppControlAppDebug(unsigned long id, LogicalDeviceId ld);
/// @brief Whether @p id looks like a parameter identifier.
///
/// Loose on purpose: accepts parameter values as well as channels, does not
/// test the logical device, and accepts some identifiers below the parameter
/// area of a block (100002, the CO channel 100100).
LUM_OM_API bool IsParameterChannel(unsigned long id);

/// @brief The logical device whose block holds @p id; none outside both blocks.
LUM_OM_API boost::optional<LogicalDeviceId> GetLogicalDeviceIdFromObject(unsigned long id);
/// @brief The parameter type of @p id in @p ld; none when IsParameterChannel() rejects it.
LUM_OM_API boost::optional<ParameterType> GetParameterTypeFromObjModelId(unsigned long id,
                                                                         LogicalDeviceId ld);
/// @brief The parameter number of @p id in @p ld; none when it is no parameter.
///
/// Eight bits wide: text parameters 256..500 come back modulo 256.
LUM_OM_API boost::optional<unsigned char> GetParameterNumberFromObjModelId(unsigned long id,
                                                                           LogicalDeviceId ld);
/// @brief The CO number of a CO value identifier.
///
/// Only CO value identifiers (odd) are accepted. ld must be that of the
/// identifier's own block: the remainder is taken modulo 100000*ld.
LUM_OM_API boost::optional<unsigned short> GetCoNumberFromObjModelId(unsigned long id, LogicalDeviceId ld);

// Value type and default value of the objects of a DPT. A packed DPT holds
// the main number in its upper and the sub number in its lower 16 bits.

/// @brief The value type's name of a main number.
///
/// Name of the value type of a main number; "Empty" when it is not supported.
LUM_OM_API std::string GetIvtFromMainType(unsigned long mainNumber);
/// @brief The value subtype's name of a main number.
///
/// Name of the value subtype of a main number; "Generic" when it is not supported.
LUM_OM_API std::string GetIstFromMainType(unsigned long mainNumber);
/// @brief The value type of a packed DPT (main in the upper, sub in the lower 16 bits).
///
/// Value type of a packed DPT; 1 (the empty type) when the main number is not supported.
LUM_OM_API OruValueType GetIvtFromDpt(unsigned int dpt);
/// @brief The default value of a packed DPT, serialised.
///
/// The serialized default value of a packed DPT (flag is handed to
/// ORUVALUE::Serialize); none when the main number is not supported.
/// The default of 6.020 is the byte 1 (a status needs a mode).
LUM_OM_API boost::optional<std::string> GetDefaultValueFromDpt(unsigned long dpt, bool flag);

} // namespace KnxPelMapping
} // namespace Lum
