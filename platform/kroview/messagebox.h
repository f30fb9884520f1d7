// The host's message box.
//
//     using namespace kroview::dialogs::messagebox;
//     const auto warn = [](kroview::pencart::SupplierInterface& supplier,
//                          kroview::ui::UI_Node& window, krobase::utility::UTF16String& text) {
//         Messagebox(&supplier, text, text, kKindAlert, kButtonOK, kIconWarning, &window, {}, 0,
//         0);
//     };
//
// Thread safety: any thread may call, as far as the presenter of alerts allows.

#ifndef KROVIEW_MESSAGEBOX_H
#define KROVIEW_MESSAGEBOX_H

#include <boost/function.hpp>
#include <boost/smart_ptr/intrusive_ptr.hpp>

#include <krobase/text.h>
#include <platform/base/export.h>

#include "ui.h"

namespace kroview
{
namespace dialogs
{
namespace messagebox
{
const int kKindAlert = 1;
const int kButtonOK = 1;

enum Icon
{
    kIconNone = 0,
    kIconError = 1,
    kIconWarning = 2,
    kIconQuestion = 3,
    kIconNote = 4
};

// Receives the messages that a box leaves to its owner. An alert leaves none.
typedef boost::function<void(unsigned int message)> MessageHandler;

// Shows an alert with an OK button through the presenter of alerts, and waits until the alert
// is dismissed.
//
// node: the window to which the box belongs. The function holds a reference until it returns.
// widthHint: 0, or the width in points that suits the text. heightHint: 0.
// Returns: kButtonOK.
// Throws: std::invalid_argument for a null supplier or node, another kind or another button;
//   the exceptions of the presenter; std::bad_alloc.
PLATFORM_EXPORT int Messagebox(pencart::SupplierInterface* supplier,
                               const krobase::utility::UTF16String& title,
                               const krobase::utility::UTF16String& text, int kind, int button,
                               int icon, const boost::intrusive_ptr<ui::UI_Node>& node,
                               const MessageHandler& handler, float widthHint, float heightHint);
} // namespace messagebox
} // namespace dialogs
} // namespace kroview

#endif
