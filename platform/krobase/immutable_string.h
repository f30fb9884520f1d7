// Strings that are compared by identity, for keys.
//
//     const krobase::utility::ImmutableString key("state");
//     if (key == krobase::utility::ImmutableString("state"))
//         return;
//
// Thread safety: several threads may use the class at once, also with one text. One object
// that a thread changes is for that thread alone.

#ifndef KROBASE_IMMUTABLE_STRING_H
#define KROBASE_IMMUTABLE_STRING_H

#include <functional>
#include <string>

#include <boost/shared_ptr.hpp>

#include <platform/base/export.h>

namespace krobase
{
namespace utility
{
// Equal texts share one copy of the text as long as any of their objects lives. Copies and
// comparisons use the address of that copy only, so the order is not that of the texts, and
// differs from process to process.
class PLATFORM_EXPORT ImmutableString
{
public:
    // Copies the text. Null counts as the empty text.
    //
    // Throws: std::bad_alloc.
    explicit ImmutableString(const char* text);

    // Returns the text. An object that has been moved from returns the empty text, and equals
    // no object that has a text.
    const char* Text() const { return mText ? mText->c_str() : ""; }

    friend bool operator==(const ImmutableString& left, const ImmutableString& right)
    {
        return left.mText == right.mText;
    }
    friend bool operator!=(const ImmutableString& left, const ImmutableString& right)
    {
        return !(left == right);
    }
    friend bool operator<(const ImmutableString& left, const ImmutableString& right)
    {
        return std::less<const std::string*>()(left.mText.get(), right.mText.get());
    }

private:
    boost::shared_ptr<const std::string> mText; // equal texts have equal pointers
};
} // namespace utility
} // namespace krobase

#endif
