// The only source that includes CLI11, whose headers take long to compile.

#include "command_line.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <iterator>
#include <memory>

#include <CLI/CLI.hpp>

#include <platform/control.h>
#include <win32/text.h>

#include "command_options.h"
#include "commands/command_list.h"

namespace
{
const char kStatusHelp[] =
    "Status: 0 success, 1 damaged content or something not found, 2 wrong usage or a\n"
    "file that can't be read or written.";

// Decimal digits only: CLI11 also reads octal and hexadecimal numbers.
std::uint32_t ParseNumber(const std::string& text, const std::string& problem)
{
    std::uint32_t number = 0;
    const char* const end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, number);
    if (result.ec != std::errc() || result.ptr != end)
        throw CLI::ValidationError(problem);
    return number;
}

std::string CheckLocale(const std::string& name)
{
    const char* const allowed =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_-@.";
    if (name.empty() || name.find_first_not_of(allowed) != std::string::npos)
        return "the locale '" + name + "' isn't a name such as de_DE";
    return std::string();
}

// Returns the code page, which is then the active one.
std::uint32_t ParseCodePage(const std::string& value)
{
    const std::string problem =
        "the code page '" + value +
        "' isn't 932, 936, 949, 950, 1250 to 1258, 10000, 10001, 10007 or 65001";
    const std::uint32_t codePage = ParseNumber(value, problem);
    platform::SetActiveCodePage(codePage);
    if (win32::GetACP() != codePage)
        throw CLI::ValidationError(problem);
    return codePage;
}

// The parser calls `set` with the value.
template <class Set>
void AddFunction(CLI::App* app, const char* name, const char* type, const Set& set,
                 const char* help)
{
    app->add_option_function<std::string>(name, set, help)->type_name(type)->take_last();
}

std::string WithoutMark(const std::string& operand)
{
    return operand.substr(1);
}

// `number` may be an optional one.
template <class Number>
void AddNumberTo(CLI::App* app, const char* name, const char* thing, Number* number,
                 const char* help)
{
    const auto set = [number, prefix = "the " + std::string(thing)](const std::string& text) {
        *number = ParseNumber(text, prefix + " '" + text + "' isn't a number from 0 to 4294967295");
    };
    AddFunction(app, name, "N", set, help);
}

CLI::Option* AddOneOperand(CLI::App* app, const char* name, std::string* value, const char* help)
{
    const auto store = [value](const CLI::results_t& operands) {
        *value = WithoutMark(operands.front());
        return true;
    };
    return app->add_option(name, store, help);
}

bool IsOption(const std::string& argument)
{
    return argument.size() > 1 && argument.front() == '-';
}

bool IsFlag(const CLI::App& command, const std::string& name)
{
    const CLI::Option* const option = command.get_option_no_throw(name);
    return option && option->get_items_expected_max() == 0;
}

bool TakesValue(const CLI::App& command, const std::string& name)
{
    return command.get_option_no_throw(name) && !IsFlag(command, name);
}

[[noreturn]] void RefuseOption(const std::string& name, const char* why, const std::string& command)
{
    throw Failure{kUnusable, std::string(), name + why + " (see zdict " + command + " --help)"};
}

// Returns the arguments after the program's name, from the last to the first, as CLI11 takes
// them. Each operand of a command is marked, since CLI11 would read a list in [a,b], an option
// in a name that begins with a minus, and a command in a name of a command. The mark -- is
// dropped.
std::vector<std::string> Reversed(const std::vector<std::string>& arguments,
                                  const CLI::App& command)
{
    std::vector<std::string> result = {arguments[1]};
    bool isValue = false;
    bool isAfterMark = false;
    for (std::size_t i = 2; i < arguments.size(); ++i)
    {
        const std::string& argument = arguments[i];
        const std::string name = argument.substr(0, argument.find('='));
        if (isValue)
        {
            result.push_back(argument);
            isValue = false;
        }
        else if (isAfterMark || !IsOption(argument))
            result.push_back(kOperandMark + argument);
        else if (argument == "--")
            isAfterMark = true;
        else if (name == "-o" && name != argument)
            result.insert(result.end(), {name, argument.substr(name.size() + 1)});
        else if (name.size() + 1 == argument.size() && TakesValue(command, name))
            RefuseOption(name, " needs a value", arguments[1]);
        else if (name != argument && IsFlag(command, name))
            RefuseOption(name, " takes no value", arguments[1]);
        else
        {
            isValue = name == argument && TakesValue(command, name);
            result.push_back(argument);
        }
    }
    if (isValue)
        RefuseOption(result.back(), " needs a value", arguments[1]);
    std::reverse(result.begin(), result.end());
    return result;
}

