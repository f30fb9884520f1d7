#include "indep/errors/Severity.h"

namespace
{
const SeverityTraits kTraits[] = {
    {U_Sev_MESSAGE, false, Prefix::none, kTextNone, 0x00, 0, nullptr, nullptr},
    {U_Sev_INFO, false, Prefix::name, kTextNone, 0x40, 4, nullptr, nullptr},
    {U_Sev_WARNING, false, Prefix::word, kTextWarning, 0x30, 2, "U_Sev_WARNING", "Warning"},
    {U_Sev_PROBLEM, true, Prefix::word, kTextError, 0x10, 1, "U_Sev_PROBLEM", "Problem"},
    {U_Sev_FATAL, true, Prefix::word, kTextCannotContinue, 0x40, 4, "U_Sev_FATAL", "Fatal"},
    {U_Sev_DETAIL, false, Prefix::indent, kTextNone, 0x40, 4, nullptr, nullptr},
    {U_Sev_DEBUG, false, Prefix::word, kTextDebugInfo, 0x40, 4, nullptr, nullptr},
    {U_Sev_LEAK, false, Prefix::word, kTextWarning, 0x40, 4, nullptr, "Leak"},
};

const SeverityTraits kInvalid = {
    0, false, Prefix::word, kTextInvalidSeverity, 0x40, 4, nullptr, nullptr,
};
} // namespace

const SeverityTraits& TraitsOf(U_u16 severity)
{
    for (const SeverityTraits& traits : kTraits)
    {
        if (traits.mSeverity == severity)
            return traits;
    }
    return kInvalid;
}
