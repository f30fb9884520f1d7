// Reads PO, writes the texts as PO and reads them again.

#include "exchange.h"
#include "exchange/po.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    RequireSame(data, size, ReadPO, [](const Catalogue& catalogue) {
        return WritePO(catalogue, POForm::kTranslation);
    });
    return 0;
}
