#include "printable.h"

#include "code_units.h"

namespace platform
{
namespace
{
// The character at the head of a text that is not empty.
struct Head
{
    std::size_t mLength; // in bytes; 1 for a byte that is not well-formed UTF-8
    bool mIsPrintable;
};

// Returns whether the list of unescaped bytes holds the first byte of the text.
bool IsUnescaped(std::string_view text, std::string_view unescaped)
{
    const bool isOverwriting = text[0] == '\r' && text.substr(0, 2) != "\r\n";
    return !isOverwriting && unescaped.find(text[0]) != std::string_view::npos;
}

bool EndsLine(std::string_view character)
{
    return character == "\u2028" || character == "\u2029";
}

Head HeadOf(std::string_view text, std::string_view unescaped)
{
    const std::size_t length = WellFormedLength(text);
    if (length == 0)
        return {1, false};
    const unsigned char lead = static_cast<unsigned char>(text[0]);
    if (length == 1)
        return {1, !IsControl(lead) || IsUnescaped(text, unescaped)};
    const bool isControl = lead == 0xC2 && IsControl(static_cast<unsigned char>(text[1]));
    return {length, !isControl && !EndsLine(text.substr(0, length))};
}

// The letter that follows a backslash in place of a byte; 0 if the byte has none.
char LetterOf(unsigned char byte)
{
    const std::size_t which = std::string_view("\n\r\t").find(static_cast<char>(byte));
    return which == std::string_view::npos ? '\0' : "nrt"[which];
}
} // namespace

PrintablePieces::PrintablePieces(std::string_view text, std::string_view unescaped)
    : mText(text), mUnescaped(unescaped)
{
}

std::string_view PrintablePieces::Next()
{
    std::size_t printable = 0;
    while (mRefused == 0 && printable < mText.size())
    {
        const Head head = HeadOf(mText.substr(printable), mUnescaped);
        if (head.mIsPrintable)
            printable += head.mLength;
        else if (printable)
            break;
        else
            mRefused = head.mLength;
    }
    const std::string_view piece = mText.substr(0, mRefused ? 1 : printable);
    mText.remove_prefix(piece.size());
    if (mRefused == 0)
        return piece;
    --mRefused;
    return Escaped(static_cast<unsigned char>(piece[0]));
}

std::string_view PrintablePieces::Escaped(unsigned char byte)
{
    const char* const digits = "0123456789ABCDEF";
    mEscape[0] = '\\';
    mEscape[1] = LetterOf(byte);
    if (mEscape[1])
        return {mEscape, 2};
    mEscape[1] = 'x';
    mEscape[2] = digits[byte >> 4];
    mEscape[3] = digits[byte & 0xF];
    return {mEscape, 4};
}

std::string Printable(std::string_view text, std::string_view unescaped)
{
    std::string printable;
    WritePrintable(text, unescaped, [&](std::string_view piece) { printable += piece; });
    return printable;
}

void WritePrintable(std::FILE* file, std::string_view text, std::string_view unescaped)
{
    if (file == stderr)
        return WritePrintable(text, unescaped, WriteToStderr);
    WritePrintable(text, unescaped, [file](std::string_view piece) {
        std::fwrite(piece.data(), 1, piece.size(), file);
    });
}
} // namespace platform
