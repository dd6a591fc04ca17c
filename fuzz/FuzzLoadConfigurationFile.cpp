// Any bytes as the app host's configuration file on disk. Loading from the
// file must never throw or crash, and must come to exactly what parsing the
// same bytes as text comes to: the file path adds reading, never meaning.
#include "FuzzSupport.h"

#include <Lum/AppHostConfig.h>

#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include <unistd.h>

namespace
{
std::string State(const Lum::AppHostConfiguration& c)
{
    std::string s{c.IsInAppDebugMode() ? 'D' : '.', c.IsAppHostStartupDisabled() ? 'H' : '.',
                  c.IsAppConnectorHostStartupDisabled() ? 'C' : '.', c.IsAppHostWithoutKNX() ? 'K' : '.',
                  c.IsAppHostTerminateOnFirmwareUpdate() ? 'T' : '.'};
    for (const auto* path : {&c.GetRootPathNativeApp(), &c.GetRootPathManagedApp(), &c.GetRootPathAppHost(),
                             &c.GetRootPathAppConnectorHost(), &c.GetPathObjectModelConfig()})
        s += *path ? "|" + **path : "|-";
    return s;
}

const std::string& ScratchPath()
{
    static const std::string path = "/tmp/lum-fuzz-config-" + std::to_string(::getpid()) + ".xml";
    return path;
}
} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    LumFuzz::SetUpLogging();
    std::atexit([] { ::unlink(ScratchPath().c_str()); });
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    {
        std::ofstream file(ScratchPath(), std::ios::binary | std::ios::trunc);
        file.write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
    }
    Lum::AppHostConfiguration fromFile;
    fromFile.LoadConfigurationFile(ScratchPath());

    std::vector<char> text(data, data + size);
    text.push_back('\0');
    Lum::AppHostConfiguration fromText;
    fromText.LoadAppHostConfigXML(text.data());
    if (State(fromFile) != State(fromText))
        std::abort(); // the file and its text disagree
    return 0;
}
