// lumknx: the object-model library from a shell, for integrators who debug a
// building. Every conversion, identifier and setting comes from the library;
// this program only parses arguments and prints.
#include "BusCommon.h"
#include "Cli.h"
#include "CommandLine.h"
#include "ValueText.h"

#include <log4cplus/initializer.h>

#include <iostream>

namespace
{

const std::vector<LumKnx::Command>& Commands()
{
    static const std::vector<LumKnx::Command> commands = {
        {"decode",
         "decode DPT HEX",
         "Decodes the bytes of one group value, e.g. 'decode 9.001 \"0C 33\"'. Prints the exact value (what\n"
         "'encode' takes), a tab, and what it means with its unit and type.",
         LumKnx::RunDecode,
         {}},
        {"encode",
         "encode DPT VALUE",
         std::string("Encodes one value, e.g. 'encode 9.001 21.5' or 'encode 16.001 \"Hallo\"'.\n\n") +
             LumKnx::kValueForms,
         LumKnx::RunEncode,
         {},
         1},
        {"trace",
         "trace [--map PLAN] [FILE|-]",
         "Decodes a bus trace; '-' reads standard input, no FILE decodes the shipped sample of a\n"
         "day in a small building. The trace is lumknx's CSV (time,source,destination,dpt,data and\n"
         "optionally service: write, read or response, as 'monitor --csv' writes it), knxd's\n"
         "groupsocketlisten or vbusmonitor1 text, or the engineering tool's group-monitor CSV\n"
         "export, recognised by content. A telegram's DPT comes from its line, else from the plan\n"
         "given with --map (see 'gamap'), whose names then print beside each address; without\n"
         "either the telegram prints raw ('no DPT'). Each telegram prints with OK or FAILED and\n"
         "the reason; lines that are no telegram are skipped (lines over 64 KiB too). The counts\n"
         "and the rate go to standard error. Exit status 0 when every telegram decoded or printed\n"
         "raw, 1 when some failed or lines were skipped, 2 when FILE or PLAN cannot be read.",
         LumKnx::RunTrace,
         {{"--map", "PLAN"}}},
        {"gamap",
         "gamap FILE",
         "Prints the group-address plan in FILE: address (as the plan writes them), DPT ('-' when\n"
         "none is assigned) and name, one per line. FILE is the engineering tool's CSV or XML export\n"
         "of the group addresses, or a .knxproj project without password, recognised by content.\n"
         "Warnings (an address listed twice, a row that was dropped) go to standard error. Exit status\n"
         "0 when the plan was read whole, 1 with warnings, 2 when FILE cannot be read.",
         LumKnx::RunGamap,
         {}},
        {"dpts",
         "dpts [--markdown]",
         "Lists the supported datapoint types.",
         LumKnx::RunDpts,
         {{"--markdown", nullptr}}},
        {"id",
         "id ID | id co N | id co-value N | id param ip|number|text N | id ld | id app-control ...",
         "Tells what an object-model identifier (0..4294967295) denotes, or builds one\n"
         "(--ld 1|2 picks the logical device, 1 when not given).",
         LumKnx::RunId,
         {{"--ld", "N"}}},
        {"config",
         "config [FILE]",
         "Loads an app host configuration (the fixed path without FILE) and prints it.",
         LumKnx::RunConfig,
         {}},
        {"monitor",
         "monitor URL [--map FILE] [--dpt D] [--csv | --json] [--count N] [--timeout MS] [--no-reconnect]",
         "Prints every group telegram on the bus at URL (knxd or a KNXnet/IP tunnel; see 'bus URLs' in\n"
         "'lumknx --help'): time (UTC), source, destination, service, DPT, value with unit, bytes. The DPT "
         "comes from the\n"
         "plan (--map), else from --dpt; without one the bytes stay raw. --csv writes lumknx's trace CSV\n"
         "with a sixth column, the service; --json one object per line with the exact value. Stops after\n"
         "--count telegrams, after --timeout ms or on Ctrl-C; the counts go to standard error. Exit\n"
         "status 0, 1 when some telegram did not fit its DPT or --count was not reached, 2 when the bus\n"
         "cannot be reached or the connection is lost. A tunnel that breaks is made again unless\n"
         "--no-reconnect is given; what came in malformed is counted and named on standard error.",
         LumKnx::RunMonitor,
         {{"--map", "FILE"},
          {"--dpt", "D"},
          {"--count", "N"},
          {"--timeout", "MS"},
          {"--csv", nullptr},
          {"--json", nullptr},
          {"--no-reconnect", nullptr}}},
        {"read",
         "read URL GA [--dpt D | --map FILE] [--timeout MS]",
         "Sends a read to GA and prints the response as 'decode' does (raw bytes without a DPT).\n"
         "Exit status 1 when no response comes within --timeout ms (2000), or a tunnel did not confirm\n"
         "the read.",
         LumKnx::RunRead,
         {{"--map", "FILE"}, {"--dpt", "D"}, {"--timeout", "MS"}}},
        {"write",
         "write URL GA VALUE [--dpt D | --map FILE]",
         std::string(
             "Encodes VALUE for the DPT and writes it to GA. Through a KNXnet/IP tunnel the write\n"
             "waits for the interface's confirmation: exit status 1 when it is negative or none comes.\n\n") +
             LumKnx::kValueForms,
         LumKnx::RunWrite,
         {{"--map", "FILE"}, {"--dpt", "D"}},
         2},
        {"serve",
         "serve URL --values FILE [--map FILE] [--dpt D] [--count N] [--timeout MS] [--no-reconnect]",
         "A virtual device: answers reads of the addresses in FILE (lines 'GA DPT VALUE', or 'GA VALUE'\n"
         "with the DPT from --map, else --dpt; '#' starts a comment) and takes on the values others\n"
         "write there. Stops on Ctrl-C, after --count answered reads or after --timeout ms. Exit\n"
         "status 1 when a value that did not fit was ignored, an answer was not confirmed or --count was\n"
         "not reached.",
         LumKnx::RunServe,
         {{"--values", "FILE"},
          {"--map", "FILE"},
          {"--dpt", "D"},
          {"--count", "N"},
          {"--timeout", "MS"},
          {"--no-reconnect", nullptr}}},
        {"discover",
         "discover [--interface IF] [--host HOST[:PORT]] [--timeout MS] [--json]",
         "Lists the KNXnet/IP interfaces and routers that answer a search request: name, individual\n"
         "address, IP address and port, medium and services (tunnelling, routing, ...). The request\n"
         "goes by multicast to 224.0.23.12:3671 from the IPv4 address of interface IF (the one the\n"
         "route to that group takes when not given), with multicast loopback on, so that a server on\n"
         "this machine answers too. With --host it goes to HOST alone (port 3671 when not given),\n"
         "for a device that multicast does not reach. Answers are collected for --timeout ms (3000);\n"
         "malformed ones are named on standard error and skipped. --json writes one object per\n"
         "device. Exit status 0 when some device answered, 1 when none did, 2 when IF or HOST cannot\n"
         "be used.",
         LumKnx::RunDiscover,
         {{"--interface", "IF"}, {"--host", "HOST"}, {"--timeout", "MS"}, {"--json", nullptr}}},
    };
    return commands;
}

void PrintUsage(std::ostream& os)
{
    os << "usage: lumknx [OPTIONS] COMMAND [ARGS]\n\ncommands:\n";
    for (const auto& c : Commands())
        os << "  " << c.synopsis << "\n";
    os << "\noptions:\n"
          "  --log-level LEVEL  library log on standard error from LEVEL on: debug, info, warn, error\n"
          "                     (default), fatal, off\n"
          "  --log-detail       library log lines with the library's function and source line\n"
          "  -h, --help         this text; 'lumknx help COMMAND' or 'lumknx COMMAND --help' explains\n"
          "                     a command\n"
          "  --version          the version of lumknx\n"
          "  --                 ends the options: what follows is an argument even when it starts\n"
          "                     with '-', e.g. 'write URL GA -- -h'\n"
          "\nbus URLs (monitor, read, write, serve):\n"
          "  local:/path/to/socket, ip:host[:port]   knxd's client socket (-u) or TCP port (-i, 6720)\n"
          "  ipt:host[:port]                         a KNXnet/IP tunnel to an interface (port 3671)\n"
          "  iptn:host[:port]                        the same in NAT mode, for clients behind NAT\n"
          "  ipr:IF[@GROUP[:PORT]]                   KNXnet/IP routing on network interface IF\n"
          "                                          (224.0.23.12:3671), as source 15.15.255\n"
          "\nexit status: 0 success, 1 some input failed (the reason on standard error),\n"
          "2 usage error or unreadable input\n";
}

void PrintCommandHelp(const LumKnx::Command& c)
{
    std::cout << "usage: lumknx " << c.synopsis << "\n\n" << c.help << "\n";
}

} // namespace

