// LStr caches: lookups, registered copies, and what birth and death do.

#include "U_LStr.h"

#include <climits>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "U_Lifecycle.h"
#include "U_ZString.h"
#include "tests/support/BornLibrary.h"
#include "tests/support/DictionaryImage.h"
#include "tests/support/NoMemory.h"

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
        rows.push_back(U_LStrRow());
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

char* HeapText(const char* text)
{
    return strdup(text);
}

class LStr : public BornLibrary
{
protected:
    void Translate(const std::u16string& hello)
    {
        mImages.push_back(std::make_unique<DictionaryImage>(BinaryImage({{"/hello", hello}})));
        DictionaryImage& image = *mImages.back();
        ASSERT_EQ(U_ZStringSetCurrentDictionary(image.units.data(), image.size), 0);
    }

    // A table that lives until the library has died.
    ModuleTable& Add(std::vector<U_LStrRow> rows)
    {
        mTables.push_back(std::make_unique<ModuleTable>(std::move(rows)));
        return *mTables.back();
    }

    void LiveAnew()
    {
        ASSERT_EQ(U_Death(), 0);
        ASSERT_EQ(U_Birth("Test Host", nullptr), 0);
    }

private:
    std::vector<std::unique_ptr<DictionaryImage>> mImages;
    std::vector<std::unique_ptr<ModuleTable>> mTables;
};

typedef LStr LStrDeathTest;

bool Tells(U_LStrCache& table, int index, const char* expected, int expectedError)
{
    int error = 99;
    const char* const text = U_ZLookupLStrCache(&table, index, 1, &error);
    return std::strcmp(text, expected) == 0 && error == expectedError;
}

int FailuresWithoutMemory()
{
    ModuleTable module({ZStringRow(kHello), LiteralRow(kLiteral)});
    U_LStrCache* table = &module;
    int failures = 0;
    {
        const ScNoMemory noMemory;
        failures += !Tells(module, 0, "[?]", U_Err_OutOfMemory);
        failures += !Tells(module, 1, "[?]", U_Err_OutOfMemory);
        failures += U_ZRegisterLStrCache(&table) != U_Err_OutOfMemory;
    }
    failures += table != &module;
    failures += !Tells(module, 0, "Hello", 0);
    failures += !Tells(module, 1, kLiteral, 0);
    return failures;
}
} // namespace

TEST_F(LStr, RowsAreEnglishUntilALanguageIsChosen)
{
    ModuleTable& table = Add({ZStringRow(kHello), ZStringRow(kHello, kFilled)});
    EXPECT_STREQ(LookUp(table, 0), "Hello");
    EXPECT_EQ(LookUp(table, 1), kFilled);
    EXPECT_EQ(table.rows[0].mLocal, nullptr);

    Translate(u"Guten Tag");
    for (int index : {0, 1})
    {
        EXPECT_STREQ(LookUp(table, index), "Guten Tag");
        EXPECT_EQ(LookUp(table, index), table.rows[static_cast<size_t>(index)].mLocal);
    }
    EXPECT_STREQ(LookUp(table, 0, true), "Hello");
    EXPECT_EQ(LookUp(table, 1, true), kFilled);
}

TEST_F(LStr, ATextStaysWhenTheLanguageChanges)
{
    ModuleTable& table = Add({ZStringRow(kHello), ZStringRow(kHello)});
    Translate(u"Guten Tag");
    const char* const text = LookUp(table, 0);
    const char* const english = LookUp(table, 0, true);
    Translate(u"Bonjour");
    EXPECT_EQ(LookUp(table, 0), text);
    EXPECT_EQ(LookUp(table, 0, true), english);
    EXPECT_STREQ(text, "Guten Tag");
    EXPECT_STREQ(LookUp(table, 1), "Bonjour");
}

TEST_F(LStr, WhereThereIsNoTextAPlaceholderStands)
{
    ModuleTable& table = Add({ZStringRow(kHello), ZStringRow(nullptr), LiteralRow(nullptr)});
    ModuleTable& empty = Add({});
    for (bool chosen : {false, true})
    {
        if (chosen)
            U_ZStringSetEnglish();
        for (bool english : {false, true})
        {
            for (int index : {-1, INT_MIN, 1, 2, 3, 4, INT_MAX})
                EXPECT_STREQ(LookUp(table, index, english), "[?]") << index;
            for (int index : {-1, 0, 1})
                EXPECT_STREQ(LookUp(empty, index, english), "[?]") << index;
        }
    }
    EXPECT_STREQ(U_ZLookupLStrCache(&table, 3, 0, nullptr), "[?]");
    EXPECT_STREQ(U_ZLookupLStrCache(&table, 0, 0, nullptr), "Hello");
    int length = 99;
    EXPECT_EQ(U_ZGetLengthLStrCache(&table, &length), 0);
    EXPECT_EQ(length, 3);
    EXPECT_EQ(U_ZGetLengthLStrCache(&empty, &length), 0);
    EXPECT_EQ(length, 0);
}

