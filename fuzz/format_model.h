// A model of the user's numbers, dates and messages.

#ifndef FUZZ_FORMAT_MODEL_H
#define FUZZ_FORMAT_MODEL_H

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include <unicode/udat.h>
#include <unicode/unum.h>

#include "U_Date.h"
#include "U_Format.h"
#include "model.h"
#include "page_model.h"

// The forms of dates, as U_DateType, and those of times.
enum Form : std::size_t
{
    kTime = 3,
    kTimeWithSeconds,
    kForms
};

struct Locale
{
    const char* mName;
    bool mSwapsMarks;            // of numbers: "," in the place of "."
    std::u16string mShort;       // patterns of dates, the year in full
    std::u16string mAbbreviated; // the long form with short names
};
const Locale kLocales[] = {{"en_US", false, u"M/d/yyyy", u"ccc, MMM d, y"},
                           {"de_DE", true, u"dd.MM.yyyy", u"ccc, d. MMM y"},
                           {"ja_JP", false, u"yyyy/MM/dd", u"y年M月d日ccc"}};
const int kZoneHours = 5;        // of local time, ahead of UTC
const std::size_t kDays = 48962; // of second counts that are shown as dates

// The locales have the marks that ICU has for them.
inline void RequireMarks()
{
    for (const Locale& locale : kLocales)
    {
        UErrorCode error = U_ZERO_ERROR;
        const icu::LocalUNumberFormatPointer format(
            unum_open(UNUM_DECIMAL, nullptr, 0, locale.mName, nullptr, &error));
        UChar marks[2] = {};
        unum_getSymbol(format.getAlias(), UNUM_DECIMAL_SEPARATOR_SYMBOL, marks, 1, &error);
        unum_getSymbol(format.getAlias(), UNUM_GROUPING_SEPARATOR_SYMBOL, marks + 1, 1, &error);
        Require(marks[locale.mSwapsMarks] == '.' && marks[!locale.mSwapsMarks] == ',');
    }
}

// Numbers as text, with the marks "." and ",".
inline std::string FormatPlain(double value, unsigned int flags, int integerDigits,
                               unsigned int decimals)
{
    char digits[400];
    const bool isNegative = value < 0;
    value = isNegative ? -value : value + 0.0;
    std::snprintf(digits, sizeof digits, "%1.*f", static_cast<int>(decimals), value);
    std::string number = digits;
    const bool isLong = number.size() >= 23;
    if (isLong)
    {
        std::snprintf(digits, sizeof digits, "%e", value);
        number = digits;
    }
    const std::string sign = isNegative ? "-" : flags & 16 ? "+" : flags & 32 ? " " : "";
    if (isLong)
        return sign + number;
    const std::size_t point = std::min(number.find('.'), number.size());
    std::string integer = number.substr(0, point);
    std::string fraction = number.substr(point);
    if (static_cast<int>(integer.size()) < integerDigits)
        integer.insert(0, static_cast<std::size_t>(integerDigits) - integer.size(),
                       flags & 2 ? ' ' : '0');
    for (std::size_t i = integer.size(); flags & 8 && i > 3; i -= 3)
        integer.insert(i - 3, ",");
    if (flags & 4 && !fraction.empty())
    {
        fraction.erase(fraction.find_last_not_of('0') + 1);
        if (fraction == ".")
            fraction.clear();
    }
    return sign + integer + fraction;
}

// A message's number specification.
struct Specification
{
    const char* mText;
    unsigned int mFlags;
    int mIntegerDigits;
    unsigned int mDecimals;
};
const Specification kSpecifications[] = {{"@2.1zs@", 12, 2, 1},
                                         {"@.3@", 0, 1, 2},
                                         {"@3@", 0, 3, 2},
                                         {"@1.0+@", 16, 1, 0},
                                         {"@1.2n@", 1, 1, 2}};
const Specification kDefault = {"", 4, 1, 2};

class Formats
{
public:
    // `thread` is 0 or 1.
    Formats(const Locale& locale, const Page& page, std::size_t thread)
        : mCodePage(page), mLocale(locale), mThread(thread)
    {
    }

    void FormatNumber(Choices& choices)
    {
        const double value = TakeNumber(choices);
        const unsigned int flags = choices.Byte() & 63;
        const int integerDigits = static_cast<int>(choices.Below(9));
        const unsigned int decimals = static_cast<unsigned int>(choices.Below(7));
        char out[32] = "old";
        Require(U_FormatNum(value, flags, integerDigits, decimals, out) == 0);
        const std::string plain = FormatPlain(value, flags, integerDigits, decimals);
        Require(out == (flags & 1 ? plain : WithMarks(plain)));

        double read = 0;
        Require(U_ScanNum(out, static_cast<char>(flags & 1), &read) == 0);
        Require(read == std::strtod(plain.c_str(), nullptr));
        Require(U_DeInternationalizeNum(out) == 0);
        Require(out == (flags & 1 ? WithMarks(plain) : plain));
    }

