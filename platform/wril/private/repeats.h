// Lines of the log that repeat a line of the last second. The default sink leaves them out.
//
// Thread safety: all functions may be called on any thread. They allocate nothing.

#ifndef WRIL_REPEATS_H
#define WRIL_REPEATS_H

#include <cstddef>
#include <string_view>

namespace wril
{
struct Line
{
    int mLevel;
    const char* mCategory; // not null, as the tag and the text
    const char* mTag;
    const char* mText;
    std::string_view mKey; // equal for repeats: the text, or the format of a text with numbers only
};

// The last of the lines that repeat one line, with their count. Long texts are cut.
struct Repeated
{
    int mLevel;
    char mCategory[32];
    char mTag[64];
    char mText[400];
    unsigned long long mCount;
};

enum Verdict
{
    kWriteLine,
    kLeaveOut,
    kWriteRepeated // stored in `ended`; then judge the line again
};

// Decides about a line at a time in nanoseconds.
Verdict Judge(const Line& line, unsigned long long now, Repeated* ended);

// Ends the second of a line and stores its repeats. Returns false if no line has repeats, or if
// another thread is in these functions.
bool EndOne(Repeated* ended);
} // namespace wril

#endif
