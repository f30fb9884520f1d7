#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <iterator>
#include <optional>
#include <string_view>
#include <utility>

#include <iconv.h>

#include "exchange/exchange_text.h"
#include "exchange/po.h"
#include "exchange/po_library.h"
#include "exchange/po_places.h"
#include "messages.h"

namespace
{
const iconv_t kNone = reinterpret_cast<iconv_t>(-1);
const char kCharset[] = "charset=";

// Converts the strings of one file to UTF-8.
class Converter
{
public:
    // Throws: Failure for an unknown charset.
    Converter(const char* header, const std::string& file)
    {
        const std::string charset = CharsetOf(header ? header : "");
        // A template has the placeholder in the place of a name.
        if (charset.empty() || charset == "CHARSET")
            return;
        mCharset = charset;
        mHandle = iconv_open("UTF-8", charset.c_str());
        if (mHandle == kNone)
            throw Failure{kFaulty, file, "its charset " + Quoted(charset) + " is unknown"};
    }
    ~Converter()
    {
        if (mHandle != kNone)
            iconv_close(mHandle);
    }
    Converter(const Converter&) = delete;
    Converter& operator=(const Converter&) = delete;

    const std::string& Charset() const { return mCharset; }
    bool IsUTF8() const { return mCharset == "UTF-8"; }

    // Returns false for bytes that the charset does not have.
    bool Convert(const char* text, std::string* utf8) const
    {
        *utf8 = text ? text : "";
        return mHandle != kNone && !IsUTF8() ? ConvertByHandle(*utf8, utf8) : ::IsUTF8(*utf8);
    }

private:
    static std::string CharsetOf(const std::string& header)
    {
        char* const field = po_header_field(header.c_str(), "Content-Type");
        const std::string type = field ? field : "";
        std::free(field);
        const std::size_t at = type.find(kCharset);
        if (at == std::string::npos)
            return std::string();
        const std::size_t begin = at + sizeof kCharset - 1;
        return type.substr(begin, type.find_first_of(" \t;", begin) - begin);
    }

    bool ConvertByHandle(std::string bytes, std::string* utf8) const
    {
        utf8->clear();
        iconv(mHandle, nullptr, nullptr, nullptr, nullptr);
        char* from = bytes.data();
        for (std::size_t left = bytes.size(); left;)
        {
            char buffer[1024];
            char* to = buffer;
            std::size_t room = sizeof buffer;
            const bool failed =
                iconv(mHandle, &from, &left, &to, &room) == static_cast<std::size_t>(-1);
            utf8->append(buffer, to);
            if (failed && errno != E2BIG)
                return false;
        }
        return utf8->find('\0') == std::string::npos;
    }

    std::string mCharset = "UTF-8";
    iconv_t mHandle = kNone;
};

// Returns the lines of a comment without the last line feed, and without the blanks after
// backslashes that the writer adds.
std::string LinesOf(const std::string& comment)
{
    std::string lines;
    for (std::size_t begin = 0; begin < comment.size();)
    {
        const std::size_t end = std::min(comment.find('\n', begin), comment.size());
        std::string line = comment.substr(begin, end - begin);
        if (EndsInBackslash(line) && line.back() == ' ')
            line.pop_back();
        lines += (begin ? "\n" : "") + line;
        begin = end + 1;
    }
    return lines;
}

// Removes the lines of kFlagsLine from the lines of a comment, and returns their flags.
std::string TakeFlagsLines(std::string* comment)
{
    std::string flags;
    for (std::size_t begin = 0; begin < comment->size();)
    {
        const std::size_t end = std::min(comment->find('\n', begin), comment->size());
        if (comment->compare(begin, kFlagsLine.size(), kFlagsLine) != 0)
        {
            begin = end + 1;
            continue;
        }
        const std::size_t value = begin + kFlagsLine.size();
        flags += "," + comment->substr(value, end - value);
        // The last line has no line feed; that of the line before it is removed.
        const bool isLast = end == comment->size();
        const std::size_t first = isLast && begin ? begin - 1 : begin;
        comment->erase(first, isLast ? std::string::npos : end + 1 - first);
    }
    return flags;
}

// Throws: Failure for content that the library ignores or can't read.
std::string_view TextOf(const InputFile& file)
{
    const std::string_view mark = "\xEF\xBB\xBF";
    const std::string_view text(reinterpret_cast<const char*>(file.mBytes.data()),
                                file.mBytes.size());
    const std::size_t nul = text.find('\0');
    if (nul != std::string_view::npos)
    {
        const auto line = std::count(text.begin(), text.begin() + nul, '\n') + 1;
        throw FailureAt(file.mName, {static_cast<std::uint64_t>(line), 0},
                        "it holds a NUL (UTF-16?)");
    }
    return text.substr(text.substr(0, mark.size()) == mark ? mark.size() : 0);
}

// Returns whether the second byte of a character may be that of a backslash.
bool HasBackslashInCharacters(std::string charset)
{
    std::transform(charset.begin(), charset.end(), charset.begin(), [](char letter) {
        return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter | 0x20) : letter;
    });
    const char* const kNames[] = {"shift", "sjis", "cp9", "big5", "gbk", "gb18030", "johab"};
    return std::any_of(std::begin(kNames), std::end(kNames),
                       [&](const char* name) { return charset.find(name) == 0; });
}

bool IsHeader(po_message_t message)
{
    return !po_message_msgctxt(message) && !*po_message_msgid(message);
}

class Reader
{
public:
    Reader(const std::string& file, const OnEntry& onEntry) : mFile(file), mOnEntry(onEntry) {}

