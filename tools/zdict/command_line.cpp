#include "command_line.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include <platform/control.h>
#include <win32/text.h>

namespace
{
const char kStatusHelp[] =
    "Status: 0 success, 1 damaged content or something not found, 2 wrong usage or a\n"
    "file that can't be read or written.";

typedef Status (*Run)(const Options& options);

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

bool TakesValue(const std::string& argument)
{
    return argument == "-o" || argument == "--locale" || argument == "--base" ||
           argument == "--code-page";
}

// Protects a file name that CLI11 would not read as one operand: [a,b] is a list, ++ ends a
// command, and after -- a name may begin with a minus.
std::string FileName(const std::string& name, bool isAfterMark)
{
    const bool isList = name.size() > 1 && name.front() == '[' && name.back() == ']';
    const bool isOption = isAfterMark && name.size() > 1 && name.front() == '-';
    return isList || isOption || name == "++" ? "./" + name : name;
}

// Returns the arguments after the program's name, from the last to the first, as CLI11 takes
// them. CLI11 knows the mark -- only while operands are missing, so the mark of a command
// whose operands are all files is dropped here. The key of `get` is not a file.
std::vector<std::string> Reversed(const std::vector<std::string>& arguments)
{
    const bool areFiles = arguments.size() > 1 && arguments[1] != "get";
    std::vector<std::string> result;
    bool isValue = false;
    bool isAfterMark = false;
    for (std::size_t i = 1; i < arguments.size(); ++i)
    {
        const std::string& argument = arguments[i];
        const std::size_t equals = argument.find('=');
        if (isValue || !areFiles)
        {
            result.push_back(argument);
            isValue = false;
        }
        else if (!isAfterMark && argument == "--")
            isAfterMark = true;
        else if (!isAfterMark && argument.compare(0, 3, "-o=") == 0)
            result.insert(result.end(), {"-o", argument.substr(3)});
        else if (!isAfterMark && equals + 1 == argument.size() &&
                 TakesValue(argument.substr(0, equals)))
            throw Failure{kUnusable, std::string(),
                          argument.substr(0, equals) + " needs a value (see zdict --help)"};
        else
        {
            isValue = !isAfterMark && TakesValue(argument);
            result.push_back(isValue ? argument : FileName(argument, isAfterMark));
        }
    }
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
        mApp.set_help_flag("--help", "print this text");
        mApp.get_formatter()->column_width(20);
        mApp.get_formatter()->label("REQUIRED", "");
        mApp.require_subcommand(0, 1); // a second command's name is an operand
        mApp.footer(std::string("'-' as a file is standard input or output. 'zdict COMMAND "
                                "--help' describes one\ncommand, the manual page zdict(1) all "
                                "of them.\n\n") +
                    kStatusHelp);
        AddCompile();
        AddDump();
        AddGet();
        AddCheck();
        AddMerge();
        AddStats();
    }

    Status Parse(const std::vector<std::string>& arguments)
    {
        try
        {
            mApp.parse(Reversed(arguments));
            if (!mRun)
                throw CLI::RequiredError("A command");
        }
        catch (const CLI::CallForHelp&)
        {
            RequireCommand(arguments);
            // CLI11 answers --help before it refuses unknown arguments.
            if (mApp.remaining_size(true) > 0)
                Refuse(CLI::ExtrasError(mApp.remaining(true)));
            std::fputs(mApp.help().c_str(), stdout);
            return kFine;
        }
        catch (const CLI::ParseError& error)
        {
            RequireCommand(arguments);
            Refuse(error);
        }
        return mRun(mOptions);
    }

private:
    // Throws a Failure if the first argument is neither an option nor a command.
    void RequireCommand(const std::vector<std::string>& arguments) const
    {
        if (mApp.get_subcommands().empty() && arguments.size() > 1 &&
            arguments[1].rfind('-', 0) != 0)
            throw Failure{kUnusable, std::string(),
                          "there is no command '" + arguments[1] + "' (see zdict --help)"};
    }

    [[noreturn]] void Refuse(const CLI::ParseError& error) const
    {
        const auto commands = mApp.get_subcommands();
        const std::string command = commands.empty() ? "" : commands[0]->get_name() + " ";
        throw Failure{kUnusable, std::string(),
                      std::string(error.what()) + " (see zdict " + command + "--help)"};
    }

    CLI::App* Add(const char* name, Run run, const char* summary, const char* help)
    {
        CLI::App* const command = mApp.add_subcommand(name, summary);
        command->footer(std::string(help) + "\n" + kStatusHelp);
        command->callback([this, run] { mRun = run; });
        command
            ->add_option_function<std::string>(
                "--code-page", [this](const std::string& value) { SetCodePage(value); },
                "code page of texts that don't name theirs (65001, UTF-8)")
            ->type_name("N")
            ->take_last();
        return command;
    }

    CLI::Option* AddOperand(CLI::App* command, const char* name, const char* help)
    {
        const auto store = [this](const CLI::results_t& operands) {
            mOptions.mOperands.insert(mOptions.mOperands.end(), operands.begin(), operands.end());
            return true;
        };
        return command->add_option(name, store, help)->required();
    }

