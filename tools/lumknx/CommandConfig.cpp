#include "Cli.h"

#include <Lum/AppHostConfig.h>

#include <iostream>

namespace LumKnx
{

namespace
{
void PrintSwitch(const char* name, bool on)
{
    std::cout << "  " << name << ": " << (on ? "on" : "off") << '\n';
}

void PrintPath(const char* name, const boost::optional<std::string>& path)
{
    std::cout << "  " << name << ": " << (path ? EscapeControls(*path) : "(not set)") << '\n';
}
} // namespace

int RunConfig(const Arguments& arguments)
{
    const std::vector<std::string>& args = arguments.positional;
    if (args.size() > 1)
        throw UsageError("config takes at most one FILE");
    const std::string path = args.empty() ? Lum::AppHostConfigFilePath : args[0];

    Lum::AppHostConfiguration configuration;
    LibraryMessages messages;
    configuration.LoadConfigurationFile(path);
    const std::string problem = messages.First();

    std::cout << "configuration: " << EscapeControls(path) << '\n';
    if (!problem.empty())
        std::cout << "  (not applied: " << EscapeControls(problem)
                  << "; the built-in defaults are in force)\n";
    PrintSwitch("app host without KNX", configuration.IsAppHostWithoutKNX());
    PrintSwitch("terminate on firmware update", configuration.IsAppHostTerminateOnFirmwareUpdate());
    PrintSwitch("app debug mode", configuration.IsInAppDebugMode());
    PrintSwitch("app host startup disabled", configuration.IsAppHostStartupDisabled());
    PrintSwitch("app connector host startup disabled", configuration.IsAppConnectorHostStartupDisabled());
    PrintPath("object-model configuration", configuration.GetPathObjectModelConfig());
    PrintPath("root path native apps", configuration.GetRootPathNativeApp());
    PrintPath("root path managed apps", configuration.GetRootPathManagedApp());
    PrintPath("root path app host", configuration.GetRootPathAppHost());
    PrintPath("root path app connector host", configuration.GetRootPathAppConnectorHost());
    return problem.empty() ? 0 : 1;
}

} // namespace LumKnx
