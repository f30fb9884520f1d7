// LStr caches: lookups, registered copies, and the effects of birth and death.

#include "U_LStr.h"

#include <atomic>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <thread>

#include "U_Lifecycle.h"
#include "tests/support/BornLibrary.h"
#include "tests/support/OnThreads.h"
#include "tests/support/Text.h"

namespace
{
char kHello[] = "$$$/hello=Hello";
char kBye[] = "$$$/bye=Bye";
char kFilled[] = "Filled in";
char kLiteral[] = "$$$/hello=a literal";

U_LStrRow ZStringRow(char* zstring, char* english = nullptr)
{
    return {zstring, nullptr, english, 0};
}

U_LStrRow LiteralRow(char* text)
{
    return {nullptr, text, nullptr, U_LStrRow_Literal};
}

// A table in a module's data.
struct ModuleTable : U_LStrCache
{
    explicit ModuleTable(std::vector<U_LStrRow> theRows) : U_LStrCache(), rows(std::move(theRows))
    {
        rows.push_back({nullptr, kFilled, kFilled, 0}); // nobody reads the texts of the last row
        mName = name;
        mCount = static_cast<U_i32>(rows.size());
        mRows = rows.data();
    }
    ModuleTable(const ModuleTable&) = delete;

    std::vector<U_LStrRow> rows;
    char name[8] = "Module";
};

const char* LookUp(U_LStrCache& table, int index, bool english = false)
{
    int error = 99;
    const char* const text = U_ZLookupLStrCache(&table, index, english, &error);
    EXPECT_EQ(error, 0);
    return text;
}

class LStr : public BornLibrary
{
protected:
    void Translate(const std::u16string& hello)
    {
        mImages.push_back(BinaryImage({{"/hello", hello}}));
        ASSERT_EQ(LoadDictionary(mImages.back()), 0);
    }

private:
    std::deque<DictionaryImage> mImages;
};
} // namespace

TEST_F(LStr, RowsAreEnglishUntilALanguageIsChosenAndThenKeepTheirTexts)
{
    ModuleTable table({ZStringRow(kHello), ZStringRow(kHello, kFilled), ZStringRow(kHello)});
    const char* const english = LookUp(table, 0);
    EXPECT_STREQ(english, "Hello");
    EXPECT_EQ(LookUp(table, 1), kFilled);

    Translate(u"Guten Tag");
    const char* const german = LookUp(table, 0);
    EXPECT_STREQ(german, "Guten Tag");
    EXPECT_STREQ(LookUp(table, 1), "Guten Tag");
    EXPECT_EQ(LookUp(table, 1, true), kFilled);

    Translate(u"Bonjour");
    EXPECT_STREQ(LookUp(table, 2), "Bonjour");
    EXPECT_EQ(LookUp(table, 0), german);
    EXPECT_STREQ(german, "Guten Tag");
    EXPECT_EQ(LookUp(table, 0, true), english);
    LiveAnew();
}

TEST_F(LStr, ALookupWithoutATextReturnsAPlaceholder)
{
    ModuleTable table({ZStringRow(kHello), ZStringRow(nullptr), LiteralRow(nullptr)});
    ModuleTable empty({});
    for (bool chosen : {false, true})
    {
        if (chosen)
            U_ZStringSetEnglish();
        for (bool english : {false, true})
        {
            for (int index : {-1, INT_MIN, 1, 2, 3, INT_MAX})
                EXPECT_STREQ(LookUp(table, index, english), "[?]") << index;
            EXPECT_STREQ(LookUp(empty, 0, english), "[?]");
        }
    }
    EXPECT_STREQ(U_ZLookupLStrCache(&table, 3, 0, nullptr), "[?]");
    EXPECT_STREQ(U_ZLookupLStrCache(&table, 0, 0, nullptr), "Hello");
    int length = 99;
    EXPECT_EQ(U_ZGetLengthLStrCache(&table, &length), 0);
    EXPECT_EQ(length, 3);
    LiveAnew();
}

TEST_F(LStr, AnInvalidTableIsRefused)
{
    void (*const kDamages[])(ModuleTable&) = {
        [](ModuleTable& table) { table.mRows = nullptr; },
        [](ModuleTable& table) { table.mCount = 0; },
        [](ModuleTable& table) { table.mCount = INT_MIN; },
        [](ModuleTable& table) { table.mCount = 1; },
        [](ModuleTable& table) { table.rows[1].mZString = kBye; },
        [](ModuleTable& table) { table.rows[1].mFlags = 1; },
        [](ModuleTable& table) { table.mFlags = 6; }, // a copy in the list
        nullptr,                                      // no table
    };
    for (const auto& damage : kDamages)
    {
        SCOPED_TRACE(&damage - kDamages);
        ModuleTable damaged({ZStringRow(kHello)});
        if (damage)
            damage(damaged);
        U_LStrCache* const refused = damage ? &damaged : nullptr;
        U_LStrCache* table = refused;
        int length = 99;
        int error = 99;
        EXPECT_EQ(U_ZGetLengthLStrCache(table, &length), 3);
        EXPECT_EQ(length, 99);
        EXPECT_STREQ(U_ZLookupLStrCache(table, 0, 0, &error), "[?]");
        EXPECT_EQ(error, 3);
        EXPECT_STREQ(U_ZLookupLStrCache(table, 0, 0, nullptr), "[?]");
        EXPECT_EQ(U_ZRegisterLStrCache(&table), 3);
        EXPECT_EQ(U_ZUnregisterLStrCache(&table), 3);
        EXPECT_EQ(table, refused);
    }

    ModuleTable module({ZStringRow(kHello)});
    U_LStrCache* table = &module;
    EXPECT_EQ(U_ZUnregisterLStrCache(&table), 3) << "not a heap copy";
    EXPECT_EQ(table, &module);
    EXPECT_EQ(U_ZGetLengthLStrCache(table, nullptr), 0);
    EXPECT_EQ(U_ZRegisterLStrCache(nullptr), 0);
    EXPECT_EQ(U_ZUnregisterLStrCache(nullptr), 0);
}

