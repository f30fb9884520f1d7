// PO where gettext's library is absent.

#include "exchange/po.h"
#include "messages.h"

namespace
{
[[noreturn]] void Refuse()
{
    throw Failure{kUnusable, std::string(),
                  "this zdict was built without PO; xliff1 and xliff2 are available"};
}
} // namespace

void ReadPO(const InputFile&, const OnEntry&)
{
    Refuse();
}

std::string WritePO(const Catalogue&, POForm)
{
    Refuse();
}
