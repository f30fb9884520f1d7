#include <cstring>
#include <string>

#include <boost/make_shared.hpp>

#include "U_AnyTree.h"
#include "U_Format.h"
#include "U_LStr.h"
#include "U_Telemetry.h"
#include "U_XML.h"
#include "U_ZString.h"
#include "tests/soak/Soak.h"
#include "tests/support/Text.h"

namespace
{
// A table of ZStrings whose rows all threads look up.
class Table : public U_LStrCache
{
public:
    static const int kRows = 64;

    Table() : U_LStrCache()
    {
        for (int row = 0; row < kRows; ++row)
        {
            mZStrings[row] = "$$$/soak/row" + std::to_string(row) + "=" + TextOf(row);
            mStore[row] = {mZStrings[row].data(), nullptr, nullptr, 0};
        }
        mStore[kRows] = U_LStrRow();
        mName = mNameStore;
        mCount = kRows + 1;
        mRows = mStore;
    }

    static std::string TextOf(int row) { return "the text of row " + std::to_string(row); }

private:
    char mNameStore[5] = "soak";
    std::string mZStrings[kRows];
    U_LStrRow mStore[kRows + 1];
};

Table& TheTable()
{
    static Table& sTable = *new Table; // until death has cleaned it
    return sTable;
}

U_AnyTree RandomTree(Worker& worker, int depth)
{
    U_AnyTree tree;
    U_AnyTreeWrapper wrapper(tree);
    for (U_u32 left = 1 + worker.Below(4); left; --left)
    {
        const std::string key = "key" + std::to_string(worker.Below(1000));
        switch (worker.Below(depth ? 4 : 3))
        {
        case 0:
            wrapper.put(key.c_str(), U_Any(static_cast<int>(worker.Below(100000))));
            break;
        case 1:
            wrapper.put(key.c_str(), U_Any(worker.Below(2) == 1));
            break;
        case 2:
            wrapper.put(key.c_str(),
                        U_Any("text \"" + std::string(worker.Below(40), '<') + "\"\n"));
            break;
        default:
            wrapper.put(key.c_str(), RandomTree(worker, depth - 1));
        }
    }
    return tree;
}

class Group : public krobase::config::UsageLoggerGroup
{
public:
    void Add(const char*, const U_UTF8String&) override {}
};

struct Provider : U::telemetry::U_TelemetryProvider
{
    bool IsLogging() override { return true; }
    void LogEvent(const char*, const char*, const unsigned short*, krobase::utility::Guid) override
    {
        ++mEvents;
    }
    void LogEventWithCount(const std::string&, const std::string&, const std::string&, int count,
                           krobase::utility::Guid) override
    {
        mEvents += count;
    }
    void IncrementEventCount(const std::string&, const std::string&, const std::string&) override
    {
        ++mEvents;
    }
    void ClearEventCount(const std::string&, const std::string&, const std::string&) override {}
    void LogEventsWithCount() override {}
    boost::shared_ptr<krobase::config::UsageLoggerGroup>
    NewDataGroup(const char*, const char*, const char*, krobase::utility::Guid) override
    {
        return boost::make_shared<Group>();
    }
    void AddToGroup(const boost::shared_ptr<krobase::config::UsageLoggerGroup>& group,
                    const char* name, const U_UTF8String& value) override
    {
        group->Add(name, value);
    }

    std::atomic<long> mEvents{0};
};

Provider sProvider;
std::atomic<long> sTold{0};
} // namespace

void ZStrings(Worker& worker)
{
    const std::string number = std::to_string(worker.Below(1000));
    const std::string zstring = "$$$/soak/text" + number + "=text#{endl}" + number;
    Check(U_ZStringToMBString(zstring.c_str()) == "text\r\n" + number, "a ZString");
    char text[10] = "";
    U_ZStringToCStr(zstring.c_str(), sizeof(text), text);
    Check(std::strncmp(text, "text\r\n", 6) == 0, "a ZString in a buffer");
}

void LStrs(Worker& worker)
{
    const int row = static_cast<int>(worker.Below(Table::kRows));
    int error = 0;
    const char* const text = U_ZLookupLStrCache(&TheTable(), row, worker.Below(2) == 1, &error);
    Check(error == 0 && text == Table::TextOf(row), "a row of a table");
}

void Formats(Worker& worker)
{
    const int number = static_cast<int>(worker.Below(1000));
    char text[256] = "";
    U_SubString(text, sizeof(text), "^2 has ^L1 items", number, "a list");
    Check("a list has " + std::to_string(number) + " items" == std::string(text), "U_SubString");
    U_FormatNum(number, 0, 1, 2, text);
    double read = -1;
    U_ScanNum(text, 0, &read);
    Check(read == number, "a number there and back");
    Check(!U_LongFormatBytes(static_cast<U_u64>(number) << worker.Below(40)).empty(), "a size");
}

void Trees(Worker& worker)
{
    const U_AnyTree tree = RandomTree(worker, 3);
    const U_UTF16String json = U_AnyTreeWrapper(tree).GetAs_JSON();
    U_AnyTree read;
    U_AnyTreeWrapper(read).SetFrom_JSON(json);
    Check(U_AnyTreeWrapper(read).GetAs_JSON() == json, "JSON there and back");
}

void Escapes(Worker& worker)
{
    U_UTF8String text;
    for (U_u32 left = worker.Below(100); left; --left)
        text.push_back(static_cast<unsigned char>(' ' + worker.Below(95)));
    Check(U_UnEscapeXMLAttributeValue(U_EscapeAttributeValueToSafeXML(text, false, false)) == text,
          "an attribute there and back");
    Check(U_UnEscapeXMLBodyText(U_EscapeBodyTextToSafeXML(text, false, false)) == text,
          "a body text there and back");
    U_XML_Element element(text, 1);
    element.SetAttributeLong("number", static_cast<int>(text.size()), true);
    int size = -1;
    Check(element.GetAttributeValueLong("number", &size, true, false) &&
              size == static_cast<int>(text.size()),
          "an attribute");
}

void Telemetry(Worker& worker)
{
    const unsigned short text[] = {'s', 0};
    const int count = static_cast<int>(worker.Below(10));
    U::telemetry::LogEvent("soak", "event", text, {});
    U::telemetry::LogEventWithCount("a", "b", "c", count, {});
    U::telemetry::IncrementEventCount("a", "b", "c");
    sTold += count + 2;
}

void StartTelemetry()
{
    U::telemetry::RegisterTelemetryProvider(&sProvider);
}

void EndTelemetry()
{
    U::telemetry::RegisterTelemetryProvider(nullptr);
    Check(sProvider.mEvents == sTold, "telemetry events, all of them");
}
