// Makes images of texts and images.

#ifndef ZDICT_IMAGES_BUILD_H
#define ZDICT_IMAGES_BUILD_H

#include <cstdint>
#include <string>
#include <vector>

#include "images/code_page.h"
#include "messages.h"

enum class Inputs
{
    kTexts,
    kTextsAndImages
};

struct BuildOptions
{
    std::vector<std::string> mFiles;
    std::string mOutput = "-";
    std::string mLocale; // empty: the last one of the files
    CodePage mCodePage;  // of the texts
    std::uint32_t mBase = 0;
    bool mBigEndian = false;
    bool mNoKeys = false;
    bool mVerbose = false;
};

// Loads the files in order and writes one image of them. Each failure of a file is reported.
//
// Throws: Failure.
Status BuildImage(const BuildOptions& options, Inputs inputs);

#endif
