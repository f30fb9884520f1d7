// The switch of the platform library: a program cannot replace the operator new of a DLL.

#include "tests/support/FailingNew.h"

#include <win32/native/failing_new.h>

ScFailingNew::ScFailingNew(long nth)
{
    win32::SetFailingNew(nth);
}

ScFailingNew::~ScFailingNew()
{
    win32::SetFailingNew(0);
}

bool ScFailingNew::HasFailed() const
{
    return win32::NewHasFailed();
}
