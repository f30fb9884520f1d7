#include "utf8_windows.h"

#if defined(__x86_64__)

#include <immintrin.h>

#include <array>

#define WITH_AVX2 [[gnu::target("avx2")]]

namespace win32
{
namespace
{
// A window is four characters of one to three bytes. One shuffle moves each character to a lane
// of 32 bits, the last byte lowest. To encode, a shuffle packs the bytes of such lanes.
const std::size_t kCharacters = 4;
const std::size_t kLongest = 3; // bytes of a character
const std::size_t kWindow = kCharacters * kLongest;
const std::size_t kVector = sizeof(__m128i);
const Byte kZero = 0x80; // the index for which a shuffle stores 0

typedef std::array<Byte, kVector> Shuffle;

struct Windows
{
    // By the bits that are set for the last byte of each character.
    std::array<Byte, 1 << kWindow> mLengths; // 0: the window has a longer character
    std::array<Byte, 1 << kWindow> mNumbers; // of the shuffles

    std::array<Shuffle, kLongest * kLongest * kLongest * kLongest> mShuffles;
};

constexpr Windows MakeWindows()
{
    Windows windows = {};
    for (std::size_t lasts = 0; lasts < windows.mLengths.size(); ++lasts)
    {
        Shuffle shuffle = {};
        std::size_t character = 0;
        std::size_t number = 0;
        std::size_t start = 0;
        for (std::size_t byte = 0; byte < kWindow && character < kCharacters; ++byte)
        {
            if (!(lasts >> byte & 1))
                continue;
            const std::size_t length = byte + 1 - start;
            if (length > kLongest)
                break;
            for (std::size_t i = 0; i < 4; ++i)
                shuffle[4 * character + i] = static_cast<Byte>(i < length ? byte - i : kZero);
            number = kLongest * number + length - 1;
            ++character;
            start = byte + 1;
        }
        if (character < kCharacters)
            continue;
        windows.mLengths[lasts] = static_cast<Byte>(start);
        windows.mNumbers[lasts] = static_cast<Byte>(number);
        windows.mShuffles[number] = shuffle;
    }
    return windows;
}

// By four bits that are set for units from 0x80 on, and four more for units from 0x800 on.
struct Packs
{
    std::array<Shuffle, 256> mShuffles;
    std::array<Byte, 256> mLengths;
};

constexpr Packs MakePacks()
{
    Packs packs = {};
    for (std::size_t bits = 0; bits < packs.mLengths.size(); ++bits)
    {
        std::size_t target = 0;
        for (std::size_t lane = 0; lane < kCharacters; ++lane)
        {
            for (std::size_t i = 1 + (bits >> lane & 1) + (bits >> (lane + 4) & 1); i > 0; --i)
                packs.mShuffles[bits][target++] = static_cast<Byte>(4 * lane + i - 1);
        }
        packs.mLengths[bits] = static_cast<Byte>(target);
    }
    return packs;
}

constexpr Windows kWindows = MakeWindows();
constexpr Packs kPacks = MakePacks();

WITH_AVX2 __m128i Load(const void* from)
{
    return _mm_loadu_si128(static_cast<const __m128i*>(from));
}

WITH_AVX2 __m256i LoadLong(const void* from)
{
    return _mm256_loadu_si256(static_cast<const __m256i*>(from));
}

WITH_AVX2 void SaveLong(void* to, __m256i value)
{
    _mm256_storeu_si256(static_cast<__m256i*>(to), value);
}

// The lanes that are above a limit.
struct Sizes
{
    __m128i mTwo;   // characters of two or three bytes
    __m128i mThree; // characters of three bytes
};

WITH_AVX2 Sizes SizesOf(__m128i units)
{
    return {_mm_cmpgt_epi32(units, _mm_set1_epi32(0x7F)),
            _mm_cmpgt_epi32(units, _mm_set1_epi32(0x7FF))};
}

// Returns the bits of lead and continuation bytes: 0, 0xC080 or 0xE08080.
WITH_AVX2 __m128i Marks(const Sizes& sizes)
{
    return _mm_xor_si128(_mm_and_si128(sizes.mTwo, _mm_set1_epi32(0xC080)),
                         _mm_and_si128(sizes.mThree, _mm_set1_epi32(0xE08080 ^ 0xC080)));
}

// Decodes the characters of a window. Returns false for an ill-formed window.
WITH_AVX2 bool DecodeWindow(__m128i lanes, Unit* units)
{
    // The bits of each byte times the byte's weight, added in twos.
    const __m128i twos =
        _mm_maddubs_epi16(_mm_and_si128(lanes, _mm_set1_epi32(0x0F3F7F)), _mm_set1_epi32(0x014001));
    const __m128i values = _mm_madd_epi16(twos, _mm_set1_epi32(0x10000001));
    // The marks must be those of the shortest form of the value. The marks of an overlong form
    // and of a lead for another length differ from these.
    const __m128i rightMarks =
        _mm_cmpeq_epi32(_mm_and_si128(lanes, _mm_set1_epi32(0xF0C080)), Marks(SizesOf(values)));
    const __m128i surrogates =
        _mm_cmpeq_epi32(_mm_and_si128(values, _mm_set1_epi32(0xF800)), _mm_set1_epi32(0xD800));
    _mm_storel_epi64(reinterpret_cast<__m128i*>(units), _mm_packus_epi32(values, values));
    return _mm_movemask_epi8(_mm_andnot_si128(surrogates, rightMarks)) == 0xFFFF;
}

// Encodes four units. Returns the count of bytes.
WITH_AVX2 std::size_t EncodeWindow(const Unit* next, Byte* bytes)
{
    const __m128i units =
        _mm_cvtepu16_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(next)));
    const Sizes sizes = SizesOf(units);
    const __m128i longer = _mm_or_si128(
        _mm_or_si128(Marks(sizes), _mm_and_si128(units, _mm_set1_epi32(0x3F))),
        _mm_or_si128(_mm_and_si128(_mm_slli_epi32(units, 2), _mm_set1_epi32(0x3F00)),
                     _mm_and_si128(_mm_slli_epi32(units, 4), _mm_set1_epi32(0xF0000))));
    const __m128i lanes = _mm_blendv_epi8(units, longer, sizes.mTwo);
    const int bits = _mm_movemask_ps(_mm_castsi128_ps(sizes.mTwo)) |
                     _mm_movemask_ps(_mm_castsi128_ps(sizes.mThree)) << 4;
    const std::size_t pack = static_cast<std::size_t>(bits);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(bytes),
                     _mm_shuffle_epi8(lanes, Load(kPacks.mShuffles[pack].data())));
    return kPacks.mLengths[pack];
}