TEST_F(LStr, DeathFreesTextsAndTheNextLifeResolvesRowsAgain)
{
    {
        ModuleTable table({ZStringRow(kHello, kFilled), LiteralRow(nullptr)});
        LookUp(table, 0);
        LookUp(table, 1);
        EXPECT_EQ(table.mFlags, 0u) << "owns no text, so death must not touch the table";
    }
    ModuleTable table({ZStringRow(kHello), ZStringRow(kBye, kFilled)});
    for (const char* greeting : {"Guten Tag", "Bonjour"})
    {
        Translate(std::u16string(greeting, greeting + std::strlen(greeting)));
        EXPECT_STREQ(LookUp(table, 0), greeting);
        EXPECT_STREQ(LookUp(table, 0, true), "Hello");
        EXPECT_STREQ(LookUp(table, 1), "Bye");
        EXPECT_EQ(table.mFlags, U_LStrCache_Listed);
        LiveAnew();
        EXPECT_EQ(table.rows[0].mLocal, nullptr);
        EXPECT_EQ(table.rows[0].mEnglish, nullptr);
        EXPECT_EQ(table.rows[1].mLocal, nullptr);
        EXPECT_EQ(table.rows[1].mEnglish, kFilled);
        EXPECT_EQ(table.rows[0].mZString, kHello);
    }

    ASSERT_EQ(U_Death(), 0);
    const char* const outside = LookUp(table, 0);
    EXPECT_STREQ(outside, "Hello");
    EXPECT_EQ(table.mFlags, 0u);
    ASSERT_EQ(U_Birth("Test Host", nullptr), 0);
    EXPECT_EQ(LookUp(table, 1), kFilled);
    EXPECT_EQ(LookUp(table, 0), outside);
    std::free(table.rows[0].mEnglish);
}

TEST_F(LStr, DeathStopsAtAnInvalidTable)
{
    ModuleTable first({ZStringRow(kHello)});
    ModuleTable damaged({ZStringRow(kHello)});
    ModuleTable last({ZStringRow(kHello)});
    for (ModuleTable* table : {&first, &damaged, &last})
        LookUp(*table, 0);
    damaged.rows.back().mFlags = 1;
    LiveAnew();
    EXPECT_EQ(first.rows[0].mEnglish, nullptr);
    for (ModuleTable* table : {&damaged, &last})
    {
        EXPECT_STREQ(table->rows[0].mEnglish, "Hello");
        std::free(table->rows[0].mEnglish);
    }
}

TEST_F(LStr, OneCopyOfALiteralServesBothLanguages)
{
    for (bool chosen : {false, true})
    {
        SCOPED_TRACE(chosen);
        ModuleTable table({LiteralRow(kLiteral)});
        if (chosen)
        {
            Translate(u"Guten Tag");
            EXPECT_EQ(LookUp(table, 0), kLiteral);
        }
        const char* const copy = LookUp(table, 0, chosen);
        EXPECT_STREQ(copy, kLiteral);
        EXPECT_NE(copy, kLiteral);
        EXPECT_EQ(LookUp(table, 0), copy);
        EXPECT_EQ(LookUp(table, 0, true), copy);
        EXPECT_EQ(table.rows[0].mFlags,
                  U_LStrRow_Literal | U_LStrRow_OwnsLocal | U_LStrRow_OwnsEnglish);
        LiveAnew();
        EXPECT_EQ(table.rows[0].mLocal, nullptr);
        EXPECT_EQ(table.rows[0].mEnglish, nullptr);
    }
}

