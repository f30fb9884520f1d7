// Identifiers of grouped messages.

#include "U_Group.h"

#include <array>

#include "tests/support/BornLibrary.h"
#include "tests/support/Text.h"

TEST(Group, AMarkInAnIdentifierIsKept)
{
    EXPECT_EQ(U_GroupErrorMessage(Units(u""), Units(u"@1@0")), Units(u"Grouped_Message_{@1@0}"));
}

TEST(Group, AnIdentifierIsSplitAlsoWithoutItsSeparators)
{
    const std::array<std::u16string, 4> rows[] = {
        // The identifier, its text for many, its label, its text for one.
        {u"Many|||One###@0 files:", u"Many", u"@0 files:", u"One"},
        {u"Many|||One", u"Many", u"Errors:", u"One"},
        {u"Both###Label", u"Both", u"Label", u"Both"},
        {u"Both", u"Both", u"Errors:", u"Both"},
        {u"|||###", u"", u"", u""},
        {u"a|||b|||c###d###e", u"a", u"d###e", u"b|||c"},
        {u"a||b##c", u"a||b##c", u"Errors:", u"a||b##c"},
    };
    for (const auto& row : rows)
    {
        const U_UTF16String identifier = Units(row[0]);
        SCOPED_TRACE(testing::PrintToString(row[0]));
        U_UTF16String many = identifier; // an output may be the identifier itself
        U_UTF16String label;
        U_UTF16String one;
        U_ExtractSingularPluralFromUniqueGroupIdentifier(many, &many, &label, &one);
        EXPECT_EQ(many, Units(row[1]));
        EXPECT_EQ(label, Units(row[2]));
        EXPECT_EQ(one, Units(row[3]));
        U_ExtractSingularPluralFromUniqueGroupIdentifier(identifier, nullptr, nullptr, nullptr);
    }
}

TEST(Group, StrippingReturnsTheMessageAndTheKeyOfItsGroup)
{
    const std::array<std::u16string, 3> rows[] = {
        // The text, its message and its key; the key is "untouched" if the text is not grouped.
        {u"Host error: Grouped_Message_{Files failed|||One file failed###@0 files:}a.txt", u"a.txt",
         u"Host error: Files failed|||Host error: One file failed###@0 files:"},
        {u"Grouped_Message_{a|||b###c}message", u"message", u" a||| b###c"},
        {u"Host: Grouped_Message_{}m", u"m", u"Host: "},

        // Not grouped, or without both braces in order.
        {u"Host error: a.txt", u"Host error: a.txt", u"untouched"},
        {u"Grouped_Message_{a|||b###c", u"Grouped_Message_{a|||b###c", u"untouched"},
        {u"Grouped_Message_}{b", u"Grouped_Message_}{b", u"untouched"},
        {u"{a}Grouped_Message_b", u"{a}Grouped_Message_b", u"untouched"},

        // Only a separator inside the braces counts, and the first of each brace.
        {u"A|||B: Grouped_Message_{a|||b}m", u"m", u"A|||B: a|||A|||B: b"},
        {u"H: Grouped_Message_{a}m|||n", u"m|||n", u"H: a"},
        {u"H: Grouped_Message_{a|}||m", u"||m", u"H: a|"},
        {u"H: Grouped_Message_{a|||}m", u"m", u"H: a|||H: "},
    };
    for (const auto& row : rows)
    {
        const U_UTF16String text = Units(row[0]);
        SCOPED_TRACE(testing::PrintToString(row[0]));
        U_UTF16String key = Units(u"untouched");
        EXPECT_EQ(U_StripGroupedErrorMessage(text, &key), Units(row[1]));
        EXPECT_EQ(key, Units(row[2]));
        EXPECT_EQ(U_StripGroupedErrorMessage(text, nullptr), text);

        U_UTF16String both = text;
        EXPECT_EQ(U_StripGroupedErrorMessage(both, &both), Units(row[1]));
        EXPECT_EQ(both, key == Units(u"untouched") ? text : key);
    }
}

typedef BornLibrary TranslatedGroup;

TEST_F(TranslatedGroup, MarksAreTranslatedAndAnEmptyMarkIsFoundNowhere)
{
    DictionaryImage image = BinaryImage({
        {"/QX/U/DisplayPostedErrors/Errors", u"Fehler:"},
        {"/private/QX/U/GroupTag", u"Gruppe"},
        {"/private/QX/U/GroupTagScoper", u"({@0})"},
        {"/private/QX/U/GroupTagSeparator", u"|"},
        {"/private/QX/U/TypeOfErrorSeparator", u""},
    });
    ASSERT_EQ(U_ZStringSetCurrentDictionary(image.units.data(), image.size), 0);
    U_UTF16String many;
    U_UTF16String label;
    U_UTF16String one;
    U_ExtractSingularPluralFromUniqueGroupIdentifier(Units(u"M|O###L"), &many, &label, &one);
    EXPECT_EQ(many, Units(u"M"));
    EXPECT_EQ(one, Units(u"O###L"));
    EXPECT_EQ(label, Units(u"Fehler:"));

    const U_UTF16String text = U_GroupErrorMessage(Units(u"m"), Units(u"a|b"));
    EXPECT_EQ(text, Units(u"Gruppe({a|b})m"));
    U_UTF16String key;
    EXPECT_EQ(U_StripGroupedErrorMessage(text, &key), Units(u")m"));
    EXPECT_EQ(key, Units(u" a| b"));
    LiveAnew(); // the library points into the image until then
}
