// LStr caches: lookups, registered copies, and what birth and death do.

#include "U_LStr.h"

#include <atomic>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <string>
#include <thread>
#include <vector>

#include "U_Lifecycle.h"
#include "U_ZString.h"
#include "tests/support/BornLibrary.h"
#include "tests/support/DictionaryImage.h"
#include "tests/support/NoMemory.h"
#include "tests/support/OnThreads.h"

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

class LStr : public BornLibrary
{
protected:
    void Translate(const std::u16string& hello)
    {
        mImages.push_back(BinaryImage({{"/hello", hello}}));
        DictionaryImage& image = mImages.back();
        ASSERT_EQ(U_ZStringSetCurrentDictionary(image.units.data(), image.size), 0);
    }

    void LiveAnew()
    {
        ASSERT_EQ(U_Death(), 0);
        ASSERT_EQ(U_Birth("Test Host", nullptr), 0);
    }

private:
    std::deque<DictionaryImage> mImages;
};

typedef LStr LStrDeathTest;

int FailuresWithoutMemory()
{
    ModuleTable module({ZStringRow(kHello), LiteralRow(kLiteral)});
    U_LStrCache* table = &module;
    int failures = 0;
    const auto expect = [&](const char* hello, const char* literal, int code) {
        int error = 99;
        failures += std::strcmp(U_ZLookupLStrCache(table, 0, 1, &error), hello) || error != code;
        failures += std::strcmp(U_ZLookupLStrCache(table, 1, 1, &error), literal) || error != code;
    };
    {
        const ScNoMemory noMemory;
        expect("[?]", "[?]", U_Err_OutOfMemory);
        failures += U_ZRegisterLStrCache(&table) != U_Err_OutOfMemory;
    }
    expect("Hello", kLiteral, 0);
    return failures;
}
} // namespace

TEST_F(LStr, RowsAreEnglishUntilALanguageIsChosen)
{
    ModuleTable table({ZStringRow(kHello), ZStringRow(kHello, kFilled), ZStringRow(kHello)});
    const char* const english = LookUp(table, 0);
    EXPECT_STREQ(english, "Hello");
    EXPECT_EQ(LookUp(table, 1), kFilled);
    EXPECT_EQ(table.rows[0].mLocal, nullptr);

    Translate(u"Guten Tag");
    const char* const german = LookUp(table, 0);
    EXPECT_EQ(german, table.rows[0].mLocal);
    EXPECT_STREQ(LookUp(table, 1), "Guten Tag");
    EXPECT_EQ(LookUp(table, 1, true), kFilled);

    Translate(u"Bonjour");
    EXPECT_STREQ(LookUp(table, 2), "Bonjour");
    EXPECT_EQ(LookUp(table, 0), german) << "a text stays when the language changes";
    EXPECT_STREQ(german, "Guten Tag");
    EXPECT_EQ(LookUp(table, 0, true), english);
    LiveAnew();
}

TEST_F(LStr, WhereThereIsNoTextAPlaceholderStands)
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

