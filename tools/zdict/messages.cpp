#include "messages.h"

#include <cstdio>

#include <platform/base/code_units.h>
#include <platform/base/printable.h>

namespace
{
const std::size_t kLongestQuote = 200;
} // namespace

void Report(const std::string& file, const std::string& what)
{
    const std::string line = file.empty() ? what : file + ": " + what;
    std::fprintf(stderr, "zdict: %s\n", platform::Printable(line).c_str());
}

void ReportAt(const std::string& place, const std::string& what)
{
    std::fprintf(stderr, "%s\n", platform::Printable(place + ": " + what).c_str());
}

void Report(const Failure& failure)
{
    if (failure.mWhat.empty())
        return;
    if (failure.mIsPlace)
        ReportAt(failure.mFile, failure.mWhat);
    else
        Report(failure.mFile, failure.mWhat);
}

std::string Quoted(const std::string& text)
{
    const std::size_t length = platform::CutUTF8(text.data(), text.size(), kLongestQuote);
    const char* const end = length < text.size() ? "...\"" : "\"";
    return "\"" + platform::Printable(text.substr(0, length)) + end;
}

std::string Counted(unsigned long long count, const std::string& thing)
{
    return std::to_string(count) + " " + thing + (count == 1 ? "" : "s");
}