TEST_F(LStr, ATableThatIsNotValidIsRefused)
{
    const struct
    {
        const char* what;
        void (*damage)(ModuleTable&);
    } kRows[] = {
        {"no rows", [](ModuleTable& table) { table.mRows = nullptr; }},
        {"count 0", [](ModuleTable& table) { table.mCount = 0; }},
        {"count below 0", [](ModuleTable& table) { table.mCount = INT_MIN; }},
        {"last row with a text", [](ModuleTable& table) { table.rows[1].mZString = kBye; }},
        {"last row with flags", [](ModuleTable& table) { table.rows[1].mFlags = 1; }},
        {"cut short", [](ModuleTable& table) { table.mCount = 1; }},
        {"a copy in the list", [](ModuleTable& table) { table.mFlags = 6; }},
    };
    U_LStrCache* const none = nullptr;
    std::vector<U_LStrCache*> refused = {none};
    std::vector<std::unique_ptr<ModuleTable>> tables;
    for (const auto& row : kRows)
    {
        tables.push_back(std::make_unique<ModuleTable>(std::vector<U_LStrRow>{ZStringRow(kHello)}));
        row.damage(*tables.back());
        refused.push_back(tables.back().get());
    }
    for (size_t i = 0; i < refused.size(); ++i)
    {
        SCOPED_TRACE(i ? kRows[i - 1].what : "null");
        U_LStrCache* table = refused[i];
        int length = 99;
        int error = 99;
        EXPECT_EQ(U_ZGetLengthLStrCache(table, &length), 3);
        EXPECT_EQ(length, 99);
        EXPECT_STREQ(U_ZLookupLStrCache(table, 0, 0, &error), "[?]");
        EXPECT_EQ(error, 3);
        EXPECT_STREQ(U_ZLookupLStrCache(table, 0, 0, nullptr), "[?]");
        EXPECT_EQ(U_ZRegisterLStrCache(&table), 3);
        EXPECT_EQ(U_ZUnregisterLStrCache(&table), 3);
        EXPECT_EQ(table, refused[i]);
    }

    ModuleTable module({ZStringRow(kHello)});
    U_LStrCache* table = &module;
    EXPECT_EQ(U_ZUnregisterLStrCache(&table), 3) << "it isn't a copy";
    EXPECT_EQ(table, &module);
    EXPECT_EQ(U_ZGetLengthLStrCache(table, nullptr), 0);
    EXPECT_EQ(U_ZRegisterLStrCache(nullptr), 0);
    EXPECT_EQ(U_ZUnregisterLStrCache(nullptr), 0);
}

TEST_F(LStr, DeathFreesTextsAndTheNextLifeResolvesThemAnew)
{
    ModuleTable table({ZStringRow(kHello), ZStringRow(kBye, kFilled)});
    for (const char16_t* greeting : {u"Guten Tag", u"Bonjour", u"Hej"})
    {
        Translate(greeting);
        const std::u16string expected(greeting);
        EXPECT_EQ(LookUp(table, 0), std::string(expected.begin(), expected.end()));
        EXPECT_STREQ(LookUp(table, 0, true), "Hello");
        EXPECT_STREQ(LookUp(table, 1), "Bye");
        EXPECT_EQ(table.mFlags, U_LStrCache_Listed);
        LiveAnew();
        for (const U_LStrRow& row : table.rows)
            EXPECT_EQ(row.mLocal, nullptr);
        EXPECT_EQ(table.rows[0].mEnglish, nullptr);
        EXPECT_EQ(table.rows[1].mEnglish, kFilled);
        EXPECT_EQ(table.rows[0].mZString, kHello);
    }
}

TEST_F(LStr, TextsFromOutsideALifeAreFreedByTheNext)
{
    ModuleTable table({ZStringRow(kHello), ZStringRow(kBye)});
    ASSERT_EQ(U_Death(), 0);
    EXPECT_STREQ(LookUp(table, 0), "Hello");
    EXPECT_EQ(table.mFlags, 0u);
    ASSERT_EQ(U_Birth("Test Host", nullptr), 0);
    EXPECT_STREQ(LookUp(table, 1), "Bye");
    EXPECT_EQ(table.mFlags, U_LStrCache_Listed);
    LiveAnew();
    EXPECT_EQ(table.rows[0].mEnglish, nullptr);
}

