// Gates: threads wait until another opens.

#ifndef KROBASE_GATE_H
#define KROBASE_GATE_H

#include <boost/noncopyable.hpp>
#include <boost/shared_ptr.hpp>
#include <boost/weak_ptr.hpp>

#include <platform/base/export.h>
#include <platform/base/locks.h>

namespace krobase
{
namespace threads
{
// Any thread. Whoever passes sees what the opener did before it opened.
class PLATFORM_EXPORT Gate : private boost::noncopyable
{
public:
    explicit Gate(bool open);
    ~Gate();

    // Releases every waiter. The gate stays open.
    void Open();

    // Waits up to timeout milliseconds. True if the gate is open.
    bool PassThrough(int timeout) const;

private:
    mutable platform::Mutex mLock;
    mutable platform::Condition mOpened;
    bool mOpen PLATFORM_GUARDED_BY(mLock);
};

// A gate that its opener lets go of: once that is done there is nothing left to
// wait on, and everyone passes. One thread opens; any may wait.
class PLATFORM_EXPORT OpenOnceGate : private boost::noncopyable
{
public:
    // Closed. Throws std::bad_alloc.
    OpenOnceGate();
    ~OpenOnceGate();

    // Opening again does nothing.
    void Open();

    // As with Gate.
    bool PassThrough(int timeout) const;

private:
    boost::shared_ptr<Gate> mGate; // null once opened
    boost::weak_ptr<Gate> mWeakGate;
};
} // namespace threads
} // namespace krobase

#endif
