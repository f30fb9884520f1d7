#include "indep/errors/Alert.h"

#include <kroview/datatransfer.h>
#include <kroview/messagebox.h>
#include <kroview/ui.h>
#include <tolv/keyboard.h>
#include <win32/message_box.h>
#include <win32/message_queue.h>

#include "U_Encoding.h"
#include "U_Report.h"
#include "U_ZString.h"
#include "indep/errors/Compose.h"
#include "indep/errors/Severity.h"
#include "indep/errors/Translators.h"
#include "indep/frame/Guard.h"

kroview::pencart::SupplierInterface* Up_DrawSupplierP0 = nullptr;
boost::intrusive_ptr<kroview::ui::UI_Node> Up_TopLevelWindowP0;

namespace
{
const char kDefaultTitle[] = "$$$/QX/EGG/Alert/ZelboQuillon=Quillon";
const unsigned int kShiftKey = 512;
const float kNoHint = 0;

U_UTF16String WithLocation(const U_UTF16String& text, U_u16 severity, const char* location)
{
    if (severity == U_Sev_MESSAGE)
        return text;
    return text + U_AsciiToUTF16String("\n\n") + U_MBToUTF16String(location);
}

// Where the host's box is shown, as it was when the alert began.
struct HostUI
{
    kroview::pencart::SupplierInterface* mSupplier = Up_DrawSupplierP0;
    boost::intrusive_ptr<kroview::ui::UI_Node> mNode = Up_TopLevelWindowP0;
};

// Returns 0, or why the box couldn't be shown.
U_Status ShowHostBox(const HostUI& host, const U_UTF16String& text, const HostName& name, int icon,
                     float sizeHint)
{
    using namespace kroview::dialogs::messagebox;
    return Guarded(
        [&] {
            win32::ReleaseCapture();
            const U_UTF16String title = name.mIsKnown ? U_MBToUTF16String(name.mText)
                                                      : U_ZStringToUTF16String(kDefaultTitle);
            Messagebox(host.mSupplier, title, text, kKindAlert, kButtonOK, icon, host.mNode,
                       MessageHandler(), sizeHint, kNoHint);
        },
        &Up_TranslateUnreported);
}

void ShowSystemBox(const U_UTF16String& text, const HostName& name, unsigned int icon)
{
    U_UTF16String title;
    const bool hasTitle =
        name.mIsKnown && Guarded([&] { title = U_MBToUTF16String(name.mText); }) == 0;
    win32::MessageBoxW(nullptr, text.c_str(), hasTitle ? title.c_str() : nullptr,
                       icon | win32::kBoxTopmost | win32::kBoxTaskModal);
}

// As a user's program would read it from there: what the code page can't hold
// is gone.
void CopyToClipboard(const U_UTF16String& text)
{
    kroview::datatransfer::NewClipboardSendData(U_MBToUTF16String(U_UTF16ToMBString(text, false)));
}

void ShowBox(const U_UTF16String& text, const SeverityTraits& traits, float sizeHint)
{
    const HostName name;
    const HostUI host;
    const bool hasBox = host.mSupplier && host.mNode;
    if (!hasBox || ShowHostBox(host, text, name, traits.mHostIcon, sizeHint))
        ShowSystemBox(text, name, traits.mBoxIcon);
    if (GetCurrentKeyModifiers() & kShiftKey)
        Guarded([&] { CopyToClipboard(text); });
}
} // namespace

void U_SetPencartValuesForUErrors(kroview::pencart::SupplierInterface* supplier,
                                  boost::intrusive_ptr<kroview::ui::UI_Node> node)
{
    Up_DrawSupplierP0 = supplier;
    Up_TopLevelWindowP0.swap(node);
}

void Up_ShowAlert(const char* location, U_u16 severity, const U_UTF16String& text, float sizeHint)
{
    U_UTF16String whole;
    // Without memory for the location the text goes without it.
    const U_Status failure = Guarded([&] { whole = WithLocation(text, severity, location); });
    ShowBox(failure ? text : whole, TraitsOf(severity), sizeHint);
}
