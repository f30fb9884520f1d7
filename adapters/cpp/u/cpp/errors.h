// Status codes as C++ errors: an error category, an exception, and the two crossings between
// functions that throw and functions that return a status code.
//
// All headers of <u/cpp/...> fail in one way. A function or a constructor that cannot do its
// work throws std::bad_alloc for the code 4, without memory, and StatusError for any other status
// code. A destructor does not throw.
//
//     const U_Status code = U::cpp::Guard([] { U::cpp::Check(U_Err_OutOfRange); }); // 10
//     const std::error_code error = U::cpp::MakeErrorCode(code);
//     const bool isRange = error == std::errc::result_out_of_range;  // true
//     const std::string text = error.message();                      // UTF-8
//
// Narrow text is UTF-8, also that of error_code::message and of what().
//
// Thread safety: all functions may be called on any thread, also before birth and after death.

#ifndef U_CPP_ERRORS_H
#define U_CPP_ERRORS_H

#include <exception>
#include <new>
#include <string>
#include <system_error>
#include <type_traits>
#include <utility>

#include <U_Encoding.h>
#include <U_Report.h>
#include <U_Threads.h>
#include <U_Types.h>

namespace U::cpp
{
namespace detail
{
class StatusCategoryType final : public std::error_category
{
public:
    const char* name() const noexcept override { return "U"; }

    std::string message(int code) const override
    {
        try
        {
            const U_UTF8String text = U_UTF16To8String(U_GetStatusText(code));
            return std::string(reinterpret_cast<const char*>(text.data()), text.size());
        }
        catch (int) // also without memory
        {
            throw std::bad_alloc();
        }
    }

    std::error_condition default_error_condition(int code) const noexcept override
    {
        switch (code)
        {
        case U_Err_BadParameter:
            return std::errc::invalid_argument;
        case U_Err_OutOfMemory:
            return std::errc::not_enough_memory;
        case U_Err_Unimplemented:
            return std::errc::function_not_supported;
        case U_Err_UnsupportedHere:
            return std::errc::not_supported;
        case U_Err_OutOfRange:
            return std::errc::result_out_of_range;
        default:
            return std::error_condition(code, *this);
        }
    }
};
} // namespace detail

// Returns the category of status codes, whose name is "U". The message of a code is the text of
// U_GetStatusText (U_Report.h), in the current language. Codes are equivalent to the portable
// conditions of std::errc where one has the same meaning.
//
// A shared library that hides its symbols has a category object of its own: compare codes of two
// such libraries with std::errc, or catch StatusError.
inline const std::error_category& StatusCategory() noexcept
{
    static const detail::StatusCategoryType sCategory;
    return sCategory;
}

// Returns a status code as an error of the category above. An errno is no status code, although its
// number may equal one: for the status of a birth use Life::Error (life.h).
inline std::error_code MakeErrorCode(U_Status status) noexcept
{
    return std::error_code(status, StatusCategory());
}

// A status code as an exception. The code that found the failure has reported the failure, as
// for a returned status code: a handler does not report StatusError again. In a life of Life
// (life.h) the library returns the code of a StatusError that leaves a host's callback.
class StatusError : public std::system_error
{
public:
    // Throws: std::bad_alloc.
    explicit StatusError(U_Status status) : std::system_error(MakeErrorCode(status)) {}

    // Returns the status code.
    U_Status Status() const noexcept { return code().value(); }
};

// Adds a translator (U_Threads.h) that returns the code of a StatusError, without a report. Life
// calls this function; a host that calls U_Birth itself calls it after the birth.
//
// Returns: the id of the translator, 0 if there is no memory or no life.
inline U_u32 RegisterStatusTranslator()
{
    return U_RegisterExceptionTranslatorImpl([](std::exception* exception, int* code) {
        const auto* const error = dynamic_cast<const StatusError*>(exception);
        if (error)
            *code = error->Status();
        return error != nullptr;
    });
}

// Throws the exception of a status code.
[[noreturn]] inline void Throw(U_Status status)
{
    if (status == U_Err_OutOfMemory)
        throw std::bad_alloc();
    throw StatusError(status);
}

// Does nothing for 0. Otherwise throws the exception of the status code.
inline void Check(U_Status status)
{
    if (status != 0)
        Throw(status);
}

// Calls `function` and returns its result. A status code that `function` throws as an int, as
// functions of the library do, becomes the exception of the code.
//
// Throws: as Check; other exceptions of `function` pass through.
template <class Function> decltype(auto) Checked(Function&& function)
{
    try
    {
        return std::forward<Function>(function)();
    }
    catch (int status)
    {
        Throw(status);
    }
}

namespace detail
{
struct UnknownException : std::exception
{
    const char* what() const noexcept override { return "not a std::exception"; }
};

// REQUIRES: called by an exception handler.
inline U_Status StatusOfCurrentException() noexcept
{
    try
    {
        try
        {
            throw;
        }
        catch (int status)
        {
            return status;
        }
        catch (const StatusError& error)
        {
            return error.Status();
        }
        catch (std::exception& exception)
        {
            return U_TranslateAndReportException(exception);
        }
        catch (...)
        {
            UnknownException unknown;
            return U_TranslateAndReportException(unknown);
        }
    }
    catch (...) // a translator or a logging callback has thrown
    {
        return U_Err_UnknownException;
    }
}
} // namespace detail

// Calls `function`, which returns a status code or nothing, for a caller through which no
// exception may pass, such as a callback of the library.
//
// Returns: the result of `function`, 0 without one. For an exception:
// - the code of an int and of a StatusError;
// - for any other std::exception the code of U_TranslateAndReportException (U_Threads.h), so 4 for
//   std::bad_alloc;
// - 14 for an exception of another type, which is logged and reported.
template <class Function> U_Status Guard(Function&& function) noexcept
{
    typedef std::invoke_result_t<Function> Result;
    static_assert(std::is_void_v<Result> || std::is_same_v<Result, U_Status>,
                  "a guarded function returns a U_Status or nothing");
    try
    {
        if constexpr (std::is_void_v<Result>)
        {
            std::forward<Function>(function)();
            return 0;
        }
        else
            return std::forward<Function>(function)();
    }
    catch (...)
    {
        return detail::StatusOfCurrentException();
    }
}
} // namespace U::cpp

#endif
