// Helpers of the targets that read exchange files of zdict.

#ifndef FUZZ_EXCHANGE_H
#define FUZZ_EXCHANGE_H

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "exchange/taker.h"
#include "files.h"
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

// The entries of a file and their texts.
struct Exchanged
{
    std::vector<CatalogueEntry> mEntries;
    std::vector<std::pair<std::string, hollin::ZString>> mTexts;
};

template <typename Read> Exchanged ReadAll(const InputFile& file, Read read)
{
    Exchanged all;
    const EntryTable english;
    Taker taker("input", english, {true, true, true},
                [&](const std::string& key, const hollin::ZString& text) {
                    all.mTexts.emplace_back(key, text);
                });
    read(file, [&](CatalogueEntry entry) {
        all.mEntries.push_back(entry);
        taker.Add(std::move(entry));
    });
    taker.Finish();
    return all;
}

// Reads an input, writes the catalogue and reads that again: the texts and their notes are the
// same, if each has a key of its own.
template <typename Read, typename Write>
void RequireSame(const std::uint8_t* data, std::size_t size, Read read, Write write)
{
    Exchanged first;
    try
    {
        first = ReadAll({"input", std::vector<unsigned char>(data, data + size)}, read);
    }
    catch (const Failure&)
    {
        return;
    }
    for (const CatalogueEntry& entry : first.mEntries)
    {
        const Note note = ParseNote(FormatNote(entry.mNote));
        Require(ParseNote(FormatNote(note)) == note);
        if (entry.mKey.empty() || entry.mNote.HasFlag(kObsoleteFlag))
            return;
    }
    Catalogue catalogue;
    catalogue.mForEach = [&](const OnEntry& onEntry) {
        for (const CatalogueEntry& entry : first.mEntries)
            onEntry(entry);
    };
    std::string written;
    try
    {
        written = write(catalogue);
    }
    catch (const Failure&)
    {
        return; // a key that the format can't hold
    }
    const Exchanged again =
        ReadAll({"written", std::vector<unsigned char>(written.begin(), written.end())}, read);
    Require(again.mTexts.size() == first.mTexts.size());
    for (std::size_t i = 0; i < first.mTexts.size(); ++i)
    {
        Require(again.mTexts[i].first == first.mTexts[i].first);
        const NotedText before = SplitNote(first.mTexts[i].second);
        const NotedText after = SplitNote(again.mTexts[i].second);
        Require(after.mText == before.mText && after.mNote == before.mNote);
    }
}

#endif
