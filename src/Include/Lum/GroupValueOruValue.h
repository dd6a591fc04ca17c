#pragma once

#include <Lum/Export.h>
#include <Platform/KnxStack.h>
#include <Platform/OruValue.h>

#include <boost/optional.hpp>

namespace Lum
{

// Conversion of a value to and from the group value of a DPT, given packed as
// main << 16 | sub (9.001 is 589825). The value's type must be the one the
// object model gives the main number. Failures are logged once and give none.
LUM_OM_API boost::optional<KnxStack::GroupValue> OruValueToGroupValue(const ORUVALUE& value,
                                                                      unsigned long dpt);

// Whether the value converter can decode the group value for the DPT. Builds
// and fills a converter on every call.
LUM_OM_API bool CheckGroupValue(const KnxStack::GroupValue& groupValue, unsigned long dpt);

// Decodes a checked group value. A main number that is typed but has no
// decoder here (24, 25, 28, 30, ...) gives the empty value, not none.
LUM_OM_API boost::optional<ORUVALUE> GroupValueToOruValue(const KnxStack::GroupValue& groupValue,
                                                          unsigned long dpt);

} // namespace Lum
