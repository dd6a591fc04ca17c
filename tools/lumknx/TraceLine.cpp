#include "TraceLine.h"

#include "Cli.h"
#include "PlanReaders.h"

#include <LumBus/Apdu.h>
#include <LumBus/KnxAddress.h>

#include <algorithm>
#include <cctype>

namespace LumKnx
{

namespace
{
// A TP1 frame as knxd's bus monitor prints it. Standard frame: control,
// source (2), destination (2), address type | hop count | length, then the
// TPDU of length + 1 bytes, then the checksum (the inverted XOR of the rest).
// An extended frame has a second control byte (address type, hop count) and
// a full length byte instead.
constexpr unsigned char kStandardFrame = 0x80; // in the control byte
constexpr unsigned char kGroupDestination = 0x80;
constexpr unsigned char kStandardLength = 0x0F;
constexpr std::size_t kStandardHeader = 6; // bytes before the TPDU
constexpr std::size_t kExtendedHeader = 7;
constexpr std::size_t kAcknowledgement = 1; // a frame of its own, one byte long

constexpr std::string_view kBom = "\xEF\xBB\xBF";
constexpr std::string_view kBusmon = "L_Busmon:";
constexpr std::size_t kNone = static_cast<std::size_t>(-1);

std::string_view Trimmed(std::string_view s)
{
    while (!s.empty() && (s.front() == ' ' || s.front() == '\t' || s.front() == '\r'))
        s.remove_prefix(1);
    while (!s.empty() && (s.back() == ' ' || s.back() == '\t' || s.back() == '\r'))
        s.remove_suffix(1);
    return s;
}

bool StartsWith(std::string_view text, std::string_view prefix)
{
    return text.substr(0, prefix.size()) == prefix;
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

// "$0C $33" or "$0C33", up to the first word without '$' (e.g. "| 21.5 °C").
// `text` becomes the part that was read.
bool ParseDollarBytes(std::string_view& text, std::vector<unsigned char>& out)
{
    out.clear();
    std::size_t end = 0;
    std::size_t i = 0;
    while (i < text.size())
    {
        while (i < text.size() && text[i] == ' ')
            ++i;
        if (i == text.size() || text[i] != '$')
            break;
        ++i;
        std::size_t digits = 0;
        for (; i < text.size() && HexDigit(text[i]) >= 0; ++i, ++digits)
        {
            if (digits % 2 == 1)
            {
                if (out.size() == 255)
                    return false;
                out.push_back(static_cast<unsigned char>(HexDigit(text[i - 1]) << 4 | HexDigit(text[i])));
            }
        }
        if (digits == 0 || digits % 2 != 0 || (i < text.size() && text[i] != ' '))
            return false;
        end = i;
    }
    text = text.substr(0, end);
    return !out.empty();
}

bool ParseService(std::string_view text, TraceLine::Service& service)
{
    if (text.empty() || text == "write")
        service = TraceLine::Service::Write;
    else if (text == "read")
        service = TraceLine::Service::Read;
    else if (text == "response")
        service = TraceLine::Service::Response;
    else
        return false;
    return true;
}

// The value of a write or response, or the emptiness of a read.
void ParseValue(std::string_view text, TraceLine& out)
{
    if (out.service == TraceLine::Service::Read)
    {
        if (!text.empty())
            out.problem = "a read carries no value";
    }
    else if (!ParseBytes(text, out.data))
        out.problem = "not hexadecimal bytes";
}

void Reset(TraceLine& out, TraceLine::Kind kind)
{
    out.kind = kind;
    out.service = TraceLine::Service::Write;
    out.problem.clear();
    out.data.clear();
    out.hasDpt = false;
    out.time = out.source = out.destination = out.dptText = out.dataText = std::string_view();
}

void Malformed(TraceLine& out, std::string problem)
{
    Reset(out, TraceLine::Kind::Malformed);
    out.problem = std::move(problem);
}

// "0.0.7 to 4/1/2: 0C 33", after "Write from ", "Read from " or "Response from ".
void ParseListen(TraceLine::Service service, std::string_view rest, TraceLine& out)
{
    const auto to = rest.find(" to ");
    if (to == rest.npos)
        return Malformed(out, "a groupsocketlisten line without \" to \"");
    Reset(out, TraceLine::Kind::Telegram);
    out.service = service;
    out.source = Trimmed(rest.substr(0, to));
    const std::string_view after = rest.substr(to + 4);
    const auto colon = after.find(':');
    out.destination = Trimmed(after.substr(0, colon));
    out.dataText = colon == after.npos ? std::string_view() : Trimmed(after.substr(colon + 1));
    ParseValue(out.dataText, out);
}

std::string Lower(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

bool ReadCsvRow(std::string_view line, char separator, std::vector<std::string>& fields, std::string& error)
{
    bool complete = false;
    CsvRows rows(separator,
                 [&](const std::vector<std::string>& row)
                 {
                     fields = row;
                     complete = true;
                     return true;
                 });
    if (!rows.Feed(line) || !rows.Finish())
    {
        error = rows.Error();
        return false;
    }
    if (!complete)
        fields.clear();
    return true;
}

std::size_t Column(const std::vector<std::string>& header, std::initializer_list<const char*> names)
{
    for (const char* name : names)
        for (std::size_t i = 0; i < header.size(); ++i)
            if (header[i] == name)
                return i;
    return kNone;
}
} // namespace

void ParseTraceLine(std::string_view line, TraceLine& out)
{
    out.problem.clear();
    out.data.clear();
    out.hasDpt = false;
    out.service = TraceLine::Service::Write;
    line = Trimmed(line);
    if (line.empty() || line.front() == '#' || line.rfind("time,", 0) == 0)
    {
        out.kind = TraceLine::Kind::Ignored;
        return;
    }
    std::string_view fields[6];
    std::size_t count = 0;
    for (std::size_t start = 0;;)
    {
        const std::size_t comma = line.find(',', start);
        const std::string_view field =
            line.substr(start, comma == std::string_view::npos ? line.npos : comma - start);
        if (count < 6)
            fields[count] = Trimmed(field);
        ++count;
        if (comma == std::string_view::npos)
            break;
        start = comma + 1;
    }
    if (count != 5 && count != 6)
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
    if (!ParseService(fields[5], out.service))
    {
        out.problem =
            "unknown service \"" + EscapeControls(std::string(fields[5])) + "\" (write, read or response)";
        return;
    }
    if (!fields[3].empty())
    {
        const auto dpt = ParseDpt(fields[3]);
        if (!dpt)
        {
            out.problem = "not a DPT";
            return;
        }
        out.dpt = *dpt;
        out.hasDpt = true;
    }
    ParseValue(fields[4], out);
}

void TraceParser::Parse(std::string_view line, TraceLine& out)
{
    if (m_firstLine)
    {
        m_firstLine = false;
        if (StartsWith(line, kBom))
            line.remove_prefix(kBom.size());
    }
    if (m_monitorCsv)
        return ParseMonitorRow(line, out);
    const std::string_view text = Trimmed(line);
    if (!text.empty())
    {
        // The knxd forms are told by their first word, which no CSV line starts with.
        switch (text.front())
        {
        case 'L':
            if (StartsWith(text, kBusmon))
                return ParseBusMonitor({}, text.substr(kBusmon.size()), out);
            break;
        case 'W':
            if (StartsWith(text, "Write from "))
                return ParseListen(TraceLine::Service::Write, text.substr(11), out);
            break;
        case 'R':
            if (StartsWith(text, "Read from "))
                return ParseListen(TraceLine::Service::Read, text.substr(10), out);
            if (StartsWith(text, "Response from "))
                return ParseListen(TraceLine::Service::Response, text.substr(14), out);
            break;
        default:
            break;
        }
        if (!m_ownCsvSeen)
        {
            // vbusmonitor1time: "08:00:01.250 L_Busmon: ..."
            const auto busmon = text.substr(0, 48).find(kBusmon);
            if (busmon != text.npos && busmon > 0 && text[busmon - 1] == ' ')
                return ParseBusMonitor(Trimmed(text.substr(0, busmon)), text.substr(busmon + kBusmon.size()),
                                       out);
            if (text.find("Destination") != text.npos && ReadMonitorHeader(text))
                return Reset(out, TraceLine::Kind::Ignored);
        }
    }
    ParseTraceLine(line, out);
    if (out.kind == TraceLine::Kind::Telegram)
        m_ownCsvSeen = true;
}

void TraceParser::ParseBusMonitor(std::string_view time, std::string_view rest, TraceLine& out)
{
    const std::string_view hex = Trimmed(rest.substr(0, rest.find(':')));
    std::vector<unsigned char>& frame = out.data; // reused: the value is cut out of it below
    if (!ParseBytes(hex, frame))
        return Malformed(out, "a bus-monitor frame that is not hexadecimal bytes");
    if (frame.size() == kAcknowledgement)
        return Reset(out, TraceLine::Kind::Ignored);
    const bool standard = (frame[0] & kStandardFrame) != 0;
    const std::size_t header = standard ? kStandardHeader : kExtendedHeader;
    if (frame.size() < header + 2)
        return Malformed(out,
                         "a bus-monitor frame of " + std::to_string(frame.size()) + " bytes is too short");
    const std::size_t length = standard ? (frame[5] & kStandardLength) : frame[6];
    if (frame.size() != header + length + 2)
        return Malformed(out, "a bus-monitor frame of " + std::to_string(frame.size()) +
                                  " bytes whose length field says " + std::to_string(header + length + 2));
    unsigned char sum = 0;
    for (std::size_t i = 0; i + 1 < frame.size(); ++i)
        sum ^= frame[i];
    if (static_cast<unsigned char>(~sum) != frame.back())
        return Malformed(out, "a bus-monitor frame whose checksum is wrong");
    const bool group = ((standard ? frame[5] : frame[1]) & kGroupDestination) != 0;
    const std::size_t addresses = standard ? 1 : 2;
    const unsigned char* apdu = frame.data() + header;
    const unsigned apci = ((apdu[0] & 3u) << 8 | apdu[1]) & LumBus::kApciMask;
    const bool value =
        length >= 1 && (apdu[0] & LumBus::kTpciMask) == 0 &&
        (apci == LumBus::kApciRead || apci == LumBus::kApciResponse || apci == LumBus::kApciWrite);
    if (!group || !value)
        return Reset(out, TraceLine::Kind::Ignored); // not a group value: acknowledgements, device management
    m_source = LumBus::FormatIndividualAddress(
        static_cast<std::uint16_t>(frame[addresses] << 8 | frame[addresses + 1]));
    m_destination = LumBus::FormatGroupAddress(
        static_cast<std::uint16_t>(frame[addresses + 2] << 8 | frame[addresses + 3]));
    std::vector<unsigned char> data;
    if (length == 1)
        data.push_back(apdu[1] & LumBus::kShortValueMask);
    else
        data.assign(apdu + 2, apdu + length + 1);

    Reset(out, TraceLine::Kind::Telegram);
    out.time = time;
    out.source = m_source;
    out.destination = m_destination;
    out.dataText = hex;
    if (apci == LumBus::kApciRead)
    {
        out.service = TraceLine::Service::Read;
        if (length > 1)
            out.problem = "a read carries no value";
        return;
    }
    out.service = apci == LumBus::kApciWrite ? TraceLine::Service::Write : TraceLine::Service::Response;
    out.data = std::move(data);
}

bool TraceParser::ReadMonitorHeader(std::string_view line)
{
    const char separator = DetectSeparator(line);
    std::vector<std::string> header;
    std::string error;
    if (!ReadCsvRow(line, separator, header, error))
        return false;
    for (auto& name : header)
        name = Lower(std::string(Trimmed(name)));
    MonitorColumns columns;
    columns.destination = Column(header, {"destination address", "destination"});
    if (columns.destination == kNone)
        return false;
    columns.time = Column(header, {"time"});
    columns.source = Column(header, {"source address", "source"});
    columns.service = Column(header, {"type", "apci", "service"});
    columns.dpt = Column(header, {"dpt", "datapoint type", "datapointtype"});
    for (const char* name : {"data", "raw data", "info", "value"})
    {
        const std::size_t column = Column(header, {name});
        if (column != kNone)
            columns.data.push_back({column, std::string_view(name).find("data") != std::string_view::npos});
    }
    m_columns = std::move(columns);
    m_separator = separator;
    m_monitorCsv = true;
    return true;
}

void TraceParser::ParseMonitorRow(std::string_view line, TraceLine& out)
{
    if (Trimmed(line).empty())
        return Reset(out, TraceLine::Kind::Ignored);
    std::string error;
    if (!ReadCsvRow(line, m_separator, m_fields, error))
        return Malformed(out, "malformed CSV: " + error);
    const auto field = [&](std::size_t column)
    { return column < m_fields.size() ? Trimmed(m_fields[column]) : std::string_view(); };
    const std::string_view destination = field(m_columns.destination);
    if (destination.empty())
        return Malformed(out, "no destination address");
    if (Lower(std::string(destination)).rfind("destination", 0) == 0)
        return Reset(out, TraceLine::Kind::Ignored); // the header again

    Reset(out, TraceLine::Kind::Telegram);
    out.time = field(m_columns.time);
    out.source = field(m_columns.source);
    out.destination = destination;
    out.dptText = field(m_columns.dpt);
    const std::string service = Lower(std::string(field(m_columns.service)));
    if (service.find("read") != std::string::npos)
        out.service = TraceLine::Service::Read;
    else if (service.find("response") != std::string::npos)
        out.service = TraceLine::Service::Response;
    else if (m_columns.service != kNone && service.find("write") == std::string::npos)
    {
        out.problem = "unknown type \"" + EscapeControls(std::string(field(m_columns.service))) + "\"";
        return;
    }
    // "9.001", "9.001 temperature (°C)" or "DPST-9-1"; a name alone is no DPT.
    const std::string_view dptWord = out.dptText.substr(0, out.dptText.find(' '));
    const PlanDpt dpt = ParsePlanDpt(dptWord);
    if (dpt.ok && dpt.dpt)
    {
        out.hasDpt = true;
        out.dpt = *dpt.dpt;
        out.dptText = dptWord;
    }
    if (out.service == TraceLine::Service::Read)
        return;
    for (const auto& data : m_columns.data)
    {
        std::string_view cell = field(data.column);
        const bool dollar = !cell.empty() && cell.front() == '$';
        if (!dollar && (cell.empty() || !data.plainHex))
            continue;
        const bool parsed = dollar ? ParseDollarBytes(cell, out.data) : ParseBytes(cell, out.data);
        if (!parsed)
            out.problem = "not hexadecimal bytes";
        out.dataText = cell;
        return;
    }
    out.problem = "no value in its data columns";
}

} // namespace LumKnx
