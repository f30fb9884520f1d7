// Checks an image without loading it: its figures, and the first damage.
//
//     const std::string image = "key=value\n"; // or the bytes of a file
//     const hollin::ImageReport report = hollin::CheckImage(
//         reinterpret_cast<const unsigned char*>(image.data()), image.size());
//     const std::string result = report.mDamaged ? report.mSentence : "no damage";
//
// An image is damaged if a load from memory into an empty hash dictionary finds damage. Faults
// that depend on the dictionary are found by loads only: a line too long for a flat store, and
// a base that does not fit the entries of the dictionary.
//
// Thread safety: any thread may call CheckImage.

#ifndef HOLLIN_IMAGE_CHECK_H
#define HOLLIN_IMAGE_CHECK_H

#include <cstddef>
#include <cstdint>
#include <string>

namespace hollin
{
// A field is 0 or empty if the form does not have it, or if it is after the damage.
struct ImageReport
{
    enum Form
    {
        kText,
        kBinary
    };
    Form mForm = kText;

    // The lines of a text that aren't empty, or the slots of an image. Removed entries and
    // lines that can't be read are included.
    std::uint64_t mSlots = 0;

    // Counted, apart from an image without keys, whose own count is the only source. A wrong
    // count in an image is not damage.
    std::uint64_t mLive = 0;

    // The text form
    enum Coding
    {
        kActiveCodePage,
        kUTF16, // of this machine's byte order
        kSwappedUTF16
    };
    Coding mCoding = kActiveCodePage;

    // The binary form
    std::uint8_t mMajor = 0;
    std::uint8_t mMinor = 0;
    std::uint8_t mTextFlag = 0; // of version 1: the encoding of the values; 0 is UTF-16
    bool mBigEndian = false;
    bool mKeyed = false;
    std::uint32_t mBase = 0; // not 0 if the image continues another image
    std::string mLocale;
    std::uint32_t mBuckets = 0;       // that aren't empty
    std::uint32_t mLongestBucket = 0; // in entries
    std::uint32_t mComments = 0;

    // The identifier of the only comment's entry. A dictionary returns that comment for every
    // entry.
    std::uint32_t mLoneCommentId = 0;

    std::uint64_t mKeyBytes = 0; // of the pool; of version 1, of all keys
    std::uint64_t mValueBytes = 0;
    std::uint64_t mCommentBytes = 0;

    // Entries whose keys are in a wrong bucket or in none, so that no look-up finds them. They
    // are not damage.
    std::uint64_t mUnreachable = 0;

    // Bytes after the content of an image of version 2. They are not damage.
    std::uint64_t mTrailing = 0;

    // The first damage
    bool mDamaged = false;
    std::uint64_t mOffset = 0; // in an image, in bytes
    std::uint64_t mLine = 0;   // in a text, from 1
    std::string mField;        // the damaged field, as "value offsets"
    std::string mProblem;      // a clause in English
    std::string mSentence;     // location, field and problem

    // Sets the fields of a damage. The location is that of the sentence, as "Line 3".
    void SetDamage(const std::string& location, const char* field, const char* problem);
    void SetDamageAt(std::uint64_t offset, const char* field, const char* problem);
};

// `size` is in bytes. `bytes` may be null if `size` is 0.
//
// An empty image, one of an unknown version and a text that the system can't convert are
// damaged. A line of only a byte-order mark is an entry, as in a load from memory.
ImageReport CheckImage(const unsigned char* bytes, std::size_t size);
} // namespace hollin

#endif
