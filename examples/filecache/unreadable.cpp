#include "unreadable.h"

#include <U_Group.h>
#include <U_Report.h>
#include <U_ZString.h>

#include "texts.h"

namespace
{
const char kMany[] = "$$$/QX/FileCache/Unreadable/Many=Some files and folders can't be read";
const char kCount[] = "$$$/QX/FileCache/Unreadable/Count=Unreadable: @0";
const char kOne[] = "$$$/QX/FileCache/Unreadable/One=A file or folder can't be read";
const char kItem[] = "$$$/QX/FileCache/Unreadable/Item=^^1: ^^2";
} // namespace

void ReportUnreadable(const std::string& path, const std::string& reason)
{
    const U_UTF16String group = U_FormUniqueGroupErrorMessageIdentifier(
        U_ZStringToUTF16String(kMany), U_ZStringToUTF16String(kCount),
        U_ZStringToUTF16String(kOne));
    const std::string item = HideControlBytes(Text({kItem, {path, reason}}));
    // A warning: the others are loaded all the same. It comes from no place in
    // the program that would tell the user anything.
    U_ReportError(0, U_Sev_WARNING, U_GroupErrorMessage(ToUTF16(item), group));
}