int main(int argc, char** argv)
{
    log4cplus::Initializer initializer;
    try
    {
        const LumKnx::CommandLine line =
            LumKnx::ParseCommandLine(Commands(), std::vector<std::string>(argv + 1, argv + argc));
        if (line.version)
        {
            std::cout << "lumknx " LUMKNX_VERSION "\n";
            return 0;
        }
        if (!line.command)
        {
            if (!line.help)
                throw LumKnx::UsageError("no command given; see 'lumknx --help'");
            PrintUsage(std::cout);
            return 0;
        }
        if (line.help)
        {
            PrintCommandHelp(*line.command);
            return 0;
        }
        // A trace or a monitor explains its failures beside each telegram; the console
        // stays quiet unless asked.
        const std::string name = line.command->name;
        const bool explainsItself = name == "trace" || name == "monitor" || name == "serve";
        LumKnx::ConfigureLogging(line.level.empty() ? (explainsItself ? "off" : "error") : line.level,
                                 line.detail);
        return line.command->run(line.args);
    }
    catch (const LumKnx::UsageError& e)
    {
        std::cerr << "lumknx: " << e.what() << "\n";
        return 2;
    }
    catch (const LumKnx::InputError& e)
    {
        std::cerr << "lumknx: " << e.what() << "\n";
        return 2;
    }
    catch (const std::exception& e)
    {
        std::cerr << "lumknx: " << e.what() << "\n";
        return 1;
    }
}
