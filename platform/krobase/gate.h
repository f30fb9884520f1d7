// Gates: threads wait until another thread opens the gate.
//
//     krobase::threads::Gate loaded(false);
//     boost::thread loader([&loaded] { loaded.Open(); });
//     const bool isOpen = loaded.PassThrough(1000);
//     loader.join();
//
// (The example also needs <boost/thread/thread.hpp>.)
//
// Thread safety: several threads may use a Gate at once. One thread opens an OpenOnceGate, and
// several may wait.
//
// Ordering: all writes of the opener before Open happen before PassThrough returns true.

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
class PLATFORM_EXPORT Gate : private boost::noncopyable
{
public:
    explicit Gate(bool open);
    ~Gate();

    // Ends all waits. The gate stays open.
    void Open();

    // Waits until the gate is open, for at most `timeout` milliseconds. The wait is no
    // interruption point of boost::thread.
    //
    // Returns: whether the gate is open.
    bool PassThrough(int timeout) const;

private:
    mutable platform::Mutex mLock;
    mutable platform::Condition mOpened;
    bool mOpen PLATFORM_GUARDED_BY(mLock);
};

// A gate that is freed when it opens. After that PassThrough returns true at once.
class PLATFORM_EXPORT OpenOnceGate : private boost::noncopyable
{
public:
    // Makes a closed gate.
    //
    // Throws: std::bad_alloc.
    OpenOnceGate();
    ~OpenOnceGate();

    // A second call does nothing.
    void Open();

    // Waits like Gate::PassThrough.
    bool PassThrough(int timeout) const;

private:
    boost::shared_ptr<Gate> mGate; // null once opened
    boost::weak_ptr<Gate> mWeakGate;
};
} // namespace threads
} // namespace krobase

#endif
