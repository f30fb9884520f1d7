// What of the host's user interface a message box needs: what draws, the nodes
// of its tree, and the capture of input by one of them.

#ifndef KROVIEW_UI_H
#define KROVIEW_UI_H

#include <boost/function.hpp>
#include <boost/smart_ptr/intrusive_ref_counter.hpp>

#include <platform/base/export.h>

namespace kroview
{
namespace pencart
{
// What the host draws with. The host derives from it and owns it.
class PLATFORM_EXPORT SupplierInterface
{
public:
    virtual ~SupplierInterface() = 0;
};
} // namespace pencart

namespace ui
{
// A node of the host's tree, such as its top-level window, held by
// boost::intrusive_ptr. The count may change on any thread; the last to let go
// deletes the node.
class PLATFORM_EXPORT UI_Node
    : public boost::intrusive_ref_counter<UI_Node, boost::thread_safe_counter>
{
public:
    virtual ~UI_Node();
};

// Who has captured input: a drag, or a menu that tracks the mouse. One at a
// time has it. Any thread.
class PLATFORM_EXPORT UI_NodeManager
{
public:
    // Told once when the capture is over, with no lock held; cancelled is true
    // if its work isn't to be kept. May begin the next capture.
    typedef boost::function<void(bool cancelled)> CaptureEnd;

    // The manager, which stays for good. It is made when it is first asked for
    // with onlyIfMade false; until then true gives null.
    static UI_NodeManager* Get(bool onlyIfMade);

    // Begins a capture; the owner of the one before is told that it is
    // cancelled. onEnd may be empty.
    void BeginInputCapture(const CaptureEnd& onEnd);

    // Ends the capture; without one it does nothing. Throws what onEnd throws,
    // with the capture over.
    void EndInputCapture(bool cancelled);
    bool HasInputCapture() const;

private:
    UI_NodeManager() = default;
};
} // namespace ui
} // namespace kroview

#endif
