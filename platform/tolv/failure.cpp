#include "private/switches.h"

namespace tolv
{
typedef platform::SwitchedFunction<bool(unsigned long long)> Predicate;
Predicate& sShouldFail = *new Predicate;

void SetHeapFailure(const boost::function<bool(unsigned long long)>& shouldFail)
{
    sShouldFail.Set(shouldFail);
}

bool AskPredicate(unsigned long long size)
{
    const auto shouldFail = sShouldFail.Get();
    return shouldFail && (*shouldFail)(size);
}
} // namespace tolv
