#include "status/table.h"

#include <algorithm>

#include "lint/units.h"

namespace
{
const std::size_t kBarWidth = 20;

std::string Padded(const std::string& text, std::size_t width)
{
    const std::size_t length = CountCharacters(UnitsOf(text));
    return text + std::string(width > length ? width - length : 0, ' ');
}

std::string RightAligned(const std::string& text, std::size_t width)
{
    return std::string(width > text.size() ? width - text.size() : 0, ' ') + text;
}

std::string Repeated(const char* text, std::size_t count)
{
    std::string result;
    for (std::size_t i = 0; i < count; ++i)
        result += text;
    return result;
}

// A share that isn't nothing has a cell, and only the whole fills the bar.
std::string Bar(const LanguageStatus& status)
{
    const std::size_t english = std::max<std::size_t>(status.mEnglish, 1);
    const std::size_t translated = status.Percent() * kBarWidth / 100;
    const std::size_t todo = std::min((status.mOutdated.size() * kBarWidth + english - 1) / english,
                                      kBarWidth - translated);
    return "  " + Repeated("\u2588", translated) + Repeated("\u2592", todo) +
           Repeated("\u2591", kBarWidth - translated - todo);
}
} // namespace

std::string AsTable(const std::vector<LanguageStatus>& languages, bool hasBar)
{
    std::size_t width = std::string("language").size();
    for (const LanguageStatus& status : languages)
        width = std::max(width, CountCharacters(UnitsOf(status.mName)));
    std::string table = Padded("language", width) +
                        "  translated  outdated  untranslated  missing  obsolete  done\n";
    for (const LanguageStatus& status : languages)
    {
        const auto add = [&](std::size_t number, std::size_t columns) {
            table += RightAligned(std::to_string(number), columns);
        };
        table += Padded(status.mName, width);
        add(status.mTranslated, 12);
        add(status.mOutdated.size(), 10);
        add(status.mUntranslated.size(), 14);
        add(status.mMissing.size(), 9);
        add(status.mObsolete.size(), 10);
        add(status.Percent(), 5);
        table += "%" + (hasBar ? Bar(status) : std::string()) + "\n";
    }
    return table;
}
