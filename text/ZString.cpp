#include "U_ZString.h"

#include <wril/wril.h>

#include "U_Encoding.h"
#include "U_Report.h"
#include "U_String.h"
#include "indep/frame/Guard.h"
#include "text/Resolve.h"

U_UTF16String U_ZStringToUTF16String(const char* zstring)
{
    return ResolveZString(zstring, false);
}

U_UTF16String U_ZStringToEnglishUTF16String(const char* zstring)
{
    return ResolveZString(zstring, true);
}

std::string U_ZStringToMBString(const char* zstring)
{
    return U_UTF16ToMBString(U_ZStringToUTF16String(zstring), false);
}

std::string U_ZStringToEnglishMBString(const char* zstring)
{
    return U_UTF16ToMBString(U_ZStringToEnglishUTF16String(zstring), false);
}

void U_ZStringToCStr(const char* zstring, unsigned int size, char* out)
{
    U_CopyString(U_ZStringToMBString(zstring).c_str(), size, out);
}

U_Status U_ZStringToMBRaw(const char* zstring, unsigned int size, char* out)
{
    return Guarded([&] { U_ZStringToCStr(zstring, size, out); });
}

bool U_IsZstr(const std::string& text)
{
    return text.compare(0, 3, "$$$") == 0;
}

std::string Up_HDT_ConvertToMB(const U_UTF16String& text)
{
    return U_UTF16ToMBString(text, false);
}

void Up_HDT_ReportErr(unsigned short severity, const U_UTF16String& text)
{
    U_ReportError(0, severity, text);
}

bool Up_IsValidZString(const char* zstring)
{
    if (!zstring)
        return false;
    if (*zstring == '$')
        return true;
    LogSafely([=] { WRIL_Log(0, "U", "Invalid ZString", zstring); });
    return false;
}
