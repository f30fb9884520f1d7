// All operations while allocations fail, and those of texts that need settings of the process.

#include <deque>

#include <platform/control.h>

#include "U_Format.h"
#include "U_LStr.h"
#include "U_Lifecycle.h"
#include "U_ZString.h"
#include "tests/faults/Faults.h"
#include "tests/operations/Texts.h"
#include "tests/support/FailingNew.h"
#include "tests/support/Text.h"

typedef Faults TextFaults;

TEST_F(Faults, EachOperationFailsAsPromisedAndThenSucceeds)
{
    Walk(AllOperations());
}

// Numbers are converted through UTF-16 if a mark is not ASCII.
TEST_F(TextFaults, NumbersInABufferAreRightOrLeftAlone)
{
    const ScActiveCodePage active(65001);
    platform::SetUserLocale("fr_FR");
    Walk({
        {"U_FormatNum", kCode4,
         [](Own&) {
             return InBuffer("before", "1\302\240234\302\240567,5",
                             [](char* text) { return U_FormatNum(1234567.5, 8, 1, 1, text); });
         }},
        {"U_ScanNum", kCode4,
         [](Own&) {
             char text[] = "1234567,5\302\240";
             double number = 7;
             const int code = U_ScanNum(text, 0, &number);
             return OfCode(code, number == 1234567.5, number == 7);
         }},
        {"U_InternationalizeNum", kCode4,
         [](Own&) {
             return InBuffer("1,234,567.5", "1\302\240234\302\240567,5", &U_InternationalizeNum);
         }},
    });
}

TEST_F(TextFaults, LStrTableWhoseFirstLookupFailedIsCleanedAtDeath)
{
    std::deque<Table> tables(1);
    const char* text = nullptr;
    const auto lookUp = [&] { text = U_ZLookupLStrCache(&tables.back(), 0, 0, nullptr); };
    FailEachNew(lookUp, [&](long) {
        lookUp();
        EXPECT_STREQ(text, Table::kText) << "the next call tries again";
        tables.emplace_back();
    });
    ASSERT_EQ(U_Death(), 0);
    for (const Table& table : tables)
        EXPECT_EQ(table.rows[0].mEnglish, nullptr);
    ASSERT_EQ(U_Birth("Test Host", nullptr), 0);
}

TEST_F(TextFaults, ALanguageThatFailsToLoadIsLoadedByTheNextCall)
{
    DictionaryImage german = BinaryImage({{"/faults/text", u"ein Text, der lang genug ist"},
                                          {"/faults/other", u"noch ein Text von solcher Länge"}});
    DictionaryImage lines = TextImage(u"\"$$$/faults/line=eine Zeile mit einem langen Text\"\r\n");
    Walk({{"an image", kCode4 | kBadAlloc,
           [&](Own&) {
               return OfTextFrom(german, "$$$/faults/text=x", "ein Text, der lang genug ist");
           },
           true},
          {"lines", kCode4 | kBadAlloc,
           [&](Own&) {
               return OfTextFrom(lines, "$$$/faults/line=x", "eine Zeile mit einem langen Text");
           },
           true}});
}
