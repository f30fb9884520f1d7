#include "options.h"

#include <limits>

const char* const kUsage =
    "Usage: filecache [options] [FOLDER]\n"
    "\n"
    "Loads every file under FOLDER (/usr/include) into memory under a budget, drops\n"
    "the oldest when the library asks for memory back, and tells what it did.\n"
    "Symbolic links aren't followed.\n"
    "\n"
    "  --budget SIZE   bytes for the files, at least 2M; suffix K, M or G (16M)\n"
    "  --threads N     threads that load, 1 to 256 (4)\n"
    "  --log FILE      write the library's log lines to FILE\n"
    "  --verbose       tell of each purge request and each refused file\n"
    "  --help          show this text\n"
    "\n"
    "Status: 0 fine, 1 something couldn't be read or didn't match, 2 wrong usage.\n";

namespace
{
const U_u64 kSmallestBudget = 2 << 20;
const U_u64 kLargestBudget = U_u64(1) << 62; // leaves room for the application's own size
const U_u64 kMostThreads = 256;

// Reads the digits at the start of text, as the largest number if they make a
// larger one. Returns what follows them, null if there are none.
const char* ParseDigits(const char* text, U_u64* number)
{
    const U_u64 largest = std::numeric_limits<U_u64>::max();
    const char* next = text;
    *number = 0;
    for (; *next >= '0' && *next <= '9'; ++next)
    {
        U_u64 digit = static_cast<U_u64>(*next - '0');
        *number = *number > (largest - digit) / 10 ? largest : *number * 10 + digit;
    }
    return next == text ? nullptr : next;
}

// The power of two that a suffix stands for; negative if it is none.
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

std::string ParseBudget(const char* text, U_u64* budget)
{
    const std::string quoted = "'" + std::string(text) + "'";
    U_u64 number = 0;
    const char* suffix = ParseDigits(text, &number);
    int shift = suffix ? SuffixShift(suffix) : -1;
    if (shift < 0)
        return "the budget " + quoted + " isn't a size such as 512K, 16M or 1G";
    if (number > (kLargestBudget >> shift))
        return "the budget " + quoted + " is too large";
    *budget = number << shift;
    if (*budget < kSmallestBudget)
        return "the budget " + quoted + " is below 2M";
    return std::string();
}

std::string ParseThreads(const char* text, unsigned int* threads)
{
    U_u64 number = 0;
    const char* rest = ParseDigits(text, &number);
    if (!rest || *rest || number < 1 || number > kMostThreads)
        return "the number of threads '" + std::string(text) + "' isn't 1 to 256";
    *threads = static_cast<unsigned int>(number);
    return std::string();
}

// Options that take a value.
std::string ParseValue(const std::string& name, const char* value, Options* options)
{
    if (!value)
        return name + " needs a value";
    if (name == "--budget")
        return ParseBudget(value, &options->budget);
    if (name == "--threads")
        return ParseThreads(value, &options->threads);
    if (!*value)
        return "--log needs a file name";
    options->logFile = value;
    return std::string();
}
} // namespace

std::string ParseOptions(int argc, char** argv, Options* options)
{
    bool folderGiven = false;
    bool onlyNames = false; // after --
    for (int at = 1; at < argc; ++at)
    {
        const std::string argument = argv[at];
        std::string wrong;
        if (onlyNames || argument[0] != '-')
        {
            if (folderGiven)
                wrong = "only one folder can be given, not '" + argument + "' too";
            folderGiven = true;
            options->folder = argument;
        }
        else if (argument == "--")
            onlyNames = true;
        else if (argument == "--help")
            options->help = true;
        else if (argument == "--verbose")
            options->verbose = true;
        else if (argument == "--budget" || argument == "--threads" || argument == "--log")
        {
            // The list of arguments ends with a null, which tells of a missing value.
            ++at;
            wrong = ParseValue(argument, argv[at], options);
        }
        else
            wrong = "unknown option '" + argument + "'";

        if (!wrong.empty())
            return wrong;
    }
    return std::string();
}
