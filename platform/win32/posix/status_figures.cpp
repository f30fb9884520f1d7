#include "status_figures.h"

#include <cstdio>
#include <cstring>
#include <memory>

namespace win32
{
namespace
{
void TakeFigure(const char* line, StatusFigure& figure)
{
    std::size_t value = 0;
    const std::size_t length = std::strlen(figure.mLabel);
    if (std::strncmp(line, figure.mLabel, length) == 0 &&
        std::sscanf(line + length, "%zu", &value) == 1)
        figure.mValue = value;
}
} // namespace

bool ReadStatusFigures(StatusFigure* figures, std::size_t count)
{
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> status(
        std::fopen("/proc/self/status", "r"), &std::fclose);
    if (!status)
        return false;
    char line[128];
    while (std::fgets(line, sizeof(line), status.get()))
    {
        for (std::size_t i = 0; i < count; ++i)
            TakeFigure(line, figures[i]);
    }
    return true;
}
} // namespace win32
