#include "examples/filecache/telemetry_file.h"

#include <cstdio>
#include <fstream>

#include <boost/json.hpp>

#include "tests/support/Text.h"

namespace telemetry = U::telemetry;
using krobase::utility::Guid;

namespace
{
class Telemetry : public testing::Test
{
protected:
    void SetUp() override { ASSERT_FALSE(mFile.Open(mPath)); }
    void TearDown() override
    {
        mFile.Close();
        std::remove(mPath.c_str());
    }

    // Ends the file and reads it. A line that isn't JSON throws.
    std::vector<boost::json::object> Lines()
    {
        EXPECT_TRUE(mFile.Close());
        std::ifstream file(mPath);
        std::vector<boost::json::object> lines;
        for (std::string line; std::getline(file, line);)
            lines.push_back(boost::json::parse(line).as_object());
        return lines;
    }

    const std::string mPath = testing::TempDir() + "telemetry_" +
                              testing::UnitTest::GetInstance()->current_test_info()->name();
    TelemetryFile mFile;
};
} // namespace

TEST_F(Telemetry, StringsOfAnyKindComeThrough)
{
    Guid guid;
    guid.mBytes[0] = 0xAB;
    const unsigned short text[] = {'"', '\\', '\n', 1, 0x20AC, 0xD83D, 0xDE00, 0xD800, 0};
    telemetry::LogEvent("quote\"", "line\nend", text, guid);
    telemetry::LogEvent(nullptr, "\xFF", nullptr, Guid());
    auto group = telemetry::NewDataGroup("p", "e", "s", Guid());
    telemetry::AddToGroup(group, "name \xC3\xA9", Bytes("\x7F\t\xE2\x82"));
    telemetry::AddToGroup(group, "twice", Bytes("first"));
    group->Add("twice", Bytes("second"));
    telemetry::AddToGroup(nullptr, "none", Bytes(""));
    telemetry::LogEvent("before the group", "", text + 8, Guid());
    group.reset();

    const auto lines = Lines();
    ASSERT_EQ(lines.size(), 4u);
    EXPECT_EQ(lines[0].at("category"), "quote\"");
    EXPECT_EQ(lines[0].at("event"), "line\nend");
    EXPECT_EQ(lines[0].at("text"), "\"\\\n\x01\xE2\x82\xAC\xF0\x9F\x98\x80\xEF\xBF\xBD");
    EXPECT_EQ(lines[0].at("guid"), "ab000000000000000000000000000000");
    EXPECT_EQ(lines[1].at("category"), "");
    EXPECT_EQ(lines[1].at("event"), "\xEF\xBF\xBD");
    EXPECT_FALSE(lines[1].contains("guid"));
    EXPECT_EQ(lines[2].at("category"), "before the group");
    const auto& data = lines[3].at("data").as_object();
    EXPECT_EQ(data.size(), 2u);
    EXPECT_EQ(data.at("name \xC3\xA9"), "\x7F\t\xEF\xBF\xBD");
    EXPECT_EQ(data.at("twice"), "second");
}

TEST_F(Telemetry, CountsAreWrittenOnceAndThenStartAgain)
{
    telemetry::IncrementEventCount("a", "b", "c");
    telemetry::IncrementEventCount("a", "b", "c");
    telemetry::IncrementEventCount("a", "b", "cleared");
    telemetry::ClearEventCount("a", "b", "cleared");
    telemetry::LogEventsWithCount();
    telemetry::LogEventsWithCount();
    telemetry::LogEventWithCount("x", "y", "z", -1, Guid());

    const auto lines = Lines();
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0].at("part"), "c");
    EXPECT_EQ(lines[0].at("count"), 2);
    EXPECT_EQ(lines[1].at("count"), -1);
}