    void AddOperands(CLI::App* command, const char* name, const char* help)
    {
        AddOperand(command, name, help)->expected(1, -1)->allow_extra_args();
    }

    static void AddFlag(CLI::App* command, const char* name, bool* flag, const char* help)
    {
        command->add_flag(name, *flag, help)->disable_flag_override();
    }

    void AddOutput(CLI::App* command)
    {
        command
            ->add_option_function<std::string>(
                "-o", [this](const std::string& value) { SetOutput(value); },
                "write to the file OUT, not to standard output")
            ->type_name("OUT")
            ->take_last();
    }

    // The options of commands that write an image.
    void AddImageOptions(CLI::App* command)
    {
        AddOutput(command);
        command
            ->add_option("--locale", mOptions.mLocale, "the locale that the image names, as de_DE")
            ->type_name("NAME")
            ->take_last()
            ->check(CheckLocale);
        command
            ->add_option_function<std::string>(
                "--base", [this](const std::string& value) { SetBase(value); },
                "first identifier, if it continues another image (0)")
            ->type_name("N")
            ->take_last();
        AddFlag(command, "--big-endian", &mOptions.mBigEndian, "write a big-endian image");
        AddFlag(command, "--no-keys", &mOptions.mNoKeys,
                "leave keys out: texts are found by identifier only");
        AddFlag(command, "--verbose", &mOptions.mVerbose,
                "print how many texts each file has and replaces");
    }

    void AddCompile()
    {
        CLI::App* const command =
            Add("compile", Compile, "make an image of texts",
                "Makes an image of version 2.7 of texts, one key=text a line. If several texts\n"
                "have a key, the last one counts. A bad line is reported by file and number, and\n"
                "nothing is written then. Identifiers count the keys in the order of their first\n"
                "lines.\n");
        AddImageOptions(command);
        AddOperands(command, "TEXT", "texts, in order");
    }

    void AddDump()
    {
        CLI::App* const command =
            Add("dump", Dump, "make a text of an image",
                "Writes an image of any version, or a text, as a text: a line for each key, in\n"
                "the order of their bytes. Characters that a reader would change are written as\n"
                "notations, so that compile makes the same texts of it. Content that a text\n"
                "can't carry is refused.\n");
        AddOutput(command);
        AddFlag(command, "--utf16", &mOptions.mUTF16, "write UTF-16, not UTF-8");
        AddFlag(command, "--no-comments", &mOptions.mNoComments, "leave comments out");
        AddOperand(command, "FILE", "an image or a text");
    }

    void AddGet()
    {
        CLI::App* const command =
            Add("get", Get, "print the text of a key",
                "Prints the text that a look-up of KEY finds, as it is stored, in UTF-8. KEY may\n"
                "be a literal of the source code, as $$$/a/b=text.\n");
        AddFlag(command, "--comment", &mOptions.mComment, "print the comment, not the text");
        AddOperand(command, "FILE", "an image or a text");
        AddOperand(command, "KEY", "a key, or a literal of the source code");
    }

    void AddCheck()
    {
        AddOperands(Add("check", Check, "print whether files are sound, or where they are damaged",
                        "Checks images of any version, and texts, and prints a line or more for\n"
                        "each: that it is fine, or where it is damaged.\n"),
                    "FILE", "images and texts");
    }

    void AddMerge()
    {
        CLI::App* const command =
            Add("merge", Merge, "make one image of images and texts",
                "Loads images of any version, and texts, in order, and makes one image of\n"
                "version 2.7 of them. If several files have a key, the text of the last one\n"
                "counts, and the last comment that there is. The last locale counts too.\n");
        AddImageOptions(command);
        AddOperands(command, "FILE", "images and texts, in order");
    }

    void AddStats()
    {
        AddOperand(
            Add("stats", Stats, "print figures of a file",
                "Prints the figures of an image of any version, or of a text, as a table. Sizes\n"
                "are in bytes; a slot is the position of an entry, which a removed entry keeps.\n"),
            "FILE", "an image or a text");
    }

    void SetOutput(const std::string& value)
    {
        if (value.empty())
            throw CLI::ValidationError("-o needs a file name");
        mOptions.mOutput = value;
    }

    void SetBase(const std::string& value)
    {
        mOptions.mBase =
            ParseNumber(value, "the base '" + value + "' isn't a number from 0 to 4294967295");
    }

    void SetCodePage(const std::string& value)
    {
        const std::string problem =
            "the code page '" + value +
            "' isn't 932, 936, 949, 950, 1250 to 1258, 10000, 10001, 10007 or 65001";
        mOptions.mCodePage = ParseNumber(value, problem);
        mOptions.mCodePageGiven = true;
        platform::SetActiveCodePage(mOptions.mCodePage);
        if (win32::GetACP() != mOptions.mCodePage)
            throw CLI::ValidationError(problem);
    }

    CLI::App mApp;
    Options mOptions;
    Run mRun = nullptr;
};
} // namespace

Status RunCommandLine(const std::vector<std::string>& arguments)
{
    return Parser().Parse(arguments);
}
