#include "options.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include <CLI/CLI.hpp>

#include <platform/base/printable.h>

#include "memory_plot.h"
#include "report_file.h"

namespace
{
const char* const kUsage[] = {
    "$$$/QX/FileCache/Usage/Synopsis=Usage: filecache [options] [FOLDER]\n\n",
    "$$$/QX/FileCache/Usage/Purpose="
    "Loads every file under FOLDER (^^1) into memory under a budget, drops\n"
    "the oldest when the library asks for memory back, and tells what it did.\n"
    "Symbolic links aren't followed.\n\n",
    "$$$/QX/FileCache/Usage/Budget="
    "  --budget SIZE      bytes for the files, at least 2M; suffix K, M or G (16M)\n",
    "$$$/QX/FileCache/Usage/Threads="
    "  --threads N        threads that load, 1 to 256 (4)\n",
    "$$$/QX/FileCache/Usage/Language="
    "  --language LANG    show texts in this language: de, en, ja or pseudo (en)\n",
    "$$$/QX/FileCache/Usage/Dictionary="
    "  --dictionary FILE  take the texts shown from the dictionary FILE\n",
    "$$$/QX/FileCache/Usage/Log="
    "  --log FILE         write the library's log lines to FILE\n",
    "$$$/QX/FileCache/Usage/Telemetry="
    "  --telemetry FILE   write figures and errors of the run to FILE as JSON lines\n",
    "$$$/QX/FileCache/Usage/Report="
    "  --report FILE      write the figures, and what was unreadable or refused, to\n"
    "                     FILE: a .json or an .xml\n",
    "$$$/QX/FileCache/Usage/MemoryLog="
    "  --memory-log MS    write a row of memory figures every MS milliseconds, to\n"
    "                     /bc_memory.PROCESS.log\n",
    "$$$/QX/FileCache/Usage/MemoryPlot="
    "  --memory-plot FILE draw the use of memory to FILE, a .png, .svg or .html, by a\n"
    "                     row every MS milliseconds of --memory-log (20)\n",
    "$$$/QX/FileCache/Usage/Verbose="
    "  --verbose          tell of each purge request and each refused file\n",
    "$$$/QX/FileCache/Usage/Crash="
    "  --crash KIND       die to see the last call: of null, overflow, illegal, division,\n"
    "                     exception, terminate, pure, parameter or memory\n",
    "$$$/QX/FileCache/Usage/Help="
    "  --help             show this text\n",
    "$$$/QX/FileCache/Usage/Version="
    "  --version          show the version\n\n",
    "$$$/QX/FileCache/Usage/Status="
    "Status: 0 fine, 1 something couldn't be read or didn't match, 2 wrong usage,\n"
    "3 stopped with Escape or Ctrl-C.\n",
};

const U_u64 kSmallestBudget = 2 << 20;
const U_u64 kLargestBudget = U_u64(1) << 62; // leaves room for the application's own size
const U_u64 kMostThreads = 256;
const U_u64 kLongestInterval = 3600000; // milliseconds

// Reads the digits at the start of text, as the largest number if they make a
// larger one. Returns the character after the digits; null if there are none.
const char* ParseDigits(const char* text, U_u64* number)
{
    const auto result = std::from_chars(text, text + std::strlen(text), *number);
    if (result.ec == std::errc::result_out_of_range)
        *number = std::numeric_limits<U_u64>::max();
    return result.ec == std::errc::invalid_argument ? nullptr : result.ptr;
}

// Returns the power of two of a suffix; negative for any other text.
int SuffixShift(const char* suffix)
{
    if (!*suffix)
        return 0;
    if (suffix[1])
        return -1;
    switch (*suffix)
    {
    case 'K':
    case 'k':
        return 10;
    case 'M':
    case 'm':
        return 20;
    case 'G':
    case 'g':
        return 30;
    }
    return -1;
}

Message ParseBudget(const char* text, U_u64* budget)
{
    U_u64 number = 0;
    const char* suffix = ParseDigits(text, &number);
    int shift = suffix ? SuffixShift(suffix) : -1;
    if (shift < 0)
        return {"$$$/QX/FileCache/Wrong/BudgetNoSize="
                "the budget '^^1' isn't a size such as 512K, 16M or 1G",
                {text}};
    if (number > (kLargestBudget >> shift))
        return {"$$$/QX/FileCache/Wrong/BudgetTooLarge=the budget '^^1' is too large", {text}};
    *budget = number << shift;
    if (*budget < kSmallestBudget)
        return {"$$$/QX/FileCache/Wrong/BudgetTooSmall=the budget '^^1' is below 2M", {text}};
    return Message();
}

// A number from 1 to most; false for all else.
bool ParseCount(const char* text, U_u64 most, unsigned int* count)
{
    U_u64 number = 0;
    const char* rest = ParseDigits(text, &number);
    if (!rest || *rest || number < 1 || number > most)
        return false;
    *count = static_cast<unsigned int>(number);
    return true;
}

Message ParseThreads(const char* text, unsigned int* threads)
{
    if (!ParseCount(text, kMostThreads, threads))
        return {"$$$/QX/FileCache/Wrong/Threads=the number of threads '^^1' isn't 1 to 256",
                {text}};
    return Message();
}

Message ParseMemoryLog(const char* text, unsigned int* interval)
{
    if (!ParseCount(text, kLongestInterval, interval))
        return {"$$$/QX/FileCache/Wrong/MemoryLog="
                "the interval '^^1' isn't 1 to 3600000 milliseconds",
                {text}};
    return Message();
}

Message ParseLanguage(const char* text, const Language** language)
{
    const Language* const found = FindLanguage(text);
    if (!found)
        return {"$$$/QX/FileCache/Wrong/Language=the language '^^1' isn't de, en, ja or pseudo",
                {text}};
    *language = found;
    return Message();
}

Message CheckReportName(const char* path)
{
    if (!HasReportEnding(path))
        return {"$$$/QX/FileCache/Wrong/ReportEnding="
                "the report '^^1' ends neither in .json nor in .xml",
                {path}};
    return Message();
}

Message CheckPlotName(const char* path)
{
    if (!HasPlotEnding(path))
        return {"$$$/QX/FileCache/Wrong/PlotEnding="
                "the plot '^^1' ends in none of .png, .svg and .html",
                {path}};
    return Message();
}

Message ParseCrash(const char* text, Crash* crash)
{
    *crash = FindCrash(text);
    if (!*crash)
        return {"$$$/QX/FileCache/Wrong/Crash=there is no crash '^^1'", {text}};
    return Message();
}

Message ParseFileName(const char* name, const char* text, std::string* file)
{
    if (!*text)
        return {"$$$/QX/FileCache/Wrong/NoFileName=^^1 needs a file name", {name}};
    *file = text;
    return Message();
}

// Reads the value of an option.
struct ValueOption
{
    const char* name;
    Message (*parse)(const char* value, Options* options);
};

const ValueOption kValueOptions[] = {
    {"--budget", [](const char* value, Options* o) { return ParseBudget(value, &o->budget); }},
    {"--threads", [](const char* value, Options* o) { return ParseThreads(value, &o->threads); }},
    {"--language",
     [](const char* value, Options* o) { return ParseLanguage(value, &o->language); }},
    {"--memory-log",
     [](const char* value, Options* o) { return ParseMemoryLog(value, &o->memoryLog); }},
    {"--crash", [](const char* value, Options* o) { return ParseCrash(value, &o->crash); }},
    {"--log",
     [](const char* value, Options* o) { return ParseFileName("--log", value, &o->logFile); }},
    {"--telemetry",
     [](const char* value, Options* o) {
         return ParseFileName("--telemetry", value, &o->telemetryFile);
     }},
    {"--dictionary",
     [](const char* value, Options* o) {
         return ParseFileName("--dictionary", value, &o->dictionary);
     }},
    {"--memory-plot",
     [](const char* value, Options* o) {
         const Message wrong = ParseFileName("--memory-plot", value, &o->memoryPlot);
         return wrong ? wrong : CheckPlotName(value);
     }},
    {"--report",
     [](const char* value, Options* o) {
         const Message wrong = ParseFileName("--report", value, &o->reportFile);
         return wrong ? wrong : CheckReportName(value);
     }},
};

Message UnknownOption(const std::string& argument)
{
    return {"$$$/QX/FileCache/Wrong/Option=unknown option '^^1'", {argument}};
}

Message SecondFolder(const std::string& name)
{
    return {"$$$/QX/FileCache/Wrong/SecondFolder=only one folder can be given, not '^^1' too",
            {name}};
}

bool TakesValue(const std::string& name)
{
    return std::any_of(std::begin(kValueOptions), std::end(kValueOptions),
                       [&name](const ValueOption& option) { return name == option.name; });
}

// The command line, divided at the mark "--".
struct Arguments
{
    explicit Arguments(const std::vector<std::string>& arguments)
    {
        bool isValue = false;
        for (auto next = arguments.begin() + 1; next < arguments.end(); ++next)
        {
            const std::string& argument = *next;
            if (!isValue && argument == "--")
            {
                folders.assign(next + 1, arguments.end());
                break;
            }
            isValue = !isValue && TakesValue(argument);
            beforeMark.push_back(argument);
        }
    }

