// Reads PO, writes the texts as PO and reads them again.

#include "exchange.h"
#include "exchange/po.h"

// gettext's library keeps some strings of damaged files.
extern "C" const char* __lsan_default_suppressions()
{
    return "leak:libgettextpo";
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    RequireSame(data, size, ReadPO, [](const Catalogue& catalogue) {
        return WritePO(catalogue, POForm::kTranslation);
    });
    return 0;
}
