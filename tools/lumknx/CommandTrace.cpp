#include "Cli.h"
#include "LineReader.h"
#include "TraceLine.h"
#include "ValueText.h"

#include <Lum/KnxValueConverter.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <string>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace LumKnx
{

namespace
{
std::string SampleTracePath()
{
    for (const char* candidate : {LUMKNX_SAMPLE_TRACE_SOURCE, LUMKNX_SAMPLE_TRACE_INSTALLED})
        if (::access(candidate, R_OK) == 0)
            return candidate;
    throw InputError(std::string("the sample trace is missing (looked for ") + LUMKNX_SAMPLE_TRACE_SOURCE +
                     " and " + LUMKNX_SAMPLE_TRACE_INSTALLED + ")");
}

// Opens the trace for reading; unreadable input is the caller's mistake (exit 2).
int OpenTrace(const std::string& path)
{
    if (path == "-")
        return STDIN_FILENO;
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        throw InputError("cannot read '" + path + "': " + std::strerror(errno));
    struct stat info;
    if (::fstat(fd, &info) == 0 && S_ISDIR(info.st_mode))
    {
        ::close(fd);
        throw InputError("cannot read '" + path + "': it is a directory");
    }
    return fd;
}

struct Totals
{
    unsigned long telegrams = 0;
    unsigned long decoded = 0;
    unsigned long failed = 0;
    unsigned long skipped = 0;
};

// Rows go out in large blocks: formatting, not the terminal, sets the pace.
class Output
{
public:
    ~Output() { Flush(); }
    void Field(std::string_view text, std::size_t width)
    {
        m_text.append(text);
        if (text.size() < width)
            m_text.append(width - text.size(), ' ');
        m_text.push_back(' ');
    }
    void Append(std::string_view text) { m_text.append(text); }
    void EndLine()
    {
        while (!m_text.empty() && m_text.back() == ' ')
            m_text.pop_back();
        m_text.push_back('\n');
        if (m_text.size() > 64 * 1024)
            Flush();
    }
    void Flush()
    {
        std::fwrite(m_text.data(), 1, m_text.size(), stdout);
        std::fflush(stdout);
        m_text.clear();
    }

private:
    std::string m_text;
};

void Row(Output& out, const TraceLine& t, std::string_view bytes, std::string_view value,
         std::string_view status, std::string_view detail)
{
    out.Field(t.time, 24);
    out.Field(t.source, 9);
    out.Field(t.destination, 9);
    out.Field(t.dptText, 8);
    out.Field(bytes, 24);
    out.Field(value, 22);
    out.Append(status);
    out.Append(detail);
    out.EndLine();
}
} // namespace

int RunTrace(const std::vector<std::string>& args)
{
    if (args.size() > 1)
        throw UsageError("trace takes at most one FILE ('-' for standard input)");
    const std::string path = args.empty() ? SampleTracePath() : args[0];
    const int fd = OpenTrace(path);

    Lum::KnxValueConverter converter;
    converter.Init();
    LibraryMessages messages;
    Totals totals;
    Output out;
    LineReader reader(fd);
    TraceLine line;
    std::string_view text;
    bool tooLong = false;
    unsigned long number = 0;
    const auto start = std::chrono::steady_clock::now();
    while (reader.Next(text, tooLong))
    {
        ++number;
        if (tooLong)
        {
            ++totals.skipped;
            out.Append("line " + std::to_string(number) + ": skipped, longer than " +
                       std::to_string(LineReader::kMaxLine) + " bytes");
            out.EndLine();
            continue;
        }
        ParseTraceLine(text, line);
        if (line.kind == TraceLine::Kind::Ignored)
            continue;
        if (line.kind == TraceLine::Kind::Malformed)
        {
            ++totals.skipped;
            out.Append("line " + std::to_string(number) + ": skipped, " + line.problem);
            out.EndLine();
            continue;
        }
        ++totals.telegrams;
        if (!line.problem.empty())
        {
            ++totals.failed;
            Row(out, line, line.dataText, "-", "FAILED: ", line.problem);
            continue;
        }
        const ValueText value = DecodeForDisplay(converter, line.dpt, line.data, messages);
        const std::string bytes = FormatHex(line.data);
        if (value.decoded)
        {
            ++totals.decoded;
            Row(out, line, bytes, value.human, "OK",
                value.warning.empty() ? "" : "; warning: " + value.warning);
        }
        else
        {
            ++totals.failed;
            Row(out, line, bytes, "-", "FAILED: ", value.reason);
        }
    }
    out.Flush();
    if (fd != STDIN_FILENO)
        ::close(fd);
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
    // Counts and rates on stderr, so that two runs over one input diff clean.
    std::cerr << "telegrams: " << totals.telegrams << ", decoded: " << totals.decoded
              << ", failed: " << totals.failed << ", skipped lines: " << totals.skipped << '\n';
    std::fprintf(stderr, "telegrams per second: %.0f\n",
                 elapsed.count() > 0 ? static_cast<double>(totals.telegrams) / elapsed.count() : 0.0);
    return totals.failed == 0 && totals.skipped == 0 ? 0 : 1;
}

} // namespace LumKnx
