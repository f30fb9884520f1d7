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
        // A successor of the same text may stand there already.
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

// Enters the candidate, unless another thread has entered the same text. The
// caller holds the candidate past the lock, which its end takes too.
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
        sTexts.erase(found); // its key is a view of a text that is about to go
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
