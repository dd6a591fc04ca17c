#include "Cli.h"
#include "GroupAddressPlan.h"
#include "LineReader.h"
#include "Output.h"
#include "TraceLine.h"
#include "ValueText.h"

#include <Lum/KnxValueConverter.h>
#include <LumBus/KnxAddress.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <optional>
#include <string>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace LumKnx
{

namespace
{
// The folder of the running program, or "" when the kernel does not say.
std::string ProgramDir()
{
    char buffer[4096];
    const ssize_t n = ::readlink("/proc/self/exe", buffer, sizeof buffer);
    if (n <= 0 || static_cast<std::size_t>(n) >= sizeof buffer)
        return "";
    const std::string path(buffer, static_cast<std::size_t>(n));
    return path.substr(0, path.rfind('/'));
}

// Installed, the sample lies in the data folder beside the program's folder
// (wherever the tree was installed to); in the build folder, in the sources.
std::string SampleTracePath()
{
    const std::string installed =
        ProgramDir() + "/" LUMKNX_SAMPLE_DIR_FROM_BINDIR "/" LUMKNX_SAMPLE_TRACE_NAME;
    const std::string source = LUMKNX_SAMPLE_DIR_SOURCE "/" LUMKNX_SAMPLE_TRACE_NAME;
    for (const std::string& candidate : {installed, source})
        if (::access(candidate.c_str(), R_OK) == 0)
            return candidate;
    throw InputError("the sample trace is missing (looked for " + installed + " and " + source + ")");
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
    unsigned long withoutDpt = 0; // printed raw: neither the line nor the plan names a DPT
};

// What the plan says about one telegram's destination.
struct Planned
{
    const std::string* name = nullptr; // none without a plan
    std::string dptText;               // the plan's DPT when the line names none
};

void Row(Output& out, const TraceLine& t, const Planned& planned, std::string_view bytes,
         std::string_view value, std::string_view status, std::string_view detail)
{
    out.Field(t.time, 24);
    out.Field(t.source, 9);
    out.Field(t.destination, 9);
    if (planned.name != nullptr)
    {
        out.CharacterField(EscapeControls(*planned.name), 28);
    }
    // The line's own DPT text, even one that did not parse, comes first.
    std::string_view dpt = t.dptText;
    if (!t.hasDpt && !planned.dptText.empty())
        dpt = planned.dptText;
    out.Field(dpt.empty() ? std::string_view("-") : dpt, 8);
    out.Field(bytes, 24);
    out.Field(value, 22);
    out.Append(status);
    out.Append(detail);
    out.EndLine();
}
} // namespace

int RunTrace(const Arguments& args)
{
    const std::vector<std::string>& files = args.positional;
    const auto map = args.values.find("--map");
    const std::string mapPath = map != args.values.end() ? map->second : "";
    if (files.size() > 1)
        throw UsageError("trace takes at most one FILE ('-' for standard input)");
    std::optional<GroupAddressPlan> plan;
    if (!mapPath.empty())
        plan = std::move(LoadPlanOrThrow(mapPath).plan);
    const std::string path = files.empty() ? SampleTracePath() : files[0];
    const int fd = OpenTrace(path);

    Lum::KnxValueConverter converter;
    converter.Init();
    LibraryMessages messages;
    ValueDecoder decoder(converter, messages);
    ValueText value;
    std::string bytes; // reused: a telegram's bytes as they are printed
    Totals totals;
    Output out;
    LineReader reader(fd);
    TraceParser parser;
    TraceLine line;
    Planned planned;
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
        parser.Parse(text, line);
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
        KNXDPT dpt = line.dpt;
        bool hasDpt = line.hasDpt;
        if (plan)
        {
            static const std::string kUnplanned = "?";
            const auto address = LumBus::ParseGroupAddress(line.destination);
            const PlanEntry* entry = address ? plan->Find(*address) : nullptr;
            planned.name = entry != nullptr ? &entry->name : &kUnplanned;
            planned.dptText.clear();
            if (!hasDpt && entry != nullptr && entry->dpt)
            {
                dpt = *entry->dpt;
                hasDpt = true;
                planned.dptText = FormatDpt(dpt);
            }
        }
        if (!line.problem.empty())
        {
            ++totals.failed;
            Row(out, line, planned, line.dataText, "-", "FAILED: ", line.problem);
            continue;
        }
        bytes.clear();
        AppendHex(bytes, line.data);
        if (line.service == TraceLine::Service::Read)
        {
            ++totals.decoded;
            Row(out, line, planned, bytes, "(read)", "OK", "");
            continue;
        }
        if (!hasDpt)
        {
            ++totals.withoutDpt;
            Row(out, line, planned, bytes, "-", "no DPT", "");
            continue;
        }
        decoder.Decode(dpt, line.data, value);
        const char* status = line.service == TraceLine::Service::Response ? "OK (response)" : "OK";
        if (value.decoded)
        {
            ++totals.decoded;
            Row(out, line, planned, bytes, value.human, status,
                value.warning.empty() ? "" : "; warning: " + value.warning);
        }
        else
        {
            ++totals.failed;
            Row(out, line, planned, bytes, "-", "FAILED: ", value.reason);
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
    if (totals.withoutDpt > 0)
        std::cerr << "printed raw for want of a DPT: " << totals.withoutDpt << '\n';
    return totals.failed == 0 && totals.skipped == 0 ? 0 : 1;
}

} // namespace LumKnx
