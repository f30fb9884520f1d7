#include "indep/errors/Show.h"

#include <kroview/ui.h>

#include "U_Encoding.h"
#include "U_Group.h"
#include "U_Telemetry.h"
#include "indep/errors/Alert.h"
#include "indep/errors/Compose.h"
#include "indep/errors/Group.h"
#include "indep/errors/PostedErrors.h"
#include "indep/errors/Severity.h"
#include "indep/errors/Translators.h"
#include "indep/frame/Guard.h"
#include "text/Characters.h"

namespace
{
// A menu or a drag that holds the mouse would keep it from the alert.
void EndInputCapture()
{
    kroview::ui::UI_NodeManager* const manager = kroview::ui::UI_NodeManager::Get(true);
    if (manager && manager->HasInputCapture())
        manager->EndInputCapture(true);
}

void TellTelemetry(const char* severityWord, const U_UTF16String& text)
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

void Up_ShowMessage(U_u32 location, U_u16 severity, const U_UTF16String& text, float sizeHint)
{
    const LocationText locationText(location);
    Guarded(&EndInputCapture, &Up_TranslateUnreported);
    Guarded([&] { RememberLastReported(location, severity, text); }, &Up_TranslateUnreported);
    if (const char* word = TraitsOf(severity).mTelemetryWord)
        Guarded([&] { TellTelemetry(word, text); }, &Up_TranslateUnreported);
    Up_ShowAlert(locationText.mText, severity, text, sizeHint);
}
