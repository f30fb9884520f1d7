// What tests of texts share.

#ifndef TESTS_SUPPORT_TEXT_H
#define TESTS_SUPPORT_TEXT_H

#include <string>
#include <string_view>

#include <platform/control.h>

#include "U_Encoding.h"
#include "U_Types.h"

inline U_UTF16String Units(std::u16string_view text)
{
    return U_UTF16String(text.begin(), text.end());
}

// In UTF-8.
inline std::string Narrow(const U_UTF16String& text)
{
    const U_UTF8String bytes = U_UTF16To8String(text);
    return std::string(bytes.begin(), bytes.end());
}

inline U_UTF8String Bytes(std::string_view text)
{
    return U_UTF8String(text.begin(), text.end());
}

// Another active code page until the scope ends.
class ScActiveCodePage
{
public:
    explicit ScActiveCodePage(unsigned int codePage) { platform::SetActiveCodePage(codePage); }
    ~ScActiveCodePage() { platform::SetActiveCodePage(1252); }
    ScActiveCodePage(const ScActiveCodePage&) = delete;
    ScActiveCodePage& operator=(const ScActiveCodePage&) = delete;
};

#endif
