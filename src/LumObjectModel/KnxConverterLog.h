#pragma once

#include <Platform/KnxStack.h>
#include <Platform/Logging.h>
#include <Platform/OruValue.h>

#include "DptVocabulary.h"

#include <exception>
#include <ostream>

namespace Lum
{
namespace Detail
{

// The log lines' form of a DPT, from the vocabulary.
struct DptText
{
    const KNXDPT& dpt;
};

inline std::ostream& operator<<(std::ostream& os, const DptText& d)
{
    return os << Vocabulary::DptLogText{d.dpt.mainNumber, d.dpt.subNumber};
}

// Log, in the converter's own name, the exception that ended a conversion: a
// group value of the wrong size handed to a converter directly, for one.
void LogToKnxException(const char* function, const char* file, int line, const KNXDPT& dpt,
                       const ORUVALUE& value, const std::exception& e);
void LogFromKnxException(const char* function, const char* file, int line, const KNXDPT& dpt,
                         const KnxStack::GroupValue& group, const std::exception& e);

} // namespace Detail
} // namespace Lum

// Handlers of the converters' function-try-blocks: no exception leaves a
// conversion; it ends as a rejection with one ERROR line naming the DPT and
// the value or bytes.
#define LUM_CONVERTER_CATCH_TO_KNX(dpt, value)                                                               \
    catch (const std::exception& e)                                                                          \
    {                                                                                                        \
        ::Lum::Detail::LogToKnxException(__func__, __FILE__, __LINE__, dpt, value, e);                       \
        return false;                                                                                        \
    }

#define LUM_CONVERTER_CATCH_FROM_KNX(dpt, group)                                                             \
    catch (const std::exception& e)                                                                          \
    {                                                                                                        \
        ::Lum::Detail::LogFromKnxException(__func__, __FILE__, __LINE__, dpt, group, e);                     \
        return false;                                                                                        \
    }

// The date and time converters word it their own way: "Exception caught
// during conversion of date: " and the reason.
#define LUM_CONVERTER_CATCH_NAMED(subject)                                                                   \
    catch (const std::exception& e)                                                                          \
    {                                                                                                        \
        LUM_LOG_ERROR("Exception caught during conversion of " subject ": " << e.what());                    \
        return false;                                                                                        \
    }                                                                                                        \
    catch (...)                                                                                              \
    {                                                                                                        \
        LUM_LOG_ERROR("Exception caught during conversion of " subject ": ");                                \
        return false;                                                                                        \
    }

// Entry traces of the converters. Macros, so that the line names the
// converter's own function; formatted only when DEBUG is enabled.
#define LUM_TRACE_TO_KNX(dpt, value)                                                                         \
    LUM_LOG_DEBUG("DPT is used. DPT = " << ::Lum::Detail::DptText{dpt} << " ivt="                            \
                                        << static_cast<int>((value).ivt) << " val=" << (value).ToString())

#define LUM_TRACE_FROM_KNX(dpt, group)                                                                       \
    LUM_LOG_DEBUG("DPT is used. DPT = " << ::Lum::Detail::DptText{dpt}                                       \
                                        << " grp.size=" << (group).GetDefinedSize()                          \
                                        << " grp.val=" << (group).GetRawData().ToString())
