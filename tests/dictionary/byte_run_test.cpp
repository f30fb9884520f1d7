#include <cstring>

#include <gtest/gtest.h>

#include <boost/smart_ptr/intrusive_ptr.hpp>

#include <hollin_private/ByteRunValue.h>

namespace
{
typedef boost::intrusive_ptr<hollin_private::ByteRunValue> ByteRun;

TEST(ByteRunValue, KeepsItsOwnCopyOfTheBytes)
{
    char bytes[] = "text";
    const ByteRun run(new hollin_private::ByteRunValue(bytes, 4));
    bytes[0] = '!';
    ASSERT_EQ(run->Length(), 4u);
    EXPECT_EQ(std::memcmp(run->Bytes(), "text", 4), 0);
    EXPECT_EQ(ByteRun(new hollin_private::ByteRunValue(bytes, 0))->Bytes(), nullptr);
}

} // namespace
