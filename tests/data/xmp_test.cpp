#include "U_XMP.h"

#include <new>
#include <sstream>
#include <tuple>

#include <boost/property_tree/xml_parser.hpp>
#include <gmock/gmock.h>

#include "tests/support/FailingNew.h"
#include "tests/support/OnThreads.h"

namespace
{
const char kDublinCore[] = "http://purl.org/dc/elements/1.1/";

// Has a metadata object. All references to it must be released after each test.
class XMP : public testing::Test
{
protected:
    void TearDown() override
    {
        EXPECT_EQ(References(), 1u);
        zelboxmp::Ordinal6(mMetadata);
        EXPECT_EQ(zelboxmp::LiveMetadata(), mLiveBefore);
    }

    unsigned int References() const { return zelboxmp::ReferenceCount(mMetadata); }

    const unsigned int mLiveBefore = zelboxmp::LiveMetadata();
    __XMPMeta__* const mMetadata = zelboxmp::NewMetadata();
};
} // namespace

TEST_F(XMP, EachReferenceIsReleased)
{
    U_XMPMetaRef first(mMetadata);
    EXPECT_EQ(References(), 2u);
    {
        U_XMPMetaRef second(first);
        const U_XMPMetaRef& itself = second;
        second = itself;
        EXPECT_EQ(References(), 3u);
        second = first; // assignment of the same object
        EXPECT_EQ(References(), 3u);
        EXPECT_EQ(second.Get(), mMetadata);
        EXPECT_EQ(static_cast<__XMPMeta__*>(itself), mMetadata);
    }
    EXPECT_EQ(References(), 2u);
    first = U_XMPMetaRef(nullptr);
    EXPECT_EQ(References(), 1u);
    EXPECT_EQ(first.Get(), nullptr);
    std::string packet = "old";
    first.Serialize(&packet);
    EXPECT_EQ(packet, "");
}

TEST_F(XMP, PacketIsXMLWithThePropertiesInIt)
{
    const std::string title = "Tom & \"Jerry\" <1>\t\r\n caf\xC3\xA9 \xF0\x9F\x98\x80";
    zelboxmp::SetProperty(mMetadata, kDublinCore, "title", "old");
    zelboxmp::SetProperty(mMetadata, kDublinCore, "title", title);
    zelboxmp::SetProperty(mMetadata, kDublinCore, "format", "");
    zelboxmp::SetProperty(mMetadata, "http://example.com/\"&\"/", "_a-1.b", "x");
    zelboxmp::SetProperty(mMetadata, "http://example.com/\"&\"/", "Z", "y");
    std::string packet = "old";
    U_XMPMetaRef(mMetadata).Serialize(&packet);
    EXPECT_EQ(packet.find("<?xpacket begin=\"\xEF\xBB\xBF\"?>"), 0u);
    EXPECT_EQ(packet.find('\n'), std::string::npos);

    // Another reader reads the packet.
    std::istringstream stream(packet);
    boost::property_tree::ptree tree;
    boost::property_tree::read_xml(stream, tree);
    const auto& description = tree.get_child("rdf:RDF").get_child("rdf:Description");
    const auto& attributes = description.get_child("<xmlattr>");
    EXPECT_EQ(attributes.get<std::string>("rdf:about"), "");
    EXPECT_EQ(attributes.get_child("xmlns:ns1").data(), "http://example.com/\"&\"/");
    EXPECT_EQ(attributes.get_child("xmlns:ns2").data(), kDublinCore);
    EXPECT_EQ(description.get_child("ns2:title").data(), title);
    EXPECT_EQ(description.get_child("ns2:format").data(), "");
    EXPECT_EQ(description.find("ns1:_a-1.b")->second.data(), "x");
    EXPECT_EQ(description.get_child("ns1:Z").data(), "y");
}

TEST_F(XMP, AnObjectLivesWhileItIsWritten)
{
    static U_XMPMetaRef* sHolder = nullptr; // owns the last reference
    static unsigned int sLive = 0;          // objects after its destruction
    __XMPMeta__* const metadata = zelboxmp::NewMetadata();
    zelboxmp::SetProperty(metadata, kDublinCore, "title", "kept");
    sHolder = new U_XMPMetaRef(metadata);
    zelboxmp::Ordinal6(metadata);
    std::string packet;
    {
        const ScFailingNew failing(1); // in the toolkit
        std::set_new_handler([] {
            std::set_new_handler(nullptr);
            delete sHolder;
            sLive = zelboxmp::LiveMetadata();
        });
        sHolder->Serialize(&packet);
    }
    EXPECT_EQ(sLive, mLiveBefore + 2);
    EXPECT_NE(packet.find(">kept<"), std::string::npos);
    EXPECT_EQ(zelboxmp::LiveMetadata(), mLiveBefore + 1);
}

TEST_F(XMP, AFailedSerializationThrowsAndReleasesItsReference)
{
    const char kBadName[] = "A property's name can't stand in XML";
    const char kBadText[] = "A property holds a character that can't stand in XML";
    const std::tuple<const char*, const char*, const char*, const char*> rows[] = {
        {"", "title", "x", kBadName},
        {"http://www.w3.org/XML/1998/namespace", "lang", "x", kBadName},
        {"http://www.w3.org/2000/xmlns/", "dc", "x", kBadName},
        {kDublinCore, "", "x", kBadName},
        {kDublinCore, "1st", "x", kBadName},
        {kDublinCore, "a b", "x", kBadName},
        {kDublinCore, "a:b", "x", kBadName},
        {kDublinCore, "{", "x", kBadName},
        {kDublinCore, "title", "\x01", kBadText},
        {kDublinCore, "title", "cut \xC3", kBadText},
        {kDublinCore, "title", "half \xED\xA0\x80", kBadText},
        {kDublinCore, "title", "\xEF\xBF\xBE", kBadText},
        {kDublinCore, "title", "\xEF\xBF\xBF", kBadText},
        {"caf\xE9", "title", "x", kBadText},
    };
    for (const auto& [space, name, value, message] : rows)
    {
        SCOPED_TRACE(value);
        __XMPMeta__* const metadata = zelboxmp::NewMetadata();
        zelboxmp::SetProperty(metadata, space, name, value);
        const U_XMPMetaRef reference(metadata);
        std::string packet = "old";
        EXPECT_THAT([&] { reference.Serialize(&packet); },
                    testing::Throws<XMP_Error>(testing::AllOf(
                        testing::Field(&XMP_Error::code, message == kBadName ? 2 : 3),
                        testing::Field(&XMP_Error::message, testing::StrEq(message)),
                        testing::Field(&XMP_Error::flag, false))));
        EXPECT_EQ(packet, "old");
        EXPECT_EQ(zelboxmp::ReferenceCount(metadata), 2u);
        zelboxmp::Ordinal6(metadata);
    }
}

TEST_F(XMP, ThreadsShareAnObject)
{
    OnThreads(3, [&](int number) {
        const std::string name = "p" + std::to_string(number);
        std::string packet;
        for (int round = 0; round < 500; ++round)
        {
            U_XMPMetaRef copy(mMetadata);
            zelboxmp::SetProperty(copy, kDublinCore, name, "x");
            copy.Serialize(&packet);
            copy = U_XMPMetaRef(mMetadata);
        }
        EXPECT_NE(packet.find(name + ">x<"), std::string::npos);
    });
}
