#include "TraceLine.h"

#include "Cli.h"

namespace LumKnx
{

namespace
{
std::string_view Trimmed(std::string_view s)
{
    while (!s.empty() && (s.front() == ' ' || s.front() == '\t' || s.front() == '\r'))
        s.remove_prefix(1);
    while (!s.empty() && (s.back() == ' ' || s.back() == '\t' || s.back() == '\r'))
        s.remove_suffix(1);
    return s;
}

int HexDigit(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

// "0C 33", "0c33", "0C:33"; at most 255 bytes.
bool ParseBytes(std::string_view text, std::vector<unsigned char>& out)
{
    out.clear();
    int high = -1;
    for (const char c : text)
    {
        if (c == ' ' || c == ':' || c == '\t')
            continue;
        const int digit = HexDigit(c);
        if (digit < 0)
            return false;
        if (high < 0)
        {
            high = digit;
            continue;
        }
        if (out.size() == 255)
            return false;
        out.push_back(static_cast<unsigned char>(high << 4 | digit));
        high = -1;
    }
    return high < 0 && !out.empty();
}
} // namespace

void ParseTraceLine(std::string_view line, TraceLine& out)
{
    out.problem.clear();
    out.data.clear();
    line = Trimmed(line);
    if (line.empty() || line.front() == '#' || line.rfind("time,", 0) == 0)
    {
        out.kind = TraceLine::Kind::Ignored;
        return;
    }
    std::string_view fields[5];
    std::size_t count = 0;
    for (std::size_t start = 0;;)
    {
        const std::size_t comma = line.find(',', start);
        const std::string_view field =
            line.substr(start, comma == std::string_view::npos ? line.npos : comma - start);
        if (count < 5)
            fields[count] = Trimmed(field);
        ++count;
        if (comma == std::string_view::npos)
            break;
        start = comma + 1;
    }
    if (count != 5)
    {
        out.kind = TraceLine::Kind::Malformed;
        out.problem = std::to_string(count) + " fields instead of 5 (time,source,destination,dpt,data)";
        return;
    }
    out.kind = TraceLine::Kind::Telegram;
    out.time = fields[0];
    out.source = fields[1];
    out.destination = fields[2];
    out.dptText = fields[3];
    out.dataText = fields[4];
    const auto dpt = ParseDpt(std::string(fields[3]));
    if (!dpt)
    {
        out.problem = "not a DPT";
        return;
    }
    out.dpt = *dpt;
    if (!ParseBytes(fields[4], out.data))
        out.problem = "not hexadecimal bytes";
}

} // namespace LumKnx
