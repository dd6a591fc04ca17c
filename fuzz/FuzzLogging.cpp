// Linked into the targets whose code logs (see CMakeLists.txt), so that the
// formatting of every message runs on fuzzed input too.
#include "FuzzSupport.h"

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    LumFuzz::SetUpLogging();
    return 0;
}
