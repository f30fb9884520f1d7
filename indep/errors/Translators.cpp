// The translators of exceptions.

#include "indep/errors/Report.h"

#include <map>
#include <memory>
#include <new>
#include <typeinfo>
#include <utility>

#include <boost/core/demangle.hpp>

#include <platform/base/locks.h>
#include <platform/base/quiet_new.h>
#include <win32/errors.h>
#include <wril/wril.h>

#include "U_Report.h"
#include "U_Threads.h"
#include "indep/frame/Guard.h"
#include "indep/frame/ReentrancyGuard.h"

namespace
{
// Shared pointers, so that a translator that unregisters itself lives until it returns.
typedef std::map<U_u32, std::shared_ptr<const U_ExceptionTranslator>> TranslatorTable;

// The lock is held while translators run. The table is never destroyed at exit: threads may
// still report while the process exits.
platform::RecursiveMutex sTranslatorLock;
std::unique_ptr<TranslatorTable>&
    sTranslators PLATFORM_GUARDED_BY(sTranslatorLock) = *new std::unique_ptr<TranslatorTable>;
U_u32 sNextTranslatorId PLATFORM_GUARDED_BY(sTranslatorLock) = 100;

// Returns an entry without an id yet; no entry for an empty translator or without memory.
TranslatorTable::node_type EntryFor(U_ExceptionTranslator&& translator)
{
    if (!translator)
        return {};
    try
    {
        TranslatorTable single;
        single[{}] = std::make_shared<const U_ExceptionTranslator>(std::move(translator));
        return single.extract(single.begin());
    }
    catch (const std::bad_alloc&)
    {
        return {};
    }
}

// Returns true if the translator recognises the exception. A code that the translator throws,
// for example of a callback that ended its report, replaces the code that it stored.
bool Recognises(const U_ExceptionTranslator& translator, std::exception& exception, int* code)
{
    try
    {
        return translator(&exception, code);
    }
    catch (int& thrown)
    {
        *code = thrown;
        return true;
    }
    catch (std::exception&)
    {
        return false;
    }
}

// Calls the translators, the newest first, until one recognises the exception. A translator may
// register and unregister while it runs, so the next one is looked up by its id.
bool Translate(std::exception& exception, int& code)
{
    const platform::ScLock lock(sTranslatorLock);
    U_u32 below = sNextTranslatorId;
    while (sTranslators)
    {
        TranslatorTable::iterator next = sTranslators->lower_bound(below);
        if (next == sTranslators->begin())
            return false;
        --next;
        below = next->first;
        const std::shared_ptr<const U_ExceptionTranslator> translator = next->second;
        code = U_Err_UnknownException; // the last translator may have stored a code
        if (Recognises(*translator, exception, &code))
            return true;
    }
    return false;
}

typedef ReentrancyGuard<struct InTranslation> ScUnreported;

// Reports nothing inside a report of ReportOnce or inside Up_TranslateUnreported: an exception
// that a callback or a presenter throws out of that report is not reported again.
void ReportOnce(U_u16 severity, const char* text)
{
    const ScUnreported entered;
    if (entered.IsFirst())
        Up_ReportErrString(0, severity, text);
}

// Returns the empty text if the system has no text.
U_UTF16String SystemText(int result)
{
    unsigned short* buffer = nullptr;
    const unsigned int kDefaultLanguage = 0x400;
    const unsigned int length = win32::FormatMessageW(
        win32::kFormatAllocateBuffer | win32::kFormatIgnoreInserts | win32::kFormatFromSystem,
        nullptr, static_cast<unsigned int>(result), kDefaultLanguage, &buffer, 0, nullptr);
    const std::unique_ptr<unsigned short, void* (*)(void*)> owned(
        buffer, [](void* block) { return win32::LocalFree(block); });
    return buffer ? U_UTF16String(buffer, length) : U_UTF16String();
}
} // namespace

void Up_MakeTranslatorTable()
{
    auto table = std::make_unique<TranslatorTable>(); // allocates before the lock is taken
    const platform::ScLock lock(sTranslatorLock);
    if (!sTranslators)
        sTranslators.swap(table);
}

void Up_FreeTranslatorTable()
{
    std::unique_ptr<TranslatorTable>
        ended; // destroyed after the lock is released: a destructor is the host's code
    const platform::ScLock lock(sTranslatorLock);
    ended.swap(sTranslators);
}

U_Status Up_ReportUnknownException(const char* what, const char* type)
{
    LogSafely(
        [=] { WRIL_sprintf(0, "U", "UNHANDLED_EXCEPTION", "What: %s, type: %s", what, type); });
    ReportOnce(U_Sev_WARNING, "Unknown Exception.");
    return U_Err_UnknownException;
}

U_u32 U_RegisterExceptionTranslatorImpl(U_ExceptionTranslator translator)
{
    // Allocates before the lock is taken: the report of a failing allocation must not hold up
    // other threads' translations.
    TranslatorTable::node_type entry = EntryFor(std::move(translator));
    const platform::ScLock lock(sTranslatorLock);
    if (!sTranslators || !entry)
        return 0;
    entry.key() = sNextTranslatorId;
    sTranslators->insert(std::move(entry));
    return sNextTranslatorId++;
}

void U_UnregisterExceptionTranslator(U_u32 id)
{
    TranslatorTable::node_type ended; // destroyed after the lock is released
    const platform::ScLock lock(sTranslatorLock);
    if (sTranslators)
        ended = sTranslators->extract(id);
}

U_Status U_TranslateAndReportException(std::exception& exception)
{
    if (dynamic_cast<std::bad_alloc*>(&exception))
        return U_Err_OutOfMemory;
    if (dynamic_cast<std::bad_cast*>(&exception))
    {
        ReportOnce(U_Sev_PROBLEM, "Unexpected data type");
        return U_Err_BadParameter;
    }
    int code = U_Err_UnknownException;
    if (Translate(exception, code))
        return code;
    const char* const rawName = typeid(exception).name();
    const boost::core::scoped_demangled_name name(rawName);
    return Up_ReportUnknownException(exception.what(), name.get() ? name.get() : rawName);
}

U_Status Up_TranslateUnreported(std::exception& exception)
{
    const ScUnreported unreported;
    return U_TranslateAndReportException(exception);
}

void TranslateAndThrowATLException(ATL::CAtlException& exception, const char*, int)
{
    const U_UTF16String text = SystemText(exception);
    if (text.empty())
        return;
    U_ReportError(0, U_Sev_WARNING, text);
    throw 1;
}
