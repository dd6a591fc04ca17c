#pragma once
// The tool's command line, read with CLI11: the tool's own options, the
// command and that command's options and arguments.
#include "Cli.h"

#include <string>
#include <vector>

namespace LumKnx
{

struct CommandLine
{
    std::string level;   // --log-level, "" when not given
    bool detail = false; // --log-detail
    bool help = false;   // -h, --help, "help [COMMAND]"
    bool version = false;
    const Command* command = nullptr; // none: the tool's help, or no command given
    Arguments args;
};

// The tool's options stand before the command or among its arguments. "--"
// ends the options; "-h" in the place of an argument that takes any text is
// that text. Throws UsageError with one line for a wrong command line, unless
// help was asked for: then the help is what counts.
CommandLine ParseCommandLine(const std::vector<Command>& commands, const std::vector<std::string>& argv);

} // namespace LumKnx