    std::vector<std::string> beforeMark;
    std::vector<std::string> folders; // after the mark
};

// Checks an argument of the form --name=value, which CLI11 accepts for flags and without a
// value, too.
Message CheckJoined(const std::string& argument)
{
    const std::size_t equals = argument.find('=');
    if (argument.compare(0, 2, "--") != 0 || equals == std::string::npos)
        return Message();
    const std::string name = argument.substr(0, equals);
    if (!TakesValue(name))
        return UnknownOption(argument);
    if (equals + 1 == argument.size())
        return {"$$$/QX/FileCache/Wrong/NoValue=^^1 needs a value", {name}};
    return Message();
}

// Checks the arguments that are neither options nor the first folder.
Message CheckRest(const std::vector<std::string>& rest)
{
    if (rest.empty())
        return Message();
    return rest.front()[0] == '-' ? UnknownOption(rest.front()) : SecondFolder(rest.front());
}
} // namespace

Message ParseOptions(const std::vector<std::string>& commandLine, Options* options)
{
    CLI::App app;
    app.set_help_flag();
    app.allow_extras();
    app.allow_windows_style_options(false); // a path begins with a slash
    CLI::Option* const folder = app.add_option("folder", options->folder);
    app.add_flag("--verbose", options->verbose);
    app.add_flag("--help", options->help);
    app.add_flag("--version", options->version);
    std::vector<std::pair<const ValueOption*, CLI::Option*>> values;
    for (const ValueOption& option : kValueOptions)
        values.emplace_back(&option, app.add_option(option.name)->take_all());

    const Arguments arguments(commandLine);
    Message firstWrong;
    for (const std::string& argument : arguments.beforeMark)
    {
        if (!firstWrong)
            firstWrong = CheckJoined(argument);
    }
    if (firstWrong)
        return firstWrong;
    try
    {
        // CLI11 takes the arguments from the last to the first.
        app.parse(
            std::vector<std::string>(arguments.beforeMark.rbegin(), arguments.beforeMark.rend()));
        firstWrong = CheckRest(app.remaining());
    }
    catch (const CLI::ParseError&)
    {
        firstWrong = {"$$$/QX/FileCache/Wrong/NoValue=^^1 needs a value", {commandLine.back()}};
    }
    for (std::size_t i = 0; i < arguments.folders.size(); ++i)
    {
        if (i == 0 && folder->count() == 0)
            options->folder = arguments.folders[i];
        else if (!firstWrong)
            firstWrong = SecondFolder(arguments.folders[i]);
    }
    for (const auto& [option, given] : values)
    {
        for (const std::string& value : given->results())
        {
            const Message wrong = option->parse(value.c_str(), options);
            if (!firstWrong)
                firstWrong = wrong;
        }
    }
    if (!firstWrong && options->language && !options->dictionary.empty())
        return "$$$/QX/FileCache/Wrong/TwoDictionaries="
               "--language and --dictionary can't be given together";
    return firstWrong;
}

void PrintUsage()
{
    for (const char* text : kUsage)
        std::fputs(platform::Printable(Text({text, {DefaultFolder()}}), "\n").c_str(), stdout);
}
