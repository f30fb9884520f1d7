// Version words as text.

#include "U_Date.h"

#include <cstdio>

#include "U_Encoding.h"
#include "U_String.h"
#include "U_ZString.h"
#include "indep/errors/Report.h"
#include "text/OwnTexts.h"

namespace
{
const char kDebugSuffix[] = "$$$/private/QXDebugVersionSuffix=^I";
const U_u32 kDebugBuild = 1u << 31;
const U_u32 kNoStageLetter = 3;
const char kStageLetter = 'x';

// Sizes of texts in bytes.
const std::size_t kVersionSize = 256;
const std::size_t kSuffixSize = 16;
const std::size_t kNameSize = 200;

U_u32 Field(U_u32 version, int firstBit, int bits)
{
    return version >> firstBit & ((1u << bits) - 1);
}

// The name of an architecture: one of the library's own texts, a ZString, or neither.
struct Architecture
{
    OwnText mText;
    const char* mZString;
};

Architecture ArchitectureOf(U_u32 version)
{
    switch (Field(version, 22, 4))
    {
    case 0:
        return {kTextNone, nullptr};
    case 3:
        return {kTextWindows, nullptr};
    case 10:
        return {kTextNone, "$$$/QX/U/ARCH/MacintoshPPC=Macintosh PPC"};
    case 11:
        return {kTextNone, "$$$/QX/U/ARCH/MacintoshIntel=Macintosh Intel"};
    case 12:
        return {kTextNone, "$$$/QX/U/ARCH/Windows64=Windows 64"};
    case 13:
        return {kTextNone, "$$$/QX/U/ARCH/Macintosh64=Macintosh 64"};
    default:
        return {kTextUnknown, nullptr};
    }
}

U_UTF16String NameOf(const Architecture& architecture)
{
    if (architecture.mText)
        return U_MBToUTF16String(Up_StringOrEnglish(architecture.mText));
    return architecture.mZString ? U_ZStringToUTF16String(architecture.mZString) : U_UTF16String();
}

// Stores the name, or the empty text. Returns the code of a name that cannot be resolved.
U_Status StoreName(const Architecture& architecture, char (&name)[kNameSize])
{
    *name = 0;
    if (architecture.mText)
        return U_CopyString(Up_StringOrEnglish(architecture.mText), sizeof(name), name);
    return architecture.mZString ? U_ZStringToMBRaw(architecture.mZString, sizeof(name), name) : 0;
}

// The numbers of a version, such as "9.0.1x5".
struct VersionNumbers
{
    explicit VersionNumbers(U_u32 version)
    {
        int length = Append(0, "%u.%u", Field(version, 26, 4) << 3 | Field(version, 19, 3),
                            Field(version, 15, 4));
        if (const U_u32 bugFix = Field(version, 11, 4))
            length = Append(length, ".%u", bugFix);
        if (Field(version, 9, 2) != kNoStageLetter)
            Append(length, "%c%u", kStageLetter, Field(version, 0, 9));
    }

    template <class... Values> int Append(int length, const char* format, Values... values)
    {
        return length + std::snprintf(mText + length, sizeof(mText) - static_cast<size_t>(length),
                                      format, values...);
    }

    char mText[32];
};

bool ShowsDebugSuffix(U_u32 version, bool noDebugSuffix)
{
    return (version & kDebugBuild) && !noDebugSuffix;
}
} // namespace

U_UTF16String U_UTF16Version(U_u32 version, bool noDebugSuffix)
{
    U_UTF16String text = U_AsciiToUTF16String(VersionNumbers(version).mText);
    if (ShowsDebugSuffix(version, noDebugSuffix))
        text += U_ZStringToUTF16String(kDebugSuffix);
    const U_UTF16String name = NameOf(ArchitectureOf(version));
    return name.empty() ? text : text + U_u16(' ') + name;
}

U_Status U_AsciiVersion(U_u32 version, bool noDebugSuffix, char* out)
{
    if (!out)
        return BadArgument("U_AsciiVersion: no buffer");
    char suffix[kSuffixSize] = "";
    U_Status failure = 0;
    if (ShowsDebugSuffix(version, noDebugSuffix))
        failure = U_ZStringToMBRaw(kDebugSuffix, sizeof(suffix), suffix);
    char name[kNameSize];
    const U_Status noName = StoreName(ArchitectureOf(version), name);

    const VersionNumbers numbers(version);
    const char* const form = *name ? "%s%s (%s)" : "%s%s";
    std::snprintf(out, kVersionSize, form, numbers.mText, suffix, name);
    return failure ? failure : noName;
}
