#pragma once

#include <Platform/KnxStack.h>
#include <Platform/Logging.h>
#include <Platform/OruValue.h>

#include <ostream>

namespace Lum
{
namespace Detail
{

// Prints a DPT as main "." sub in plain decimal (5.006 prints as 5.6).
struct DptText
{
    const KNXDPT& dpt;
};

inline std::ostream& operator<<(std::ostream& os, const DptText& d)
{
    return os << static_cast<unsigned>(d.dpt.mainNumber) << '.' << static_cast<unsigned>(d.dpt.subNumber);
}

} // namespace Detail
} // namespace Lum

// Entry traces of the converters. Macros, so that the line names the
// converter's own function; formatted only when DEBUG is enabled.
#define LUM_TRACE_TO_KNX(dpt, value)                                                                         \
    LUM_LOG_DEBUG("DPT is used. DPT = " << ::Lum::Detail::DptText{dpt} << " ivt="                            \
                                        << static_cast<int>((value).ivt) << " val=" << (value).ToString())

#define LUM_TRACE_FROM_KNX(dpt, group)                                                                       \
    LUM_LOG_DEBUG("DPT is used. DPT = " << ::Lum::Detail::DptText{dpt}                                       \
                                        << " grp.size=" << (group).GetDefinedSize()                          \
                                        << " grp.val=" << (group).GetRawData().ToString())
