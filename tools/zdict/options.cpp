#include "options.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <iterator>

#include <platform/control.h>
#include <win32/text.h>

namespace
{
// Sets an option; its value is empty if it has none. Returns what is wrong.
typedef std::string (*Setter)(const std::string& value, Options* options);

struct Option
{
    OptionBit mBit;
    const char* mName;
    const char* mValue; // what people call it; null if there is none
    Setter mSet;
    const char* mHelp;
};

// Decimal digits and nothing else.
bool ParseNumber(const std::string& text, std::uint32_t* number)
{
    const char* const end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, *number);
    return result.ec == std::errc() && result.ptr == end;
}

std::string SetOutput(const std::string& value, Options* options)
{
    options->mOutput = value;
    return value.empty() ? "-o needs a file name" : std::string();
}

std::string SetLocale(const std::string& value, Options* options)
{
    const char* const allowed =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_-@.";
    options->mLocale = value;
    if (value.empty() || value.find_first_not_of(allowed) != std::string::npos)
        return "the locale '" + value + "' isn't a name such as de_DE";
    return std::string();
}

std::string SetCodePage(const std::string& value, Options* options)
{
    options->mCodePageGiven = true;
    const bool isNumber = ParseNumber(value, &options->mCodePage);
    platform::SetActiveCodePage(options->mCodePage);
    if (!isNumber || win32::GetACP() != options->mCodePage)
        return "the code page '" + value +
               "' isn't 932, 936, 949, 950, 1250 to 1258, 10000, 10001, 10007 or 65001";
    return std::string();
}

std::string SetBase(const std::string& value, Options* options)
{
    if (!ParseNumber(value, &options->mBase))
        return "the base '" + value + "' isn't a number from 0 to 4294967295";
    return std::string();
}

template <bool Options::*field> std::string SetFlag(const std::string&, Options* options)
{
    options->*field = true;
    return std::string();
}

const Option kOptions[] = {
    {kOutputOption, "-o", "OUT", SetOutput, "write to the file OUT, not to standard output"},
    {kLocaleOption, "--locale", "NAME", SetLocale, "the locale that the image names, as de_DE"},
    {kCodePageOption, "--code-page", "N", SetCodePage,
     "code page of what doesn't say its own (65001, UTF-8)"},
    {kBaseOption, "--base", "N", SetBase, "first identifier, if it continues another image (0)"},
    {kBigEndianOption, "--big-endian", nullptr, SetFlag<&Options::mBigEndian>,
     "write a big-endian image"},
    {kNoKeysOption, "--no-keys", nullptr, SetFlag<&Options::mNoKeys>,
     "leave keys out: texts are found by identifier only"},
    {kUTF16Option, "--utf16", nullptr, SetFlag<&Options::mUTF16>, "write UTF-16, not UTF-8"},
    {kCommentOption, "--comment", nullptr, SetFlag<&Options::mComment>,
     "give the comment, not the text"},
    {kNoCommentsOption, "--no-comments", nullptr, SetFlag<&Options::mNoComments>,
     "leave comments out"},
    {kVerboseOption, "--verbose", nullptr, SetFlag<&Options::mVerbose>,
     "tell how many texts each file gave and replaced"},
    {kHelpOption, "--help", nullptr, SetFlag<&Options::mHelp>, "show this text"},
};

const Option* FindOption(const std::string& name)
{
    const auto matches = [&](const Option& option) { return name == option.mName; };
    const Option* found = std::find_if(std::begin(kOptions), std::end(kOptions), matches);
    return found == std::end(kOptions) ? nullptr : found;
}

// Reads the option at *arguments, and goes on to its last argument.
std::string ParseOption(const char* const** arguments, unsigned int taken, Options* options)
{
    const std::string argument = **arguments;
    const std::size_t equals = argument.find('=');
    const std::string name = argument.substr(0, equals);
    const Option* const option = FindOption(name);
    if (!option || !(option->mBit & (taken | kHelpOption)))
        return "unknown option '" + name + "'";
    if (equals != std::string::npos)
    {
        if (!option->mValue)
            return name + " takes no value";
        return option->mSet(argument.substr(equals + 1), options);
    }
    if (!option->mValue)
        return option->mSet(std::string(), options);
    const char* const value = (*arguments)[1];
    if (!value)
        return name + " needs a value";
    ++*arguments;
    return option->mSet(value, options);
}
} // namespace

std::string ParseOptions(const char* const* arguments, unsigned int taken, Options* options)
{
    bool onlyOperands = false; // behind --
    for (; *arguments; ++arguments)
    {
        const char* const argument = *arguments;
        if (onlyOperands || argument[0] != '-' || !argument[1])
        {
            options->mOperands.emplace_back(argument);
            continue;
        }
        if (std::strcmp(argument, "--") == 0)
        {
            onlyOperands = true;
            continue;
        }
        std::string wrong = ParseOption(&arguments, taken, options);
        if (!wrong.empty())
            return wrong;
    }
    return std::string();
}

std::string OptionsHelp(unsigned int taken)
{
    const std::size_t column = 20;
    std::string help;
    for (const Option& option : kOptions)
    {
        if (!(option.mBit & (taken | kHelpOption)))
            continue;
        std::string line = std::string("  ") + option.mName;
        if (option.mValue)
            line += std::string(" ") + option.mValue;
        line.resize(std::max(column, line.size() + 1), ' ');
        help += line + option.mHelp + "\n";
    }
    return help;
}
