// Binary data as text: the digits of bytes are read back as the same bytes, and any text is
// read as the bytes of its pairs of characters.

#include <algorithm>
#include <cstdint>
#include <cstdlib>

#include "U_Lifecycle.h"
#include "U_XML.h"
#include "require.h"

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    Require(U_Birth("fuzz", nullptr) == 0);
    std::atexit([] { U_Death(); });
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const U_UTF8String digits = U_BinaryDataToUTF8String(static_cast<int>(size), data);
    Require(digits.size() == 2 * size);
    U_ScAutoArray<unsigned char> bytes;
    U_UTF8StringToBinaryData(digits, &bytes);
    Require(static_cast<std::size_t>(bytes.Count()) == size);
    Require(std::equal(data, data + size, bytes.Get()));

    U_ScAutoArray<unsigned char> ofText;
    U_UTF8StringToBinaryData(U_UTF8String(data, data + size), &ofText);
    Require(static_cast<std::size_t>(ofText.Count()) == size / 2);
    const U_UTF8String again = U_BinaryDataToUTF8String(ofText.Count(), ofText.Get());
    bool isOver = false; // a pair that begins with NUL ends the text
    for (std::size_t i = 0; i < again.size(); ++i)
    {
        isOver |= i % 2 == 0 && !data[i];
        const bool isDigit =
            (data[i] >= '0' && data[i] <= '9') || (data[i] >= 'a' && data[i] <= 'f');
        Require(again[i] == (isDigit && !isOver ? data[i] : '0'));
    }
    return 0;
}
