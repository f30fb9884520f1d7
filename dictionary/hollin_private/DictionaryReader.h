// The lines of a dictionary's text form.

#ifndef HOLLIN_PRIVATE_DICTIONARY_READER_H
#define HOLLIN_PRIVATE_DICTIONARY_READER_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace hollin_private
{
const std::uint16_t kByteOrderMark = 0xFEFF;

enum class TextCoding
{
    kUTF16,
    kSwappedUTF16, // UTF-16 of the other byte order
    kMultibyte     // of the active code page
};

// What the byte-order mark at the start of a text says.
TextCoding CodingOfText(const unsigned char* bytes, std::size_t size);

class DictionaryReader
{
public:
    virtual ~DictionaryReader() = default;

    // A reader of the right kind. A byte-order mark is passed over. The bytes
    // must outlive it.
    static std::unique_ptr<DictionaryReader> Make(const unsigned char* bytes, std::size_t size);

    // The next line, zero-terminated and without its end, valid until the next
    // call. Null at the end of the text, and from a line on that begins with a
    // NUL, which ends the text. Throws a VoErrException if the system can't convert
    // the line; the next call gives the line behind it.
    virtual const std::uint16_t* ReadLine() = 0;

    // Of the last line, in units.
    std::size_t LineLength() const { return mLine.size() - 1; }

    // Of the last line, or of the one that couldn't be converted, from 1. A
    // carriage return and a line feed end one line together, though they are
    // read as two.
    std::size_t LineNumber() const { return mLineNumber; }

protected:
    DictionaryReader(const unsigned char* bytes, std::size_t size);

    // ender is the unit that ended the line; 0 for a NUL or the text's end.
    void CountLine(bool empty, std::uint16_t ender);

    std::vector<std::uint16_t> mLine; // with its terminator
    const unsigned char* mCursor;
    const unsigned char* const mEnd;

private:
    std::size_t mLineNumber = 0;
    std::uint16_t mLastEnder = 0;
};

class UnicodeReader : public DictionaryReader
{
public:
    UnicodeReader(const unsigned char* bytes, std::size_t size);
    const std::uint16_t* ReadLine() override;

protected:
    // True at the end and at a NUL, both with *unit 0. Half a unit at the end is
    // passed over.
    virtual bool ReadUnit(std::uint16_t* unit);
};

class ByteSwapUnicodeReader : public UnicodeReader
{
public:
    using UnicodeReader::UnicodeReader;

protected:
    bool ReadUnit(std::uint16_t* unit) override;
};

class MultibyteReader : public DictionaryReader
{
public:
    MultibyteReader(const unsigned char* bytes, std::size_t size);
    const std::uint16_t* ReadLine() override;
};
} // namespace hollin_private

#endif
