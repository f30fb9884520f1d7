#include "lint/parameters.h"

#include <algorithm>

#include "lint/units.h"

namespace
{
const std::size_t kNone = std::u16string_view::npos;
const std::u16string_view kDigits = u"0123456789";

bool IsDigit(char16_t unit)
{
    return unit >= '0' && unit <= '9';
}

bool IsLetter(char16_t unit)
{
    return (unit >= 'a' && unit <= 'z') || (unit >= 'A' && unit <= 'Z');
}

// Fills in the place whose caret is at `at`. Returns false if there is none.
bool ReadCaret(std::u16string_view text, std::size_t at, Parameter* place)
{
    std::size_t next = at + 1;
    const bool hasLetter =
        next < text.size() && std::u16string_view(u"LFB").find(text[next]) != kNone;
    const bool isNumber = hasLetter && text[next] == 'F';
    next += hasLetter ? 1 : 0;
    if (next >= text.size() || !IsDigit(text[next]) || text[next] == '0')
        return false;
    *place = {Parameter::kCaret, text[next], at, next + 1, next + 1, false};
    if (!isNumber || next + 1 >= text.size() || text[next + 1] != '@')
        return true;
    const std::size_t second = text.find(u'@', next + 2);
    place->mIsFormatOpen = second == kNone;
    place->mFormatEnd = place->mIsFormatOpen ? next + 2 : second + 1;
    return true;
}

// Returns the length of the field whose percent sign is at `at`, or 0 for none.
std::size_t FieldLength(std::u16string_view text, std::size_t at)
{
    std::size_t next = at + 1;
    const auto skip = [&](std::u16string_view units) {
        next = std::min(text.find_first_not_of(units, next), text.size());
    };
    skip(u"-+# 0123456789.*$'");
    skip(u"hlLzjtq");
    const bool isConversion =
        next < text.size() && std::u16string_view(u"diouxXeEfFgGaAcsp").find(text[next]) != kNone;
    return isConversion ? next + 1 - at : 0;
}

// Returns whether a number is before a percent sign, directly or with a blank.
bool FollowsNumber(std::u16string_view text, std::size_t at)
{
    const auto isBlank = [](char16_t unit) {
        return unit == ' ' || unit == 0xA0 || unit == 0x202F;
    };
    if (at && isBlank(text[at - 1]))
        --at;
    // The digit may belong to a place, as in ^1%.
    return at && IsDigit(text[at - 1]);
}

// Returns whether the units that look like a field are the sign of a percentage: a blank or more
// letters follow the sign, as in "50% of", "5 %ig" and "half % done".
bool IsPercentage(std::u16string_view text, std::size_t at, std::size_t length)
{
    const bool hasBlank = text.substr(at, length).find(' ') != kNone;
    const bool isInWord = at + length < text.size() && IsWordUnit(text[at + length]);
    return FollowsNumber(text, at) ? hasBlank || isInWord : hasBlank && isInWord;
}

// The sign in an address such as name@2host.example is none of a place.
bool IsInAddress(std::u16string_view text, std::size_t at)
{
    if (!at || !IsLetter(text[at - 1]) || at + 2 >= text.size() || !IsLetter(text[at + 2]))
        return false;
    const auto isOfName = [](char16_t unit) {
        return IsLetter(unit) || IsDigit(unit) || unit == '-';
    };
    const auto dot =
        std::find_if_not(text.begin() + static_cast<std::ptrdiff_t>(at) + 2, text.end(), isOfName);
    return text.end() - dot > 1 && dot[0] == '.' && IsLetter(dot[1]);
}
} // namespace

Parameters::Parameters(std::u16string_view text) : mText(text)
{
    for (std::size_t at = text.find_first_of(u"^@%"); at != kNone;
         at = text.find_first_of(u"^@%", at))
    {
        Parameter place = {Parameter::kField, 0, at, at + 1, at + 1, false};
        bool isPlace = false;
        if (text[at] == '^')
            isPlace = ReadCaret(text, at, &place);
        else if (text[at] == '@')
        {
            isPlace = at + 1 < text.size() && IsDigit(text[at + 1]) && !IsInAddress(text, at);
            if (isPlace)
                place = {Parameter::kAt, text[at + 1], at, at + 2, at + 2, false};
        }
        else if (at + 1 < text.size() && text[at + 1] == '%')
            place.mFormatEnd = at + 2; // a percent sign itself
        else if (const std::size_t length = FieldLength(text, at))
        {
            isPlace = !IsPercentage(text, at, length);
            place.mEnd = place.mFormatEnd = at + (isPlace ? length : 1);
        }
        if (isPlace)
            mAll.push_back(place);
        at = isPlace || text[at] == '%' ? place.mFormatEnd : at + 1;
    }
}

const Parameter* Parameters::Find(Parameter::Kind kind, char16_t digit) const
{
    const auto matches = [=](const Parameter& place) {
        return place.mKind == kind && place.mDigit == digit;
    };
    const auto found = std::find_if(mAll.begin(), mAll.end(), matches);
    return found == mAll.end() ? nullptr : &*found;
}

std::vector<std::size_t> MnemonicsOf(std::u16string_view text)
{
    std::vector<std::size_t> found;
    for (std::size_t at = text.find(u'&'); at != kNone && at + 1 < text.size();
         at = text.find(u'&', at))
    {
        if (IsWordUnit(text[at + 1]) || IsDigit(text[at + 1]))
            found.push_back(at);
        at += text[at + 1] == ' ' ? 1 : 2;
    }
    return found;
}

bool Parameters::HasFields() const
{
    const auto isField = [](const Parameter& place) { return place.mKind == Parameter::kField; };
    return std::any_of(mAll.begin(), mAll.end(), isField);
}

const char* FormatProblem(std::u16string_view format)
{
    if (format.size() < 2)
        return "the second @ is missing";
    const std::u16string_view options = format.substr(1, format.size() - 2);
    if (options.find_first_not_of(u"0123456789.n zs+p") != kNone)
        return "an option isn't n, z, s, p, + or a blank";
    if (options.find_first_of(kDigits) != kNone && !IsDigit(options[0]))
        return "digits that a dot begins are ignored";
    return nullptr;
}

std::vector<Field> FieldsOf(std::u16string_view text)
{
    std::vector<Field> fields;
    for (std::size_t at = text.find(u'%'); at != kNone; at = text.find(u'%', at))
    {
        const bool isSign = at + 1 < text.size() && text[at + 1] == '%';
        const std::size_t length = FieldLength(text, at);
        if (!isSign)
            fields.push_back({text.substr(at, length ? length : 2), at});
        at += length ? length : 2;
    }
    return fields;
}
