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
    {U_Sev_MESSAGE, Prefix::none, 0, nullptr, false, nullptr, 0x00, 0},
    {U_Sev_INFO, Prefix::name, 0, nullptr, false, nullptr, 0x40, 4},
    {U_Sev_WARNING, Prefix::word, kWarning, "U_Sev_WARNING", false, "Warning", 0x30, 2},
    {U_Sev_PROBLEM, Prefix::word, kError, "U_Sev_PROBLEM", true, "Problem", 0x10, 1},
    {U_Sev_FATAL, Prefix::word, kCannotContinue, "U_Sev_FATAL", true, "Fatal", 0x40, 4},
    {U_Sev_DETAIL, Prefix::indent, 0, nullptr, false, nullptr, 0x40, 4},
    {U_Sev_DEBUG, Prefix::word, kDebugInfo, nullptr, false, nullptr, 0x40, 4},
    {U_Sev_LEAK, Prefix::word, kWarning, nullptr, false, "Leak", 0x40, 4},
};

const SeverityTraits kInvalid = {
    0, Prefix::word, kInvalidSeverity, nullptr, false, nullptr, 0x40, 4,
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
