// Every trace form reads to what the equivalent line of the own CSV reads to.
#include <TraceLine.h>

#include <gtest/gtest.h>

#include <cstdio>

namespace
{
using LumKnx::TraceLine;
using LumKnx::TraceParser;

// A TP1 frame with its checksum (the inverted XOR of the other bytes) appended.
std::string Frame(const std::vector<unsigned> bytes)
{
    unsigned sum = 0;
    std::string text;
    for (const unsigned b : bytes)
    {
        sum ^= b;
        char hex[4];
        std::snprintf(hex, sizeof hex, "%02X ", b);
        text += hex;
    }
    char hex[3];
    std::snprintf(hex, sizeof hex, "%02X", ~sum & 0xFF);
    return text + hex;
}

struct Parsed
{
    TraceLine::Kind kind;
    TraceLine::Service service;
    std::string source, destination, problem;
    bool hasDpt;
    unsigned main, sub;
    std::vector<unsigned char> data;
    bool operator==(const Parsed& o) const
    {
        return kind == o.kind && service == o.service && source == o.source && destination == o.destination &&
               problem == o.problem && hasDpt == o.hasDpt && main == o.main && sub == o.sub && data == o.data;
    }
};

std::ostream& operator<<(std::ostream& os, const Parsed& p)
{
    os << "kind " << static_cast<int>(p.kind) << " service " << static_cast<int>(p.service) << " " << p.source
       << " -> " << p.destination << " dpt "
       << (p.hasDpt ? std::to_string(p.main) + "." + std::to_string(p.sub) : "-") << " data";
    for (const unsigned char b : p.data)
        os << ' ' << static_cast<int>(b);
    return os << " problem '" << p.problem << "'";
}

// The last line of `lines` as one parser reads it after the ones before.
Parsed Last(const std::vector<std::string>& lines)
{
    TraceParser parser;
    TraceLine line;
    for (const auto& text : lines)
        parser.Parse(text, line);
    return {line.kind,
            line.service,
            std::string(line.source),
            std::string(line.destination),
            line.problem,
            line.hasDpt,
            line.hasDpt ? line.dpt.mainNumber : 0u,
            line.hasDpt ? line.dpt.subNumber : 0u,
            line.data};
}

const std::string kMonitorHeader =
    "\xEF\xBB\xBF\"#\";\"Time\";\"Service\";\"Flags\";\"Prio\";\"Source Address\";"
    "\"Source Name\";\"Destination Address\";\"Destination Name\";\"Rout\";\"Type\";"
    "\"DPT\";\"Info\";\"Iack\"";
// The group monitor's export of one telegram: the header, then its row.
std::vector<std::string> MonitorExport(const std::string& source, const std::string& destination,
                                       const std::string& type, const std::string& dpt,
                                       const std::string& info)
{
    return {kMonitorHeader, "\"1\";\"25.11.2026 08:00:00,125\";\"from bus\";\"\";\"Low\";\"" + source +
                                "\";\"Sensor; Büro\";\"" + destination + "\";\"Temperatur\";\"6\";\"" + type +
                                "\";\"" + dpt + "\";\"" + info + "\";\"\""};
}
} // namespace