    void FormatSize(Choices& choices)
    {
        const unsigned int shift = static_cast<unsigned int>(choices.Below(50));
        const unsigned long long size =
            (static_cast<unsigned long long>(choices.Below(65536)) << shift) - choices.Below(2);
        char expected[64];
        const auto write = [&](bool isWhole, unsigned long long whole, const char* unit) {
            if (isWhole)
                return std::snprintf(expected, sizeof expected, "%llu %s", whole, unit);
            // Tenths of the value in single precision.
            return std::snprintf(expected, sizeof expected, "%.1f %s",
                                 static_cast<double>(static_cast<float>(whole) / 1024), unit);
        };
        if (size >> 30)
            write(size >> 30 >= 100, size >> 30 >= 100 ? size >> 30 : size >> 20, "GB");
        else if (size >> 20)
            write(size >> 20 >= 100, size >> 20 >= 100 ? size >> 20 : size >> 10, "MB");
        else if (size >> 10 || !size)
            write(true, size >> 10, "KB");
        else
            write(true, size, "bytes");
        char out[256];
        Require(U_LongFormatBytes(size, out) == out && out == WithMarks(expected));
        Require(U_LongFormatBytes(size) == Wide(out));
    }

    void FillMessage(Choices& choices)
    {
        static const char* const kPieces[] = {"^1",  "^2",  "^3",  "^L1", "^L2", "^B1", "^B3",
                                              "^F1", "^F2", "^F3", "x",   "^",   " "};
        std::string format;
        for (std::size_t count = choices.Below(6); count; --count)
        {
            const std::string piece = choices.Of(kPieces);
            format += piece;
            const std::size_t specification = choices.Below(2 * std::size(kSpecifications));
            if (piece[1] == 'F' && specification < std::size(kSpecifications))
                format += kSpecifications[specification].mText;
        }
        std::vector<Argument> arguments;
        std::vector<U_FormatArgument> passed;
        for (std::size_t count = choices.Below(4); count; --count)
            passed.push_back(TakeArgument(choices, arguments));
        Text expected = Wide("old");
        const U_Status status = Fill(Wide(format), arguments, &expected);
        Text out = Wide("old");
        Require(Up_SubString(out, Wide(format), passed.data(), passed.size()) == status);
        Require(out == expected);
        char narrow[1024] = "old"; // messages in ASCII take another path
        Require(Up_SubString(narrow, 0, format.c_str(), passed.data(), passed.size()) == status);
        Require(narrow == (status ? "" : mCodePage.Encode(expected).mBytes));
    }

    void FormatDate(Choices& choices)
    {
        // A count of 1904 to January 2038, days of any year.
        const U_u32 seconds = static_cast<U_u32>(choices.Below(kDays)) * 86400u +
                              static_cast<U_u32>(choices.Below(65536));
        const boost::posix_time::ptime time = U_SecondsToPtime(seconds, U_SecondsType_AsIs);
        Require(U_PtimeToSeconds(time, U_SecondsType_AsIs) == seconds);
        const boost::posix_time::ptime utc = U_SecondsToPtime(seconds, U_SecondsType_Local);
        Require((time - utc).total_seconds() == kZoneHours * 3600);
        const bool isShifted = utc.date().year() >= 1970;
        Require(U_PtimeToSeconds(utc, U_SecondsType_Local) ==
                seconds - (isShifted ? 0 : kZoneHours * 3600u));
        const double since1970 = static_cast<double>(seconds) - 2082844800.0;
        Require(
            (time - boost::posix_time::ptime(boost::gregorian::date(1970, 1, 1))).total_seconds() ==
            static_cast<U_i64>(since1970));
        const U_DateType type = static_cast<U_DateType>(choices.Below(3));
        const U_DateTimeDisplay display = static_cast<U_DateTimeDisplay>(choices.Below(3));
        const bool showsSeconds = choices.Flag();
        Text expected;
        if (display != U_DateTimeDisplay_Time)
            expected = ByICU(static_cast<std::size_t>(type), 1000 * since1970);
        if (display == U_DateTimeDisplay_DateAndTime)
            expected += Wide(", ");
        if (display != U_DateTimeDisplay_Date)
            expected += ByICU(showsSeconds ? kTimeWithSeconds : kTime, 1000 * since1970);
        Require(U_SecondsToDateTimeString(seconds, type, display, showsSeconds) == expected);
    }

private:
    struct Argument
    {
        bool mIsText;
        bool mIsInteger;
        Text mText; // as ^1, ^L1 and ^B1 write the argument
        double mNumber;
    };

    // With the marks of the user.
    std::string WithMarks(std::string text) const
    {
        for (char& character : text)
        {
            if (mLocale.mSwapsMarks && (character == '.' || character == ','))
                character = character == '.' ? ',' : '.';
        }
        return text;
    }

