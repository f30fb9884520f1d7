#include "extract/english.h"

#include <algorithm>
#include <limits>
#include <optional>

#include <boost/nowide/utf/utf.hpp>

#include <hollin/Dictionary.h>

#include "extract/glob.h"
#include "images/text_output.h"
#include "messages.h"

namespace
{
// The values of macros that the file of their use does not define.
class Macros
{
public:
    Macros(const EnglishRules& rules, const SourceTexts& found)
        : mDefines(rules.mDefines), mFound(found.mMacros)
    {
    }

    bool Knows(const std::string& name) const { return mDefines.count(name) || mFound.count(name); }

    // Appends the bytes. Returns an empty text, or a clause that names what is wrong.
    std::string Append(const Parts& parts, std::string* bytes, int depth = 0) const
    {
        for (const Part& part : parts)
        {
            const bool isMacro = part.mIsMacro && (!part.mIsName || Knows(part.mText));
            std::string problem = isMacro ? AppendMacro(part.mText, bytes, depth) : std::string();
            if (!problem.empty())
                return problem;
            if (!isMacro)
                *bytes += part.mText;
        }
        return std::string();
    }

private:
    std::string AppendMacro(const std::string& name, std::string* bytes, int depth) const
    {
        const int kDeepest = 20; // a macro may hold itself
        const auto defined = mDefines.find(name);
        if (defined != mDefines.end())
        {
            *bytes += defined->second;
            return std::string();
        }
        const auto found = mFound.find(name);
        if (found == mFound.end() || depth > kDeepest)
            return "the value of " + name + " in the literal isn't known (see --define)";
        std::optional<std::string> value;
        for (const Parts& parts : found->second)
        {
            std::string other;
            std::string problem = Append(parts, &other, depth + 1);
            if (value && *value != other)
                problem = name + " in the literal has several values (see --define)";
            value = value.value_or(other);
            if (problem.empty())
                continue;
            *bytes += *value; // it may be the beginning of a text
            return problem;
        }
        *bytes += *value;
        return std::string();
    }

    const std::unordered_map<std::string, std::string>& mDefines;
    const std::unordered_map<std::string, std::vector<Parts>>& mFound;
};

bool IsUTF8(const std::string& bytes)
{
    typedef boost::nowide::utf::utf_traits<char> Traits;
    const char* const end = bytes.data() + bytes.size();
    for (const char* next = bytes.data(); next != end;)
    {
        if (!boost::nowide::utf::is_valid_codepoint(Traits::decode(next, end)))
            return false;
    }
    return true;
}

// Returns the text that look-ups give if they find no translation.
std::string Expanded(const std::string& literal)
{
    const std::uint32_t encoding = hollin::kEncodingUTF8;
    hollin::Dictionary nothing(true);
    return ToUTF8(nothing.GetString(literal.c_str(), &encoding));
}

// Returns whether a literal seems to be a text of which the prefix is misspelt, or has no slash.
bool HasMalformedPrefix(const std::string& literal)
{
    const std::size_t key = literal.find_first_not_of('$');
    const std::size_t equals = literal.find('=');
    if (key == std::string::npos || key < 2 || equals == std::string::npos || equals <= key)
        return false;
    return key > 2 || literal.find('/') < equals;
}

// Returns a clause for a literal that no text form can hold, or an empty text.
std::string ProblemOf(const std::string& key, const std::string& literal)
{
    if (const char* const problem = KeyProblem(key))
        return "the key " + Quoted(key) + " " + problem;
    if (key.size() > hollin::kLongestRun)
        return "the key is longer than " + Counted(hollin::kLongestRun, "byte");
    if (literal.size() > kLongestUnits && FromUTF8(Expanded(literal)).Length() > kLongestUnits)
        return "the text is longer than " + Counted(kLongestUnits, "character");
    return std::string();
}

// Adds each line of a comment that the text does not have.
void AddComment(const std::string& comment, std::string* lines)
{
    if (comment.empty() || ("\n" + *lines + "\n").find("\n" + comment + "\n") != std::string::npos)
        return;
    *lines += (lines->empty() ? "" : "\n") + comment;
}

class Collector
{
public:
    Collector(const EnglishRules& rules, SourceTexts* found)
        : mRules(rules), mFound(found), mMacros(rules, *found)
    {
    }

