#include "extract/literal.h"

#include <cstdint>
#include <cstring>

#include <boost/nowide/utf/utf.hpp>

namespace
{
int DigitOf(char character)
{
    if (character >= '0' && character <= '9')
        return character - '0';
    const int letter = character | 0x20;
    return letter >= 'a' && letter <= 'f' ? letter - 'a' + 10 : -1;
}

// Reads at most `most` digits, and moves `at` after them. Returns false if there is none. A
// number above all Unicode characters is cut, and stays above.
bool ReadDigits(const char*& at, const char* end, int base, std::size_t most, std::uint32_t* number)
{
    const std::uint32_t kAboveAll = 0x110000;
    const char* const begin = at;
    *number = 0;
    while (at != end && most-- && DigitOf(*at) >= 0 && DigitOf(*at) < base)
    {
        *number =
            *number * static_cast<std::uint32_t>(base) + static_cast<std::uint32_t>(DigitOf(*at++));
        *number = *number < kAboveAll ? *number : kAboveAll;
    }
    return at != begin;
}

// `at` is after the backslash, and not at the end.
const char* AppendEscape(const char*& at, const char* end, std::string* bytes)
{
    static const char kLetters[] = "abefnrtv";
    static const char kValues[] = "\a\b\x1B\f\n\r\t\v";
    const char letter = *at;
    std::uint32_t number = 0;
    if (const char* const found = letter ? std::strchr(kLetters, letter) : nullptr)
    {
        bytes->push_back(kValues[found - kLetters]);
        ++at;
        return nullptr;
    }
    if (ReadDigits(at, end, 8, 3, &number) || letter == 'x')
    {
        if (letter == 'x' && !ReadDigits(++at, end, 16, SIZE_MAX, &number))
            return "\\x is without a number";
        if (number > 0xFF)
            return "the number of an escape is above a byte";
        bytes->push_back(static_cast<char>(number));
        return nullptr;
    }
    if (letter == 'u' || letter == 'U')
    {
        const std::size_t digits = letter == 'u' ? 4 : 8;
        const char* const begin = ++at;
        if (!ReadDigits(at, end, 16, digits, &number) ||
            static_cast<std::size_t>(at - begin) != digits ||
            !boost::nowide::utf::is_valid_codepoint(number))
            return "an escape is not a character's number";
        boost::nowide::utf::utf_traits<char>::encode(number, std::back_inserter(*bytes));
        return nullptr;
    }
    if (!std::strchr("\"'?\\", letter))
        return "an escape is unknown";
    bytes->push_back(letter);
    ++at;
    return nullptr;
}

const char* AppendQuoted(const char* at, const char* end, std::string* bytes)
{
    while (at != end)
    {
        const void* const found = std::memchr(at, '\\', static_cast<std::size_t>(end - at));
        const char* const backslash = found ? static_cast<const char*>(found) : end;
        bytes->append(at, backslash);
        at = backslash;
        if (at == end)
            return nullptr;
        if (++at == end)
            return "an escape is cut";
        if (const char* const problem = AppendEscape(at, end, bytes))
            return problem;
    }
    return nullptr;
}

std::string WithoutContinuations(const char* at, const char* end)
{
    std::string result;
    while (at < end)
    {
        const char* const next = SkipContinuations(at);
        if (next == at)
            result.push_back(*at++);
        else
            at = next;
    }
    return result;
}

// Compilers read each line end as a line feed.
void AppendRaw(const char* at, const char* end, std::string* bytes)
{
    for (; at != end; ++at)
    {
        if (*at != '\r' || at + 1 == end || at[1] != '\n')
            bytes->push_back(*at);
    }
}
} // namespace

const char* AppendLiteral(const Token& literal, std::string* bytes)
{
    const char* const begin = literal.mBody;
    const char* const end = literal.mBodyEnd;
    if (literal.mIsRaw)
    {
        AppendRaw(begin, end, bytes);
        return nullptr;
    }
    if (!std::memchr(begin, '\n', static_cast<std::size_t>(end - begin)))
        return AppendQuoted(begin, end, bytes);
    const std::string joined = WithoutContinuations(begin, end);
    return AppendQuoted(joined.data(), joined.data() + joined.size(), bytes);
}
