// Makes images of texts and images.

#ifndef ZDICT_IMAGES_BUILD_H
#define ZDICT_IMAGES_BUILD_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "images/load.h"
#include "messages.h"

enum class Inputs
{
    kTexts,
    kTextsAndImages
};

struct ImageForm
{
    std::string mLocale; // empty: en_US
    std::uint32_t mBase = 0;
    bool mBigEndian = false;
    bool mNoKeys = false;
};

// Writes an image of all slots of the table. Returns the number of live ones.
//
// Throws: Failure.
std::size_t WriteImage(const EntryTable& table, const ImageForm& form, const std::string& output);

struct BuildOptions
{
    std::vector<std::string> mFiles;
    std::string mOutput = "-";
    LoadOptions mLoad;
    ImageForm mForm;                    // an empty locale: the last one of the files
    std::optional<std::uint32_t> mBase; // absent: that of the first file
    bool mVerbose = false;
    std::vector<std::string> mOffChecks; // the names of checks that warn of nothing
};

// Loads the files in order and writes one image of them, with the identifiers that a program has
// after it loads the files in this order. Each failure of a file is reported.
//
// Throws: Failure.
Status BuildImage(const BuildOptions& options, Inputs inputs);

#endif
