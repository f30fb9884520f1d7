#include <string>

#include "U_Encoding.h"
#include "U_ZString.h"
#include "tests/soak/Soak.h"
#include "tests/support/Text.h"

namespace
{
const std::size_t kKeys = 200;

void Resolve(Worker& worker)
{
    const std::string key = std::to_string(worker.Below(kKeys));
    const U_UTF16String text = U_ZStringToUTF16String(("$$$/soak/" + key + "=word " + key).c_str());
    Check(text == Units(u"\u8A9E ") + U_AsciiToUTF16String(key.c_str()),
          "a text in the language that was chosen");
}
} // namespace

Jobs StartTexts()
{
    static std::u16string sImage(1, u'\uFEFF'); // in text form
    for (std::size_t key = 0; key < kKeys; ++key)
    {
        const std::string number = std::to_string(key);
        const std::u16string wide(number.begin(), number.end());
        sImage += u"\"$$$/soak/" + wide + u"=\u8A9E " + wide + u"\"\r\n";
    }
    Check(U_ZStringSetCurrentDictionary(reinterpret_cast<U_u16*>(sImage.data()),
                                        sImage.size() * sizeof(char16_t)) == 0,
          "a dictionary");
    return {{"texts", &Resolve}};
}
