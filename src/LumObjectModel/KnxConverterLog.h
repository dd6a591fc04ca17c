#pragma once

#include <Platform/KnxStack.h>
#include <Platform/Logging.h>
#include <Platform/OruValue.h>

#include "DptVocabulary.h"

#include <exception>
#include <ostream>
#include <type_traits>

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

// The stack's GroupValueException belongs to the facade while it calls a
// converter: the facade logs it in its own words, once. A converter called on
// its own catches it and logs its own line instead.
class FacadeCall
{
public:
    FacadeCall() noexcept { ++t_depth; }
    ~FacadeCall() { --t_depth; }
    FacadeCall(const FacadeCall&) = delete;
    FacadeCall& operator=(const FacadeCall&) = delete;

    // Whether `e` is to travel on to the facade instead of being logged here.
    static bool PassesOn(const std::exception& e) noexcept
    {
        return t_depth != 0 && dynamic_cast<const KnxStack::GroupValueException*>(&e) != nullptr;
    }

private:
    // Initial-exec: the facade enters and leaves on every conversion.
    static inline thread_local unsigned t_depth __attribute__((tls_model("initial-exec"))) = 0;
};

// Where a conversion logs from: the converter's ToKnxValue or FromKnxValue,
// even for the lines that the shared steps below write for it.
struct ConverterSite
{
    const char* function;
    const char* file;
    int line;
};

// A DPT or value type the converter does not take, and the ERROR line that
// says so (null: rejected without a line).
struct Refusal
{
    bool refused;
    const char* text;
};

inline void Trace(const ConverterSite& site, const KNXDPT& dpt, const ORUVALUE& value)
{
    LUM_LOG_AT(log4cplus::DEBUG_LOG_LEVEL, site.function, site.file, site.line,
               "DPT is used. DPT = " << DptText{dpt} << " ivt=" << static_cast<int>(value.ivt)
                                     << " val=" << value.ToString());
}

inline void Trace(const ConverterSite& site, const KNXDPT& dpt, const KnxStack::GroupValue& group)
{
    LUM_LOG_AT(log4cplus::DEBUG_LOG_LEVEL, site.function, site.file, site.line,
               "DPT is used. DPT = " << DptText{dpt} << " grp.size=" << group.GetDefinedSize()
                                     << " grp.val=" << group.GetRawData().ToString());
}

// A conversion that fails with one ERROR line in the converter's name: the
// parts written one after the other, and only when ERROR is enabled.
template <typename... Parts>
__attribute__((noinline, cold)) bool Reject(const ConverterSite& site, const Parts&... parts)
{
    const log4cplus::Logger& logger = GetGlobalDefaultLogger();
    if (logger.isEnabledFor(log4cplus::ERROR_LOG_LEVEL))
    {
        LogEntryFormatter entry(site.function, site.file, site.line);
        (entry.Stream() << ... << parts);
        entry.Emit(logger, log4cplus::ERROR_LOG_LEVEL);
    }
    return false;
}

inline void LogException(const ConverterSite& site, const KNXDPT& dpt, const ORUVALUE& value,
                         const std::exception& e)
{
    LogToKnxException(site.function, site.file, site.line, dpt, value, e);
}

inline void LogException(const ConverterSite& site, const KNXDPT& dpt, const KnxStack::GroupValue& group,
                         const std::exception& e)
{
    LogFromKnxException(site.function, site.file, site.line, dpt, group, e);
}

// The steps every traced conversion shares: entry trace, the converter's
// refusal of a DPT or value type, and no exception leaving. `convert` is the
// converter's own part; it fails through Reject() or returns nothing when it
// cannot fail. `from` is the value or the group value converted.
template <typename From, typename Own>
bool Convert(const ConverterSite& site, const KNXDPT& dpt, const From& from, const Refusal& refusal,
             Own&& convert)
{
    try
    {
        Trace(site, dpt, from);
        if (refusal.refused)
            return refusal.text != nullptr && Reject(site, refusal.text);
        if constexpr (std::is_invocable_v<Own, const ConverterSite&>)
            return convert(site);
        else if constexpr (std::is_void_v<decltype(convert())>)
        {
            convert();
            return true;
        }
        else
            return convert();
    }
    catch (const std::exception& e)
    {
        if (FacadeCall::PassesOn(e))
            throw;
        LogException(site, dpt, from, e);
        return false;
    }
}

// For a converter that takes every DPT and value type of its family.
constexpr Refusal kTakesAll{false, nullptr};

} // namespace Detail
} // namespace Lum

// Handlers of the converters' function-try-blocks: no exception leaves a
// conversion called on its own; it ends as a rejection with one ERROR line
// naming the DPT and the value or bytes. Inside the facade the stack's
// exception goes on to the facade.
// `subject` is the value (ToKnxValue) or the group value (FromKnxValue).
#define LUM_CONVERTER_CATCH(dpt, subject)                                                                    \
    catch (const std::exception& e)                                                                          \
    {                                                                                                        \
        if (::Lum::Detail::FacadeCall::PassesOn(e))                                                          \
            throw;                                                                                           \
        ::Lum::Detail::LogException(LUM_CONVERTER_SITE, dpt, subject, e);                                    \
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

// The converter's public function at the place of the macro: the lines of
// a conversion name the converter, not a helper or a lambda.
#define LUM_CONVERTER_SITE (::Lum::Detail::ConverterSite{__func__, __FILE__, __LINE__})

// Entry traces of the converters that do not run through Detail::Convert();
// formatted only when DEBUG is enabled.
#define LUM_TRACE_TO_KNX(dpt, value) ::Lum::Detail::Trace(LUM_CONVERTER_SITE, dpt, value)
#define LUM_TRACE_FROM_KNX(dpt, group) ::Lum::Detail::Trace(LUM_CONVERTER_SITE, dpt, group)
