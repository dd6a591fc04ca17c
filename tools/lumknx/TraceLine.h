#pragma once
// One line of lumknx's bus-trace CSV (time,source,destination,dpt,data),
// parsed apart from any I/O so that it can be tested and fuzzed alone.
#include <Platform/KnxStack.h>

#include <string>
#include <string_view>
#include <vector>

namespace LumKnx
{

struct TraceLine
{
    enum class Kind
    {
        Telegram, // fields below are set
        Ignored,  // blank line, comment or the header
        Malformed // `problem` says why
    };
    Kind kind = Kind::Ignored;
    std::string_view time, source, destination, dptText, dataText;
    KNXDPT dpt{};
    std::vector<unsigned char> data;
    std::string problem;
};

// Parses `line` (without its line break) into `out`, reusing its storage.
// A telegram whose DPT or bytes do not parse is a Telegram with `problem` set,
// so that it is counted and shown as failed.
void ParseTraceLine(std::string_view line, TraceLine& out);

} // namespace LumKnx
