// The fields of a binary image of any version, as the mutator changes them.
//
// The offsets, sizes and tables are no fields here: WriteForm makes them of the entries, so that
// they fit each other whatever the mutator has changed.

#ifndef FUZZ_IMAGE_FORM_H
#define FUZZ_IMAGE_FORM_H

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

struct ImageSlot
{
    std::string mKey;     // empty for a removed slot of version 2
    std::string mValue;   // bytes, in the byte order of the image
    std::string mComment; // of version 2
    bool mHasComment = false;
};

struct ImageForm
{
    enum Layout
    {
        kFlat,        // 2.x
        kLengthTable, // 1.5
        kEntries      // 1.0
    };

    // Puts the slot into the bucket of its key.
    void AddToBucket(std::uint32_t slot);

    // Removes the slot, and its identifier from the buckets.
    void Erase(std::uint32_t slot);

    Layout mLayout = kFlat;
    std::uint8_t mMinor = 7; // of version 2
    std::uint8_t mTextFlag = 0;
    bool mBigEndian = false;
    bool mKeyed = true;
    bool mSharesPools = false; // equal and contained runs share bytes
    std::uint32_t mBase = 0;
    std::int32_t mWrongLive = 0; // added to the count of live slots
    std::string mLocale = "en_US";
    std::string mTrailing; // bytes after the content
    std::vector<ImageSlot> mSlots;
    std::map<std::uint16_t, std::vector<std::uint32_t>> mBuckets; // to slots
};

// Reads a sound image. Returns false for any other bytes.
bool ReadForm(const std::uint8_t* bytes, std::size_t size, ImageForm* form);

// Values are cut to whole units where the form needs it.
std::string WriteForm(const ImageForm& form);

#endif
