// Looks an image over without loading it: what it holds, and where it is damaged.
//
// It finds damaged what loads into an empty hash dictionary do. What depends on
// the dictionary only a load can tell: a line too long for a flat store, and a
// base that doesn't fit what is there. A line of nothing but a byte-order mark
// counts as an entry, as in a load from memory. Any thread may call it.

#ifndef HOLLIN_IMAGE_CHECK_H
#define HOLLIN_IMAGE_CHECK_H

#include <cstddef>
#include <cstdint>
#include <string>

namespace hollin
{
// What doesn't apply to a form, or stands behind the damage, is 0 or empty.
struct ImageReport
{
    enum Form
    {
        kText,
        kBinary
    };
    Form mForm = kText;

    // Of a text its lines that aren't empty, of an image its entries. Slots count
    // removed entries too, and lines that can't be read. Live entries are counted,
    // whatever the image tells, which is no damage; without keys it alone knows.
    std::uint64_t mSlots = 0;
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
    std::uint8_t mTextFlag = 0; // of version 1: the values' encoding; 0 is UTF-16
    bool mBigEndian = false;
    bool mKeyed = false;
    std::uint32_t mBase = 0; // not 0 if it continues another file
    std::string mLocale;
    std::uint32_t mBuckets = 0;       // those that aren't empty
    std::uint32_t mLongestBucket = 0; // in entries
    std::uint32_t mComments = 0;
    std::uint32_t mLoneCommentId = 0; // of one comment, whose it is: a dictionary gives it for all
    std::uint64_t mKeyBytes = 0;      // sizes of the pools; of version 1, of all keys
    std::uint64_t mValueBytes = 0;
    std::uint64_t mCommentBytes = 0;

    // Entries that no look-up finds, as their key is in a bucket that isn't its
    // own, or in none. That is no damage.
    std::uint64_t mAstray = 0;

    // Of version 2, the bytes behind the end of what it holds. No damage either.
    std::uint64_t mTrailing = 0;

    // The first damage
    bool mDamaged = false;
    std::uint64_t mOffset = 0; // of an image: where, in bytes
    std::uint64_t mLine = 0;   // of a text: where, from 1
    std::string mField;        // what is damaged, as in "value offsets"
    std::string mProblem;      // what is wrong with it, a clause in English
    std::string mSentence;     // both, with the place
};

// size is in bytes; bytes may be null if it is 0. An empty image is damaged, as
// is one of an unknown version, and a text that the system can't convert.
ImageReport CheckImage(const unsigned char* bytes, std::size_t size);
} // namespace hollin

#endif