TEST_F(LStr, ATableThatIsNotValidIsRefused)
{
    void (*const kDamages[])(ModuleTable&) = {
        [](ModuleTable& table) { table.mRows = nullptr; },
        [](ModuleTable& table) { table.mCount = 0; },
        [](ModuleTable& table) { table.mCount = INT_MIN; },
        [](ModuleTable& table) { table.mCount = 1; },
        [](ModuleTable& table) { table.rows[1].mZString = kBye; },
        [](ModuleTable& table) { table.rows[1].mFlags = 1; },
        [](ModuleTable& table) { table.mFlags = 6; }, // a copy in the list
    };
    for (size_t i = 0; i <= std::size(kDamages); ++i)
    {
        SCOPED_TRACE(i);
        ModuleTable damaged({ZStringRow(kHello)});
        if (i < std::size(kDamages))
            kDamages[i](damaged);
        U_LStrCache* const refused = i < std::size(kDamages) ? &damaged : nullptr;
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
    EXPECT_EQ(U_ZUnregisterLStrCache(&table), 3) << "it isn't a copy";
    EXPECT_EQ(table, &module);
    EXPECT_EQ(U_ZGetLengthLStrCache(table, nullptr), 0);
    EXPECT_EQ(U_ZRegisterLStrCache(nullptr), 0);
    EXPECT_EQ(U_ZUnregisterLStrCache(nullptr), 0);
}

TEST_F(LStr, DeathFreesTextsAndTheNextLifeResolvesThemAnew)
{
    {
        ModuleTable table({ZStringRow(kHello, kFilled), LiteralRow(nullptr)});
        LookUp(table, 0);
        LookUp(table, 1);
        EXPECT_EQ(table.mFlags, 0u) << "no text is ours, so that death touches nothing of it";
    }
    ModuleTable table({ZStringRow(kHello), ZStringRow(kBye, kFilled)});
    for (const char16_t* greeting : {u"Guten Tag", u"Bonjour"})
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

    ASSERT_EQ(U_Death(), 0);
    EXPECT_STREQ(LookUp(table, 0), "Hello");
    EXPECT_EQ(table.mFlags, 0u);
    ASSERT_EQ(U_Birth("Test Host", nullptr), 0);
    EXPECT_EQ(LookUp(table, 1), kFilled);
    EXPECT_STREQ(LookUp(table, 0), "Hello") << "from outside a life, for good";
    std::free(table.rows[0].mEnglish);
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
        ModuleTable module({ZStringRow(&hello[0]), LiteralRow(&literal[0]), ZStringRow(kBye)});
        module.rows[2].mEnglish = kFilled;
        LookUp(module, 0);
        ASSERT_EQ(module.mFlags, U_LStrCache_Listed);
        table = &module;
        ASSERT_EQ(U_ZRegisterLStrCache(&table), 0);
        ASSERT_NE(table, &module);
        EXPECT_STREQ(table->mName, "Module");
        EXPECT_EQ(table->mRows[1].mFlags, U_LStrRow_Literal | U_LStrRow_OwnsLocal);
        EXPECT_EQ(table->mRows[2].mFlags, U_LStrRow_OwnsZString);
        EXPECT_EQ(table->mRows[2].mEnglish, nullptr);
        EXPECT_EQ(module.mFlags, 0u) << "off the list";
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
    EXPECT_STREQ(text, "Guten Tag") << "it is its owner's until that one gives it back";
    EXPECT_EQ(U_ZUnregisterLStrCache(&table), 0);
    EXPECT_EQ(table, nullptr);
}

TEST_F(LStr, CleaningFreesWhatARowOwnsOnce)
{
    // Which text each slot holds, -1 for none. The first slot that holds a text
    // tells whether it is freed.
    const int kSharings[][3] = {{0, 1, 2}, {0, 0, 2}, {0, 1, 1}, {0, 1, 0}, {0, 0, 0}, {-1, 1, 2}};
    const U_u32 kOwners[] = {U_LStrRow_OwnsZString, U_LStrRow_OwnsLocal, U_LStrRow_OwnsEnglish};
    for (const auto& sharing : kSharings)
    {
        for (U_u32 flags = 0; flags < 16; ++flags)
        {
            SCOPED_TRACE(testing::Message() << &sharing - kSharings << ", flags " << flags);
            char* const texts[] = {strdup("$$$/hello=one"), strdup("two"), strdup("three")};
            const auto slot = [&](int i) { return sharing[i] < 0 ? nullptr : texts[sharing[i]]; };
            ModuleTable module({{slot(0), slot(1), slot(2), flags}});
            U_LStrCache* table = &module;
            module.mName = nullptr;
            ASSERT_EQ(U_ZRegisterLStrCache(&table), 0); // cleans the old table
            EXPECT_EQ(table->mName, nullptr);

            const U_LStrRow& row = module.rows[0];
            char* const left[] = {row.mZString, row.mLocal, row.mEnglish};
            bool freed[3] = {};
            for (int i = 0; i < 3; ++i)
            {
                freed[i] = sharing[i] == i && (flags & kOwners[i]);
                EXPECT_EQ(left[i], sharing[i] < 0 || freed[sharing[i]] ? nullptr : slot(i));
            }
            EXPECT_EQ(row.mFlags, flags);
            for (int i = 0; i < 3; ++i)
                std::free(freed[i] ? nullptr : texts[i]);
            // The copy has texts of its own, whatever the old table owned.
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

    std::vector<const char*> texts[4]; // by thread; of each row both
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
    LiveAnew(); // it is listed once, and nothing is freed twice
    EXPECT_EQ(table.mFlags, 0u);
}

TEST_F(LStrDeathTest, WithoutMemoryTheNextLookupTriesAgain)
{
    SKIP_UNDER_SANITIZERS();
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_EXIT(std::_Exit(FailuresWithoutMemory()), testing::ExitedWithCode(0), "");
}
