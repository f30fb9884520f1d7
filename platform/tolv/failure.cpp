#include "../switched_function.h"
#include "switches.h"

namespace tolv
{
namespace
{
platform::SwitchedFunction<bool(unsigned long long)> sShouldFail;
} // namespace

void SetHeapFailure(const boost::function<bool(unsigned long long)>& shouldFail)
{
    sShouldFail.Set(shouldFail);
}

bool FailureInjected(unsigned long long size)
{
    const auto shouldFail = sShouldFail.Get();
    return shouldFail && (*shouldFail)(size);
}
} // namespace tolv
