// Files without some of their keys.

#include <algorithm>
#include <set>

#include "command_options.h"
#include "commands/commands.h"
#include "images/build.h"
#include "images/entries.h"
#include "images/text_input.h"

namespace
{
class Remove : public Command
{
public:
    void AddOptions(CLI::App* app) override
    {
        AddCodePage(app, &mCodePage);
        AddOutput(app, &mOutput);
        AddOperand(app, "FILE", &mFile, "an image or a text");
        AddOperands(app, "KEY", &mKeys, "keys, or literals of the source code");
    }

    Status Run() override
    {
        std::transform(mKeys.begin(), mKeys.end(), mKeys.begin(), KeyOf);
        const InputFile file = ReadFile(mFile);
        const hollin::ImageReport report = FormOf(file, mCodePage);
        EntryTable table;
        LoadFile(file, report, {mCodePage}, &table);
        if (ReportAbsent(table, file) != kFine)
            throw Failure{kFaulty, std::string(), "nothing is written"};
        if (IsText(report))
            WriteText(file);
        else
            WriteWithout(&table, report);
        return kFine;
    }

private:
    Status ReportAbsent(const EntryTable& table, const InputFile& file) const
    {
        Status status = kFine;
        for (const std::string& key : mKeys)
        {
            if (!key.empty() && table.Find(key) != hollin::kNoId)
                continue;
            Report(file.mName, "it has no key " + Quoted(key));
            status = kFaulty;
        }
        return status;
    }

    void WriteText(const InputFile& file) const
    {
        const std::set<std::string> keys(mKeys.begin(), mKeys.end());
        WriteFile(mOutput, WithoutKeys(file, mCodePage, keys),
                  TextBytes(file, mCodePage).mUTF16 ? Content::kBinary : Content::kText);
    }

    void WriteWithout(EntryTable* table, const hollin::ImageReport& report) const
    {
        for (const std::string& key : mKeys)
            table->Remove(key);
        ImageForm form;
        form.mLocale = report.mLocale;
        form.mBase = report.mBase;
        form.mBigEndian = report.mBigEndian;
        WriteImage(*table, form, mOutput);
    }

    std::string mFile;
    std::vector<std::string> mKeys;
    std::string mOutput = kStandardStream;
    CodePage mCodePage;
};
} // namespace

std::unique_ptr<Command> MakeRemove()
{
    return std::make_unique<Remove>();
}
