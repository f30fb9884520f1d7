// The completion of command lines by a shell.

#include <algorithm>

#include "command_options.h"
#include "commands/commands.h"
#include "files.h"
#include "lint/checks.h"

namespace
{
// With -o default, bash completes the names of files where the function finds nothing.
const char kBegin[] = R"(# Completion of zdict for bash, by "zdict completion bash".
_zdict()
{
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} words
    if [ "$current" = = ]; then
        current=
    elif [ "$previous" = = ]; then
        previous=${COMP_WORDS[COMP_CWORD - 2]}
    fi
    COMPREPLY=()
    if [ "$COMP_CWORD" -eq 1 ]; then
        COMPREPLY=($(compgen -W "COMMANDS" -- "$current"))
        return
    fi
    case "${COMP_WORDS[1]} $previous" in
)";
const char kMiddle[] = R"(    esac
    if [[ ${COMP_WORDS[1]} == completion && $current != -* ]]; then
        COMPREPLY=($(compgen -W bash -- "$current"))
        return
    fi
    [[ $current == -* ]] || return
    case "${COMP_WORDS[1]}" in
)";
const char kEnd[] = R"(    esac
    COMPREPLY=($(compgen -W "$words" -- "$current"))
}
complete -o default -F _zdict zdict
)";

// Returns all names of the options, separated by blanks.
std::string OptionsOf(const CommandInfo& command)
{
    std::string names;
    for (const OptionInfo& option : command.mOptions)
    {
        for (const std::string& name : option.mNames)
            names += (names.empty() ? "" : " ") + name;
    }
    return names;
}

// Returns the values of an option, separated by blanks. A value with choices has them as its type.
std::string ValuesOf(const OptionInfo& option)
{
    std::string values = option.mType;
    if (values == "CHECK")
    {
        values.clear();
        for (const std::string& name : NamesOfChecks())
            values += (values.empty() ? "" : " ") + name;
        return values;
    }
    if (values.find('|') == std::string::npos)
        return std::string();
    std::replace(values.begin(), values.end(), '|', ' ');
    return values;
}

// Appends how the value of an option is completed.
void AppendValue(const std::string& command, const OptionInfo& option, std::string* script)
{
    if (!option.mTakesValue || option.mType == "FILE" || option.mType == "OUT")
        return;
    const std::string values = ValuesOf(option);
    const std::string completion =
        values.empty() ? "compopt +o default"
                       : "COMPREPLY=($(compgen -W '" + values + "' -- \"$current\"))";
    for (const std::string& name : option.mNames)
    {
        script->append("    '").append(command).append(" ").append(name).append("')\n");
        script->append("        ").append(completion).append("\n        return ;;\n");
    }
}

std::string BashScript(const std::vector<CommandInfo>& commands)
{
    std::string names;
    std::string values;
    std::string options;
    for (std::size_t i = 1; i < commands.size(); ++i)
    {
        const CommandInfo& command = commands[i];
        names += command.mName + " ";
        options += "    " + command.mName + ") words='" + OptionsOf(command) + "' ;;\n";
        for (const OptionInfo& option : command.mOptions)
            AppendValue(command.mName, option, &values);
    }
    names += OptionsOf(commands.front()); // of the program
    std::string begin = kBegin;
    const std::string place = "COMMANDS";
    begin.replace(begin.find(place), place.size(), names);
    return begin + values + kMiddle + options + kEnd;
}

class Completion : public Command
{
public:
    void AddOptions(CLI::App* app) override
    {
        mApp = app;
        AddOutput(app, &mOutput);
        AddOperand(app, "SHELL", &mShell, "the shell: bash");
    }

    Status Run() override
    {
        if (mShell != "bash")
            throw Failure{kUnusable, std::string(),
                          "there is no completion for the shell '" + mShell + "', only for bash"};
        WriteFile(mOutput, BashScript(CommandsOf(*mApp)), Content::kText);
        return kFine;
    }

private:
    CLI::App* mApp = nullptr;
    std::string mShell;
    std::string mOutput = kStandardStream;
};
} // namespace

std::unique_ptr<Command> MakeCompletion()
{
    return std::make_unique<Completion>();
}
