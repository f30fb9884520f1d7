#include "xmp.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <limits>
#include <map>
#include <new>
#include <string_view>

#include <platform/base/code_units.h>
#include <platform/base/locks.h>

using namespace zelboxmp;

typedef std::map<std::string, std::map<std::string, std::string>> Properties; // by namespace, name

struct __XMPMeta__
{
    std::atomic<unsigned int> mReferences{1};
    platform::Mutex mLock;
    Properties mProperties PLATFORM_GUARDED_BY(mLock);
};

namespace
{
std::atomic<unsigned int> sLive(0);

const char kHead[] = "<?xpacket begin=\"\xEF\xBB\xBF\"?>"
                     "<rdf:RDF xmlns:rdf=\"http://www.w3.org/1999/02/22-rdf-syntax-ns#\">"
                     "<rdf:Description rdf:about=\"\"";
const char kTail[] = "</rdf:Description></rdf:RDF><?xpacket end=\"r\"?>";

// Returns whether XML allows a prefix for the namespace. Two namespaces belong to the prefixes
// "xml" and "xmlns".
bool IsDeclarable(std::string_view space)
{
    return !space.empty() && space != "http://www.w3.org/XML/1998/namespace" &&
           space != "http://www.w3.org/2000/xmlns/";
}

bool IsNameStart(char c)
{
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_';
}

bool IsNamePart(char c)
{
    return IsNameStart(c) || (c >= '0' && c <= '9') || c == '-' || c == '.';
}

bool IsName(std::string_view text)
{
    return !text.empty() && IsNameStart(text[0]) &&
           std::all_of(text.begin(), text.end(), &IsNamePart);
}

// Returns the length in bytes of the character at the head of the text, or 0 if XML does not
// allow the character. REQUIRES: the text is not empty.
std::size_t CharacterLength(std::string_view text)
{
    const unsigned char lead = static_cast<unsigned char>(text[0]);
    if (lead < 0x80)
        return lead >= 0x20 || lead == '\t' || lead == '\n' || lead == '\r';
    const std::size_t length = platform::WellFormedLength(text);
    const bool isNone = text.substr(0, 3) == "\xEF\xBF\xBE" || text.substr(0, 3) == "\xEF\xBF\xBF";
    return isNone ? 0 : length;
}

std::string_view EntityOf(char c)
{
    switch (c)
    {
    case '&':
        return "&amp;";
    case '<':
        return "&lt;";
    case '>':
        return "&gt;";
    case '"':
        return "&quot;";
    case '\t':
        return "&#x9;";
    case '\n':
        return "&#xA;";
    case '\r':
        return "&#xD;";
    default:
        return std::string_view();
    }
}

void AppendEscaped(std::string_view text, std::string* packet)
{
    while (!text.empty())
    {
        const std::size_t length = CharacterLength(text);
        if (!length)
            throw kErrorBadCharacter;
        const std::string_view entity = EntityOf(text[0]);
        *packet += entity.empty() ? text.substr(0, length) : entity;
        text.remove_prefix(length);
    }
}

std::string PrefixOf(std::size_t number)
{
    return "ns" + std::to_string(number);
}

// Returns the packet. Throws an ErrorCode for a name or a character that XML does not allow.
std::string MakePacket(const Properties& properties)
{
    std::string packet = kHead;
    std::size_t number = 0;
    for (const auto& space : properties)
    {
        if (!IsDeclarable(space.first))
            throw kErrorBadName;
        packet += " xmlns:" + PrefixOf(++number) + "=\"";
        AppendEscaped(space.first, &packet);
        packet += '"';
    }
    packet += '>';
    number = 0;
    for (const auto& space : properties)
    {
        ++number;
        for (const auto& [name, value] : space.second)
        {
            if (!IsName(name))
                throw kErrorBadName;
            const std::string tag = PrefixOf(number) + ":" + name;
            packet += "<" + tag + ">";
            AppendEscaped(value, &packet);
            packet += "</" + tag + ">";
        }
    }
    return packet += kTail;
}

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
        properties.insert({namespaceName, {{name, value}}}); // a namespace always has a property
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
    // Release and acquire: all uses of the object happen before its deletion.
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
