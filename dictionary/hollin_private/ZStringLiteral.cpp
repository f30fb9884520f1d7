#include "hollin_private/ZStringLiteral.h"

#include <cstring>
#include <limits>

namespace hollin_private
{
bool ParseZString(const char* text, ZStringLiteral* literal)
{
    static const char kPrefix[] = "$$$";
    const std::size_t prefixLength = sizeof kPrefix - 1;
    if (!text || !*text)
        return false;
    if (*text == '$')
    {
        if (std::strncmp(text, kPrefix, prefixLength) != 0)
            return false;
        text += prefixLength;
    }
    const std::size_t keyLength = std::strcspn(text, "=");
    if (keyLength > std::numeric_limits<std::uint32_t>::max())
        return false;
    literal->mKey = ByteRun{reinterpret_cast<const unsigned char*>(text),
                            static_cast<std::uint32_t>(keyLength)};
    literal->mDefaultText = text + keyLength + (text[keyLength] ? 1 : 0);
    return true;
}
} // namespace hollin_private
