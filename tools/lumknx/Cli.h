#pragma once

#include <Platform/KnxStack.h>

#include <boost/optional.hpp>

#include <log4cplus/appender.h>

#include <functional>
#include <map>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace LumKnx
{

// A wrong command line: the tool prints the text on one line and exits with 2.
class UsageError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

// Input that cannot be read at all (a missing file, a directory): exit 2 too.
class InputError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

// A command's arguments as the command line gave them, options apart.
struct Arguments
{
    std::vector<std::string> positional;
    std::map<std::string, std::string> values; // "--dpt" -> "9.001"
    std::set<std::string> flags;               // "--csv"

    bool Has(const std::string& option) const
    {
        return values.count(option) != 0 || flags.count(option) != 0;
    }
    // The option's number in [1, max]; none when it is not given.
    // Throws UsageError for anything else.
    std::optional<unsigned long> Number(const std::string& option, unsigned long max) const;
    // The positional arguments when there are `count`; throws UsageError(`usage`) otherwise.
    const std::vector<std::string>& PositionalExactly(std::size_t count, const char* usage) const;
};

struct CommandOption
{
    const char* name;  // "--dpt"
    const char* value; // what it takes ("D"), nullptr for a flag
};

struct Command
{
    const char* name;
    const char* synopsis;
    std::string help;
    std::function<int(const Arguments& args)> run;
    std::vector<CommandOption> options;
    // The position among the arguments of one taking any text (encode's and
    // write's VALUE): "-h" there is that text, not a request for help.
    int textArgument = -1;
};

// "9.001", "9.1" or "9.x"; nothing for anything else.
boost::optional<KNXDPT> ParseDpt(std::string_view text);
// "9.001" or "9.x".
std::string FormatDpt(const KNXDPT& dpt);
// Hexadecimal bytes, optionally separated by blanks or colons ("0C 33", "0c33").
boost::optional<std::vector<unsigned char>> ParseHex(const std::string& text);
// "0C 33".
std::string FormatHex(const std::vector<unsigned char>& bytes);
// Appends the bytes as FormatHex() writes them.
void AppendHex(std::string& out, const std::vector<unsigned char>& bytes);
// Appends `byte` as two hex digits, upper case unless `lowerCase`.
void AppendHexByte(std::string& out, unsigned char byte, bool lowerCase = false);
// The text with control characters written as \t, \n or \xNN, so that
// whatever a file holds prints on one line and moves no cursor.
std::string EscapeControls(const std::string& text);
// A group value as the bus delivers it: values of up to six bits arrive in
// six bits, longer ones in whole bytes.
KnxStack::GroupValue MakeGroupValue(std::uint16_t mainNumber, const std::vector<unsigned char>& bytes);

// Records the library's warnings and errors of one operation, so that the
// reason of a failure can be printed beside its result.
class LibraryMessages
{
public:
    LibraryMessages();
    ~LibraryMessages();
    LibraryMessages(const LibraryMessages&) = delete;
    LibraryMessages& operator=(const LibraryMessages&) = delete;

    void Clear();
    // The first recorded message (text after " - "), or "" when there is none.
    std::string First() const;

private:
    log4cplus::SharedAppenderPtr m_appender;
};

// Sends the library's log to standard error from the given level on
// ("debug", "info", "warn", "error", "fatal", "off"): level and message, or
// with `detail` the whole line with the library's function and source line.
void ConfigureLogging(const std::string& level, bool detail = false);

int RunDecode(const Arguments& args);
int RunEncode(const Arguments& args);
int RunTrace(const Arguments& args);
int RunDpts(const Arguments& args);
int RunId(const Arguments& args);
int RunConfig(const Arguments& args);
int RunGamap(const Arguments& args);

struct PlanLoadResult;
// The plan at `path` (result.plan is set), its warnings printed on standard
// error; InputError (exit 2) with the reader's one line when it cannot be used.
PlanLoadResult LoadPlanOrThrow(const std::string& path);

} // namespace LumKnx
