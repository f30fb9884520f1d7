#include "indep/errors/Severity.h"

namespace
{
// Indices of texts.
const U_u32 kWarning = 1;
const U_u32 kError = 2;
const U_u32 kCannotContinue = 3;
const U_u32 kInvalidSeverity = 51;
const U_u32 kDebugInfo = 92;

const SeverityTraits kTraits[] = {
    {U_Sev_MESSAGE, false, Prefix::none, 0, 0x00, 0, nullptr, nullptr},
    {U_Sev_INFO, false, Prefix::name, 0, 0x40, 4, nullptr, nullptr},
    {U_Sev_WARNING, false, Prefix::word, kWarning, 0x30, 2, "U_Sev_WARNING", "Warning"},
    {U_Sev_PROBLEM, true, Prefix::word, kError, 0x10, 1, "U_Sev_PROBLEM", "Problem"},
    {U_Sev_FATAL, true, Prefix::word, kCannotContinue, 0x40, 4, "U_Sev_FATAL", "Fatal"},
    {U_Sev_DETAIL, false, Prefix::indent, 0, 0x40, 4, nullptr, nullptr},
    {U_Sev_DEBUG, false, Prefix::word, kDebugInfo, 0x40, 4, nullptr, nullptr},
    {U_Sev_LEAK, false, Prefix::word, kWarning, 0x40, 4, nullptr, "Leak"},
};

const SeverityTraits kInvalid = {
    0, false, Prefix::word, kInvalidSeverity, 0x40, 4, nullptr, nullptr,
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
