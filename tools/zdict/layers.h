// Files laid over each other into one dictionary, and the image of it.

#ifndef ZDICT_LAYERS_H
#define ZDICT_LAYERS_H

#include <cstddef>
#include <string>
#include <unordered_map>

#include "entries.h"
#include "messages.h"
#include "options.h"

class Layers
{
public:
    // Texts of keys that are there already are replaced, and their comments if
    // the entry has one. Returns how many texts were replaced. Throws a Failure,
    // in the file's name, for what no image can hold.
    std::size_t Add(const Entries& entries, const std::string& fileName);

    // The locale of the last file that names one counts.
    void SetLocale(const std::string& name) { mLocale = name.empty() ? mLocale : name; }

    // Writes the image where the options say, in the form they ask for.
    void Write(const Options& options) const;

private:
    Entries mEntries;                                     // each key once
    std::unordered_map<std::string, std::size_t> mPlaces; // of keys in mEntries
    std::string mLocale;
};

enum class Inputs
{
    kTexts,
    kTextsAndImages
};

// Lays the files of the options over each other and writes the image. People
// have been told of each file that fails.
Status BuildImage(const Options& options, Inputs inputs);

#endif
