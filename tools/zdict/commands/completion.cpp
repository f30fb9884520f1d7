// The completion of command lines by a shell.

#include <algorithm>

#include <CLI/CLI.hpp>

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

std::vector<std::string> NamesOf(const CLI::Option& option)
{
    std::vector<std::string> names;
    for (const std::string& name : option.get_snames())
        names.push_back("-" + name);
    for (const std::string& name : option.get_lnames())
        names.push_back("--" + name);
    return names;
}

// Returns all names of the options, each after a blank.
std::string OptionsOf(const CLI::App& app)
{
    std::string names;
    for (const CLI::Option* option : app.get_options())
    {
        for (const std::string& name : NamesOf(*option))
            names += " " + name;
    }
    return names;
}

// Returns the values of an option, separated by blanks. A value with choices has them as its type.
std::string ValuesOf(const CLI::Option& option)
{
    std::string values = option.get_type_name();
    if (values == "CHECK")
        return CLI::detail::join(NamesOfChecks(), " ");
    if (values.find('|') == std::string::npos)
        return std::string();
    std::replace(values.begin(), values.end(), '|', ' ');
    return values;
}

// Appends how the value of an option is completed.
void AppendValue(const std::string& command, const CLI::Option& option, std::string* script)
{
    const std::string type = option.get_type_name();
    if (option.get_items_expected_max() == 0 || type == "FILE" || type == "OUT")
        return;
    const std::string values = ValuesOf(option);
    const std::string completion =
        values.empty() ? "compopt +o default"
                       : "COMPREPLY=($(compgen -W '" + values + "' -- \"$current\"))";
    for (const std::string& name : NamesOf(option))
    {
        script->append("    '").append(command).append(" ").append(name).append("')\n");
        script->append("        ").append(completion).append("\n        return ;;\n");
    }
}

std::string BashScript(const CLI::App& program)
{
    std::string commands;
    std::string values;
    std::string options;
    for (const CLI::App* command : program.get_subcommands({}))
    {
        const std::string& name = command->get_name();
        commands += name + " ";
        options += "    " + name + ") words='" + OptionsOf(*command).substr(1) + "' ;;\n";
        for (const CLI::Option* option : command->get_options())
            AppendValue(name, *option, &values);
    }
    commands += OptionsOf(program).substr(1);
    std::string begin = kBegin;
    const std::string place = "COMMANDS";
    begin.replace(begin.find(place), place.size(), commands);
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
        WriteFile(mOutput, BashScript(*mApp->get_parent()), Content::kText);
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
