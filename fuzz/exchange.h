// Helpers of the targets that read exchange files of zdict.

#ifndef FUZZ_EXCHANGE_H
#define FUZZ_EXCHANGE_H

#include <cstdint>
#include <string>

#include "exchange/catalogue.h"
#include "exchange/note.h"
#include "messages.h"
#include "require.h"

// The messages of damaged inputs, millions of them, are dropped.
void Report(const std::string&, const std::string&) {}
void Report(const Failure&) {}
std::string Quoted(const std::string& text)
{
    return text;
}
std::string Counted(unsigned long long count, const std::string& thing)
{
    return std::to_string(count) + thing;
}

// Reads an input, writes the catalogue and reads that again: the texts and their notes are the
// same, if each has a key of its own.
template <typename Read, typename Write>
void RequireSame(const std::uint8_t* data, std::size_t size, Read read, Write write)
{
    const TakeOptions kAll = {true, true, true};
    const auto texts = [&](const Catalogue& catalogue) {
        return TakeTranslations(catalogue, "input", Entries(), kAll);
    };
    Catalogue catalogue;
    Entries entries;
    try
    {
        catalogue = read(InputFile{"input", std::vector<unsigned char>(data, data + size)});
        entries = texts(catalogue);
    }
    catch (const Failure&)
    {
        return;
    }
    for (const CatalogueEntry& entry : catalogue.mEntries)
    {
        const Note note = ParseNote(FormatNote(entry.mNote));
        Require(ParseNote(FormatNote(note)) == note);
        if (entry.mKey.empty() || entry.mNote.HasFlag(kObsoleteFlag))
            return;
    }
    std::string written;
    try
    {
        written = write(catalogue);
    }
    catch (const Failure&)
    {
        return; // a key that the format can't hold
    }
    const Entries again = texts(
        read(InputFile{"written", std::vector<unsigned char>(written.begin(), written.end())}));
    Require(again.size() == entries.size());
    for (std::size_t i = 0; i < entries.size(); ++i)
    {
        Require(again[i].mKey == entries[i].mKey);
        Require(SplitNote(again[i].mText).mText == SplitNote(entries[i].mText).mText);
    }
}

#endif
