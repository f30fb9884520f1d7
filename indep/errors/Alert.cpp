// Shows messages in alerts.

#include "indep/errors/UserMessages.h"

#include <kroview/datatransfer.h>
#include <kroview/messagebox.h>
#include <kroview/ui.h>
#include <tolv/keyboard.h>
#include <win32/message_box.h>
#include <win32/message_queue.h>

#include "U_Encoding.h"
#include "U_Group.h"
#include "U_Report.h"
#include "U_Telemetry.h"
#include "U_ZString.h"
#include "indep/errors/Globals.h"
#include "indep/errors/Report.h"
#include "indep/errors/ReportPipeline.h"
#include "indep/frame/Guard.h"
#include "text/Characters.h"

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

// The values of the host's message box when the alert begins. The copies stay valid if the host
// sets new values while the alert is up.
struct HostUI
{
    kroview::pencart::SupplierInterface* mSupplier = Up_DrawSupplierP0;
    boost::intrusive_ptr<kroview::ui::UI_Node> mNode = Up_TopLevelWindowP0;
};

// Returns 0, or the code of the failure.
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

// Converts to the active code page and back, so that other programs can read the clipboard:
// characters that the code page lacks are replaced.
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

void ShowAlert(const char* location, U_u16 severity, const U_UTF16String& text, float sizeHint)
{
    U_UTF16String whole;
    const U_Status failure = Guarded([&] { whole = WithLocation(text, severity, location); });
    // Without memory for the location the text is shown alone.
    ShowBox(failure ? text : whole, TraitsOf(severity), sizeHint);
}

// Without this, a menu or a drag that has captured the mouse would keep it from the alert.
void EndInputCapture()
{
    kroview::ui::UI_NodeManager* const manager = kroview::ui::UI_NodeManager::Get(true);
    if (manager && manager->HasInputCapture())
        manager->EndInputCapture(true);
}

void SendTelemetry(const char* severityWord, const U_UTF16String& text)
{
    using namespace U::telemetry;
    const auto group = NewDataGroup("Qx", "error", "error", krobase::utility::Guid());
    AddToGroup(group, "severity", UTF8Of(severityWord));
    if (!Up_HasGroupTag(text))
    {
        AddToGroup(group, "localizedMsg", U_UTF16To8String(text));
        return;
    }
    U_UTF16String heading;
    U_ExtractSingularPluralFromUniqueGroupIdentifier(text, nullptr, nullptr, &heading);
    AddToGroup(group, "localizedMsg", U_UTF16To8String(heading));
    U_UTF16String key;
    AddToGroup(group, "errDetail", U_UTF16To8String(U_StripGroupedErrorMessage(text, &key)));
}
} // namespace

void U_SetPencartValuesForUErrors(kroview::pencart::SupplierInterface* supplier,
                                  boost::intrusive_ptr<kroview::ui::UI_Node> node)
{
    Up_DrawSupplierP0 = supplier;
    Up_TopLevelWindowP0.swap(node);
}

void Up_ShowMessage(U_u32 location, U_u16 severity, const U_UTF16String& text, float sizeHint)
{
    const LocationText locationText(location);
    Guarded(&EndInputCapture, &Up_TranslateUnreported);
    Guarded([&] { RememberLastReported(location, severity, text); }, &Up_TranslateUnreported);
    if (const char* word = TraitsOf(severity).mTelemetryWord)
        Guarded([&] { SendTelemetry(word, text); }, &Up_TranslateUnreported);
    ShowAlert(locationText.mText, severity, text, sizeHint);
}
