#include "command_line.h"

#include <algorithm>
#include <cstdio>
#include <memory>

#include <CLI/CLI.hpp>

#include "command_options.h"
#include "commands/commands.h"

namespace
{
const char kStatusHelp[] =
    "Status: 0 success, 1 damaged content or something not found, 2 wrong usage or a\n"
    "file that can't be read or written.";

struct Row
{
    const char* mName;
    const char* mSummary;
    const char* mHelp; // in lines of at most 80 characters
    std::unique_ptr<Command> (*mMake)();
};

// In alphabetical order.
const Row kRows[] = {
    {"check", "print whether files are sound, or where they are damaged",
     "Checks images of any version, and texts, and prints a line or more for\n"
     "each: that it is fine, or where it is damaged.\n",
     MakeCheck},
    {"compile", "make an image of texts",
     "Makes an image of version 2.7 of texts, one key=text a line. If several texts\n"
     "have a key, the last one counts. A bad line is reported by file and number, and\n"
     "nothing is written then. Identifiers count the keys in the order of their first\n"
     "lines.\n",
     MakeCompile},
    {"completion", "print the completion of command lines for a shell",
     "Prints a script for bash, which completes commands, options and names of files:\n"
     "source <(zdict completion bash).\n",
     MakeCompletion},
    {"dump", "make a text of an image",
     "Writes an image of any version, or a text, as a text: a line for each key, in\n"
     "the order of their bytes. Characters that a reader would change are written as\n"
     "notations, so that compile makes the same texts of it. Content that a text\n"
     "can't carry is refused.\n",
     MakeDump},
    {"export", "make a file for translators' tools",
     "Writes English texts and their translation as PO, as a template of PO, or as\n"
     "XLIFF 1.2 or 2.0. A key is the context of its text. Without FILE, nothing is\n"
     "translated yet.\n",
     MakeExport},
    {"extract", "collect the texts of source code",
     "Collects the literals of C, C++ and Objective-C sources that begin with $$$/,\n"
     "and writes them as a text, in the order of their keys. Folders are walked. Two\n"
     "English texts of one key are an error.\n",
     MakeExtract},
    {"get", "print the texts of keys",
     "Prints the text that a look-up of each KEY finds, as it is stored, in UTF-8. KEY\n"
     "may be a literal of the source code, as $$$/a/b=text.\n",
     MakeGet},
    {"import", "make a text of a file of translators' tools",
     "Writes the translations of PO, XLIFF 1.2 or XLIFF 2.0 as a text. What a\n"
     "translator marked as fuzzy, and what is obsolete, is left out.\n",
     MakeImport},
    {"keys", "list the keys of files",
     "Lists the keys of images of any version, and of texts, each once, in the order\n"
     "of their bytes.\n",
     MakeKeys},
    {"lint", "find mistakes in translators' texts",
     "Checks texts, and compares them with the English ones if --english names them.\n"
     "Prints a line for each finding, as file:line:column: severity: message [check].\n"
     "A flag no-CHECK in the note of a text switches the check off for the text, as in\n"
     "{{*COMMENT*}}#, no-untranslated. Status 1 for an error; for a warning if strict.\n",
     MakeLint},
    {"merge", "make one image of images and texts",
     "Loads images of any version, and texts, in order, and makes one image of\n"
     "version 2.7 of them, with the identifiers that a program has after these loads.\n"
     "If several files have a key, the text of the last one counts, and the last\n"
     "comment that there is. The last locale counts too.\n",
     MakeMerge},
    {"pseudo", "make texts of a pseudo-locale",
     "Writes the English texts with accents, a third longer and in brackets, so that\n"
     "a program shows which texts it doesn't look up, cuts or can't display. Places,\n"
     "notations, markers, notes, addresses, options of programs and tags are kept.\n",
     MakePseudo},
    {"remove", "make a file without some of its keys",
     "Writes an image of version 2.7 without the keys, with the same identifiers, or a\n"
     "text without the lines of the keys. If a key is absent, nothing is written.\n",
     MakeRemove},
    {"stats", "print figures of a file",
     "Prints the figures of an image of any version, or of a text, as a table. Sizes\n"
     "are in bytes; a slot is the position of an entry, which a removed entry keeps.\n",
     MakeStats},
    {"status", "print how much of the texts is translated",
     "Prints a row for each translation: how many of the English texts are\n"
     "translated, outdated (fuzzy, or made of an older English text), untranslated and\n"
     "missing, and how many of its keys are obsolete. A terminal also shows a bar.\n",
     MakeStatus},
    {"update", "bring a translation up to date with new English texts",
     "Writes the translation TEXT again. Texts whose English text has changed are\n"
     "marked as fuzzy, with the old English text in their notes, and texts of keys\n"
     "that English lacks are left out. All other lines stay as they are, fuzzy ones\n"
     "too. Changes are reported.\n",
     MakeUpdate},
};

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
        for (const Row& row : kRows)
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
    void Add(const Row& row)
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
} // namespace

Status RunCommandLine(const std::vector<std::string>& arguments)
{
    return Parser().Parse(arguments);
}
