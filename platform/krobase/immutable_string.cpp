#include "immutable_string.h"

#include <map>
#include <string_view>

#include <boost/weak_ptr.hpp>

#include <platform/base/locks.h>

namespace krobase
{
namespace utility
{
namespace
{
typedef boost::shared_ptr<const std::string> SharedText;
typedef std::map<std::string_view, boost::weak_ptr<const std::string>> TextTable;

// The living texts. The keys are views of the texts. The table is never destroyed: static
// strings end late.
platform::Mutex sTextLock;
TextTable& sTexts PLATFORM_GUARDED_BY(sTextLock) = *new TextTable;

void Forget(const std::string* text)
{
    {
        const platform::ScLock lock(sTextLock);
        const auto found = sTexts.find(*text);
        // Another thread may have entered a new object with the same text.
        if (found != sTexts.end() && found->second.expired())
            sTexts.erase(found);
    }
    delete text;
}

SharedText Find(std::string_view text)
{
    const platform::ScLock lock(sTextLock);
    const auto found = sTexts.find(text);
    return found != sTexts.end() ? found->second.lock() : SharedText();
}

// Enters the candidate, and returns it. If another thread has entered the same text, returns
// that text. The caller owns the candidate until after the lock, since the candidate's deleter
// takes the lock, too.
SharedText Enter(const SharedText& candidate)
{
    TextTable entry;
    entry.emplace(*candidate, candidate);
    const platform::ScLock lock(sTextLock);
    const auto found = sTexts.find(*candidate);
    if (found != sTexts.end())
    {
        if (SharedText living = found->second.lock())
            return living;
        sTexts.erase(found); // the key is a view of a text that is about to be deleted
    }
    sTexts.merge(entry);
    return candidate;
}
} // namespace

ImmutableString::ImmutableString(const char* text) : mText(Find(text ? text : ""))
{
    if (mText)
        return;
    const SharedText candidate(new std::string(text ? text : ""), &Forget);
    mText = Enter(candidate);
}
} // namespace utility
} // namespace krobase
