#include "command_options.h"

#include <algorithm>
#include <charconv>
#include <iterator>

#include <CLI/CLI.hpp>

#include <platform/control.h>
#include <win32/text.h>

namespace
{
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
} // namespace

void AddOptionalOperand(CLI::App* app, const char* name, std::string* value, const char* help)
{
    AddOneOperand(app, name, value, help);
}

void AddOperand(CLI::App* app, const char* name, std::string* value, const char* help)
{
    AddOneOperand(app, name, value, help)->required();
}

void AddOperands(CLI::App* app, const char* name, std::vector<std::string>* values,
                 const char* help)
{
    const auto store = [values](const CLI::results_t& operands) {
        std::transform(operands.begin(), operands.end(), std::back_inserter(*values), WithoutMark);
        return true;
    };
    app->add_option(name, store, help)->required()->expected(1, -1)->allow_extra_args();
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
