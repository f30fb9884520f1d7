#include "extract/progress.h"

#include <cstdio>

#include <program/program.h>

#include "system.h"

namespace
{
const std::chrono::milliseconds kPause(100);
} // namespace

Progress::Progress(const char* thing, std::size_t total)
    : mThing(thing), mTotal(total), mIsTerminal(IsTerminal(kStderr)),
      mLast(std::chrono::steady_clock::now())
{
}

Progress::~Progress()
{
    if (mIsShown)
        std::fprintf(stderr, "\r%60s\r", "");
}

void Progress::Show(std::size_t done)
{
    const auto now = std::chrono::steady_clock::now();
    if (!mIsTerminal || now - mLast < kPause)
        return;
    mLast = now;
    mIsShown = true;
    std::fprintf(stderr, "\rzdict: %zu of %zu %ss", done, mTotal, mThing);
    std::fflush(stderr);
}