    void Add(SourceText text)
    {
        DropUnknownWords(&text);
        std::string literal;
        const std::string unknown = mMacros.Append(text.mParts, &literal);
        if (literal.compare(0, kPrefix.size(), kPrefix) != 0)
        {
            if (unknown.empty() && HasMalformedPrefix(literal))
                Complain(text,
                         "the literal " + Quoted(literal) + " doesn't begin with " + kPrefix +
                             " and is left out",
                         false);
            return;
        }
        if (!unknown.empty())
            return Complain(text, unknown, true);
        if (text.mProblem)
            return Complain(text, text.mProblem, false);
        const std::size_t equals = literal.find('=');
        const std::string key = literal.substr(3, equals - 3);
        if (IsExcluded(key) || equals + 1 == literal.size())
            return;
        if (equals == std::string::npos)
            return Complain(text, "the literal " + Quoted(literal) + " has no \"=\" and no text",
                            false);
        if (literal.find('\0') != std::string::npos)
            return Complain(text, "the literal holds a NUL, which ends the text", false);
        if (!IsUTF8(literal))
            return Complain(text, "the literal isn't UTF-8", false);
        const std::string problem = ProblemOf(key, literal);
        if (!problem.empty())
            return Complain(text, problem, true);
        if (key.find_first_of(" \t") != std::string::npos)
            Complain(text, "the key " + Quoted(key) + " has a blank", false);
        Add(text, key, literal);
    }

    std::vector<EnglishText> Sorted()
    {
        std::sort(mTexts.begin(), mTexts.end(),
                  [](const EnglishText& left, const EnglishText& right) {
                      return left.mKey < right.mKey;
                  });
        return std::move(mTexts);
    }

private:
    // Keeps the macros directly before the first literal.
    void DropUnknownWords(SourceText* text) const
    {
        std::size_t first = text->mWords;
        while (first && mMacros.Knows(text->mParts[first - 1].mText))
            --first;
        if (first < text->mWords)
            text->mPlace = text->mWordPlace;
        text->mParts.erase(text->mParts.begin(),
                           text->mParts.begin() + static_cast<std::ptrdiff_t>(first));
    }

    bool IsExcluded(const std::string& key) const
    {
        return std::any_of(mRules.mExcludedKeys.begin(), mRules.mExcludedKeys.end(),
                           [&](const std::string& glob) { return MatchesGlob(key, glob); });
    }

    void Add(const SourceText& text, const std::string& key, const std::string& literal)
    {
        const std::string written = literal.substr(literal.find('=') + 1);
        const auto [index, isNew] = mIndices.emplace(key, mTexts.size());
        if (isNew)
            return mTexts.push_back({key, written, {text.mPlace}, text.mComment});
        EnglishText& first = mTexts[index->second];
        if (written != first.mWritten &&
            Expanded(literal) != Expanded("$$$" + key + "=" + first.mWritten))
            return Complain(text,
                            "the text of " + Quoted(key) + " is " + Quoted(written) + ", but " +
                                Quoted(first.mWritten) + " at " + ToString(first.mPlaces[0]),
                            true);
        first.mPlaces.push_back(text.mPlace);
        AddComment(text.mComment, &first.mComment);
    }

    void Complain(const SourceText& text, const std::string& what, bool isError)
    {
        mFound->mProblems.push_back({text.mPlace, what, isError});
    }

    const EnglishRules& mRules;
    SourceTexts* const mFound;
    const Macros mMacros;
    std::vector<EnglishText> mTexts;
    std::unordered_map<std::string, std::size_t> mIndices; // of keys
};
} // namespace

std::vector<EnglishText> CollectEnglish(const EnglishRules& rules, SourceTexts* found)
{
    Collector collector(rules, found);
    for (SourceText& text : found->mTexts)
        collector.Add(std::move(text));
    return collector.Sorted();
}