TEST(TraceFormats, EveryFormReadsLikeTheOwnCsv)
{
    const struct
    {
        std::string own; // the equivalent line of the own CSV
        std::vector<std::vector<std::string>> others;
    } cases[] = {
        {"08:00:00.125,0.0.7,4/1/2,,0C 33",
         {{"Write from 0.0.7 to 4/1/2: 0C 33 "},
          {"L_Busmon: " + Frame({0xBC, 0x00, 0x07, 0x21, 0x02, 0xE3, 0x00, 0x80, 0x0C, 0x33}) +
           " :L_Data low from 0.0.7 to 4/1/2 hops: 06 T_Data_Group A_GroupValue_Write 0C 33 "},
          {"08:00:00.125 L_Busmon: " + Frame({0xBC, 0x00, 0x07, 0x21, 0x02, 0xE3, 0x00, 0x80, 0x0C, 0x33}) +
           " :L_Data low from 0.0.7 to 4/1/2"},
          {"L_Busmon: " + Frame({0x3C, 0xE0, 0x00, 0x07, 0x21, 0x02, 0x03, 0x00, 0x80, 0x0C, 0x33}) +
           " :L_Data"},
          MonitorExport("0.0.7", "4/1/2", "Write", "", "$0C $33 | 21.5 °C"),
          MonitorExport("0.0.7", "4/1/2", "GroupValue_Write", "Temperatur", "$0C33")}},
        {"1,0.0.7,4/1/2,9.001,0C 33",
         {MonitorExport("0.0.7", "4/1/2", "Write", "9.001 temperature (°C)", "$0C $33"),
          MonitorExport("0.0.7", "4/1/2", "Write", "DPST-9-1", "$0C $33")}},
        {"1,0.0.9,4/1/2,,,read",
         {{"Read from 0.0.9 to 4/1/2"},
          {"L_Busmon: " + Frame({0xBC, 0x00, 0x09, 0x21, 0x02, 0xE1, 0x00, 0x00}) + " :L_Data"},
          MonitorExport("0.0.9", "4/1/2", "Read", "", "")}},
        {"1,0.0.10,1/1/3,,01,response",
         {{"Response from 0.0.10 to 1/1/3: 01"},
          {"L_Busmon: " + Frame({0xBC, 0x00, 0x0A, 0x09, 0x03, 0xE1, 0x00, 0x41}) + " :L_Data"},
          MonitorExport("0.0.10", "1/1/3", "Response", "", "$01")}},
        {"1,1.1.5,31/7/255,,00 00 00 00 00 00 00 00 00 00 00 00 00 00",
         {{"Write from 1.1.5 to 31/7/255: 00 00 00 00 00 00 00 00 00 00 00 00 00 00"},
          {"L_Busmon: " + Frame({0xBC, 0x11, 0x05, 0xFF, 0xFF, 0xEF, 0x00, 0x80, 0, 0, 0,
                                 0,    0,    0,    0,    0,    0,    0,    0,    0, 0, 0})}}},
        // What cannot be read is counted the same way in every form.
        {"1,0.0.7,4/1/2,,0C 3", {{"Write from 0.0.7 to 4/1/2: 0C 3"}}},
        {"1,0.0.7,4/1/2,,,write", {{"Write from 0.0.7 to 4/1/2:"}}},
        {"1,0.0.9,4/1/2,,01,read", {{"Read from 0.0.9 to 4/1/2: 01"}}},
    };
    for (const auto& c : cases)
    {
        const Parsed expected = Last({c.own});
        EXPECT_EQ(expected.kind, TraceLine::Kind::Telegram) << c.own;
        for (const auto& lines : c.others)
            EXPECT_EQ(Last(lines), expected) << c.own << "\n" << lines.back();
    }
}

