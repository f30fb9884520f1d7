// The parts of the host's user interface that a message box uses: the drawing supplier, the
// nodes of the host's tree, and the capture of input.
//
//     auto* const manager = kroview::ui::UI_NodeManager::Get(false);
//     manager->BeginInputCapture([](bool cancelled) { std::puts(cancelled ? "cancel" : "drop"); });
//     manager->EndInputCapture(false);
//
// (The example also needs <cstdio>.)
//
// Thread safety: all functions may be called on any thread.

#ifndef KROVIEW_UI_H
#define KROVIEW_UI_H

#include <boost/function.hpp>
#include <boost/smart_ptr/intrusive_ref_counter.hpp>

#include <platform/base/export.h>

namespace kroview
{
namespace pencart
{
// The host's drawing services. The host derives from the class and owns the object.
class PLATFORM_EXPORT SupplierInterface
{
public:
    virtual ~SupplierInterface() = 0;
};
} // namespace pencart

namespace ui
{
// A node of the host's tree, such as the top-level window. Owners hold it by
// boost::intrusive_ptr, on any thread. The last owner deletes the node.
class PLATFORM_EXPORT UI_Node
    : public boost::intrusive_ref_counter<UI_Node, boost::thread_safe_counter>
{
public:
    virtual ~UI_Node();
};

// The capture of input, by a drag or by a menu that tracks the mouse. There is one capture at
// a time.
class PLATFORM_EXPORT UI_NodeManager
{
public:
    // Called once at the end of the capture, on the thread that ends the capture, with no lock
    // held. `cancelled` is true if the work of the capture is to be dropped. The function may
    // begin the next capture.
    typedef boost::function<void(bool cancelled)> CaptureEnd;

    // Returns the manager, which exists until the process ends. Before the first call with
    // `onlyIfMade` false, a call with `onlyIfMade` true returns null.
    static UI_NodeManager* Get(bool onlyIfMade);

    // Begins a capture, after which the previous capture is cancelled. `onEnd` may be empty.
    //
    // Throws: the exceptions of the previous capture's `onEnd`; the new capture has begun;
    //   std::bad_alloc, with the previous capture in force.
    void BeginInputCapture(const CaptureEnd& onEnd);

    // Ends the capture. Without a capture the function does nothing.
    //
    // Throws: the exceptions of `onEnd`; the capture has ended.
    void EndInputCapture(bool cancelled);
    bool HasInputCapture() const;

private:
    UI_NodeManager() = default;
};
} // namespace ui
} // namespace kroview

#endif
