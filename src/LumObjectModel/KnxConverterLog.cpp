#include "KnxConverterLog.h"

namespace Lum
{
namespace Detail
{

namespace
{
// Logging itself may fail on a value that just broke a conversion: the
// conversion has already failed, so the line is given up, never the caller.
template <typename Write> void LogError(const char* function, const char* file, int line, Write&& write)
{
    try
    {
        const log4cplus::Logger& logger = GetGlobalDefaultLogger();
        if (!logger.isEnabledFor(log4cplus::ERROR_LOG_LEVEL))
            return;
        LogEntryFormatter entry(function, file, line);
        write(entry.Stream());
        entry.Emit(logger, log4cplus::ERROR_LOG_LEVEL);
    }
    catch (...)
    {
    }
}
} // namespace

void LogToKnxException(const char* function, const char* file, int line, const KNXDPT& dpt,
                       const ORUVALUE& value, const std::exception& e)
{
    LogError(function, file, line,
             [&](std::ostream& os)
             {
                 const char* text = value.ToString();
                 os << "Exception caught during conversion of ORUVALUE for DPT " << DptText{dpt}
                    << ", val = " << (text != nullptr ? text : "") << ": " << e.what();
             });
}

void LogFromKnxException(const char* function, const char* file, int line, const KNXDPT& dpt,
                         const KnxStack::GroupValue& group, const std::exception& e)
{
    LogError(function, file, line,
             [&](std::ostream& os)
             {
                 os << "Exception caught during conversion of GroupValue for DPT " << DptText{dpt}
                    << ", bytes = " << group.GetRawData().ToString() << ": " << e.what();
             });
}

} // namespace Detail
} // namespace Lum
