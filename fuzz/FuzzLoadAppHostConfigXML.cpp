// Any text as the app host's configuration file.
#include "FuzzSupport.h"

#include <Lum/AppHostConfig.h>

#include <vector>

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    LumFuzz::SetUpLogging();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    std::vector<char> text(data, data + size);
    text.push_back('\0');
    Lum::AppHostConfiguration configuration;
    configuration.LoadAppHostConfigXML(text.data());
    return 0;
}