    // Throws: Failure.
    void Add(const POPart& part)
    {
        const bool isUTF8 = mConverter && mConverter->IsUTF8();
        std::vector<POProblem> problems;
        const POFile parsed = ParsePO(mHeader + std::string(part.mText), isUTF8, &problems);
        ReportProblems(part, std::move(problems));
        if (!parsed)
            throw Failure{kFaulty, mFile, "it can't be read as PO"};
        if (part.mDomain.mLine)
            throw FailureAt(mFile, part.mDomain, "domains are not carried");
        if (!mConverter)
            mConverter.emplace(po_file_domain_header(parsed.get(), nullptr), mFile);

        RefuseNul(part);

        const bool isFirst = part.mFirstLine == 1;
        auto place = part.mMessages.begin();
        const POIterator iterator(po_message_iterator(parsed.get(), nullptr));
        while (const po_message_t message = po_next_message(iterator.get()))
        {
            if (!isFirst && !mHeader.empty() && IsHeader(message))
                continue; // it has no place in this part
            const POMessagePlace found =
                place == part.mMessages.end() ? POMessagePlace() : *place++;
            if (IsHeader(message))
                SetHeader(part, found);
            else
                Add(message, found);
        }
    }

    // Throws: Failure.
    void Finish() const
    {
        if (mFaults)
            throw Failure{kFaulty, mFile, Counted(mFaults, "text") + " can't be converted"};
        if (mPlurals > kMostReports)
            Report(mFile, Counted(mPlurals, "plural form") + " left out");
    }

private:
    // The header is read again in front of each part, since it names the charset.
    void SetHeader(const POPart& part, const POMessagePlace& place)
    {
        if (part.mFirstLine != 1)
            throw FailureAt(mFile, place.mPlace, "the header is not the first message");
        mHeader = part.mText;
        mHeaderLines = static_cast<std::uint64_t>(std::count(mHeader.begin(), mHeader.end(), '\n'));
    }

    void Add(po_message_t message, const POMessagePlace& place)
    {
        if (po_message_msgid_plural(message))
        {
            if (++mPlurals <= kMostReports)
                ReportAt(mFile, place.mPlace,
                         "plural forms are not carried, the entry is left out");
            return;
        }
        CatalogueEntry entry;
        entry.mPlace = place.mPlace;
        mIsSound = true;
        entry.mKey = Text(po_message_msgctxt(message));
        entry.mEnglish = Text(po_message_msgid(message));
        entry.mTranslation = Text(po_message_msgstr(message));
        entry.mNote = NoteOf(message, place.mFlags);
        if (!mIsSound && ++mFaults <= kMostReports)
            ReportAt(mFile, place.mPlace,
                     "a text of the entry is not in " + mConverter->Charset() +
                         ", the charset of the header");
        if (mIsSound)
            mOnEntry(std::move(entry));
    }

    std::string Text(const char* text)
    {
        std::string utf8;
        mIsSound &= mConverter->Convert(text, &utf8);
        return utf8;
    }

    Note NoteOf(po_message_t message, const std::string& flags)
    {
        // The library splits file names at blanks. A note reads the parts as one again.
        std::string references = "#:";
        for (int i = 0; po_filepos_t position = po_message_filepos(message, i); ++i)
        {
            const std::size_t line = po_filepos_start_line(position);
            references += " " + Text(po_filepos_file(position));
            if (line != static_cast<std::size_t>(-1))
                references += ":" + std::to_string(line);
        }
        std::string comments = LinesOf(Text(po_message_comments(message)));
        const std::string more = TakeFlagsLines(&comments);
        Note note = ParseNote(references + "\n#, " + Text(flags.c_str()) + "," + more);
        note.mExtracted = LinesOf(Text(po_message_extracted_comments(message)));
        note.mTranslator = comments;
        if (const char* const old = po_message_prev_msgid(message))
            note.mOldEnglish = Text(old);
        note.SetFlag(kObsoleteFlag, po_message_is_obsolete(message));
        return note;
    }

    // The library ends a text at a NUL. Throws: Failure.
    void RefuseNul(const POPart& part) const
    {
        const bool isDoubtful = HasBackslashInCharacters(mConverter->Charset());
        const Place& place = part.mNul.mLine || isDoubtful ? part.mNul : part.mNulAfterByte;
        if (place.mLine)
            throw FailureAt(mFile, place, "a text holds a NUL");
    }

    // Reports warnings of the header once. Throws: Failure if one of the problems is an error.
    void ReportProblems(const POPart& part, std::vector<POProblem> problems)
    {
        std::size_t errors = 0;
        for (POProblem& problem : problems)
        {
            std::uint64_t& line = problem.mPlace.mLine;
            const bool isOfHeader = line <= mHeaderLines && !problem.mIsError && !mHeader.empty();
            if (line > mHeaderLines)
                line += part.mFirstLine - 1 - mHeaderLines;
            errors += problem.mIsError;
            if (!isOfHeader && ++mReports <= kMostReports)
                ReportAt(mFile, problem.mPlace,
                         (problem.mIsError ? "" : "warning: ") + problem.mWhat);
        }
        if (errors)
            throw Failure{kFaulty, mFile, "it is no sound PO file, " + Counted(errors, "error")};
    }

    const std::string mFile;
    const OnEntry& mOnEntry;
    std::optional<Converter> mConverter;
    std::string mHeader; // the first part, if it holds the header
    std::uint64_t mHeaderLines = 0;
    bool mIsSound = true; // all texts of the current message
    std::size_t mReports = 0;
    std::size_t mFaults = 0;
    std::size_t mPlurals = 0;
};
} // namespace

void ReadPO(const InputFile& file, const OnEntry& onEntry)
{
    POParts parts(TextOf(file));
    Reader reader(file.mName, onEntry);
    for (POPart part; parts.Next(&part);)
        reader.Add(part);
    reader.Finish();
}
