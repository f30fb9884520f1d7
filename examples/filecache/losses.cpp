#include "losses.h"

#include <algorithm>

#include <U_Group.h>
#include <U_Report.h>
#include <U_ZString.h>
#include <platform/base/printable.h>

#include "message.h"

namespace
{
const char kMany[] = "$$$/QX/FileCache/Unreadable/Many=Some files and folders can't be read";
const char kCount[] = "$$$/QX/FileCache/Unreadable/Count=Unreadable: @0";
const char kOne[] = "$$$/QX/FileCache/Unreadable/One=A file or folder can't be read";
const char kItem[] = "$$$/QX/FileCache/Unreadable/Item=^^1: ^^2";

void Report(const std::string& path, const std::string& reason)
{
    const U_UTF16String group = U_FormUniqueGroupErrorMessageIdentifier(
        U_ZStringToUTF16String(kMany), U_ZStringToUTF16String(kCount),
        U_ZStringToUTF16String(kOne));
    const std::string item = platform::Printable(Text({kItem, {path, reason}}));
    // A warning, since the other files are loaded. No location code: the place in the
    // program means nothing to the user.
    U_ReportError(0, U_Sev_WARNING, U_GroupErrorMessage(ToUTF16(item), group));
}

template <class Loss> std::vector<Loss> ByPath(std::vector<Loss> losses)
{
    std::sort(losses.begin(), losses.end(),
              [](const Loss& left, const Loss& right) { return left.path < right.path; });
    return losses;
}
} // namespace

void Losses::AddUnreadable(const std::string& path, const std::string& reason)
{
    {
        std::lock_guard<std::mutex> lock(mLock);
        mUnreadable.push_back({path, reason});
    }
    Report(path, reason);
}

void Losses::AddRefused(const std::string& path, U_u64 size)
{
    std::lock_guard<std::mutex> lock(mLock);
    mRefused.push_back({path, size});
}

std::vector<Losses::Unreadable> Losses::AllUnreadable() const
{
    std::lock_guard<std::mutex> lock(mLock);
    return ByPath(mUnreadable);
}

std::vector<Losses::Refused> Losses::AllRefused() const
{
    std::lock_guard<std::mutex> lock(mLock);
    return ByPath(mRefused);
}