TEST_F(LStr, ARegisteredTableIsACopyThatOutlivesTheModule)
{
    U_LStrCache* table = nullptr;
    {
        std::string hello = kHello;
        std::string literal = kLiteral;
        ModuleTable module(
            {ZStringRow(&hello[0]), LiteralRow(&literal[0]), ZStringRow(kBye, kFilled)});
        LookUp(module, 0);
        ASSERT_EQ(module.mFlags, U_LStrCache_Listed);
        table = &module;
        ASSERT_EQ(U_ZRegisterLStrCache(&table), 0);
        ASSERT_NE(table, &module);
        EXPECT_STREQ(table->mName, "Module");
        EXPECT_EQ(table->mRows[1].mFlags, U_LStrRow_Literal | U_LStrRow_OwnsLocal);
        EXPECT_EQ(table->mRows[2].mFlags, U_LStrRow_OwnsZString);
        EXPECT_EQ(table->mRows[2].mEnglish, nullptr);
        EXPECT_EQ(module.mFlags, 0u) << "no longer listed";
        EXPECT_EQ(module.rows[0].mEnglish, nullptr);
        EXPECT_EQ(module.rows[0].mZString, hello.c_str());
        EXPECT_EQ(module.rows[1].mLocal, literal.c_str());
    }
    for (int i = 0; i < 2; ++i)
    {
        EXPECT_STREQ(LookUp(*table, 0), "Hello");
        EXPECT_STREQ(LookUp(*table, 1, true), kLiteral);
        EXPECT_EQ(LookUp(*table, 1), LookUp(*table, 1, true));
        EXPECT_EQ(table->mFlags, U_LStrCache_HeapCopy);
        ASSERT_EQ(U_ZRegisterLStrCache(&table), 0) << "a copy may be registered again";
    }
    Translate(u"Guten Tag");
    const char* const text = LookUp(*table, 0);
    LiveAnew(); // touches nothing of the module
    EXPECT_STREQ(text, "Guten Tag") << "only unregistering frees the texts of a copy";
    EXPECT_EQ(U_ZUnregisterLStrCache(&table), 0);
    EXPECT_EQ(table, nullptr);
}

TEST_F(LStr, RegistrationFreesEachTextThatARowOwnsOnce)
{
    // The text that each field points at, -1 for none. The first field that points at a text
    // decides whether the text is freed.
    const int kSharings[][3] = {{0, 1, 2}, {0, 0, 2}, {0, 1, 1}, {0, 1, 0}, {0, 0, 0}, {-1, 1, 2}};
    const U_u32 kOwners[] = {U_LStrRow_OwnsZString, U_LStrRow_OwnsLocal, U_LStrRow_OwnsEnglish};
    for (const auto& sharing : kSharings)
    {
        for (U_u32 flags = 0; flags < 16; ++flags)
        {
            SCOPED_TRACE(testing::Message() << &sharing - kSharings << ", flags " << flags);
            char* const texts[] = {strdup("$$$/hello=one"), strdup("two"), strdup("three")};
            const auto field = [&](int i) { return i < 0 ? nullptr : texts[i]; };
            ModuleTable module({{field(sharing[0]), field(sharing[1]), field(sharing[2]), flags}});
            U_LStrCache* table = &module;
            module.mName = nullptr;
            ASSERT_EQ(U_ZRegisterLStrCache(&table), 0);
            EXPECT_EQ(table->mName, nullptr);

            const U_LStrRow& row = module.rows[0];
            char* const left[] = {row.mZString, row.mLocal, row.mEnglish};
            EXPECT_EQ(row.mFlags, flags);
            for (int i = 0; i < 3; ++i)
            {
                const bool isFreed = sharing[i] == i && (flags & kOwners[i]);
                for (int j = 0; j < 3; ++j)
                    EXPECT_TRUE(sharing[j] != i || left[j] == (isFreed ? nullptr : texts[i])) << j;
                std::free(isFreed ? nullptr : texts[i]);
            }
            // The copy owns its texts, whatever the old table owned.
            LookUp(*table, 0);
            LookUp(*table, 0, true);
            EXPECT_EQ(U_ZUnregisterLStrCache(&table), 0);
        }
    }
}

TEST_F(LStr, ThreadsThatRaceGetTheSameText)
{
    const int kRows = 200;
    std::vector<U_LStrRow> rows;
    for (int i = 0; i < kRows; ++i)
        rows.push_back(i % 2 ? LiteralRow(kLiteral) : ZStringRow(kHello));
    ModuleTable table(rows);
    Translate(u"Guten Tag");

    std::vector<const char*> texts[4]; // by thread; two of each row
    std::atomic<int> arrived(0);
    OnThreads(4, [&](int number) {
        for (int i = 0; i < kRows; ++i)
        {
            ++arrived;
            while (arrived < 4 * (i + 1)) // all meet at each row
                std::this_thread::yield();
            texts[number].push_back(LookUp(table, i, true));
            texts[number].push_back(LookUp(table, i));
        }
    });

    for (size_t i = 0; i < texts[0].size(); ++i)
    {
        const char* const expected[] = {"Hello", "Guten Tag", kLiteral, kLiteral};
        for (const auto& own : texts)
        {
            EXPECT_STREQ(own[i], expected[i % 4]);
            EXPECT_TRUE(own[i] == texts[0][i] || i % 4 == 3);
        }
    }
    LiveAnew(); // the table is listed once, and nothing is freed twice
    EXPECT_EQ(table.mFlags, 0u);
}