const std::ptrdiff_t kByteBlock = 64; // bytes whose lasts are one word
const std::ptrdiff_t kUnitBlock = 16; // units of a long vector

WITH_AVX2 bool IsAscii(const Byte* block)
{
    return !_mm256_movemask_epi8(_mm256_or_si256(LoadLong(block), LoadLong(block + 32)));
}

WITH_AVX2 bool IsAscii(const Unit* block)
{
    return _mm256_testz_si256(LoadLong(block), _mm256_set1_epi16(static_cast<short>(0xFF80)));
}

// Converts pairs of blocks of ASCII units, also after the place where windows stop: their bytes
// overwrite no further targets.
WITH_AVX2 Cursor<Unit, Byte> PutAsciiPairs(Cursor<Unit, Byte> at, const Unit* stop)
{
    const __m256i limit = _mm256_set1_epi16(static_cast<short>(0xFF80));
    while (stop - at.mNext >= 2 * kUnitBlock)
    {
        const __m256i low = LoadLong(at.mNext);
        const __m256i high = LoadLong(at.mNext + kUnitBlock);
        if (!_mm256_testz_si256(_mm256_or_si256(low, high), limit))
            break;
        // The pack leaves the quarters in the order 0, 2, 1, 3.
        SaveLong(at.mOutput.mNext, _mm256_permute4x64_epi64(_mm256_packus_epi16(low, high), 0xD8));
        at.mNext += 2 * kUnitBlock;
        at.mOutput.mNext += 2 * kUnitBlock;
    }
    return at;
}

