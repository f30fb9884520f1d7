// Extracts the texts of source code, and reads their text form: each text is that of the literal.

#include "load.h"

#include <platform/control.h>

#include "extract/english.h"
#include "extract/source_reader.h"

namespace
{
const std::uint32_t kEncoding = hollin::kEncodingUTF8;

void RequirePlaces(const SourceTexts& found, const std::string& source)
{
    for (const SourceProblem& problem : found.mProblems)
    {
        Require(problem.mPlace.mLine > 0 && problem.mPlace.mColumn > 0);
        Require(problem.mPlace.mLine + problem.mPlace.mColumn <= source.size() + 2);
    }
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string source(reinterpret_cast<const char*>(data), size);
    const std::string file = "a b.cpp";
    const ReadingRules reading = {{{"ROW", "$$$/%1=%2"}}, "T:"};
    SourceTexts found;
    SourceReader(file, source.c_str(), source.size(), reading, &found).Read();
    platform::SetActiveCodePage(65001); // of the text form
    const std::vector<EnglishText> texts = CollectEnglish({}, &found);
    RequirePlaces(found, source);

    for (const EnglishForm form : {EnglishForm{true, true}, EnglishForm{false, false}})
    {
        const std::string lines = FormatEnglish(texts, form);
        hollin::Dictionary read;
        if (!lines.empty())
            read.LoadFromMemory(reinterpret_cast<const unsigned char*>(lines.data()),
                                static_cast<std::int32_t>(lines.size()), true);
        Require(read.IsGood());
        hollin::Dictionary nothing;
        for (const EnglishText& text : texts)
        {
            const std::string key = "$$$" + text.mKey;
            Require(read.HasString(key.c_str()));
            if (form.mHasNotes || text.mWritten.find("{{*") != std::string::npos)
                continue;
            Require(read.GetString(key.c_str(), &kEncoding) ==
                    nothing.GetString((key + "=" + text.mWritten).c_str(), &kEncoding));
        }
    }
    return 0;
}