TEST_F(LStr, ATableWithoutATextOfOursIsNotListed)
{
    {
        ModuleTable table({ZStringRow(kHello, kFilled), LiteralRow(nullptr)});
        LookUp(table, 0);
        LookUp(table, 1);
        LookUp(table, 2);
        EXPECT_EQ(table.mFlags, 0u);
    }
    LiveAnew(); // touches nothing of it
}

TEST_F(LStr, ManyTablesAreCleaned)
{
    std::vector<ModuleTable*> tables;
    for (int i = 0; i < 2500; ++i)
    {
        tables.push_back(&Add({ZStringRow(kHello)}));
        LookUp(*tables.back(), 0);
    }
    LiveAnew();
    for (const ModuleTable* table : tables)
        EXPECT_EQ(table->rows[0].mEnglish, nullptr);
}

TEST_F(LStr, DeathStopsAtATableThatIsNoLongerValid)
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
        U_LStrRow& row = table.rows[0];
        if (chosen)
        {
            Translate(u"Guten Tag");
            EXPECT_EQ(LookUp(table, 0), kLiteral);
        }
        const char* const copy = LookUp(table, 0, chosen);
        EXPECT_STREQ(copy, kLiteral);
        EXPECT_NE(copy, kLiteral);
        EXPECT_EQ(row.mLocal, copy);
        EXPECT_EQ(row.mEnglish, copy);
        EXPECT_EQ(row.mFlags, U_LStrRow_Literal | U_LStrRow_OwnsLocal | U_LStrRow_OwnsEnglish);
        EXPECT_EQ(LookUp(table, 0), copy);
        EXPECT_EQ(LookUp(table, 0, true), copy);
        LiveAnew();
        EXPECT_EQ(row.mLocal, nullptr);
        EXPECT_EQ(row.mEnglish, nullptr);
    }
}

TEST_F(LStr, ARegisteredTableIsACopyThatOutlivesTheModule)
{
    U_LStrCache* table = nullptr;
    {
        std::string hello = kHello;
        std::string literal = kLiteral;
        ModuleTable module({ZStringRow(&hello[0], kFilled), LiteralRow(&literal[0])});
        table = &module;
        ASSERT_EQ(U_ZRegisterLStrCache(&table), 0);
        ASSERT_NE(table, &module);
        EXPECT_STREQ(table->mName, "Module");
        EXPECT_EQ(table->mCount, 3);
        EXPECT_EQ(table->mFlags, U_LStrCache_HeapCopy);
        EXPECT_EQ(table->mRows[0].mEnglish, nullptr);
        EXPECT_EQ(table->mRows[0].mFlags, U_LStrRow_OwnsZString);
        EXPECT_EQ(table->mRows[1].mFlags, U_LStrRow_Literal | U_LStrRow_OwnsLocal);
        EXPECT_EQ(module.rows[0].mZString, hello.c_str());
        EXPECT_EQ(module.rows[1].mLocal, literal.c_str());
    }
    EXPECT_STREQ(LookUp(*table, 0), "Hello");
    EXPECT_STREQ(LookUp(*table, 1, true), kLiteral);
    EXPECT_EQ(LookUp(*table, 1), LookUp(*table, 1, true));
    Translate(u"Guten Tag");
    const char* const text = LookUp(*table, 0);
    EXPECT_EQ(table->mFlags, U_LStrCache_HeapCopy);
    LiveAnew();
    EXPECT_STREQ(text, "Guten Tag") << "it is its owner's until that one gives it back";
    EXPECT_EQ(U_ZUnregisterLStrCache(&table), 0);
    EXPECT_EQ(table, nullptr);
}

TEST_F(LStr, ATableThatWasLookedUpLeavesTheListWhenItIsRegistered)
{
    U_LStrCache* table = nullptr;
    {
        ModuleTable module({ZStringRow(kHello), LiteralRow(kLiteral)});
        module.mName = nullptr;
        LookUp(module, 0);
        LookUp(module, 1);
        ASSERT_EQ(module.mFlags, U_LStrCache_Listed);
        table = &module;
        ASSERT_EQ(U_ZRegisterLStrCache(&table), 0);
        EXPECT_EQ(module.mFlags, 0u);
        EXPECT_EQ(module.rows[0].mEnglish, nullptr);
        EXPECT_EQ(table->mName, nullptr);
        EXPECT_EQ(table->mFlags, U_LStrCache_HeapCopy);
    }
    EXPECT_STREQ(LookUp(*table, 0), "Hello");
    EXPECT_STREQ(LookUp(*table, 1), kLiteral);
    LiveAnew(); // touches nothing of the module
    EXPECT_EQ(U_ZUnregisterLStrCache(&table), 0);
}

