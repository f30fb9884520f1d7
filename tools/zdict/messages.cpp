#include "messages.h"

#include <cstdio>

#include <platform/base/printable.h>

namespace
{
const std::size_t kLongestQuote = 200;

// The last place for a cut that doesn't split a character of UTF-8.
std::size_t CutAt(const std::string& text, std::size_t length)
{
    while (length && (text[length] & 0xC0) == 0x80)
        --length;
    return length;
}
} // namespace

void Tell(const std::string& file, const std::string& what)
{
    const std::string line = file.empty() ? what : file + ": " + what;
    std::fprintf(stderr, "zdict: %s\n", platform::Printable(line).c_str());
}

void Tell(const Failure& failure)
{
    if (!failure.mWhat.empty())
        Tell(failure.mFile, failure.mWhat);
}

std::string Quoted(const std::string& text)
{
    if (text.size() <= kLongestQuote)
        return "\"" + platform::Printable(text) + "\"";
    return "\"" + platform::Printable(text.substr(0, CutAt(text, kLongestQuote))) + "...\"";
}

std::string Counted(unsigned long long count, const std::string& thing)
{
    return std::to_string(count) + " " + thing + (count == 1 ? "" : "s");
}
