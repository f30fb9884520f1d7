#include "tests/operations/Operations.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <utility>

#include <tolv/toolbox.h>

#include "U_Alloc.h"
#include "U_Hog.h"

using krobase::utility::ImmutableString;

bool IsFilled(const void* data, int byte, std::size_t size)
{
    const unsigned char* const bytes = static_cast<const unsigned char*>(data);
    return std::all_of(bytes, bytes + size, [byte](unsigned char each) { return each == byte; });
}

Own::Own(int theNumber, ExecutorPtr theExecutor)
    : number(static_cast<unsigned char>(theNumber)), handle(U_AllocateHandleQuiet(kFilled)),
      toolboxHandle(NewHandle(kFilled)), metadata(zelboxmp::NewMetadata()),
      context(U_Context::MakeNewContext()), executor(std::move(theExecutor))
{
    std::memset(*handle, number, kFilled);
    std::memset(*toolboxHandle, number, kFilled);
    U_RegisterHog("own", &hog);
    U_NewHogHandleFromHandle(hog, handle, &hogHandle);
}

Own::~Own()
{
    zelboxmp::Ordinal6(metadata); // releases the reference
    U_FreeHogHandle(hogHandle);
    DisposeHandle(toolboxHandle);
    U_FreeHandle(handle);
}

Outcome OutcomeOf(const Operation& operation, Own& own)
{
    try
    {
        return operation.run(own);
    }
    catch (const std::bad_alloc&)
    {
        return kBadAlloc;
    }
    catch (int code)
    {
        return code == U_Err_OutOfMemory ? kThrown4 : kWrong;
    }
    catch (...)
    {
        return kWrong;
    }
}

Operations AllOperations()
{
    Operations all;
    for (Operations family :
         {MemoryOperations(), TextOperations(), DataOperations(), ContextOperations()})
        std::move(family.begin(), family.end(), std::back_inserter(all));
    return all;
}

ScOperations::ScOperations()
{
    U_Context::RegisterState(ImmutableString(CountingState::kKey), &CountingState::Make);
}

ScOperations::~ScOperations()
{
    U_Context::UnregisterState(ImmutableString(CountingState::kKey));
}
