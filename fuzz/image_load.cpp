// Are the entries sound that a load stores, of damaged images too, from memory and from a stream?
// By size, some stores of version 2 are written and read again. All entries of others are visited,
// looked up, and one entry is changed and removed.

#include <memory>

#include <hollin/ImageCheck.h>

#include "load.h"

namespace
{
const std::uint16_t kText[] = {'n', 'e', 'w'};

// An empty dictionary of either store, or a loaded one.
std::unique_ptr<hollin::Dictionary> MakeDictionary(std::size_t kind)
{
    auto dictionary = std::make_unique<hollin::Dictionary>(kind % 2 != 0);
    if (kind == 2)
        Require(Load(*dictionary, "/a=first\n/QX/U/Demo=first\n"));
    if (kind == 3)
    {
        dictionary->SetString("/a", kText, sizeof kText, kText, 4);
        dictionary->SetString("/QX/U/Demo", kText, sizeof kText);
        dictionary->RemoveString("/QX/U/Demo");
    }
    return dictionary;
}

// The load agrees with the check. An image that is damaged leaves the dictionary unchanged, except
// a damaged image of version 1. Bases, and lines for a flat store, may be damage for a load only.
void RequireResult(hollin::Dictionary& dictionary, std::size_t kind, bool isGood,
                   const hollin::ImageReport& report)
{
    Require(kind ? !isGood || !report.mDamaged : isGood != report.mDamaged);
    if (isGood || report.mForm == hollin::ImageReport::kText || report.mMajor == 1)
        return;
    static const std::unique_ptr<hollin::Dictionary> sBefore[] = {
        MakeDictionary(0), MakeDictionary(1), MakeDictionary(2), MakeDictionary(3)};
    hollin::Dictionary& before = *sBefore[kind];
    RequireSameEntries(dictionary, before);
    Require(dictionary.GetString("$$$/a=") == before.GetString("$$$/a="));
    Require(dictionary.GetComment("/a") == before.GetComment("/a"));
    Require(dictionary.GetLanguage() == before.GetLanguage());
}

// Returns a key that a look-up finds, or an empty key.
std::string Visit(hollin::Dictionary& dictionary)
{
    std::string found;
    std::uint32_t id = 0;
    dictionary.ResetIterator();
    while (dictionary.NextId(&id))
    {
        const std::string key = CurrentKey(dictionary);
        const hollin::ZString text = dictionary.CurrentText();
        const std::uint16_t* units = nullptr;
        std::uint32_t length = 0;
        if (dictionary.GetRawStringById(id, &units, &length))
            Require(hollin::ZString(units, length) == text);
        dictionary.GetCommentById(id);
        if (!IsNameable(key) || !dictionary.HasString(key.c_str()))
            continue;
        Require(dictionary.GetRawString(key.c_str(), &units, &length));
        Require(dictionary.GetString(key.c_str()) == hollin::ZString(units, length));
        found = key;
    }
    return found;
}

bool LoadStream(hollin::Dictionary& dictionary, const std::string& bytes)
{
    std::istringstream stream(bytes);
    try
    {
        dictionary.LoadFromStream(stream);
        return dictionary.IsGood();
    }
    catch (const hollin::VoErrException&)
    {
        return false;
    }
}

void Change(hollin::Dictionary& dictionary, const char* key)
{
    const std::uint32_t id = dictionary.GetId(key);
    Require(dictionary.SetString(key, kText, sizeof kText, kText, 2) == id);
    Require(id == hollin::kNoId || dictionary.GetString(key) == hollin::ZString(kText, 3));
    Require(dictionary.RemoveString(key) == id);
    Require(id == hollin::kNoId || dictionary.GetId(key) != id);
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::unique_ptr<hollin::Dictionary> dictionary = MakeDictionary(size % 4);
    const bool isGood = Load(*dictionary, data, size);
    RequireResult(*dictionary, size % 4, isGood, hollin::CheckImage(data, size));
    if (size / 8 % 4 == 0)
    {
        const std::unique_ptr<hollin::Dictionary> ofStream = MakeDictionary(size % 4);
        Require(isGood == LoadStream(*ofStream, std::string(data, data + size)));
        RequireSameEntries(*dictionary, *ofStream);
    }
    else if (size / 8 % 4 == 1 && size % 4 == 0 && dictionary->GetLanguage().Length()) // version 2
    {
        hollin::Dictionary again;
        Require(Load(again, Written(*dictionary, hollin::Dictionary::kBinary, size / 4 % 2)));
        RequireSameEntries(*dictionary, again);
    }
    else if (const std::string key = Visit(*dictionary); !key.empty())
        Change(*dictionary, key.c_str());
    return 0;
}
