// Text in standard types: conversions, views, messages with values, dictionaries from files,
// and ranges over tables of ZStrings.
//
//     const U_UTF16String name = U::cpp::ToUTF16("caf\u00E9");
//     const std::u16string_view view = U::cpp::View(name);
//     const U_UTF16String message = U::cpp::Format(
//         "$$$/Host/Copied=^^L2 files to ^^1", "folder ^2", 12); // "12 files to folder ^2"
//     const std::string utf8 = U::cpp::ToUTF8(message);
//
// Narrow text is UTF-8, unless a name says Multibyte: multibyte text is in the active code page.
//
// Allocations: a conversion allocates its result and at most two copies of the text. A view
// allocates nothing.
//
// Thread safety: thread-safe, except LoadDictionary.
//
// Throws: std::bad_alloc; StatusError for a conversion that the system refuses (U_Encoding.h).

#ifndef U_CPP_TEXT_H
#define U_CPP_TEXT_H

#include <cstddef>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <string_view>
#include <system_error>
#include <type_traits>
#include <vector>

#include <U_Encoding.h>
#include <U_Format.h>
#include <U_LStr.h>
#include <U_Types.h>
#include <U_ZString.h>

#include <u/cpp/errors.h>

namespace U::cpp
{
// Returns a view of a library's string as standard text.
//
// REQUIRES: the string is neither changed nor destroyed while the view is used.
inline std::u16string_view View(const U_UTF16String& text) noexcept
{
    const U_u16* units = text.data();
    // char16_t and U_u16 are different types. The barrier completes the writes of the units before
    // the view reads them.
    __asm__ volatile("" : "+r"(units) : : "memory");
    return std::u16string_view(reinterpret_cast<const char16_t*>(units), text.size());
}

// Returns a view of UTF-8 as standard text.
//
// REQUIRES: as above.
inline std::string_view View(const U_UTF8String& text) noexcept
{
    return std::string_view(reinterpret_cast<const char*>(text.data()), text.size());
}
std::u16string_view View(U_UTF16String&&) = delete;
std::string_view View(U_UTF8String&&) = delete;

// Convert to UTF-16. Invalid sequences of UTF-8 become U+FFFD. UTF-16 is copied as it is.
inline U_UTF16String ToUTF16(std::string_view utf8)
{
    return Checked([&] { return U_UTF8To16String(U_UTF8String(utf8.begin(), utf8.end())); });
}
inline U_UTF16String ToUTF16(std::u16string_view text)
{
    return U_UTF16String(text.begin(), text.end());
}

// Convert to UTF-8. Halves of surrogate pairs become U+FFFD. UTF-8 is copied as it is.
inline std::string ToUTF8(const U_UTF8String& text)
{
    return std::string(View(text));
}
inline std::string ToUTF8(const U_UTF16String& text)
{
    return Checked([&] { return ToUTF8(U_UTF16To8String(text)); });
}
inline std::string ToUTF8(std::u16string_view text)
{
    return ToUTF8(ToUTF16(text));
}

// Convert UTF-8 from and to multibyte text, for the functions of the library that take or return
// such text. A character that the active code page lacks becomes its best fit, or the default
// character.
inline std::string ToMultibyte(std::string_view utf8)
{
    const U_UTF16String text = ToUTF16(utf8);
    return Checked([&] { return U_UTF16ToMBString(text, false); });
}
inline std::string FromMultibyte(const std::string& text)
{
    return ToUTF8(Checked([&] { return U_MBToUTF16String(text); }));
}

// A value of a message: text, or a number.
class MessageValue
{
public:
    // Take text: UTF-8 or UTF-16. A null pointer is an empty text.
    MessageValue(std::string_view utf8) : mText(ToUTF16(utf8)) {}
    MessageValue(const std::string& utf8) : MessageValue(std::string_view(utf8)) {}
    MessageValue(const char* utf8) : MessageValue(std::string_view(utf8 ? utf8 : "")) {}
    MessageValue(std::u16string_view text) : mText(ToUTF16(text)) {}
    MessageValue(const U_UTF16String& text) : mText(text) {}

    // Takes a number: a bool, a floating-point number, or an integer that a U_i64 can hold. An
    // unsigned integer of 64 bits does not compile.
    template <class Number, class = std::enable_if_t<std::is_arithmetic_v<Number>>>
    MessageValue(Number value) : mArgument(value), mIsText(false)
    {
        static_assert(std::is_signed_v<Number> || sizeof(Number) < sizeof(U_i64),
                      "a message's integer is signed and has 64 bits: convert a size to U_i64");
    }

    // Returns true for text, false for a number.
    bool IsText() const noexcept { return mIsText; }

    // Returns the text, which is empty for a number.
    const U_UTF16String& Text() const noexcept { return mText; }

