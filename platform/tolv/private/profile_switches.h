// The switch of profile integers, for platform/control.h.

#ifndef TOLV_PROFILE_SWITCHES_H
#define TOLV_PROFILE_SWITCHES_H

namespace tolv
{
void ClearProfile();
} // namespace tolv

#endif