// Parses one command line.
class Parser
{
public:
    Parser() : mApp("Makes dictionary images of translators' texts, and looks into them.", "zdict")
    {
        mApp.allow_windows_style_options(false); // a key begins with a slash
        mApp.set_help_flag("-h,--help", "print this text");
        mApp.set_version_flag("--version", "zdict " ZDICT_VERSION, "print the version");
        mApp.get_formatter()->column_width(20);
        mApp.get_formatter()->label("REQUIRED", "");
        mApp.require_subcommand(0, 1);
        mApp.footer(std::string("'-' as a file is standard input or output. 'zdict COMMAND "
                                "--help' describes one\ncommand, the manual page zdict(1) all "
                                "of them.\n\n") +
                    kStatusHelp);
        for (const CommandRow& row : AllCommands())
            Add(row);
    }

    Status Parse(const std::vector<std::string>& arguments)
    {
        try
        {
            mApp.parse(ForCLI(arguments));
            if (!mCommand)
                throw CLI::RequiredError("A command");
        }
        catch (const CLI::CallForHelp&)
        {
            RefuseUnknown();
            std::fputs(mApp.help().c_str(), stdout);
            return kFine;
        }
        catch (const CLI::CallForVersion& version)
        {
            RefuseUnknown();
            std::printf("%s\n", version.what());
            return kFine;
        }
        catch (const CLI::ParseError& error)
        {
            Refuse(error);
        }
        return mCommand->Run();
    }

private:
    void Add(const CommandRow& row)
    {
        CLI::App* const app = mApp.add_subcommand(row.mName, row.mSummary);
        app->footer(std::string(row.mHelp) + "\n" + kStatusHelp);
        mCommands.push_back(row.mMake());
        Command* const command = mCommands.back().get();
        command->AddOptions(app);
        app->callback([this, command] { mCommand = command; });
    }

    // Returns the arguments as CLI11 takes them. Throws a Failure if the first argument is neither
    // an option nor a command.
    std::vector<std::string> ForCLI(const std::vector<std::string>& arguments) const
    {
        if (arguments.size() < 2 || IsOption(arguments[1]))
            return std::vector<std::string>(arguments.rbegin(), arguments.rend() - 1);
        const auto commands = mApp.get_subcommands(
            [&](const CLI::App* command) { return command->get_name() == arguments[1]; });
        if (commands.empty())
            throw Failure{kUnusable, std::string(),
                          "there is no command '" + arguments[1] + "' (see zdict --help)"};
        return Reversed(arguments, *commands.front());
    }

    // CLI11 answers --help and --version before it refuses unknown arguments.
    void RefuseUnknown() const
    {
        if (mApp.remaining_size(true) > 0)
            Refuse(CLI::ExtrasError(mApp.remaining(true)));
    }

    [[noreturn]] void Refuse(const CLI::ParseError& error) const
    {
        const auto commands = mApp.get_subcommands();
        const std::string command = commands.empty() ? "" : commands[0]->get_name() + " ";
        std::string what = error.what();
        what.erase(std::remove(what.begin(), what.end(), kOperandMark), what.end());
        throw Failure{kUnusable, std::string(), what + " (see zdict " + command + "--help)"};
    }

    CLI::App mApp;
    std::vector<std::unique_ptr<Command>> mCommands;
    Command* mCommand = nullptr; // of the command line
};

CommandInfo InfoOf(const CLI::App& command)
{
    CommandInfo info = {command.get_name(), {}};
    for (const CLI::Option* const option : command.get_options())
    {
        OptionInfo one = {{}, option->get_type_name(), option->get_items_expected_max() > 0};
        for (const std::string& name : option->get_snames())
            one.mNames.push_back("-" + name);
        for (const std::string& name : option->get_lnames())
            one.mNames.push_back("--" + name);
        info.mOptions.push_back(one);
    }
    return info;
}
} // namespace