TEST_F(LStr, ACopyMayBeRegisteredAgain)
{
    ModuleTable& module = Add({ZStringRow(kHello), LiteralRow(kLiteral)});
    U_LStrCache* table = &module;
    for (int i = 0; i < 3; ++i)
    {
        ASSERT_EQ(U_ZRegisterLStrCache(&table), 0);
        EXPECT_STREQ(LookUp(*table, 0), "Hello");
        EXPECT_STREQ(LookUp(*table, 1), kLiteral);
    }
    EXPECT_EQ(U_ZUnregisterLStrCache(&table), 0);
    EXPECT_STREQ(LookUp(module, 0), "Hello");
}

TEST_F(LStr, CleaningFreesWhatARowOwnsOnce)
{
    // Which text each slot holds, and which owner's flag frees it: that of the
    // first slot that holds it.
    const struct
    {
        const char* what;
        int slots[3];
    } kSharings[] = {
        {"each its own", {0, 1, 2}},     {"local is the ZString", {0, 0, 2}},
        {"English is local", {0, 1, 1}}, {"English is the ZString", {0, 1, 0}},
        {"one for all", {0, 0, 0}},      {"only a ZString", {0, -1, -1}},
        {"no ZString", {-1, 1, 2}},
    };
    const U_u32 kOwners[] = {U_LStrRow_OwnsZString, U_LStrRow_OwnsLocal, U_LStrRow_OwnsEnglish};
    for (const auto& sharing : kSharings)
    {
        for (U_u32 flags = 0; flags < 16; ++flags)
        {
            SCOPED_TRACE(testing::Message() << sharing.what << ", flags " << flags);
            char* texts[] = {HeapText("$$$/hello=one"), HeapText("two"), HeapText("three")};
            char* slots[3];
            for (int i = 0; i < 3; ++i)
                slots[i] = sharing.slots[i] < 0 ? nullptr : texts[sharing.slots[i]];
            ModuleTable module({{slots[0], slots[1], slots[2], flags}});
            U_LStrCache* table = &module;
            ASSERT_EQ(U_ZRegisterLStrCache(&table), 0); // cleans the old table

            const U_LStrRow& row = module.rows[0];
            char* const left[] = {row.mZString, row.mLocal, row.mEnglish};
            bool freed[3] = {};
            for (int i = 0; i < 3; ++i)
            {
                const int text = sharing.slots[i];
                if (text == i && (flags & kOwners[i]))
                    freed[i] = true;
                EXPECT_EQ(left[i], text < 0 || freed[text] ? nullptr : texts[text]);
            }
            EXPECT_EQ(row.mFlags, flags);
            for (int i = 0; i < 3; ++i)
            {
                if (!freed[i])
                    std::free(texts[i]);
            }
            // The copy has texts of its own, whatever the old table owned.
            LookUp(*table, 0);
            LookUp(*table, 0, true);
            EXPECT_EQ(U_ZUnregisterLStrCache(&table), 0);
        }
    }
}

TEST_F(LStr, ThreadsThatRaceGetTheSameText)
{
    const size_t kThreads = 4;
    const size_t kRows = 200;
    for (bool chosen : {false, true})
    {
        std::vector<U_LStrRow> rows;
        for (size_t i = 0; i < kRows; ++i)
            rows.push_back(i % 2 ? LiteralRow(kLiteral) : ZStringRow(kHello));
        ModuleTable table(rows);
        if (chosen)
            Translate(u"Guten Tag");

        std::vector<std::vector<const char*>> english(kThreads);
        std::vector<std::vector<const char*>> local(kThreads);
        std::vector<std::thread> threads;
        for (size_t thread = 0; thread < kThreads; ++thread)
        {
            threads.emplace_back([&, thread] {
                for (int i = 0; i < static_cast<int>(kRows); ++i)
                {
                    local[thread].push_back(LookUp(table, i));
                    english[thread].push_back(LookUp(table, i, true));
                }
            });
        }
        for (std::thread& thread : threads)
            thread.join();

        for (size_t i = 0; i < kRows; ++i)
        {
            const bool literal = i % 2;
            const char* const greeting = chosen ? "Guten Tag" : "Hello";
            for (size_t thread = 0; thread < kThreads; ++thread)
            {
                EXPECT_EQ(english[thread][i], english[0][i]);
                EXPECT_STREQ(local[thread][i], literal ? kLiteral : greeting);
                EXPECT_TRUE(literal || local[thread][i] == local[0][i]);
            }
            EXPECT_STREQ(english[0][i], literal ? kLiteral : "Hello");
        }
        LiveAnew(); // it is listed once, and nothing is freed twice
        EXPECT_EQ(table.mFlags, 0u);
    }
}

TEST_F(LStrDeathTest, WithoutMemoryTheNextLookupTriesAgain)
{
    SKIP_UNDER_SANITIZERS();
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_EXIT(std::_Exit(FailuresWithoutMemory()), testing::ExitedWithCode(0), "");
}
