#include "private/repeats.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <iterator>

#include <platform/base/code_units.h>
#include <platform/base/locks.h>

namespace wril
{
namespace
{
const unsigned long long kSecond = 1000000000; // nanoseconds

// A line that was written less than a second ago, and its repeats since then.
struct Recent
{
    bool mIsUsed;
    std::size_t mHash;
    unsigned long long mStart;
    Repeated mRepeats;
};

// A host that purges writes three kinds of line in turn. If all places are in use, the line with
// the earliest start gives up its place.
const int kPlaces = 32;

platform::Mutex sLock;
Recent sRecent[kPlaces] PLATFORM_GUARDED_BY(sLock) = {};

std::size_t HashOf(const Line& line)
{
    const std::hash<std::string_view> hash;
    std::size_t all = static_cast<std::size_t>(line.mLevel);
    for (const std::string_view part :
         {std::string_view(line.mCategory), std::string_view(line.mTag), line.mKey})
        all = all * 1000003 + hash(part);
    return all;
}

template <std::size_t size> void Copy(const char* text, char (&copy)[size])
{
    const std::size_t length = platform::CutUTF8(text, std::strlen(text), size - 1);
    std::memcpy(copy, text, length);
    copy[length] = '\0';
}

void AddRepeat(const Line& line, Repeated* repeats)
{
    repeats->mLevel = line.mLevel;
    Copy(line.mCategory, repeats->mCategory);
    Copy(line.mTag, repeats->mTag);
    Copy(line.mText, repeats->mText);
    ++repeats->mCount;
}

// Frees the place. Returns false if its line has no repeats.
bool End(Recent* recent, Repeated* ended)
{
    recent->mIsUsed = false;
    if (recent->mRepeats.mCount == 0)
        return false;
    *ended = recent->mRepeats;
    return true;
}
} // namespace

Verdict Judge(const Line& line, unsigned long long now, Repeated* ended)
{
    // Outside the lock: a text that cannot be read ends the process here.
    const std::size_t hash = HashOf(line);
    const platform::ScLock lock(sLock);
    Recent* own = nullptr;
    Recent* place = sRecent; // a free one, or the earliest start
    for (Recent& recent : sRecent)
    {
        if (recent.mIsUsed && now - recent.mStart >= kSecond && End(&recent, ended))
            return kWriteRepeated;
        if (recent.mIsUsed && recent.mHash == hash)
            own = &recent;
        if (place->mIsUsed && (!recent.mIsUsed || recent.mStart < place->mStart))
            place = &recent;
    }
    if (own)
    {
        AddRepeat(line, &own->mRepeats);
        return kLeaveOut;
    }
    if (place->mIsUsed && End(place, ended))
        return kWriteRepeated;
    place->mIsUsed = true;
    place->mHash = hash;
    place->mStart = now;
    place->mRepeats.mCount = 0;
    return kWriteLine;
}

// At the end of a process Windows may have ended a thread that had the lock.
bool EndOne(Repeated* ended)
{
    if (!sLock.TryLock())
        return false;
    const bool hasEnded =
        std::any_of(std::begin(sRecent), std::end(sRecent),
                    [ended](Recent& recent) { return recent.mIsUsed && End(&recent, ended); });
    sLock.Unlock();
    return hasEnded;
}
} // namespace wril