Status RunCommandLine(const std::vector<std::string>& arguments)
{
    return Parser().Parse(arguments);
}

void AddOptionalOperand(CLI::App* app, const char* name, std::string* value, const char* help)
{
    AddOneOperand(app, name, value, help);
}

void AddOperand(CLI::App* app, const char* name, std::string* value, const char* help)
{
    AddOneOperand(app, name, value, help)->required();
}

void AddOptionalOperands(CLI::App* app, const char* name, std::vector<std::string>* values,
                         const char* help)
{
    const auto store = [values](const CLI::results_t& operands) {
        std::transform(operands.begin(), operands.end(), std::back_inserter(*values), WithoutMark);
        return true;
    };
    app->add_option(name, store, help)->expected(1, -1)->allow_extra_args();
}

void AddOperands(CLI::App* app, const char* name, std::vector<std::string>* values,
                 const char* help)
{
    AddOptionalOperands(app, name, values, help);
    app->get_option(name)->required();
}

void AddFlag(CLI::App* app, const char* name, bool* flag, const char* help)
{
    app->add_flag(name, *flag, help)->disable_flag_override();
}

void AddValue(CLI::App* app, const char* name, const char* type, std::string* value,
              const char* help)
{
    const auto set = [value](const std::string& text) { *value = text; };
    AddFunction(app, name, type, set, help);
}

void AddValues(CLI::App* app, const char* name, const char* type, std::vector<std::string>* values,
               const char* help)
{
    const auto add = [values](const std::string& text) { values->push_back(text); };
    app->add_option_function<std::string>(name, add, help)
        ->type_name(type)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
        ->trigger_on_parse();
}

void AddChoice(CLI::App* app, const char* name, const std::vector<std::string>& choices,
               std::string* value, const char* help)
{
    const std::string list = CLI::detail::join(choices, "|");
    const auto set = [=, option = std::string(name)](const std::string& text) {
        if (std::find(choices.begin(), choices.end(), text) == choices.end())
            throw CLI::ValidationError(option + " is " + list + ", not '" + text + "'");
        *value = text;
    };
    AddFunction(app, name, list.c_str(), set, help);
}

void AddNumber(CLI::App* app, const char* name, const char* thing, std::uint32_t* number,
               const char* help)
{
    AddNumberTo(app, name, thing, number, help);
}

void AddNumber(CLI::App* app, const char* name, const char* thing,
               std::optional<std::uint32_t>* number, const char* help)
{
    AddNumberTo(app, name, thing, number, help);
}

void AddOutput(CLI::App* app, std::string* name)
{
    const auto set = [name](const std::string& text) {
        if (text.empty())
            throw CLI::ValidationError("-o needs a file name");
        *name = text;
    };
    AddFunction(app, "-o", "OUT", set, "write to the file OUT, not to standard output");
}

void AddLocale(CLI::App* app, std::string* name, const char* help)
{
    app->add_option("--locale", *name, help)->type_name("NAME")->take_last()->check(CheckLocale);
}

void AddKnownCodePage(CLI::App* app, const char* name, std::uint32_t* codePage, const char* help)
{
    const auto set = [codePage](const std::string& text) {
        const unsigned int active = win32::GetACP();
        *codePage = ParseCodePage(text);
        platform::SetActiveCodePage(active);
    };
    AddFunction(app, name, "N", set, help);
}

void AddNoCheck(CLI::App* app, std::vector<std::string>* names)
{
    AddValues(app, "--no-check", "CHECK", names, "leave this check out; may be repeated");
}

void AddCodePage(CLI::App* app, CodePage* codePage)
{
    const auto set = [codePage](const std::string& text) {
        *codePage = {ParseCodePage(text), true};
    };
    AddFunction(app, "--code-page", "N", set,
                "code page of texts that don't name theirs (65001, UTF-8)");
}

std::vector<CommandInfo> CommandsOf(const CLI::App& command)
{
    const CLI::App& program = *command.get_parent();
    std::vector<CommandInfo> commands = {InfoOf(program)};
    for (const CLI::App* const one : program.get_subcommands({}))
        commands.push_back(InfoOf(*one));
    return commands;
}