WITH_AVX2 bool HasSurrogates(const Unit* block)
{
    const __m256i heads =
        _mm256_and_si256(LoadLong(block), _mm256_set1_epi16(static_cast<short>(0xF800)));
    return _mm256_movemask_epi8(
        _mm256_cmpeq_epi16(heads, _mm256_set1_epi16(static_cast<short>(0xD800))));
}

// Returns a bit for each byte of a block that is the last of its character. Reads the byte after
// the block.
WITH_AVX2 std::uint64_t LastsOf(const Byte* block)
{
    const __m256i limit = _mm256_set1_epi8(-64); // 0xC0: all lower bytes are continuations
    const int low = _mm256_movemask_epi8(_mm256_cmpgt_epi8(limit, LoadLong(block + 1)));
    const int high = _mm256_movemask_epi8(_mm256_cmpgt_epi8(limit, LoadLong(block + 33)));
    return ~(static_cast<std::uint64_t>(static_cast<std::uint32_t>(high)) << 32 |
             static_cast<std::uint32_t>(low));
}
} // namespace

WITH_AVX2 Cursor<Byte, Unit> PutWindows(Cursor<Byte, Unit> at, const Byte* stop)
{
    const int kSure = 5; // windows that a block certainly has
    const Byte* next = at.mNext;
    Unit* units = at.mOutput.mNext;
    std::uint64_t lasts = LastsOf(next);
    while (stop - next >= kLeastForWindows)
    {
        // Found before the windows of this block, so that the processor need not wait for their
        // lengths: with a search at the start of each block, decoding takes 1.7 times as long.
        const std::uint64_t lastsAfter = LastsOf(next + kByteBlock);
        if (IsAscii(next))
        {
            for (std::ptrdiff_t i = 0; i < kByteBlock; i += kUnitBlock)
                SaveLong(units + i, _mm256_cvtepu8_epi16(Load(next + i)));
            next += kByteBlock;
            units += kByteBlock;
            lasts = lastsAfter;
            continue;
        }
        std::size_t done = 0;
        for (int i = 0; i < kSure; ++i)
        {
            const std::size_t window = lasts % kWindows.mLengths.size();
            const std::size_t length = kWindows.mLengths[window];
            const Shuffle& shuffle = kWindows.mShuffles[kWindows.mNumbers[window]];
            const __m128i lanes = _mm_shuffle_epi8(Load(next + done), Load(shuffle.data()));
            if (!length || !DecodeWindow(lanes, units))
                return {next + done, {units}};
            done += length;
            units += kCharacters;
            lasts >>= length;
        }
        next += done;
        lasts |= lastsAfter << (kByteBlock - static_cast<std::ptrdiff_t>(done));
    }
    return {next, {units}};
}

WITH_AVX2 Cursor<Unit, Byte> PutWindows(Cursor<Unit, Byte> at, const Unit* stop)
{
    while (stop - at.mNext >= kLeastForWindows)
    {
        if (IsAscii(at.mNext))
        {
            _mm_storeu_si128(reinterpret_cast<__m128i*>(at.mOutput.mNext),
                             _mm_packus_epi16(Load(at.mNext), Load(at.mNext + 8)));
            at.mNext += kUnitBlock;
            at.mOutput.mNext += kUnitBlock;
            at = PutAsciiPairs(at, stop);
            continue;
        }
        if (HasSurrogates(at.mNext))
            break;
        for (const Unit* const end = at.mNext + kUnitBlock; at.mNext != end;
             at.mNext += kCharacters)
            at.mOutput.mNext += EncodeWindow(at.mNext, at.mOutput.mNext);
    }
    return at;
}
} // namespace win32

#endif
