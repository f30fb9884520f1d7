// Texts that are compared by identity, for keys. Any thread.

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
// Equal texts share one object for as long as any of them lives. Copying,
// comparing and ordering look at the handle alone, so the order says nothing
// about the texts and differs from process to process.
class PLATFORM_EXPORT ImmutableString
{
public:
    // Copies the text; null stands for the empty one. Throws std::bad_alloc.
    explicit ImmutableString(const char* text);

    // The empty text if the object has been moved from, which equals no text then.
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
    boost::shared_ptr<const std::string> mText; // its first word is the handle
};
} // namespace utility
} // namespace krobase

#endif
