// Reads the lines of the text form.

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

// Returns the coding that the byte-order mark at the start of a text names.
TextCoding CodingOfText(const unsigned char* bytes, std::size_t size);

class DictionaryReader
{
public:
    virtual ~DictionaryReader() = default;

    // Returns a reader for the coding of the text, after its byte-order mark.
    //
    // REQUIRES: the bytes outlive the reader.
    static std::unique_ptr<DictionaryReader> Make(const unsigned char* bytes, std::size_t size);

    // Returns the next line, null-terminated and without its line end, valid until the next
    // call. Returns null at the end of the text, and at and after a line that begins with a
    // NUL, which ends the text.
    //
    // Throws: VoErrException if the system can't convert the line. The next call returns the
    // line after it.
    virtual const std::uint16_t* ReadLine() = 0;

    // The length of the line in units.
    std::size_t LineLength() const { return mLine.size() - 1; }

    // The number of the line that was returned or could not be converted, from 1. A carriage
    // return with a line feed counts as one line end, though an empty line is read between them.
    std::size_t LineNumber() const { return mLineNumber; }

protected:
    DictionaryReader(const unsigned char* bytes, std::size_t size);

    // `ender` is the unit that ended the line, or 0 for a NUL and for the end of the text.
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
    // Returns true with *unit 0 at the end and at a NUL. Half a unit at the end is ignored.
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