TEST(TraceFormats, ProblemsOfEachForm)
{
    // clang-format off
    const struct
    {
        std::vector<std::string> lines;
        TraceLine::Kind kind;
        std::string problem;
    } cases[] = {
        {{"1,1.1.1,1/1/1,9.001,0C 33,delete"}, TraceLine::Kind::Telegram,
         "unknown service \"delete\" (write, read or response)"},
        {{"1,1.1.1,1/1/1,9.001,0C 33,write,x"}, TraceLine::Kind::Malformed,
         "7 fields instead of 5 (time,source,destination,dpt,data)"},
        {{"Write from 0.0.7 4/1/2: 0C 33"}, TraceLine::Kind::Malformed,
         "a groupsocketlisten line without \" to \""},
        {{"L_Busmon: BC 00 07 21 02 E3 00 80 0C 33 3C :L_Data"}, TraceLine::Kind::Malformed,
         "a bus-monitor frame whose checksum is wrong"},
        {{"L_Busmon: " + Frame({0xBC, 0x00, 0x07, 0x21, 0x02, 0xE4, 0x00, 0x80, 0x0C, 0x33})},
         TraceLine::Kind::Malformed, "a bus-monitor frame of 11 bytes whose length field says 12"},
        {{"L_Busmon: BC 00 07 :L_Data"}, TraceLine::Kind::Malformed,
         "a bus-monitor frame of 3 bytes is too short"},
        {{"L_Busmon: BC 0G"}, TraceLine::Kind::Malformed,
         "a bus-monitor frame that is not hexadecimal bytes"},
        {{"L_Busmon: CC :ACK"}, TraceLine::Kind::Ignored, ""},
        // To a device, not a group: no group value.
        {{"L_Busmon: " + Frame({0xBC, 0x00, 0x07, 0x11, 0x05, 0x61, 0x43, 0x00})}, TraceLine::Kind::Ignored,
         ""},
        // A group address but no group value service (A_IndividualAddress_Write to all).
        {{"L_Busmon: " + Frame({0xBC, 0x00, 0x07, 0x00, 0x00, 0xE3, 0x00, 0xC0, 0x11, 0x05})},
         TraceLine::Kind::Ignored, ""},
        {{"L_Busmon: " + Frame({0xBC, 0x00, 0x09, 0x21, 0x02, 0xE2, 0x00, 0x00, 0x01})},
         TraceLine::Kind::Telegram, "a read carries no value"},
        {MonitorExport("0.0.7", "4/1/2", "Write", "", "21.5 °C"), TraceLine::Kind::Telegram,
         "no value in its data columns"},
        {MonitorExport("0.0.7", "4/1/2", "Write", "", "$0C $3"), TraceLine::Kind::Telegram,
         "not hexadecimal bytes"},
        {MonitorExport("0.0.7", "4/1/2", "Write", "", "$0C $3G"), TraceLine::Kind::Telegram,
         "not hexadecimal bytes"},
        {MonitorExport("0.0.7", "4/1/2", "Ack", "", "$01"), TraceLine::Kind::Telegram,
         "unknown type \"Ack\""},
        {MonitorExport("0.0.7", "", "Write", "", "$01"), TraceLine::Kind::Malformed,
         "no destination address"},
        {{kMonitorHeader, "\"1\";\"x\"y;\"4/1/2\""}, TraceLine::Kind::Malformed,
         "malformed CSV: a quote out of place or never closed"},
        {{kMonitorHeader, "\"1\";\"08:00\"\"\";\"open"}, TraceLine::Kind::Malformed,
         "malformed CSV: a quote out of place or never closed"},
        {{kMonitorHeader, ""}, TraceLine::Kind::Ignored, ""},
        {{kMonitorHeader, kMonitorHeader.substr(3)}, TraceLine::Kind::Ignored, ""},
    };
    // clang-format on
    for (const auto& c : cases)
    {
        const Parsed parsed = Last(c.lines);
        EXPECT_EQ(parsed.kind, c.kind) << c.lines.back();
        EXPECT_EQ(parsed.problem, c.problem) << c.lines.back();
    }
}

// The monitor CSV's columns are found by name: fewer, reordered or renamed
// ones read the same, with ',' or tab as separator.
TEST(TraceFormats, MonitorCsvColumnsByName)
{
    const std::vector<std::vector<std::string>> variants = {
        {"\"Destination Address\",\"Source Address\",\"Data\"", "\"4/1/2\",\"0.0.7\",\"$0C $33\""},
        {"Destination\tSource\tType\tValue", "4/1/2\t0.0.7\tWrite\t$0C33"},
        {"\"Time\";\"Destination\";\"Source\";\"Raw Data\";\"Info\"",
         "\"08:00\";\"4/1/2\";\"0.0.7\";\"$0C $33\";\"21.5 °C\""},
        {"Time,Source,Destination,DPT,Data,Service", "1,0.0.7,4/1/2,,0C 33,write"},
        {"\"Destination Address\";\"Info\";\"Source\";\"Data\"", "\"4/1/2\";\"21.5 °C\";\"0.0.7\";\"0C33\""},
    };
    const Parsed expected = Last({"1,0.0.7,4/1/2,,0C 33"});
    for (const auto& lines : variants)
        EXPECT_EQ(Last(lines), expected) << lines.front();
}
