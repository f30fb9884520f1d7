#include "U_XML.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <limits>

#include <krobase/format.h>
#include <platform/base/integer_text.h>

#include "U_Encoding.h"
#include "U_Report.h"
#include "U_ZString.h"
#include "indep/frame/Guard.h"
#include "text/Characters.h"

namespace
{
const int kInvalidType = -1;

const char* CharsOf(const U_UTF8String& text)
{
    return reinterpret_cast<const char*>(text.c_str());
}

int DecimalIn(const U_UTF8String& text)
{
    int number = 0;
    platform::ReadInteger(CharsOf(text), &number);
    return number;
}

// Returns 32 bits, of which the highest is the sign.
int HexadecimalIn(const U_UTF8String& text)
{
    const long long kMost = std::numeric_limits<unsigned int>::max();
    const long long number = std::strtoll(CharsOf(text), nullptr, 16);
    return static_cast<int>(static_cast<unsigned int>(std::clamp(number, -kMost, kMost)));
}

void ReportMissing(const U_UTF8String& element, const U_UTF8String& attribute)
{
    const U_UTF16String text = U_ZStringToUTF16String(
        "$$$/QX/SLU_XML_Element/GetAttributeValue/NoSuchAttribute=Element \"@0\" does not have "
        "attribute \"@1\".");
    U_ReportError(kModule, U_Sev_PROBLEM,
                  krobase::utility::ReplaceInString(text, U_UTF8To16String(element),
                                                    U_UTF8To16String(attribute)));
}
} // namespace

U_XML_Element::U_XML_Element() : mType(kInvalidType) {}
U_XML_Element::U_XML_Element(const U_UTF8String& name, int type) : mName(name), mType(type) {}
U_XML_Element::U_XML_Element(const U_XML_Element&) = default;
U_XML_Element::~U_XML_Element() = default;

U_XML_Element& U_XML_Element::operator=(const U_XML_Element& other)
{
    if (this == &other)
        return *this;
    // Copied first, so that an assignment without memory changes nothing.
    U_XML_Element copy(other);
    mAttributes.swap(copy.mAttributes);
    mName.swap(copy.mName);
    mBodyText.swap(copy.mBodyText);
    mCDataSection.swap(copy.mCDataSection);
    mNamespace.swap(copy.mNamespace);
    mType = copy.mType;
    return *this;
}

bool U_XML_Element::IsValid() const
{
    return mType != kInvalidType;
}

int U_XML_Element::GetType() const
{
    return mType;
}

U_UTF8String U_XML_Element::GetName() const
{
    return mName;
}

U_UTF8String U_XML_Element::GetNamespace() const
{
    return mNamespace;
}

U_UTF8String U_XML_Element::GetBodyText() const
{
    return mBodyText;
}

U_UTF8String U_XML_Element::GetCDataSection() const
{
    return mCDataSection;
}

void U_XML_Element::SetNamespace(const U_UTF8String& name)
{
    mNamespace = name;
}

void U_XML_Element::SetBodyText(const U_UTF8String& text)
{
    mBodyText = text;
}

void U_XML_Element::SetCDataSection(const U_UTF8String& text)
{
    mCDataSection = text;
}

U_XML_Element::Attributes::const_iterator U_XML_Element::GetAttrsBegin() const
{
    return mAttributes.begin();
}

U_XML_Element::Attributes::const_iterator U_XML_Element::GetAttrsEnd() const
{
    return mAttributes.end();
}

void U_XML_Element::SetAttribute(const U_UTF8String& name, const U_UTF8String& value)
{
    mAttributes.insert_or_assign(name, value);
}

void U_XML_Element::SetAttribute(const char* name, const U_UTF8String& value)
{
    SetAttribute(UTF8Of(name), value);
}

void U_XML_Element::SetAttributeLong(const char* name, int value, bool hex)
{
    char digits[16];
    std::snprintf(digits, sizeof(digits), hex ? "%x" : "%d", value);
    SetAttribute(name, UTF8Of(digits));
}

void U_XML_Element::SetAttributeBool(const char* name, bool value)
{
    SetAttributeLong(name, value ? 1 : 0, false);
}

bool U_XML_Element::GetAttributeValue(const U_UTF8String& name, U_UTF8String* value,
                                      bool reportMissing) const
{
    const auto found = mAttributes.find(name);
    if (found != mAttributes.end())
    {
        *value = found->second;
        return true;
    }
    if (reportMissing)
        ReportMissing(mName, name);
    value->clear();
    return false;
}

bool U_XML_Element::GetAttributeValue(const char* name, U_UTF8String* value,
                                      bool reportMissing) const
{
    return GetAttributeValue(UTF8Of(name), value, reportMissing);
}

bool U_XML_Element::GetAttributeValueLong(const char* name, int* value, bool hex,
                                          bool reportMissing) const
{
    U_UTF8String text;
    const bool isThere = GetAttributeValue(name, &text, reportMissing);
    *value = hex ? HexadecimalIn(text) : DecimalIn(text); // 0 for the empty text
    return isThere;
}

bool U_XML_Element::GetAttributeValueBool(const char* name, bool* value, bool hex) const
{
    int number = 0;
    const bool isThere = GetAttributeValueLong(name, &number, hex, false);
    *value = number != 0;
    return isThere;
}
