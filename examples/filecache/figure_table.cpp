#include "figure_table.h"

#include <algorithm>
#include <cstdio>

#include <platform/base/printable.h>

#include "message.h"

namespace
{
const size_t kLeastLabelWidth = 16;
const double kMiB = 1 << 20;

// A figure as for printf.
template <typename... Numbers> std::string Format(const char* format, Numbers... numbers)
{
    char figure[64];
    std::snprintf(figure, sizeof figure, format, numbers...);
    return figure;
}
} // namespace

void Table::AddCount(const char* name, const std::string& label, U_u64 count)
{
    mRows.push_back({name, label, Format("%12llu", count), U_Any(static_cast<U_i64>(count))});
}

void Table::AddBytes(const char* name, const std::string& label, U_u64 bytes)
{
    mRows.push_back({name, label,
                     Format("%12llu  %9.1f ", bytes, static_cast<double>(bytes) / kMiB) +
                         Text("$$$/QX/FileCache/Unit/MiB=MiB"),
                     U_Any(static_cast<U_i64>(bytes))});
}

void Table::AddChecksum(const char* name, const std::string& label, U_u64 checksum)
{
    const std::string digits = Format("%016llx", checksum);
    mRows.push_back({name, label, digits, U_Any(digits)});
}

void Table::AddMeasure(const char* name, const std::string& label, double number, int decimals,
                       const std::string& unit)
{
    mRows.push_back({name, label, Format("%12.*f ", decimals, number) + unit, U_Any(number)});
}

void Table::Print() const
{
    std::vector<std::string> labels;
    size_t width = kLeastLabelWidth;
    for (const Row& row : mRows)
    {
        labels.push_back(platform::Printable(row.label));
        width = std::max(width, DisplayWidth(labels.back()));
    }
    for (size_t i = 0; i < mRows.size(); ++i)
    {
        // printf counts bytes where a terminal counts columns.
        const std::string padding(width - DisplayWidth(labels[i]), ' ');
        std::printf("%s%s %s\n", labels[i].c_str(), padding.c_str(),
                    platform::Printable(mRows[i].figure).c_str());
    }
}
