// The exception class of ATL.

#ifndef WIN32_ATL_H
#define WIN32_ATL_H

#include <platform/base/export.h>

namespace ATL
{
class PLATFORM_EXPORT CAtlException
{
public:
    explicit CAtlException(int result) : m_hr(result) {}
    operator int() const { return m_hr; }

    int m_hr;
};
} // namespace ATL

#endif
