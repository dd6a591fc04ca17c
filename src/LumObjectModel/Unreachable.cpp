#include <Lum/Unreachable.h>
#include <Platform/Logging.h>

#include <cstdio>
#include <exception>

namespace Lum
{

void ReportUnreachable(const char* file, int line)
{
    LUM_LOG_FATAL("This statement should not be executed. There is a bug somewhere around " << file << ':'
                                                                                            << line);
    std::fprintf(stderr, "This statement should not be executed. There is a bug somewhere around %s:%d\n",
                 file, line);
    std::terminate();
}

} // namespace Lum
