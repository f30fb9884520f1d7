// Conversions, messages, dictionaries from files and tables in standard types.

#include <u/cpp/text.h>

#include <filesystem>
#include <fstream>
#include <tuple>

#include <gmock/gmock.h>

#include "tests/adapters/Thrown.h"
#include "tests/support/BornLibrary.h"
#include "tests/support/Text.h"

using testing::ElementsAre;

namespace
{
typedef BornLibrary CppText;

class TemporaryFile
{
public:
    explicit TemporaryFile(const std::string& bytes)
        : mPath(std::filesystem::temp_directory_path() /
                ("u_cpp_" + std::to_string(++sCount) + "_" +
                 std::to_string(reinterpret_cast<std::uintptr_t>(this))))
    {
        std::ofstream(mPath, std::ios::binary) << bytes;
    }
    ~TemporaryFile() { std::filesystem::remove(mPath); }
    const std::filesystem::path& Path() const { return mPath; }

private:
    static inline int sCount = 0;
    const std::filesystem::path mPath;
};

} // namespace

TEST_F(CppText, ConversionsKeepCharactersAndReplaceDamage)
{
    using namespace std::literals;
    const std::tuple<std::string_view, std::u16string_view, std::string_view> kRows[] = {
        {"", u"", ""},
        {"caf\xC3\xA9", u"caf\u00E9", "caf\xC3\xA9"},
        {"\xF0\x9F\x8E\xB5", u"\U0001F3B5", "\xF0\x9F\x8E\xB5"},
        {"a\0b"sv, u"a\0b"sv, "a\0b"sv},
        {"\xC3(", u"\uFFFD(", "\xEF\xBF\xBD("},
    };
    for (const auto& [utf8, utf16, back] : kRows)
    {
        const U_UTF16String text = U::cpp::ToUTF16(utf8);
        EXPECT_EQ(U::cpp::View(text), utf16);
        EXPECT_EQ(U::cpp::ToUTF8(text), back);
        EXPECT_EQ(U::cpp::ToUTF8(utf16), back);
    }
    EXPECT_EQ(U::cpp::ToUTF8(std::u16string_view(u"a\xD800")), "a\xEF\xBF\xBD");
    EXPECT_EQ(U::cpp::ToMultibyte("caf\xC3\xA9"), "caf\xE9");
    EXPECT_EQ(U::cpp::FromMultibyte("caf\xE9"), "caf\xC3\xA9");
    const U_UTF8String bytes = Bytes("caf\xC3\xA9");
    EXPECT_EQ(U::cpp::View(bytes), "caf\xC3\xA9");
}

TEST_F(CppText, EachValueIsFilledOnce)
{
    const std::tuple<const char*, std::string, std::string, std::string> kRows[] = {
        {"^1 to ^2", "a", "b", "a to b"},
        {"^2 before ^1", "a", "b", "b before a"},
        {"^1 to ^2", "a ^2", "^1", "a ^2 to ^1"},
        {"^1 to ^2", "^L2@", "", "^L2@ to "},
        {"^1 ^1 ^2", "a", "b", "a ^1 b"},
        {"^2 alone", "a", "b", "^2 alone"},
        {"^1", "\xEF\xB7\x91", "b", "\xEF\xB7\x91"}, // U+FDD1, the mark of the second value
        {"\xEF\xB7\x90 ^1", "a", "b", "\xEF\xBF\xBD a"},
        {"", "a", "b", ""},
        {"^1", std::string(2000, 'x') + '\0', "", std::string(2000, 'x') + '\0'},
    };
    for (const auto& [message, value1, value2, filled] : kRows)
        EXPECT_EQ(U::cpp::ToUTF8(U::cpp::Fill(U::cpp::ToUTF16(message), value1, value2)), filled)
            << message;
}

TEST_F(CppText, MessagesTakeNumbersAndTextsOfEachType)
{
    EXPECT_EQ(U::cpp::ToUTF8(U::cpp::Format("$$$/test=^^L1 ^^B2 ^^F3 ^^4 ^^5 ^^6 ^^7", 5u,
                                            U_i64(1) << 40, 2.5, std::u16string_view(u"^1"),
                                            U::cpp::ToUTF16("w"), std::string("s"), "c")),
              "5 1099511627776 2.5 ^1 w s c");
    EXPECT_EQ(U::cpp::ToUTF8(U::cpp::Format("$$$/test=^^L1 ^^L2", 1 == 1, short(-3))), "1 -3");
    EXPECT_EQ(U::cpp::ToUTF8(U::cpp::Format("$$$/test=plain")), "plain");
    const char* none = nullptr;
    EXPECT_EQ(U::cpp::ToUTF8(U::cpp::Format("$$$/test=a ^^1", none)), "a ");
    EXPECT_EQ(Thrown([] { U::cpp::Format("$$$/test=^^1", 5); }), 3);
    EXPECT_EQ(Thrown([] { U::cpp::Format("$$$/test=^^L1", "five"); }), 3);
}

TEST_F(CppText, ADictionaryIsReadFromItsFile)
{
    const TemporaryFile german(TextBytes(u"$$$/test/a=sch\u00F6n ^1\n"));
    U::cpp::LoadDictionary(german.Path());
    EXPECT_EQ(U::cpp::ToUTF8(U::cpp::Format("$$$/test/a=nice ^^1", "x")), "sch\xC3\xB6n x");
    const TemporaryFile odd("\"$$$/test/b=drei\""); // 17 bytes
    U::cpp::LoadDictionary(odd.Path());
    EXPECT_EQ(U_ZStringToMBString("$$$/test/b=three"), "drei");
}

TEST_F(CppText, AFileThatCannotBeReadChoosesNoLanguage)
{
    const TemporaryFile empty("");
    EXPECT_EQ(Thrown([&] { U::cpp::LoadDictionary(empty.Path()); }), 6);
    EXPECT_THROW(U::cpp::LoadDictionary(empty.Path() / "missing"),
                 std::filesystem::filesystem_error);
    EXPECT_THROW(U::cpp::LoadDictionary(empty.Path().parent_path()),
                 std::filesystem::filesystem_error);
    const TemporaryFile huge("a");
    std::filesystem::resize_file(huge.Path(), 0x80000000u);
    EXPECT_EQ(Thrown([&] { U::cpp::LoadDictionary(huge.Path()); }), 6);
    EXPECT_FALSE(U_ZLocaleAlive());
}

TEST_F(CppText, ATableIsARangeOfItsTexts)
{
    static char sName[] = "table", sOne[] = "$$$/test/one=One", sTwo[] = "$$$/test/two=Two";
    static U_LStrRow sRows[] = {
        {sOne, nullptr, nullptr, 0}, {sTwo, nullptr, nullptr, 0}, {nullptr, nullptr, nullptr, 0}};
    static U_LStrCache sTable = {sName, 3, sRows, 0};
    const TemporaryFile german(TextBytes(u"$$$/test/one=Eins\n"));
    U::cpp::LoadDictionary(german.Path());
    const U::cpp::ZStringTable local(sTable), english(sTable, true);
    EXPECT_THAT(Texts(local.begin(), local.end()), ElementsAre("Eins", "Two"));
    EXPECT_THAT(Texts(english.begin(), english.end()), ElementsAre("One", "Two"));
    EXPECT_EQ(local.Size(), 2);
    EXPECT_STREQ(local[2], "[?]");
    U_LStrCache invalid = {sName, 2, sRows, 0}; // lacks the last row
    EXPECT_EQ(Thrown([&] { U::cpp::ZStringTable table(invalid); }), 3);
}
