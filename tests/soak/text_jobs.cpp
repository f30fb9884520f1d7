#include <array>
#include <condition_variable>
#include <mutex>
#include <new>
#include <string>

#include "U_ZString.h"
#include "tests/soak/Soak.h"
#include "tests/support/Text.h"

namespace
{
const std::size_t kKeys = 200;
const U_u32 kRarely = 5000; // runs of Reload for one load

// Guards sResolving, sIsWanted and sIsChosen. Threads wait for their changes with sChanged.
std::mutex sLock;
std::condition_variable sChanged;
int sResolving = 0; // threads inside ScResolving
bool sIsWanted = false;
bool sIsChosen = false; // a job chooses a language now

// The language that was chosen last. Written while no thread resolves.
std::size_t sLanguage = 0;

struct Language
{
    const char16_t* mWord;
    std::u16string mImage; // in text form
};
std::array<Language, 2> sLanguages{{{u"Wort", {}}, {u"\u8A9E", {}}}};

std::string ZString(std::size_t key)
{
    return "$$$/soak/" + std::to_string(key) + "=word " + std::to_string(key);
}

U_UTF16String Translation(std::size_t key, const Language& language)
{
    return Units(language.mWord) + Units(u" ") + U_AsciiToUTF16String(std::to_string(key).c_str());
}

std::u16string Image(const Language& language)
{
    std::u16string image(1, u'\uFEFF');
    for (std::size_t key = 0; key < kKeys; ++key)
    {
        const std::string number = std::to_string(key);
        const std::u16string wide(number.begin(), number.end());
        image += u"\"$$$/soak/" + wide + u"=" + language.mWord + u" " + wide + u"\"\r\n";
    }
    return image;
}

void Load(std::size_t language)
{
    std::u16string& image = sLanguages[language].mImage;
    Check(U_ZStringSetCurrentDictionary(reinterpret_cast<U_u16*>(image.data()),
                                        image.size() * sizeof(char16_t)) == 0,
          "a dictionary");
}

void Resolve(Worker& worker)
{
    const std::size_t key = worker.Below(kKeys);
    const U_UTF16String text = U_ZStringToUTF16String(ZString(key).c_str());
    Check(text == Translation(key, sLanguages[sLanguage]), "a text in the language chosen last");
}

void Reload(Worker& worker)
{
    if (worker.Below(kRarely) != 0)
        return;
    std::unique_lock<std::mutex> lock(sLock);
    sChanged.wait(lock, [] { return !sIsWanted; });
    sIsWanted = true;
    sChanged.wait(lock, [] { return sResolving == 0; });
    sIsChosen = true;
    try
    {
        Load(1 - sLanguage);
        sLanguage = 1 - sLanguage;
    }
    catch (const std::bad_alloc&)
    {
        Refused(); // and no language is chosen
    }
    sIsWanted = sIsChosen = false;
    sChanged.notify_all();
}
} // namespace

ScResolving::ScResolving(Thread thread)
{
    std::unique_lock<std::mutex> lock(sLock);
    sChanged.wait(lock, [&] { return !sIsChosen && (thread == kMain || !sIsWanted); });
    ++sResolving;
}

ScResolving::~ScResolving()
{
    const std::lock_guard<std::mutex> lock(sLock);
    if (--sResolving == 0)
        sChanged.notify_all();
}

Jobs StartTexts()
{
    for (Language& language : sLanguages)
        language.mImage = Image(language);
    Load(1);
    Load(sLanguage);
    return {{"texts", &Resolve}, {"dictionaries", &Reload, true}};
}
