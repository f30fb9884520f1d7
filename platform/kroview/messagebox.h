// The host's message box.

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

// What a box calls for messages that it leaves to its owner. An alert leaves
// none.
typedef boost::function<void(unsigned int message)> MessageHandler;

// Shows an alert with an OK button through the host's presenter of alerts, waits
// until it is dismissed, and returns the button. The node is the window to
// which the box belongs and is held for so long. widthHint is 0, or the width
// in points that suits the text; heightHint is 0. Throws std::invalid_argument
// for a null supplier or node, another kind or another button, and what the
// presenter throws.
PLATFORM_EXPORT int Messagebox(pencart::SupplierInterface* supplier,
                               const krobase::utility::UTF16String& title,
                               const krobase::utility::UTF16String& text, int kind, int button,
                               int icon, const boost::intrusive_ptr<ui::UI_Node>& node,
                               const MessageHandler& handler, float widthHint, float heightHint);
} // namespace messagebox
} // namespace dialogs
} // namespace kroview

#endif
