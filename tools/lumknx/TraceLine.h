#pragma once
// One line of a bus trace, parsed apart from any I/O so that it can be tested
// and fuzzed alone. Four forms are read:
//   - lumknx's own CSV: time,source,destination,dpt,data[,service] (service
//     write, read or response; a read has empty data; an empty dpt means none);
//   - knxd's groupsocketlisten text: "Write from 0.0.7 to 4/1/2: 0C 33";
//   - knxd's vbusmonitor1 text: "L_Busmon: BC 00 07 21 02 E3 00 80 0C 33 3B :L_Data ...",
//     optionally after a time ("08:00:01.250 L_Busmon: ..."); source, destination,
//     service and value come from the frame's bytes, whose checksum is checked;
//     frames other than group-value reads, responses and writes are ignored;
//   - the engineering tool's group-monitor CSV, recognised by a header naming a
//     "Destination Address" column; columns are found by name, values are
//     "$0C $33" or "$0C33" in its "Data", "Raw Data", "Info" or "Value" column
//     (the first two may also hold plain "0C 33").
// The knxd forms are recognised on each line, the group-monitor CSV from its
// header on; any other line is read as the own CSV.
#include "CsvRows.h"

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
        Ignored,  // blank line, comment, header, or bus traffic that carries no group value
        Malformed // `problem` says why
    };
    enum class Service
    {
        Write,
        Read, // carries no value: `data` is empty
        Response
    };
    Kind kind = Kind::Ignored;
    Service service = Service::Write;
    // Views into the line or into the parser that read it; they live until the next line.
    std::string_view time, source, destination, dptText, dataText;
    bool hasDpt = false; // the line names a DPT; else the caller may look the destination up
    KNXDPT dpt{};
    std::vector<unsigned char> data; // the value's bytes after the APCI (one byte for up to 6 bits)
    std::string problem;
};

// Parses one line of the own CSV (without its line break) into `out`,
// reusing its storage. A telegram whose DPT, bytes or service do not parse is
// a Telegram with `problem` set, so that it is counted and shown as failed.
void ParseTraceLine(std::string_view line, TraceLine& out);

// Reads the lines of one trace in order, in whichever form each is written.
class TraceParser final
{
public:
    void Parse(std::string_view line, TraceLine& out);

private:
    struct MonitorColumns
    {
        std::size_t time, service, source, destination, dpt;
        struct Data
        {
            std::size_t column;
            bool plainHex; // "Data" and "Raw Data" may hold "0C 33" too; text columns only "$0C $33"
        };
        std::vector<Data> data; // in order of preference
    };
    bool ReadMonitorHeader(std::string_view line);
    void ParseMonitorRow(std::string_view line, TraceLine& out);
    void ParseBusMonitor(std::string_view time, std::string_view frame, TraceLine& out);

    bool m_firstLine = true;
    bool m_ownCsvSeen = false; // a header of the monitor CSV is looked for only before
    bool m_monitorCsv = false;
    char m_separator = ',';
    MonitorColumns m_columns{};
    std::vector<std::string> m_fields;
    std::string m_source, m_destination, m_dataText;
};

} // namespace LumKnx
