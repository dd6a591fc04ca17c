#pragma once

/// @file
/// @brief Conversions by packed DPT number, with the object model's value types.

#include <Lum/Export.h>
#include <Platform/KnxStack.h>
#include <Platform/OruValue.h>

#include <boost/optional.hpp>

namespace Lum
{

/// @brief The group value of @p value for a packed DPT.
///
/// Conversion of a value to and from the group value of a DPT, given packed as
/// main << 16 | sub (9.001 is 589825). The value's type must be the one the
/// object model gives the main number. Failures are logged once and give none.
/// The line is ERROR (a type mismatch, a value out of range, an invalid time).
/// Never throws; safe from any thread.
LUM_OM_API boost::optional<KnxStack::GroupValue> OruValueToGroupValue(const ORUVALUE& value,
                                                                      unsigned long dpt);

/// @brief Whether the group value decodes for a packed DPT.
///
/// Whether the value converter can decode the group value for the DPT. Builds
/// and fills a converter on every call. What the converter logs on a failure is
/// logged (ERROR); a DPT the converter does not know passes, after the converter's
/// ERROR lines "No Entry found ..." and "Assume validity and accept value!". Never throws;
/// safe from any thread.
LUM_OM_API bool CheckGroupValue(const KnxStack::GroupValue& groupValue, unsigned long dpt);

/// @brief The value of a group value for a packed DPT.
///
/// Decodes a checked group value. A main number that is typed but has no
/// decoder here (24, 25, 28, 30, ...) gives the empty value, not none.
/// Checks with CheckGroupValue() first. None, after ERROR lines, for a DPT without a
/// value type or a group value that does not decode; an invalid date or time from the
/// bus logs WARN; a decode that takes 100 ms or more logs INFO. Never throws; safe from
/// any thread.
LUM_OM_API boost::optional<ORUVALUE> GroupValueToOruValue(const KnxStack::GroupValue& groupValue,
                                                          unsigned long dpt);

} // namespace Lum