    static double TakeNumber(Choices& choices)
    {
        static const double kNumbers[] = {0.0,  -0.0, 0.5,    2.5,  0.125,   1e15,  1e21,
                                          1e22, 1e30, -1e300, 1e-7, 999.995, 1234.5};
        const std::size_t choice = choices.Below(2 * std::size(kNumbers));
        if (choice < std::size(kNumbers))
            return kNumbers[choice];
        return (static_cast<double>(choices.Below(65536)) - 32768) / (choices.Flag() ? 64 : 1000);
    }

    static U_FormatArgument TakeArgument(Choices& choices, std::vector<Argument>& arguments)
    {
        static const char* const kTexts[] = {"", "text", "^2", "^L2", "^3", "1^"};
        static const U_u16 kWide[] = {0x3042, 'w', 0};
        const std::size_t sort = choices.Below(5);
        if (sort == 0)
        {
            const char* const text = choices.Of(kTexts);
            arguments.push_back({true, false, Wide(text), 0});
            return text;
        }
        if (sort == 1)
        {
            arguments.push_back({true, false, kWide, 0});
            return kWide;
        }
        if (sort == 2)
        {
            const double number = TakeNumber(choices);
            arguments.push_back({false, false, {}, number});
            return number;
        }
        const U_i64 wide =
            (static_cast<U_i64>(choices.Below(65536)) - 32768) * (choices.Flag() ? 1ll << 40 : 1);
        const int narrow = static_cast<int>(wide);
        const U_i64 value = sort == 3 ? narrow : wide;
        arguments.push_back({false, true, Wide(std::to_string(value)), static_cast<double>(value)});
        return sort == 3 ? U_FormatArgument(narrow) : U_FormatArgument(wide);
    }

    U_Status Fill(const Text& format, const std::vector<Argument>& arguments, Text* out) const
    {
        Text work = format;
        for (std::size_t digit = 1; digit <= arguments.size(); ++digit)
        {
            const Argument& argument = arguments[digit - 1];
            Text form;
            for (const char* const type : {"", "L", "F", "B"})
            {
                const Text tried = Wide("^" + std::string(type) + std::to_string(digit));
                if (form.empty() && format.find(tried) != Text::npos &&
                    work.find(tried) != Text::npos)
                    form = tried;
            }
            if (form.empty())
                break;
            const std::size_t at = work.find(form);
            Text rest = work.substr(at + form.size());
            Text filled = argument.mText;
            if (argument.mIsText != (form.size() == 2))
                return 3;
            if (form[1] == 'F')
                filled = Wide(FormatFor(rest, argument.mNumber));
            else if (!argument.mIsText && !argument.mIsInteger)
                return 3;
            work = work.substr(0, at) + filled + rest;
        }
        *out = work;
        return 0;
    }

    // Takes a specification from the head of `rest`.
    std::string FormatFor(Text& rest, double number) const
    {
        const Specification* found = &kDefault;
        for (const Specification& specification : kSpecifications)
        {
            if (rest.compare(0, std::strlen(specification.mText), Wide(specification.mText)) == 0)
                found = &specification;
        }
        rest.erase(0, std::strlen(found->mText));
        const std::string plain =
            FormatPlain(number, found->mFlags, found->mIntegerDigits, found->mDecimals);
        return found->mFlags & 1 ? plain : WithMarks(plain);
    }

    // The date, or the time of day, as ICU writes it. The library has no narrow spaces.
    Text ByICU(std::size_t form, UDate date) const
    {
        static const struct
        {
            UDateFormatStyle mTime;
            UDateFormatStyle mDate;
        } kStyles[kForms] = {{UDAT_PATTERN, UDAT_PATTERN},
                             {UDAT_NONE, UDAT_FULL},
                             {UDAT_PATTERN, UDAT_PATTERN},
                             {UDAT_SHORT, UDAT_NONE},
                             {UDAT_MEDIUM, UDAT_NONE}};
        static icu::LocalUDateFormatPointer sOpen[2][std::size(kLocales)][kForms]; // by thread
        icu::LocalUDateFormatPointer& format = sOpen[mThread][&mLocale - kLocales][form];
        const std::u16string& pattern =
            form == U_DateType_Short ? mLocale.mShort : mLocale.mAbbreviated;
        UErrorCode error = U_ZERO_ERROR;
        if (format.isNull())
            format.adoptInstead(udat_open(kStyles[form].mTime, kStyles[form].mDate, mLocale.mName,
                                          u"UTC", -1, pattern.data(),
                                          static_cast<int32_t>(pattern.size()), &error));
        UChar buffer[128];
        const int32_t length = udat_format(format.getAlias(), date, buffer, 128, nullptr, &error);
        Require(U_SUCCESS(error));
        std::replace(buffer, buffer + length, u'\u202F', u' ');
        return Text(buffer, buffer + length);
    }

protected:
    const Page& mCodePage;

private:
    const Locale& mLocale;
    const std::size_t mThread;
};

#endif
