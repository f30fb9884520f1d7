#include "xmp.h"

#include <atomic>
#include <limits>
#include <new>

#include <platform/base/locks.h>

#include "private/packet.h"

using namespace zelboxmp;

struct __XMPMeta__
{
    std::atomic<unsigned int> mReferences{1};
    platform::Mutex mLock;
    Properties mProperties PLATFORM_GUARDED_BY(mLock);
};

namespace
{
std::atomic<unsigned int> sLive(0);

const char* TextOf(ErrorCode code)
{
    switch (code)
    {
    case kErrorBadSettings:
        return "Unknown settings for a packet";
    case kErrorBadName:
        return "A property's name can't stand in XML";
    case kErrorBadCharacter:
        return "A property holds a character that can't stand in XML";
    case kErrorNoMemory:
        return "Out of memory";
    case kErrorTooLong:
        return "The packet is too long";
    }
    return "Unknown error";
}

bool IsEmpty(const char* text)
{
    return !text || !*text;
}

std::string PacketOf(__XMPMeta__& metadata)
{
    const platform::ScLock lock(metadata.mLock);
    return MakePacket(metadata.mProperties);
}
} // namespace

namespace zelboxmp
{
__XMPMeta__* NewMetadata()
{
    __XMPMeta__* const metadata = new __XMPMeta__;
    sLive.fetch_add(1, std::memory_order_relaxed);
    return metadata;
}

void SetProperty(__XMPMeta__* metadata, const std::string& namespaceName, const std::string& name,
                 const std::string& value)
{
    const platform::ScLock lock(metadata->mLock);
    Properties& properties = metadata->mProperties;
    const auto space = properties.find(namespaceName);
    if (space != properties.end())
        space->second.insert_or_assign(name, value);
    else
        properties.insert({namespaceName, {{name, value}}}); // never without a property
}

unsigned int ReferenceCount(__XMPMeta__* metadata)
{
    return metadata->mReferences.load(std::memory_order_relaxed);
}

unsigned int LiveMetadata()
{
    return sLive.load(std::memory_order_relaxed);
}

void Ordinal5(__XMPMeta__* metadata)
{
    metadata->mReferences.fetch_add(1, std::memory_order_relaxed);
}

void Ordinal6(__XMPMeta__* metadata)
{
    // Whoever frees the object sees what all others did with it.
    if (metadata->mReferences.fetch_sub(1, std::memory_order_acq_rel) != 1)
        return;
    delete metadata;
    sLive.fetch_sub(1, std::memory_order_relaxed);
}

void Ordinal61(__XMPMeta__* metadata, void* clientString, unsigned int options,
               unsigned int padding, const char* newline, const char* indent, int baseIndent,
               StoreText store, Result* result)
{
    try
    {
        if (options || padding || baseIndent || !IsEmpty(newline) || !IsEmpty(indent))
            throw kErrorBadSettings;
        const std::string packet = PacketOf(*metadata);
        if (packet.size() > std::numeric_limits<unsigned int>::max())
            throw kErrorTooLong;
        store(clientString, packet.data(), static_cast<unsigned int>(packet.size()));
    }
    catch (const ErrorCode& code)
    {
        result->errorText = TextOf(code);
        result->errorCode = code;
    }
    catch (const std::bad_alloc&)
    {
        result->errorText = TextOf(kErrorNoMemory);
        result->errorCode = kErrorNoMemory;
    }
}
} // namespace zelboxmp
