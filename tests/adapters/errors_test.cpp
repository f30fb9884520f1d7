// Status codes as exceptions and back.

#include <u/cpp/errors.h>

#include <stdexcept>
#include <tuple>

#include <gmock/gmock.h>

#include "tests/adapters/Thrown.h"
#include "tests/support/BornLibrary.h"
#include "tests/support/Text.h"

namespace
{
typedef BornLibrary CppErrors;

struct Foreign
{
};
} // namespace

TEST_F(CppErrors, EachCodeCrossesInBothDirections)
{
    for (const U_Status code : {0, 1, 2, 3, 4, 10, 517, 5889, -43})
    {
        EXPECT_EQ(Thrown([=] { U::cpp::Check(code); }), code);
        EXPECT_EQ(U::cpp::Guard([=] { U::cpp::Check(code); }), code);
        EXPECT_EQ(U::cpp::Guard([=] { return code; }), code);
        EXPECT_EQ(Thrown([=] { U::cpp::Checked([=] { return code ? throw code : 0; }); }), code);
    }
    EXPECT_EQ(U::cpp::Checked([] { return 5; }), 5);
    EXPECT_EQ(mLog.Texts(), Texts()) << "nothing was reported a second time";
}

TEST_F(CppErrors, TheLibraryReturnsTheCodeOfAStatusErrorWithoutAReport)
{
    ASSERT_NE(U::cpp::RegisterStatusTranslator(), 0u);
    U::cpp::StatusError error(U_Err_OutOfRange);
    EXPECT_EQ(U_TranslateAndReportException(error), U_Err_OutOfRange);
    EXPECT_EQ(mLog.Texts(), Texts());
    std::system_error other(error.code());
    EXPECT_EQ(U_TranslateAndReportException(other), U_Err_UnknownException);
}

TEST_F(CppErrors, AGuardTakesExceptionsOfEveryType)
{
    U_RegisterExceptionTranslatorImpl([](std::exception* exception, int* code) {
        *code = 77;
        if (dynamic_cast<std::range_error*>(exception))
            throw Foreign();
        return dynamic_cast<std::out_of_range*>(exception) != nullptr;
    });
    // The code, and the line of the log, null without one.
    const std::tuple<std::function<void()>, U_Status, const char*> kRows[] = {
        {[] { throw 9; }, 9, nullptr},
        {[] { throw std::bad_alloc(); }, 4, nullptr},
        {[] { throw std::out_of_range("a"); }, 77, nullptr},
        {[] { throw std::runtime_error("b"); }, 14, "What: b"},
        {[] { throw std::system_error(std::make_error_code(std::errc::io_error)); }, 14, "What: "},
        {[] { throw Foreign(); }, 14, "What: not a std::exception"},
        {[] { throw std::range_error("the translator throws"); }, 14, nullptr},
    };
    for (const auto& [fail, code, line] : kRows)
    {
        SCOPED_TRACE(code);
        mLog.Clear();
        EXPECT_EQ(U::cpp::Guard(fail), code);
        const Texts lines = mLog.Texts("UNHANDLED_EXCEPTION");
        ASSERT_EQ(lines.size(), line ? 1u : 0u);
        if (line)
        {
            EXPECT_THAT(lines[0], testing::StartsWith(line));
        }
    }
}

TEST_F(CppErrors, CodesHaveTextsAndEqualThePortableConditions)
{
    const std::pair<U_Status, std::errc> kRows[] = {
        {U_Err_BadParameter, std::errc::invalid_argument},
        {U_Err_OutOfMemory, std::errc::not_enough_memory},
        {U_Err_Unimplemented, std::errc::function_not_supported},
        {U_Err_UnsupportedHere, std::errc::not_supported},
        {U_Err_OutOfRange, std::errc::result_out_of_range},
    };
    for (const auto& [code, condition] : kRows)
    {
        EXPECT_EQ(U::cpp::MakeErrorCode(code), condition);
        EXPECT_EQ(U::cpp::MakeErrorCode(code).message(), Narrow(U_GetStatusText(code)));
    }
    EXPECT_NE(U::cpp::MakeErrorCode(U_Err_BadDeath), std::errc::invalid_argument);
    EXPECT_FALSE(U::cpp::MakeErrorCode(0));
    EXPECT_THAT(U::cpp::StatusError(3).what(), testing::HasSubstr("a bad parameter"));
}
