#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <optional>
#include <utility>

#include <platform/base/printable.h>

#include "exchange/po.h"
#include "exchange/po_library.h"
#include "messages.h"

namespace
{
const char kFieldFlag[] = "c-format";
const char kNoDate[] = "YEAR-MO-DA HO:MI+ZONE";

// Returns the date that reproducible builds set, or the placeholder of gettext's tools.
std::string Date(const char* placeholder)
{
    const char* const epoch = std::getenv("SOURCE_DATE_EPOCH");
    char* end = nullptr;
    const long long seconds = epoch ? std::strtoll(epoch, &end, 10) : 0;
    if (!epoch || !*epoch || *end)
        return placeholder;
    const std::time_t time = static_cast<std::time_t>(seconds);
    const std::tm* const utc = std::gmtime(&time);
    char date[40];
    return utc && std::strftime(date, sizeof date, "%Y-%m-%d %H:%M+0000", utc) ? date : placeholder;
}

std::string HeaderOf(const Catalogue& catalogue, POForm form)
{
    // msgfmt warns of a placeholder for the date of a translation.
    const std::string revised = Date(form == POForm::kTemplate ? kNoDate : "");
    return "Project-Id-Version: " + platform::Printable(catalogue.mEnglishFile) +
           "\nReport-Msgid-Bugs-To: \nPOT-Creation-Date: " + Date(kNoDate) +
           "\nPO-Revision-Date: " + revised +
           "\nLast-Translator: \nLanguage-Team: \nLanguage: " + catalogue.mLocale +
           "\nMIME-Version: 1.0\nContent-Type: text/plain; charset=UTF-8\n"
           "Content-Transfer-Encoding: 8bit\n";
}

// Returns whether the text has fields of sprintf, and no other percent signs.
bool HasFields(const std::string& text)
{
    bool hasField = false;
    for (std::size_t at = 0; (at = text.find('%', at)) != std::string::npos; ++at)
    {
        if (text[++at] == '%')
            continue;
        at = text.find_first_not_of("0123456789$+-.#*", at);
        at = at == std::string::npos ? at : text.find_first_not_of("hlLqjzt", at);
        if (at == std::string::npos || !std::strchr("diouxXeEfgGcsp", text[at]))
            return false;
        hasField = true;
    }
    return hasField;
}

// Returns whether msgfmt accepts the line feeds at the ends of the texts.
bool HasSameLineFeeds(const std::string& english, const std::string& translation)
{
    const auto isLineFeed = [](const std::string& text, bool atEnd) {
        return !text.empty() && (atEnd ? text.back() : text.front()) == '\n';
    };
    return isLineFeed(english, false) == isLineFeed(translation, false) &&
           isLineFeed(english, true) == isLineFeed(translation, true);
}

// Returns the lines of a comment. After a backslash at its end, a line would continue in the next
// one; a blank more prevents that.
std::string CommentOf(const std::string& lines)
{
    std::string comment;
    for (std::size_t begin = 0; begin <= lines.size();)
    {
        const std::size_t end = std::min(lines.find('\n', begin), lines.size());
        const std::string line = lines.substr(begin, end - begin);
        comment += line + (EndsInBackslash(line) ? " \n" : "\n");
        begin = end + 1;
    }
    return comment;
}

struct Range
{
    int mLeast;
    int mMost;
};

// Reads a flag as "range: 0..5".
std::optional<Range> ParseRange(const std::string& flag)
{
    Range range;
    int length = 0;
    const int count =
        std::sscanf(flag.c_str(), "range: %9d..%9d%n", &range.mLeast, &range.mMost, &length);
    if (count != 2 || static_cast<std::size_t>(length) != flag.size())
        return std::nullopt;
    return range;
}

bool IsFormatOfLibrary(const std::string& flag)
{
    for (const char* const* format = po_format_list(); *format; ++format)
    {
        if (flag == *format)
            return true;
    }
    return false;
}

// Returns whether the library has a function for the flag.
bool IsOfLibrary(const std::string& flag)
{
    const bool isNegated = flag.compare(0, 3, "no-") == 0;
    return flag == kFuzzyFlag || flag == kObsoleteFlag || ParseRange(flag) ||
           IsFormatOfLibrary(isNegated ? flag.substr(3) : flag);
}

const std::size_t kBatchSize = 1 << 20;

struct Messages
{
    const POFile mFile{po_file_create()};
    const POIterator mIterator{po_message_iterator(mFile.get(), nullptr)};
    std::size_t mSize = 0; // of the texts
};

// Writes messages in batches, since the library takes 8 bytes of memory for each byte that it
// writes. A batch begins with the header, which is cut off.
class MessageWriter
{
public:
    MessageWriter(POForm form, const std::string& fileName, const std::string& header,
                  std::size_t room)
        : mForm(form), mFileName(fileName), mHeader(header)
    {
        Begin();
        Flush();
        mWrittenHeader = mBytes;
        mBytes.reserve(room);
    }

    std::string Finish()
    {
        Flush();
        return std::move(mBytes);
    }

