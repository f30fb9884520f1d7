// Messages of log lines, logging callbacks and alerts without the library's marks.
//
// The message of a group has the group's identifier inside, and a location code stands behind the
// message of a log line and of an alert.
//
//     #include <cstdio>
//     #include <platform/control.h>
//
//     platform::SetLogSink([](int, const char*, const char*, const char* text) {
//         std::fprintf(stderr, "%s\n", U::cpp::PlainMessage(text ? text : "").c_str());
//     });
//
// Thread safety: all functions may be called on any thread, also before birth and after death.

#ifndef U_CPP_LOG_FORMAT_H
#define U_CPP_LOG_FORMAT_H

#include <string>
#include <string_view>

#include <U_Types.h>

namespace U
{
namespace cpp
{
// The parts of a message. They refer to the text that was taken apart.
template <class Char> struct MessageParts
{
    std::basic_string_view<Char> mPrefix;   // "Host error: "; the whole message without a group
    std::basic_string_view<Char> mHeading;  // of the group, for one message; empty without a group
    std::basic_string_view<Char> mMessage;  // the item's own text; empty without a group
    std::basic_string_view<Char> mLocation; // "( 23 :: 4 )"; empty without a location
};

namespace detail
{
// A mark in ASCII, as code units of a text.
template <class Char> class Mark
{
public:
    explicit Mark(std::string_view ascii) : mUnits(ascii.begin(), ascii.end()) {}
    std::basic_string_view<Char> View() const { return mUnits; }

private:
    std::basic_string<Char> mUnits;
};

// Returns the text of a mark onward, or npos.
template <class Char> std::size_t Find(std::basic_string_view<Char> text, std::string_view mark)
{
    return text.find(Mark<Char>(mark).View());
}

// Removes digits from the head of the text, at least one. Returns false if there is none.
template <class Char> bool SkipDigits(std::basic_string_view<Char>* text)
{
    std::size_t count = 0;
    while (count < text->size() && (*text)[count] >= '0' && (*text)[count] <= '9')
        ++count;
    text->remove_prefix(count);
    return count > 0;
}

template <class Char> bool Skip(std::basic_string_view<Char>* text, std::string_view mark)
{
    if (Find(*text, mark) != 0)
        return false;
    text->remove_prefix(mark.size());
    return true;
}

// Returns whether the text is a location code in the library's form.
template <class Char> bool IsLocation(std::basic_string_view<Char> text)
{
    return Skip(&text, "( ") && SkipDigits(&text) && Skip(&text, " :: ") && SkipDigits(&text) &&
           text == Mark<Char>(" )").View();
}

// Removes the location code, which is empty for the location 0, and the separator before it.
template <class Char>
void TakeLocation(std::basic_string_view<Char>* text, std::basic_string_view<Char>* location)
{
    for (const std::string_view separator : {"\n\n", "\t"}) // of an alert, of a log line
    {
        const std::size_t at = text->rfind(Mark<Char>(separator).View());
        if (at == text->npos)
            continue;
        const std::basic_string_view<Char> rest = text->substr(at + separator.size());
        if (!rest.empty() && !IsLocation(rest))
            continue;
        *location = rest;
        *text = text->substr(0, at);
        return;
    }
}

template <class Char> MessageParts<Char> Split(std::basic_string_view<Char> text)
{
    MessageParts<Char> parts;
    TakeLocation(&text, &parts.mLocation);
    const std::string_view tag = "Grouped_Message_{";
    const std::size_t start = Find(text, tag);
    parts.mPrefix = text.substr(0, start);
    if (start == text.npos)
        return parts;
    text.remove_prefix(start + tag.size());
    // A callback receives at most 511 bytes, so that the end of the identifier may be missing.
    const std::size_t end = Find(text, "}");
    if (end != text.npos)
        parts.mMessage = text.substr(end + 1);
    parts.mHeading = text.substr(0, end);
    parts.mHeading = parts.mHeading.substr(0, Find(parts.mHeading, "###"));
    const std::string_view separator = "|||";
    const std::size_t one = Find(parts.mHeading, separator);
    if (one != text.npos)
        parts.mHeading.remove_prefix(one + separator.size());
    return parts;
}

template <class String> String Plain(const String& text)
{
    typedef typename String::value_type Char;
    const MessageParts<Char> parts = Split(std::basic_string_view<Char>(text));
    String plain(parts.mPrefix.begin(), parts.mPrefix.end());
    plain.append(parts.mHeading.begin(), parts.mHeading.end());
    if (!parts.mHeading.empty() && !parts.mMessage.empty())
    {
        if (parts.mHeading.back() != ':')
            plain.push_back(':');
        plain.push_back(' ');
    }
    plain.append(parts.mMessage.begin(), parts.mMessage.end());
    return plain;
}
} // namespace detail

// Returns the parts of a text of a log line, a logging callback or an alert, as views of the text.
inline MessageParts<char> SplitMessage(std::string_view text)
{
    return detail::Split(text);
}

// Returns the parts of a text in UTF-16, such as that of an alert.
inline MessageParts<U_u16> SplitMessage(const U_UTF16String& text)
{
    return detail::Split(std::basic_string_view<U_u16>(text));
}

// Returns the text without the marks of a group and without the location: the prefix, the group's
// heading for one message, and the message, here "Host error: A file can't be read: a.txt".
//
// Throws: std::bad_alloc.
inline std::string PlainMessage(std::string_view text)
{
    return detail::Plain(std::string(text));
}

// Returns a text in UTF-16 without them.
//
// Throws: std::bad_alloc.
inline U_UTF16String PlainMessage(const U_UTF16String& text)
{
    return detail::Plain(text);
}
} // namespace cpp
} // namespace U

#endif
