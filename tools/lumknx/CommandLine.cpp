#include "CommandLine.h"

#include <CLI/CLI.hpp>

#include <cctype>
#include <deque>
#include <map>
#include <utility>

namespace LumKnx
{
namespace
{

bool LooksLikeOption(const std::string& arg)
{
    // "-" is standard input and "-5" a negative number, as CLI11 reads them.
    return arg.size() > 1 && arg[0] == '-' && std::isdigit(static_cast<unsigned char>(arg[1])) == 0;
}

std::string OptionName(const std::string& arg)
{
    return arg.substr(0, arg.find('='));
}

// CLI11 would take the next argument as the value of "--count=".
void RefuseEmptyValue(const std::string& arg)
{
    if (arg.rfind("--", 0) == 0 && arg.back() == '=')
        throw UsageError(OptionName(arg) + " needs a value");
}

// The option of `app` or of the tool, as CLI11 falls through to the tool's.
const CLI::Option* FindOption(const CLI::App* app, const std::string& arg)
{
    for (; app != nullptr; app = app->get_parent())
        if (const CLI::Option* option = app->get_option_no_throw(OptionName(arg)))
            return option;
    return nullptr;
}

// An option that reads its value from the next argument.
bool ValueFollows(const CLI::App* app, const std::string& arg)
{
    const CLI::Option* option = FindOption(app, arg);
    return option != nullptr && arg.find('=') == std::string::npos && option->get_items_expected_max() > 0;
}

struct CommandApp
{
    const Command* command;
    CLI::App* app;
    std::vector<std::string> positional;
};

// Where the command's name stands: after the tool's options, or right after
// the "--" that ends them (moved behind the name, so that
// "-- encode 16.001 -h" reads as "encode -- 16.001 -h"); argv.size() when none.
std::size_t PlaceCommand(const CLI::App& tool, std::vector<std::string>& argv)
{
    for (std::size_t i = 0; i < argv.size(); ++i)
    {
        if (argv[i] == "--")
        {
            argv.erase(argv.begin() + static_cast<long>(i));
            if (i < argv.size())
                argv.insert(argv.begin() + static_cast<long>(i) + 1, "--");
            return i;
        }
        if (!LooksLikeOption(argv[i]))
            return i;
        RefuseEmptyValue(argv[i]);
        if (ValueFollows(&tool, argv[i]))
            ++i;
    }
    return argv.size();
}

// CLI11 2.1 reads two things otherwise than the tool promises: "-h" in the
// place of an argument that takes any text is that text, and after a "--"
// among a command's arguments CLI11 goes back to the tool's options (and
// reads "-h" as help). Such arguments pass CLI11 as stand-ins and come back
// after parsing.
class StandIns
{
public:
    std::string Put(std::string text)
    {
        std::string token = "\x01lumknx-argument-" + std::to_string(m_texts.size());
        m_texts.emplace(token, std::move(text));
        return token;
    }
    void Restore(std::vector<std::string>& arguments) const
    {
        for (std::string& argument : arguments)
            if (const auto found = m_texts.find(argument); found != m_texts.end())
                argument = found->second;
    }

private:
    std::map<std::string, std::string> m_texts;
};

void Protect(const CommandApp& c, std::vector<std::string>& argv, std::size_t from, StandIns& standIns)
{
    int positional = 0;
    for (std::size_t i = from; i < argv.size(); ++i)
    {
        std::string& arg = argv[i];
        if (arg == "--")
        {
            argv.erase(argv.begin() + static_cast<long>(i));
            for (; i < argv.size(); ++i)
                if (argv[i].size() > 1 && argv[i][0] == '-')
                    argv[i] = standIns.Put(std::move(argv[i]));
            return;
        }
        if (positional == c.command->textArgument && arg.rfind("--", 0) != 0)
        {
            if (LooksLikeOption(arg))
                arg = standIns.Put(std::move(arg));
            ++positional;
        }
        else if (!LooksLikeOption(arg))
            ++positional;
        else
        {
            RefuseEmptyValue(arg);
            if (ValueFollows(c.app, arg))
                ++i;
        }
    }
}

// One line in the tool's words for what CLI11 refused.
std::string Describe(const CLI::ParseError& error, const CLI::App& tool, const CLI::App* command,
                     const std::vector<std::string>& argv)
{
    if (dynamic_cast<const CLI::ExtrasError*>(&error) != nullptr)
    {
        for (const std::string& extra : tool.remaining(true))
            if (LooksLikeOption(extra))
                return "unknown option '" + OptionName(extra) + "'";
    }
    if (dynamic_cast<const CLI::ArgumentMismatch*>(&error) != nullptr && !argv.empty())
    {
        // Only the last argument can lack the value it needs.
        const std::string& last = argv.back();
        if (LooksLikeOption(last) && last.find('=') == std::string::npos)
            return OptionName(last) + " needs a value";
        for (const std::string& arg : argv)
            if (arg.rfind("--", 0) == 0 && arg.find('=') != std::string::npos)
                if (const CLI::Option* option = FindOption(command != nullptr ? command : &tool, arg);
                    option != nullptr && option->get_items_expected_max() == 0)
                    return OptionName(arg) + " takes no value";
    }
    return error.what();
}

} // namespace

CommandLine ParseCommandLine(const std::vector<Command>& commands, const std::vector<std::string>& argvIn)
{
    CommandLine line;
    CLI::App tool("", "lumknx");
    // The help texts are the tool's own, and "-h" may be a value.
    tool.set_help_flag();
    tool.require_subcommand(0, 1);
    tool.add_option("--log-level", line.level);
    tool.add_flag("--log-detail", line.detail);
    CLI::Option* help = tool.add_flag("-h,--help");
    tool.add_flag("--version", line.version);
    std::vector<std::string> unknown; // a first word that names no command
    tool.add_option("COMMAND", unknown);

    CLI::App* helpApp = tool.add_subcommand("help");
    std::vector<std::string> helpTopics;
    helpApp->add_option("COMMAND", helpTopics);
    helpApp->fallthrough();

    std::deque<CommandApp> apps;
    for (const Command& command : commands)
    {
        CommandApp& c = apps.emplace_back(CommandApp{&command, tool.add_subcommand(command.name), {}});
        c.app->set_help_flag();
        c.app->fallthrough();
        c.app->add_option("ARGS", c.positional);
        for (const CommandOption& declared : command.options)
        {
            if (declared.value != nullptr)
                c.app->add_option(declared.name)->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
            else
                c.app->add_flag(declared.name)->disable_flag_override();
        }
    }

    std::vector<std::string> argv = argvIn;
    const std::size_t at = PlaceCommand(tool, argv);
    StandIns standIns;
    if (at < argv.size())
        for (const CommandApp& c : apps)
            if (argv[at] == c.command->name)
                Protect(c, argv, at + 1, standIns);

    std::vector<std::string> reversed(argv.rbegin(), argv.rend());
    try
    {
        tool.parse(reversed);
    }
    catch (const CLI::ParseError& e)
    {
        if (help->count() == 0)
        {
            const CLI::App* command = nullptr;
            for (const CommandApp& c : apps)
                if (*c.app)
                    command = c.app;
            throw UsageError(Describe(e, tool, command, argv));
        }
    }
    line.help = help->count() != 0;

    if (*helpApp)
    {
        // "help" alone is the tool's help, "help COMMAND" the command's.
        line.help = true;
        if (helpTopics.size() > 1)
            throw UsageError("help takes one COMMAND");
        for (const Command& command : commands)
            if (!helpTopics.empty() && helpTopics.front() == command.name)
                line.command = &command;
        if (line.command != nullptr || helpTopics.empty())
            return line;
        unknown = helpTopics;
    }
    for (CommandApp& c : apps)
    {
        if (!*c.app)
            continue;
        line.command = c.command;
        Arguments& args = line.args;
        args.positional = std::move(c.positional);
        standIns.Restore(args.positional);
        for (const CommandOption& declared : c.command->options)
        {
            const CLI::Option* option = c.app->get_option(declared.name);
            if (option->count() > 1 && !line.help)
                throw UsageError(std::string(declared.name) + " is given twice");
            if (option->count() == 0)
                continue;
            if (declared.value != nullptr)
                args.values[declared.name] = option->results().front();
            else
                args.flags.insert(declared.name);
        }
        return line;
    }
    if (!unknown.empty() && !line.version)
        throw UsageError("unknown command '" + unknown.front() + "'; see 'lumknx --help'");
    return line;
}

} // namespace LumKnx
