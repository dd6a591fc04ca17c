#include <Lum/Unreachable.h>

#include "LogAs.h"

#include <cstdio>
#include <cstring>
#include <exception>

namespace Lum
{

void ReportUnreachable(const char* function, const char* file, int line)
{
    // The build machine's directories mean nothing to whoever reads the report.
    const char* slash = std::strrchr(file, '/');
    const char* name = slash != nullptr ? slash + 1 : file;
    LUM_LOG_AT(log4cplus::FATAL_LOG_LEVEL, function, file, line,
               "This statement should not be executed. There is a bug somewhere around " << name << ':'
                                                                                         << line);
    std::fprintf(stderr, "This statement should not be executed. There is a bug somewhere around %s:%d\n",
                 name, line);
    std::terminate();
}

} // namespace Lum
