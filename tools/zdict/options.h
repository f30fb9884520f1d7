// The command line behind the command's name.

#ifndef ZDICT_OPTIONS_H
#define ZDICT_OPTIONS_H

#include <cstdint>
#include <string>
#include <vector>

struct Options
{
    std::vector<std::string> mOperands;
    std::string mOutput = "-";
    std::string mLocale; // empty if it isn't given
    unsigned int mCodePage = 65001;
    bool mCodePageGiven = false;
    std::uint32_t mBase = 0;
    bool mBigEndian = false;
    bool mNoKeys = false;
    bool mUTF16 = false;
    bool mComment = false;
    bool mNoComments = false;
    bool mVerbose = false;
    bool mHelp = false;
};

// A set of options; every command takes --help too.
enum OptionBit : unsigned int
{
    kOutputOption = 1 << 0,
    kLocaleOption = 1 << 1,
    kCodePageOption = 1 << 2,
    kBaseOption = 1 << 3,
    kBigEndianOption = 1 << 4,
    kNoKeysOption = 1 << 5,
    kUTF16Option = 1 << 6,
    kCommentOption = 1 << 7,
    kNoCommentsOption = 1 << 8,
    kVerboseOption = 1 << 9,
    kHelpOption = 1 << 10
};

// What an image is written with.
const unsigned int kImageOptions =
    kOutputOption | kLocaleOption | kBaseOption | kBigEndianOption | kNoKeysOption | kVerboseOption;

// Reads the arguments, which a null ends. Returns what is wrong with them, empty
// if nothing is.
std::string ParseOptions(const char* const* arguments, unsigned int taken, Options* options);

// Of the lines of a command's help for people, those of the options it takes.
std::string OptionsHelp(unsigned int taken);

#endif