    // Returns the number for the functions of U_Format.h, 0 for text.
    const U_FormatArgument& Argument() const noexcept { return mArgument; }

private:
    U_UTF16String mText;
    U_FormatArgument mArgument{0};
    bool mIsText = true;
};

namespace detail
{
const std::size_t kMostValues = 9;

// The library fills a mark of one unit in place of each text. Marks hold no placeholder, so no
// text is filled twice. They are noncharacters, which no text in Unicode has.
const U_u16 kFirstMark = 0xFDD0;

inline bool IsMark(U_u16 unit) noexcept
{
    return unit >= kFirstMark && unit < kFirstMark + kMostValues;
}

inline U_UTF16String FillValues(U_UTF16String message, const MessageValue* values,
                                std::size_t count)
{
    for (U_u16& unit : message)
    {
        if (IsMark(unit))
            unit = 0xFFFD;
    }
    U_u16 marks[kMostValues][2] = {};
    U_FormatArgument arguments[kMostValues] = {0, 0, 0, 0, 0, 0, 0, 0, 0};
    for (std::size_t i = 0; i < count; ++i)
    {
        marks[i][0] = static_cast<U_u16>(kFirstMark + i);
        arguments[i] = values[i].IsText() ? U_FormatArgument(marks[i]) : values[i].Argument();
    }
    U_UTF16String marked;
    Check(Up_SubString(marked, message, arguments, count));
    U_UTF16String filled;
    for (const U_u16 unit : marked)
    {
        if (IsMark(unit))
            filled += values[unit - kFirstMark].Text();
        else
            filled += unit;
    }
    return filled;
}
} // namespace detail

// Returns `message` with its placeholders (U_Format.h) filled by at most nine values, each once: a
// value that holds "^2" stays as it is. Values may have any length and may hold a null character.
//
// Throws: StatusError with 3 for a value of another kind than its placeholder, such as a number
// for a text.
// Failures: the noncharacters U+FDD0 to U+FDD8 in `message` become U+FFFD.
template <class... Values> U_UTF16String Fill(const U_UTF16String& message, const Values&... values)
{
    static_assert(sizeof...(Values) <= detail::kMostValues, "a message has at most nine values");
    const MessageValue all[] = {MessageValue(values)..., MessageValue(0)}; // at least one element
    return detail::FillValues(message, all, sizeof...(Values));
}

// Resolves a ZString as U_ZStringToFormat does and fills its placeholders, as Fill does.
template <class... Values> U_UTF16String Format(const char* zstring, const Values&... values)
{
    return Fill(Checked([&] { return U_ZStringToFormat(zstring); }), values...);
}

// Reads a dictionary from a file and chooses its language (U_ZString.h). The bytes of the file
// stay in memory until the process ends, since the library refers to them until its death.
//
// Thread safety: no other thread resolves a text or loads a dictionary meanwhile.
//
// Throws: std::filesystem::filesystem_error for a file that cannot be read; StatusError with 6 for
// a file that is empty or has 2 GiB or more; std::bad_alloc. No language is chosen then.
// Failures: an image that is damaged inside is not detected. The library then resolves the texts
// that it could read, and the others in English.
inline void LoadDictionary(const std::filesystem::path& file)
{
    const std::uintmax_t size = std::filesystem::file_size(file);
    if (size == 0 || size > 0x7FFFFFFF)
        Throw(U_Err_BadResource);
    std::vector<U_u16> image((static_cast<std::size_t>(size) + 1) / sizeof(U_u16));
    std::ifstream stream(file, std::ios::binary);
    stream.read(reinterpret_cast<char*>(image.data()), static_cast<std::streamsize>(size));
    if (!stream)
        throw std::filesystem::filesystem_error("cannot read the dictionary", file,
                                                std::make_error_code(std::errc::io_error));

    static auto& sImages = *new std::vector<std::unique_ptr<const std::vector<U_u16>>>;
    const auto& kept = *sImages.emplace_back(new std::vector<U_u16>(std::move(image)));
    Check(Checked([&] {
        return U_ZStringSetCurrentDictionary(const_cast<U_u16*>(kept.data()),
                                             static_cast<std::size_t>(size));
    }));
}

// A table of ZStrings (U_LStr.h) as a range of texts, in the current language or in English:
//
//     for (const char* text : U::cpp::ZStringTable(table))
//         std::puts(text);
//
// The texts are multibyte. They belong to the table. Each row is resolved when the range first
// reaches the row; "[?]" stands for a row that cannot be resolved.
//
// REQUIRES: the table outlives the range.
class ZStringTable
{
public:
    // A forward iterator over the texts. REQUIRES: the range outlives the iterator.
    class Iterator
    {
    public:
        // The members of a forward iterator.
        typedef std::forward_iterator_tag iterator_category;
        typedef const char* value_type;
        typedef std::ptrdiff_t difference_type;
        typedef const char* const* pointer;
        typedef const char* reference;

        // The range makes its iterators by the second constructor.
        Iterator() noexcept = default;
        Iterator(const ZStringTable* table, int index) noexcept : mTable(table), mIndex(index) {}

        // The operators of a forward iterator.
        const char* operator*() const { return (*mTable)[mIndex]; }
        Iterator& operator++() noexcept
        {
            ++mIndex;
            return *this;
        }
        Iterator operator++(int) noexcept { return Iterator(mTable, mIndex++); }
        bool operator==(const Iterator& other) const noexcept { return mIndex == other.mIndex; }
        bool operator!=(const Iterator& other) const noexcept { return mIndex != other.mIndex; }

    private:
        const ZStringTable* mTable = nullptr;
        int mIndex = 0;
    };

    // Throws: StatusError with 3 for an invalid table.
    explicit ZStringTable(U_LStrCache& table, bool english = false)
        : mTable(&table), mIsEnglish(english)
    {
        Check(U_ZGetLengthLStrCache(mTable, &mSize));
    }

    // Returns the number of texts.
    int Size() const noexcept { return mSize; }

    // Returns the text of a row, "[?]" for an index out of range.
    const char* operator[](int index) const
    {
        return U_ZLookupLStrCache(mTable, index, mIsEnglish, nullptr);
    }

    // Return iterators at the first text and after the last one.
    Iterator begin() const noexcept { return Iterator(this, 0); }
    Iterator end() const noexcept { return Iterator(this, mSize); }

private:
    U_LStrCache* mTable;
    bool mIsEnglish;
    int mSize = 0;
};
} // namespace U::cpp

#endif
