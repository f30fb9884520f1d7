// Lines with "error:" must not pass clang's analysis of locks, for the reason that they name.

#include <map>

#include <platform/base/locks.h>
#include <platform/base/shared_mutex.h>

namespace
{
platform::Mutex sLock;
int sCount PLATFORM_GUARDED_BY(sLock) = 0;
platform::Condition sRaised;

void RaiseLocked() PLATFORM_REQUIRES(sLock)
{
    ++sCount;
    sRaised.NotifyAll();
}

void Raise() PLATFORM_EXCLUDES(sLock)
{
    RaiseLocked(); // error: requires holding
    ++sCount;      // error: requires holding
    {
        const platform::ScLock lock(sLock);
        RaiseLocked();
        Raise();                             // error: while mutex 'sLock' is held
        const platform::ScLock again(sLock); // error: already held
    }
    --sCount; // error: requires holding
}

int WaitAndTake()
{
    sRaised.Wait(sLock); // error: requires holding
    const platform::ScLock lock(sLock);
    while (sCount == 0)
        sRaised.Wait(sLock);
    return sCount--;
}

bool TryRaise()
{
    if (!sLock.TryLock())
        return ++sCount; // error: requires holding
    RaiseLocked();
    sLock.Unlock();
    sLock.Unlock(); // error: not held
    return true;
}

class Names
{
public:
    void Add(int id) const
    {
        mNames[id] = 'x'; // error: requires holding
        const platform::ScLock lock(mLock);
        mNames[id] = 'x';
    }

private:
    mutable platform::RecursiveMutex mLock;
    mutable std::map<int, char> mNames PLATFORM_GUARDED_BY(mLock);
};

platform::SharedMutex sTableLock;
int sTable PLATFORM_GUARDED_BY(sTableLock) = 0;

int ReadTable() PLATFORM_REQUIRES_SHARED(sTableLock)
{
    return sTable;
}

int ChangeTable()
{
    ReadTable(); // error: requires holding
    {
        const platform::ScSharedLock share(sTableLock);
        sTable = ReadTable(); // error: exclusively
    }
    const platform::ScLock lock(sTableLock);
    sTable = 1;
    return ReadTable();
}
} // namespace

int Test()
{
    Raise();
    Names().Add(1);
    return WaitAndTake() + TryRaise() + ChangeTable();
}
