#include "exchange/po_places.h"

#include <algorithm>
#include <string_view>

namespace
{
const char kBlanks[] = " \t";
const char kKeywordLetters[] = "abcdefghijklmnopqrstuvwxyz_";

// Returns the end of the string that begins at a double quote.
std::size_t EndOfString(std::string_view line, std::size_t at)
{
    for (++at; at < line.size() && line[at] != '"'; ++at)
        at += line[at] == '\\';
    return std::min(at + 1, line.size());
}

class Finder
{
public:
    void AddLine(std::string_view line)
    {
        ++mLine;
        std::size_t at = std::min(line.find_first_not_of(kBlanks), line.size());
        if (line.substr(at, 2) == "#,")
        {
            mFlags += (mFlags.empty() ? "" : ",") + std::string(line.substr(at + 2));
            return;
        }
        if (line.substr(at, 2) == "#~" && line.substr(at, 3) != "#~|")
            at += 2;
        while (at < line.size() && line[at] != '#')
            at = AddToken(line, at);
    }

    POPlaces Finish() { return std::move(mPlaces); }

private:
    // Returns the end of the token.
    std::size_t AddToken(std::string_view line, std::size_t at)
    {
        if (line[at] == '"')
            return EndOfString(line, at);
        const std::size_t end = std::min(line.find_first_not_of(kKeywordLetters, at), line.size());
        const Place place = {mLine, at + 1};
        if (line.substr(at, end - at) == "msgid")
        {
            mPlaces.mMessages.push_back({place, mFlags});
            mFlags.clear();
        }
        if (line.substr(at, end - at) == "domain" && !mPlaces.mDomain.mLine)
            mPlaces.mDomain = place;
        return std::max(end, at + 1);
    }

    std::uint64_t mLine = 0;
    std::string mFlags; // of the next message
    POPlaces mPlaces;
};
} // namespace

POPlaces FindMessages(const std::vector<unsigned char>& bytes)
{
    const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    Finder finder;
    for (std::size_t begin = 0; begin < text.size();)
    {
        const std::size_t end = std::min(text.find('\n', begin), text.size());
        finder.AddLine(text.substr(begin, end - begin));
        begin = end + 1;
    }
    return finder.Finish();
}
