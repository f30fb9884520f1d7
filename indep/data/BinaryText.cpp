// Binary data as hexadecimal text.

#include "U_XML.h"

#include <array>
#include <cstring>
#include <memory>
#include <new>
#include <optional>

#include <platform/base/quiet_new.h>

#include "U_Budget.h"
#include "U_Posted.h"

namespace
{
constexpr char kDigits[] = "0123456789abcdef";

// The two digits of each byte.
constexpr std::array<U_u8, 512> MakePairs()
{
    std::array<U_u8, 512> pairs = {};
    for (std::size_t byte = 0; byte < 256; ++byte)
    {
        pairs[2 * byte] = static_cast<U_u8>(kDigits[byte >> 4]);
        pairs[2 * byte + 1] = static_cast<U_u8>(kDigits[byte & 15]);
    }
    return pairs;
}

// The value of each character, 0 for a character that is no digit.
constexpr std::array<U_u8, 256> MakeValues()
{
    std::array<U_u8, 256> values = {};
    for (std::size_t value = 0; value < 16; ++value)
        values[static_cast<U_u8>(kDigits[value])] = static_cast<U_u8>(value);
    return values;
}

constexpr std::array<U_u8, 512> kPairs = MakePairs();
constexpr std::array<U_u8, 256> kValues = MakeValues();

// Keeps failures within the scope from the user: the caller receives their code.
class ScQuietErrors
{
public:
    ScQuietErrors() : mIsQuiet(U_StartQuietErrorsOnCurrentThread(true) == 0)
    {
        if (!mIsQuiet)
            mQuietNew.emplace();
    }
    ~ScQuietErrors()
    {
        if (mIsQuiet)
            U_EndQuietErrorsOnCurrentThread();
    }
    ScQuietErrors(const ScQuietErrors&) = delete;
    ScQuietErrors& operator=(const ScQuietErrors&) = delete;

private:
    const bool mIsQuiet;
    std::optional<platform::ScQuietNew> mQuietNew; // if there is no memory for a quiet level
};

struct NewArray
{
    std::size_t mCount;
    std::unique_ptr<U_u8[]> mBytes;
};

int AllocateArray(void* refcon, bool* okay)
{
    NewArray& array = *static_cast<NewArray*>(refcon);
    const ScQuietErrors quiet;
    array.mBytes.reset(new (std::nothrow) U_u8[array.mCount]);
    *okay = array.mBytes != nullptr;
    return *okay ? 0 : U_Err_OutOfMemory;
}

void Decode(const U_u8* digits, U_u8* bytes, std::size_t count)
{
    std::size_t i = 0;
    for (; i < count && digits[2 * i]; ++i)
        bytes[i] = static_cast<U_u8>(kValues[digits[2 * i]] << 4 | kValues[digits[2 * i + 1]]);
    std::memset(bytes + i, 0, count - i);
}
} // namespace

U_UTF8String U_BinaryDataToUTF8String(int size, const void* data)
{
    U_UTF8String text;
    if (size <= 0 || !data)
        return text;
    const std::size_t count = static_cast<std::size_t>(size);
    const U_u8* const bytes = static_cast<const U_u8*>(data);
    text.resize(2 * count);
    for (std::size_t i = 0; i < count; ++i)
        std::memcpy(&text[2 * i], &kPairs[2 * static_cast<std::size_t>(bytes[i])], 2);
    return text;
}

void U_UTF8StringToBinaryData(const U_UTF8String& text, U_ScAutoArray<unsigned char>* data)
{
    if (text.empty())
        return;
    NewArray array = {text.size() / 2, nullptr};
    if (U_Status failure = U_PurgeLoop(array.mCount, &AllocateArray, &array, false))
        throw failure;
    Decode(text.data(), array.mBytes.get(), array.mCount);
    // U_PurgeLoop refuses blocks of more bytes than an int can count.
    U_ScAutoArray<unsigned char> decoded(array.mBytes.release(), static_cast<int>(array.mCount));
    data->Swap(decoded);
}
