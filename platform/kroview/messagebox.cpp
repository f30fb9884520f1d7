#include "messagebox.h"

#include <stdexcept>

#include "../present.h"

namespace kroview
{
namespace dialogs
{
namespace messagebox
{
int Messagebox(pencart::SupplierInterface* supplier, const krobase::utility::UTF16String& title,
               const krobase::utility::UTF16String& text, int kind, int button, int icon,
               const boost::intrusive_ptr<ui::UI_Node>& node, const MessageHandler&,
               float widthHint, float)
{
    if (!supplier || !node)
        throw std::invalid_argument("a message box needs the host's supplier and node");
    if (kind != kKindAlert || button != kButtonOK)
        throw std::invalid_argument("a message box is an alert with an OK button");
    // The host may let go of its window while the box is up.
    // NOLINTNEXTLINE(performance-unnecessary-copy-initialization)
    const boost::intrusive_ptr<ui::UI_Node> held = node;
    platform::Alert alert = {};
    alert.throughHost = true;
    alert.hasTitle = true;
    alert.title = title;
    alert.text = text;
    alert.icon = icon;
    alert.sizeHint = widthHint;
    platform::Present(alert);
    return kButtonOK;
}
} // namespace messagebox
} // namespace dialogs
} // namespace kroview
