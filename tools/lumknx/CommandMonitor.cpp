#include "BusCommon.h"
#include "Output.h"
#include "ValueText.h"

#include <Lum/KnxValueConverter.h>

#include <chrono>
#include <cstdio>
#include <iostream>

namespace LumKnx
{

namespace
{
using Clock = std::chrono::steady_clock;

enum class Format
{
    Text,
    Csv,
    Json
};

struct Totals
{
    unsigned long telegrams = 0;
    unsigned long writes = 0;
    unsigned long reads = 0;
    unsigned long responses = 0;
    unsigned long decoded = 0;
    unsigned long raw = 0;    // no DPT known: shown as bytes
    unsigned long failed = 0; // bytes that fit no group service or not the DPT
};

// One telegram, worked out once for every output format.
struct Shown
{
    std::string time, source, destination, service, dpt, bytes, name;
    const ValueText* value = nullptr; // set when a DPT was applied to a value
    std::string problem;              // why the telegram is shown raw although it has a DPT
};

void WriteText(Output& out, const Shown& s)
{
    out.CharacterField(s.time, 23);
    out.CharacterField(s.source, 9);
    out.CharacterField(s.destination, 9);
    out.CharacterField(s.service, 8);
    out.CharacterField(s.dpt.empty() ? "-" : s.dpt, 8);
    out.CharacterField(s.value != nullptr && s.value->decoded ? s.value->human : "-", 22);
    out.CharacterField(s.bytes, 0);
    if (!s.problem.empty())
        out.Append("FAILED: " + s.problem + " ");
    else if (s.value != nullptr && !s.value->warning.empty())
        out.Append("warning: " + s.value->warning + " ");
    if (!s.name.empty())
        out.Append("(" + EscapeControls(s.name) + ")");
    out.EndLine();
}

// The trace's columns and a sixth: the service.
void WriteCsv(Output& out, const Shown& s)
{
    out.Append(s.time + ',' + s.source + ',' + s.destination + ',' + s.dpt + ',' + s.bytes + ',' + s.service);
    out.EndLine();
}

void JsonField(std::string& text, const char* name, const std::string& value, bool present = true)
{
    text += text.size() > 0 && text.back() != '{' ? ",\"" : "\"";
    text += name;
    text += present ? "\":\"" + JsonEscaped(value) + "\"" : "\":null";
}

void WriteJson(Output& out, const Shown& s)
{
    std::string t = "{";
    JsonField(t, "time", s.time);
    JsonField(t, "source", s.source);
    JsonField(t, "destination", s.destination);
    JsonField(t, "service", s.service);
    JsonField(t, "dpt", s.dpt, !s.dpt.empty());
    JsonField(t, "data", s.bytes);
    const bool decoded = s.value != nullptr && s.value->decoded;
    JsonField(t, "value", decoded ? s.value->exact : "", decoded);
    JsonField(t, "text", decoded ? s.value->human : "", decoded);
    if (!s.problem.empty())
        JsonField(t, "error", s.problem);
    if (!s.name.empty())
        JsonField(t, "name", s.name);
    t += "}";
    out.Append(t);
    out.EndLine();
}
} // namespace

int RunMonitor(const Arguments& options)
{
    options.PositionalExactly(1, "monitor needs one knxd URL, e.g. 'monitor local:/tmp/eib'");
    if (options.Has("--csv") && options.Has("--json"))
        throw UsageError("give --csv or --json, not both");
    const Format format = options.Has("--csv")    ? Format::Csv
                          : options.Has("--json") ? Format::Json
                                                  : Format::Text;
    const auto count = options.Number("--count", 4000000000UL);
    const auto timeout = options.Number("--timeout", 86400000UL);
    const DptSource dpts(options);

    Lum::KnxValueConverter converter;
    converter.Init();
    LibraryMessages messages;
    ValueDecoder decoder(converter, messages);
    BusSession session(options.positional[0], &options);
    std::cerr << "lumknx: monitoring " << options.positional[0] << '\n';

    Output out;
    if (format == Format::Csv)
    {
        out.Append("time,source,destination,dpt,data,service");
        out.EndLine();
    }
    out.Flush();

    Totals totals;
    const auto start = Clock::now();
    // The rate counts from the first telegram: waiting for the bus is no work.
    Clock::time_point first = start;
    std::optional<Clock::time_point> deadline;
    if (timeout)
        deadline = start + std::chrono::milliseconds(*timeout);
    std::string lost;
    bool outputGone = false;
    LumBus::ReceivedTelegram in;
    ValueText value;
    while (!count || totals.telegrams < *count)
    {
        LumBus::ReceiveStatus status;
        try
        {
            // Take what has arrived without waiting; flush before blocking.
            status = session.Connection().Receive(in, Clock::now());
            if (status == LumBus::ReceiveStatus::Timeout)
            {
                if (!out.Flush())
                {
                    outputGone = true;
                    break;
                }
                status = session.Connection().Receive(in, deadline);
            }
        }
        catch (const LumBus::BusError& e)
        {
            lost = e.what();
            break;
        }
        if (status != LumBus::ReceiveStatus::Telegram)
            break;

        if (totals.telegrams++ == 0)
            first = Clock::now();
        Shown s;
        s.time = UtcTimestamp(std::chrono::system_clock::now());
        s.source = LumBus::FormatIndividualAddress(in.telegram.source);
        s.destination = LumBus::FormatGroupAddress(in.telegram.destination, dpts.Style());
        s.name = dpts.NameOf(in.telegram.destination);
        if (!in.problem.empty())
        {
            ++totals.failed;
            s.service = "?";
            s.bytes = FormatHex(ToBytes(in.apdu));
            s.problem = in.problem;
        }
        else
        {
            const auto service = in.telegram.service;
            ++(service == LumBus::GroupService::Write  ? totals.writes
               : service == LumBus::GroupService::Read ? totals.reads
                                                       : totals.responses);
            s.service = LumBus::ServiceName(service);
            s.bytes = FormatHex(ToBytes(in.telegram.data));
            const auto dpt = dpts.For(in.telegram.destination);
            if (dpt)
                s.dpt = FormatDpt(*dpt);
            if (service != LumBus::GroupService::Read)
            {
                if (!dpt)
                    ++totals.raw;
                else
                {
                    decoder.Decode(*dpt, ToBytes(in.telegram.data), value);
                    s.value = &value;
                    if (value.decoded)
                        ++totals.decoded;
                    else
                    {
                        ++totals.failed;
                        s.problem = "does not fit " + s.dpt + ": " + value.reason;
                    }
                }
            }
        }
        switch (format)
        {
        case Format::Text:
            WriteText(out, s);
            break;
        case Format::Csv:
            WriteCsv(out, s);
            break;
        case Format::Json:
            WriteJson(out, s);
            break;
        }
    }
    if (!out.Flush())
        outputGone = true;

    const std::chrono::duration<double> elapsed = Clock::now() - first;
    std::cerr << "telegrams: " << totals.telegrams << " (write " << totals.writes << ", read " << totals.reads
              << ", response " << totals.responses << "), decoded: " << totals.decoded
              << ", raw: " << totals.raw << ", failed: " << totals.failed << '\n';
    std::fprintf(stderr, "telegrams per second: %.0f\n",
                 elapsed.count() > 0 ? static_cast<double>(totals.telegrams) / elapsed.count() : 0.0);
    session.ReportAnomalies();
    if (!lost.empty())
    {
        std::cerr << "lumknx: " << lost << '\n';
        return 2;
    }
    if (outputGone)
    {
        std::cerr << "lumknx: standard output was closed\n";
        return 2;
    }
    if (count && totals.telegrams < *count && session.StopSignal() == 0)
    {
        std::cerr << "lumknx: timed out after " << totals.telegrams << " of " << *count << " telegrams\n";
        return 1;
    }
    return totals.failed == 0 ? 0 : 1;
}

} // namespace LumKnx
