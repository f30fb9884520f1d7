#include "exchange/formats.h"

#include <algorithm>

#include "exchange/po.h"
#include "exchange/xliff.h"

namespace
{
const char kPO[] = "po";
const char kTemplate[] = "pot";
const char kXLIFF12[] = "xliff1";
const char kXLIFF20[] = "xliff2";

// XML begins with "<", perhaps after byte-order marks, blanks or the NUL of UTF-16.
bool IsXML(const InputFile& file)
{
    const std::string before("\xEF\xBB\xBF\xFE\xFF \t\r\n\0", 10);
    const auto first =
        std::find_if(file.mBytes.begin(), file.mBytes.end(), [&](unsigned char byte) {
            return before.find(static_cast<char>(byte)) == std::string::npos;
        });
    return first != file.mBytes.end() && *first == '<';
}
} // namespace

std::vector<std::string> FormatNames()
{
    return {kPO, kTemplate, kXLIFF12, kXLIFF20};
}

std::string WriteCatalogue(const Catalogue& catalogue, const std::string& format)
{
    if (format == kXLIFF12)
        return WriteXLIFF(catalogue, XLIFFVersion::k12);
    if (format == kXLIFF20)
        return WriteXLIFF(catalogue, XLIFFVersion::k20);
    return WritePO(catalogue, format == kTemplate ? POForm::kTemplate : POForm::kTranslation);
}

void ReadCatalogue(const InputFile& file, const std::string& format, const OnEntry& onEntry)
{
    const bool isXLIFF = format.empty() ? IsXML(file) : format == kXLIFF12 || format == kXLIFF20;
    return isXLIFF ? ReadXLIFF(file, onEntry) : ReadPO(file, onEntry);
}
