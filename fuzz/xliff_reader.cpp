// Reads XLIFF, writes the texts as XLIFF of both versions and reads them again.

#include "exchange.h"
#include "exchange/xliff.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    for (const XLIFFVersion version : {XLIFFVersion::k12, XLIFFVersion::k20})
    {
        RequireSame(data, size, ReadXLIFF, [version](const Catalogue& catalogue) {
            return WriteXLIFF(catalogue, version);
        });
    }
    return 0;
}
