// The markers of texts, which each look-up of a host applies to the text that it found.
//
// - {{*MSWindows*}} removes itself and the text before it, the variant for another platform.
// - {{*COMMENT*}} removes itself and the text after it, the note of a translator.
// - {{*CopyYear*}} is replaced by the year of the build.
//
// An unknown marker stays in the text. `String` is a std::basic_string or, where nothing is
// changed, a std::basic_string_view of 16-bit units.
//
// Thread safety: all functions may be called on any thread.

#ifndef HOLLIN_MARKERS_H
#define HOLLIN_MARKERS_H

#include <algorithm>
#include <cstddef>
#include <string_view>

namespace hollin
{
const std::string_view kMarkerOpening = "{{*";
const std::string_view kMSWindowsMarker = "{{*MSWindows*}}";
const std::string_view kCommentMarker = "{{*COMMENT*}}";
const std::string_view kCopyYearMarker = "{{*CopyYear*}}";

// Returns the offset of the marker, or String::npos.
template <class String>
std::size_t FindMarker(const String& text, std::string_view marker, std::size_t from)
{
    const auto start = text.begin() + static_cast<std::ptrdiff_t>(from);
    const auto found = std::search(start, text.end(), marker.begin(), marker.end());
    return found == text.end() ? String::npos : static_cast<std::size_t>(found - text.begin());
}

// Nearly all texts hold no marker. A search for one byte proves that several times faster than
// a search for a run of units.
template <class String> bool MayHoldMarker(const String& text)
{
    const std::string_view bytes(reinterpret_cast<const char*>(text.data()),
                                 text.size() * sizeof(typename String::value_type));
    return bytes.find(kMarkerOpening[0]) != std::string_view::npos;
}

// Returns the offset of the text that {{*MSWindows*}} keeps; 0 without that marker.
template <class String> std::size_t BeginOfVariant(const String& text)
{
    const std::size_t windows = FindMarker(text, kMSWindowsMarker, 0);
    return windows == String::npos ? 0 : windows + kMSWindowsMarker.size();
}

// Returns the offset of the {{*COMMENT*}} that ends the text for a look-up, or String::npos. A
// {{*COMMENT*}} before {{*MSWindows*}} does not end the text.
template <class String> std::size_t FindComment(const String& text)
{
    if (!MayHoldMarker(text))
        return String::npos;
    return FindMarker(text, kCommentMarker, BeginOfVariant(text));
}

template <class String>
String WithBuildYear(const String& text, std::size_t firstMarker, std::string_view year)
{
    String result;
    result.reserve(text.size());
    std::size_t from = 0;
    for (std::size_t marker = firstMarker; marker != String::npos;
         marker = FindMarker(text, kCopyYearMarker, from))
    {
        result.append(text, from, marker - from);
        result.append(year.begin(), year.end());
        from = marker + kCopyYearMarker.size();
    }
    return result.append(text, from);
}

// Applies the markers. `year` is the four digits of the year.
template <class String> void ApplyMarkers(String& text, std::string_view year)
{
    if (!MayHoldMarker(text) || FindMarker(text, kMarkerOpening, 0) == String::npos)
        return;
    const std::size_t comment = FindComment(text);
    if (comment != String::npos)
        text.resize(comment);
    text.erase(0, BeginOfVariant(text));
    const std::size_t firstYear = FindMarker(text, kCopyYearMarker, 0);
    if (firstYear != String::npos)
        text = WithBuildYear(text, firstYear, year);
}
} // namespace hollin

#endif
