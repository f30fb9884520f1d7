#include "lint/text_notes.h"

#include <charconv>
#include <string>

#include "lint/units.h"

Note NoteOf(const ExpandedText& text)
{
    const TextParts parts(text.Units());
    if (parts.mNote == std::u16string::npos)
        return Note();
    return ParseNote(UTF8Of(std::u16string_view(text.Units()).substr(parts.mNote)));
}

std::size_t LongestOf(const Note& note)
{
    for (const std::string& comment : {note.mExtracted, note.mTranslator})
    {
        const std::string name = "max-length:";
        const std::size_t at = comment.find(name);
        if (at == std::string::npos)
            continue;
        const std::size_t digits = comment.find_first_not_of(' ', at + name.size());
        std::size_t longest = 0;
        if (digits != std::string::npos &&
            std::from_chars(comment.data() + digits, comment.data() + comment.size(), longest).ec ==
                std::errc())
            return longest;
    }
    return 0;
}
