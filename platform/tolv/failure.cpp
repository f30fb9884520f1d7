#include "../switched_function.h"
#include "switches.h"

namespace tolv
{
namespace
{
typedef platform::SwitchedFunction<bool(unsigned long long)> Predicate;
Predicate& sShouldFail = Predicate::Immortal();
} // namespace

std::atomic<bool> sFailuresInjected(false);

void SetHeapFailure(const boost::function<bool(unsigned long long)>& shouldFail)
{
    sShouldFail.Set(shouldFail);
    sFailuresInjected = sShouldFail.Installed();
}

bool AskPredicate(unsigned long long size)
{
    const auto shouldFail = sShouldFail.Get();
    return shouldFail && (*shouldFail)(size);
}
} // namespace tolv
