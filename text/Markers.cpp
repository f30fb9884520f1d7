#include "text/Markers.h"

#include <algorithm>
#include <string_view>

namespace
{
const std::string_view kOpening = "{{*";
const std::string_view kMSWindows = "{{*MSWindows*}}";
const std::string_view kComment = "{{*COMMENT*}}";
const std::string_view kCopyYear = "{{*CopyYear*}}";
const std::string_view kBuildYear = U_BUILD_YEAR; // four digits, from the build

const std::size_t kNone = U_UTF16String::npos;

std::size_t Find(const U_UTF16String& text, std::string_view marker, std::size_t from)
{
    const auto start = text.begin() + static_cast<std::ptrdiff_t>(from);
    const auto place = std::search(start, text.end(), marker.begin(), marker.end());
    return place == text.end() ? kNone : static_cast<std::size_t>(place - text.begin());
}

// Nearly all texts hold none. That a byte isn't there at all is told several
// times faster than that a run of units isn't.
bool MayHoldMarker(const U_UTF16String& text)
{
    const std::string_view bytes(reinterpret_cast<const char*>(text.data()),
                                 text.size() * sizeof(U_u16));
    return bytes.find(kOpening[0]) != std::string_view::npos;
}

U_UTF16String WithBuildYear(const U_UTF16String& text, std::size_t firstMarker)
{
    U_UTF16String result;
    result.reserve(text.size());
    std::size_t from = 0;
    for (std::size_t marker = firstMarker; marker != kNone; marker = Find(text, kCopyYear, from))
    {
        result.append(text, from, marker - from);
        result.append(kBuildYear.begin(), kBuildYear.end());
        from = marker + kCopyYear.size();
    }
    return result.append(text, from);
}
} // namespace

void ApplyMarkers(U_UTF16String& text)
{
    const std::size_t first = MayHoldMarker(text) ? Find(text, kOpening, 0) : kNone;
    if (first == kNone)
        return;
    // What stands before the marker is a variant for another platform.
    const std::size_t windows = Find(text, kMSWindows, first);
    if (windows != kNone)
        text.erase(0, windows + kMSWindows.size());
    const std::size_t comment = Find(text, kComment, 0);
    if (comment != kNone)
        text.resize(comment);
    const std::size_t year = Find(text, kCopyYear, 0);
    if (year != kNone)
        text = WithBuildYear(text, year);
}