    void Add(const CatalogueEntry& entry)
    {
        const bool isObsolete = entry.mNote.HasFlag(kObsoleteFlag);
        if (mForm == POForm::kTemplate && isObsolete)
            return;
        const po_message_t message = po_message_create();
        po_message_set_msgctxt(message, entry.mKey.c_str());
        po_message_set_msgid(message, entry.mEnglish.c_str());
        po_message_set_msgstr(message,
                              mForm == POForm::kTemplate ? "" : entry.mTranslation.c_str());
        po_message_set_obsolete(message, isObsolete);
        AddNote(entry, message);
        po_message_insert(mBatch->mIterator.get(), message);
        mBatch->mSize += entry.mKey.size() + entry.mEnglish.size() + entry.mTranslation.size();
        if (mBatch->mSize >= kBatchSize)
            Flush();
    }

private:
    void Begin()
    {
        mTried.emplace();
        mBatch.emplace();
        const po_message_t message = po_message_create();
        po_message_set_msgid(message, "");
        po_message_set_msgstr(message, mHeader.c_str());
        po_message_set_fuzzy(message, mForm == POForm::kTemplate);
        po_message_insert(mBatch->mIterator.get(), message);
    }

    // Throws: Failure.
    void Flush()
    {
        std::string bytes;
        std::vector<POProblem> problems;
        const bool isWritten = FormatPO(mBatch->mFile.get(), &bytes, &problems);
        if (!isWritten || bytes.compare(0, mWrittenHeader.size(), mWrittenHeader) != 0)
            throw Failure{kUnusable, std::string(),
                          problems.empty() ? "PO can't be written" : problems.back().mWhat};
        mBytes.append(bytes, mWrittenHeader.size());
        Begin();
    }

    static void AddReference(const std::string& reference, po_message_t message)
    {
        // In the form of a note, a file name with blanks is enclosed.
        Note one;
        one.mReferences = {reference};
        std::string text = FormatNote(one).substr(3);
        if (!text.empty() && text.back() == '\\') // which would continue the line
            text = "\u2068" + text + "\u2069";
        const Reference parts = SplitReference(text);
        const bool hasLine = !parts.mLine.empty() && parts.mLine.size() < 10;
        const std::string file = hasLine ? parts.mFile : text;
        po_message_add_filepos(message, file.c_str(),
                               hasLine ? std::strtoul(parts.mLine.c_str(), nullptr, 10)
                                       : static_cast<std::size_t>(-1));
    }

    void AddNote(const CatalogueEntry& entry, po_message_t message)
    {
        const Note& note = entry.mNote;
        for (const std::string& reference : note.mReferences)
            AddReference(reference, message);
        if (!note.mExtracted.empty())
            po_message_set_extracted_comments(message, CommentOf(note.mExtracted).c_str());
        std::vector<std::string> flags = note.mFlags;
        if (HasFields(entry.mEnglish))
            flags.push_back(kFieldFlag);
        std::string others;
        for (const std::string& flag : flags)
        {
            if (!IsOfLibrary(flag))
                others += (others.empty() ? "" : ", ") + flag;
            if (IsFormatOfLibrary(flag) && !note.HasFlag("no-" + flag) &&
                (flag != kFieldFlag || HasSoundFields(entry)))
                po_message_set_format(message, flag.c_str(), 1);
            if (flag.compare(0, 3, "no-") == 0 && IsFormatOfLibrary(flag.substr(3)))
                po_message_set_format(message, flag.c_str() + 3, 0);
            if (const std::optional<Range> range = ParseRange(flag))
                po_message_set_range(message, range->mLeast, range->mMost);
        }
        std::string comment = mForm == POForm::kTemplate ? std::string() : note.mTranslator;
        if (!others.empty())
            comment += (comment.empty() ? "" : "\n") + kFlagsLine + others;
        if (!comment.empty())
            po_message_set_comments(message, CommentOf(comment).c_str());
        if (mForm == POForm::kTemplate)
            return;
        po_message_set_fuzzy(message, IsFuzzy(entry));
        if (note.mOldEnglish)
            po_message_set_prev_msgid(message, note.mOldEnglish->c_str());
    }

    // Returns whether msgfmt accepts the translation, if there is one, in a message with the flag.
    bool HasSoundFields(const CatalogueEntry& entry)
    {
        if (entry.mTranslation.empty() || mForm == POForm::kTemplate)
            return true;
        const po_message_t message = po_message_create();
        po_message_insert(mTried->mIterator.get(), message); // which frees it
        po_message_set_msgid(message, entry.mEnglish.c_str());
        po_message_set_msgstr(message, entry.mTranslation.c_str());
        po_message_set_format(message, kFieldFlag, 1);
        return HasSoundFormat(message);
    }

    bool IsFuzzy(const CatalogueEntry& entry)
    {
        if (entry.mTranslation.empty() || entry.mNote.IsFuzzy())
            return entry.mNote.IsFuzzy();
        if (HasSameLineFeeds(entry.mEnglish, entry.mTranslation))
            return false;
        Report(mFileName,
               "the translation of " + Quoted(entry.mKey) +
                   " is marked as fuzzy: it and the English text don't begin and end with "
                   "the same line feeds");
        return true;
    }

    const POForm mForm;
    const std::string mFileName; // for messages
    const std::string mHeader;
    std::string mWrittenHeader;
    std::optional<Messages> mBatch;
    std::optional<Messages> mTried; // for HasSoundFields
    std::string mBytes;
};
} // namespace

const std::string kFlagsLine = "zdict-flags: ";

bool EndsInBackslash(const std::string& line)
{
    const std::size_t last = line.find_last_not_of(' ');
    return last != std::string::npos && line[last] == '\\';
}

std::string WritePO(const Catalogue& catalogue, POForm form)
{
    MessageWriter writer(form, catalogue.mTranslationFile, HeaderOf(catalogue, form),
                         catalogue.mRoom);
    catalogue.mForEach([&](const CatalogueEntry& entry) { writer.Add(entry); });
    return writer.Finish();
}
