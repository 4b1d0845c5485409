// What stands around the features of a description, and how the device stores it: the device opens all the
// same, and its packed formats are offered unpacked.

#include "described_device.h"

#include "support/zip_archive.h"

#include <gmock/gmock.h>

#include <ostream>

namespace GenTL::internal::described
{
namespace
{

using testing::Contains;

std::string Plain()
{
    return Fixture("gige_vision_1_formats");
}

std::string InFrontOf(std::string text, std::string_view place, std::string_view added)
{
    return Replaced(std::move(text), place, std::string(added) + std::string(place));
}

std::string Zipped(const std::string &name, const std::string &content)
{
    const auto bytes = MakeZip({{name, content}});
    return {bytes.begin(), bytes.end()};
}

/// UTF-16 of an ASCII text.
std::string Utf16(const std::string &ascii, bool isBigEndian, bool hasMark)
{
    std::string bytes = hasMark ? (isBigEndian ? "\xFE\xFF" : "\xFF\xFE") : "";
    for (const char letter : ascii)
    {
        bytes += isBigEndian ? std::string{'\0', letter} : std::string{letter, '\0'};
    }
    return bytes;
}

struct Document
{
    std::string name;
    std::string text;                              ///< as the camera means it
    std::string stored = text;                     ///< as the camera's memory holds it
    std::string url = "local:///Cam.xml;10000;{}"; ///< with the size in base 16

    friend std::ostream &operator<<(std::ostream &stream, const Document &document)
    {
        return stream << document.name;
    }
};

/// How a device stores its description.
std::vector<Document> Storages()
{
    const auto plain = Plain();
    const auto latin1 = Replaced(plain, "Format of",
                                 "Gr\xF6\xDF"
                                 "e of");
    const std::string empty(500, '\xFF');
    const auto old = Zipped("Old.xml", "<RegisterDescription/>");
    return {
        {"Utf8Mark", plain, "\xEF\xBB\xBF" + plain},
        {"Utf16Little", plain, Utf16(plain, false, true)},
        {"Utf16Big", plain, Utf16(plain, true, true)},
        {"Utf16LittleWithoutMark", plain, Utf16(plain, false, false)},
        {"Utf16BigWithoutMark", plain, Utf16(plain, true, false)},
        {"Utf16DeclaredOnly", plain, Replaced(plain, "utf-8", "utf-16")},
        {"Latin1", plain, Replaced(latin1, "utf-8", "ISO-8859-1")},
        {"Latin1ThatSaysUtf8", plain, latin1},
        {"NoDeclaration", plain, plain.substr(plain.find("<!--"))},
        {"ZerosBehind", plain, plain + std::string(500, '\0')},
        {"EmptyFlashBehind", plain, plain + empty},
        {"OldDescriptionBehind", plain, plain + plain.substr(plain.size() / 2)},
        {"Zip", plain, Zipped("Cam.xml", plain), "local:///Cam.zip;10000;{}"},
        {"ZipCalledXml", plain, Zipped("folder/CAM.XML", plain), "local:///Cam.xml;10000;{}"},
        {"PlainCalledZip", plain, plain, "local:///Cam.zip;10000;{}"},
        {"EmptyFlashBehindZip", plain, Zipped("Cam.xml", plain) + empty, "local:///Cam.zip;10000;{}"},
        {"OldZipBehind", plain, Zipped("Cam.xml", plain) + old.substr(old.size() / 2)},
        {"UrlWithoutSlashes", plain, plain, "Local:Cam.xml;0x10000;0x{}"},
        {"UrlWithBlanksAndQuery", plain, plain, "LOCAL:///a b.xml; 10000; {} ?SchemaVersion=1.1.0"},
        {"UrlWithoutName", plain, plain, "local:;10000;{}"},
        {"UrlWithFolders", plain, plain, "local:///C:\\Cam\\a.b.xml;10000;{}"},
        {"UrlWithSizeInBase10", plain, plain, fmt::format("local:///Cam.xml;10000;{}", plain.size())},
    };
}

/// What else a description may hold.
std::vector<Document> Contents()
{
    std::vector<Document> documents;
    const auto add = [&](const std::string &name, std::string text) {
        documents.push_back({name, std::move(text)});
    };
    const auto plain = Plain();
    const std::string_view format = "<Enumeration Name=\"PixelFormat\"";
    const std::string_view formatEnd = "</Enumeration>";
    const std::string_view reference = "<pValue>PixelFormatReg</pValue>";
    const std::string_view end = "</RegisterDescription>";
    add("CommentsInNodes",
        Replaced(InFrontOf(plain, reference, "<!-- <pValue>No</pValue> --> "), "<Address>0x108</Address>",
                 "<!-- > --><Address>0x108<!-- ' --></Address>"));
    add("CommentInText", Replaced(plain, "0x010C0006", "0x010<!-- not 0x02 -->C0006"));
    add("CommentInReference", Replaced(plain, reference, "<pValue>Pixel<!-- -->FormatReg</pValue>"));
    add("CommentWithTheEndTag", InFrontOf(plain, format, "<!-- </RegisterDescription> -->"));
    add("SectionWithTheEndTag",
        InFrontOf(plain, "<DisplayName>", "<Description><![CDATA[ </RegisterDescription> ]]></Description>"));
    add("Sections", Replaced(Replaced(plain, reference, "<pValue><![CDATA[PixelFormatReg]]></pValue>"),
                             "0x010C0006", "0x0<![CDATA[10C]]>0006"));
    add("Instructions", InFrontOf(InFrontOf(plain, format, "<?made by=\"a > b\"?>"), reference, "<?in?>"));
    add("Doctype", InFrontOf(plain, "<RegisterDescription",
                             "<!DOCTYPE RegisterDescription [\n<!ENTITY a \"b > c\">\n<!-- ] -->]>\n"));
    add("Entities", Replaced(Replaced(plain, "0x010C0006", "&#48;x010&#x43;0006"), "Format of the",
                             "&lt;Format&gt; &quot;of&quot; &apos;the&apos;"));
    add("SingleQuotes", Replaced(plain, format, "<Enumeration\n  Name = 'PixelFormat' Comment='>\"'"));
    add("EmptyNames",
        InFrontOf(InFrontOf(plain, format, "<Integer Name=\"\"><Value>1</Value></Integer><Integer/>"),
                  reference, "<EnumEntry Name=\"\"><Value>9</Value></EnumEntry>"));
    add("TwoNodesOfOneName",
        InFrontOf(plain, "<Port ",
                  "<Enumeration Name=\"PixelFormat\"><EnumEntry Name=\"RGB8\"><Value>5</Value>"
                  "</EnumEntry><Value>5</Value></Enumeration><Integer Name=\"Width\">"
                  "<Value>3</Value></Integer><Integer Name=\"PayloadSize\"><Value>3</Value>"
                  "</Integer>"));
    add("UnknownElements",
        InFrontOf(InFrontOf(plain, format, "<Novel Name=\"PixelFormat\"><Value>1</Value></Novel>"), reference,
                  "<Novel><pValue>No</pValue></Novel>"));
    add("Extensions",
        InFrontOf(Replaced(plain, "<ToolTip>Format of",
                           "<Extension><EnumEntry Name=\"Mono16\"><Value>3</Value></EnumEntry><Name>x</Name>"
                           "</Extension><ToolTip>Format of"),
                  end, "<Extension><Integer Name=\"PixelFormat\"/></Extension>"));
    add("Groups", InFrontOf(InFrontOf(plain, format, "<Group Comment=\"Formats\"><Group>"),
                            "<IntReg Name=\"PixelFormatReg\">", "</Group></Group>"));
    add("SeveralPorts", InFrontOf(plain, "<Port ",
                                  "<Port Name=\"Chunks\"><ChunkID>1</ChunkID></Port><Port Name=\"Spare\"/>"));
    auto renamedPort = plain;
    for (auto place = renamedPort.find("Device<"); place != std::string::npos;
         place = renamedPort.find("Device<"))
    {
        renamedPort.replace(place, 7, "Camera<");
    }
    add("PortOfAnotherName", Replaced(renamedPort, "<Port Name=\"Device\"", "<Port Name=\"Camera\""));
    add("ForeignNamespaces", Replaced(Replaced(plain, "xmlns=",
                                               "xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\" "
                                               "xsi:schemaLocation=\"a b\" xmlns:v=\"urn:v\" xmlns="),
                                      reference, "<v:pValue2>No</v:pValue2><pValue>PixelFormatReg</pValue>"));
    add("CarriageReturns",
        [&]
        {
            auto text = plain;
            for (auto place = text.find('\n'); place != std::string::npos; place = text.find('\n', place + 2))
            {
                text.replace(place, 1, "\r\n");
            }
            return text;
        }());
    add("BlanksInTexts", Replaced(Replaced(plain, reference, "<pValue>\n  PixelFormatReg\t</pValue >"),
                                  "0x010C0006", " 0x010C0006 "));
    add("NoVersionGuid", Replaced(plain, "VersionGuid=", "Comment="));
    add("ReferenceToNothing", InFrontOf(plain, formatEnd, "<pInvalidator>Nobody</pInvalidator>"));
    return documents;
}

class DescribedDocument : public AnyDevice, public testing::WithParamInterface<Document>
{
};

TEST_P(DescribedDocument, OffersItsFormatsUnpacked)
{
    lower->url = GetParam().url;
    Connect(GetParam().text, GetParam().stored);
    camera->Set(0x108, 0x01080001);
    Open(DEVICE_ACCESS_CONTROL);
    const auto offered = Offered();
    for (const auto *name : {"Mono10", "Mono12", "BayerRG12", "Mono12Packed", "BayerRG16"})
    {
        EXPECT_THAT(offered, Contains(name));
    }
    ASSERT_EQ(CodeOfWriting("PixelFormat", "Mono12"), GC_ERR_SUCCESS) << Error();
    EXPECT_EQ(camera->Get(0x108), 0x010C0006U);
    camera->Set(0x10C, 96);
    const auto frame = Stream();
    EXPECT_EQ(frame.format, 0x01100005U);
    EXPECT_EQ(frame.size, 128U);
    Close();
}

std::string NameOf(const testing::TestParamInfo<Document> &info)
{
    return info.param.name;
}

INSTANTIATE_TEST_SUITE_P(Storage, DescribedDocument, testing::ValuesIn(Storages()), NameOf);
INSTANTIATE_TEST_SUITE_P(Content, DescribedDocument, testing::ValuesIn(Contents()), NameOf);

using DescribedLimits = AnyDevice;

/// A description of 3,000 nodes and 1.3 MB, with the formats of the plain one.
std::string Large()
{
    std::string nodes;
    for (int i = 0; i < 1000; ++i)
    {
        nodes += fmt::format("<Integer Name=\"Feature{0}\">\n<ToolTip>{1}</ToolTip>\n"
                             "<pIsAvailable>Condition{0}</pIsAvailable>\n<pValue>Register{0}</pValue>\n"
                             "</Integer>\n<IntReg Name=\"Register{0}\">\n<Address>0x{2:X}</Address>\n"
                             "<Length>4</Length>\n<AccessMode>RW</AccessMode>\n<pPort>Device</pPort>\n"
                             "<pInvalidator>PixelFormatReg</pInvalidator>\n<Endianess>BigEndian</Endianess>\n"
                             "</IntReg>\n<IntSwissKnife Name=\"Condition{0}\">\n"
                             "<pVariable Name=\"A\">PixelFormat</pVariable>\n"
                             "<Formula>(A &gt;&gt; {3}) &amp; 1</Formula>\n</IntSwissKnife>\n",
                             i, std::string(850, 'x'), 0x1000 + 4 * i, i % 32);
    }
    return InFrontOf(Plain(), "<Port ", nodes);
}

TEST_F(DescribedLimits, OpenThreeThousandNodes)
{
    const auto description = Large();
    ASSERT_GT(description.size(), 1'300'000U);
    Connect(description);
    Open(DEVICE_ACCESS_CONTROL);
    ASSERT_GT(consumer->graph->Size(), 3000U);
    ASSERT_EQ(CodeOfWriting("PixelFormat", "Mono12"), GC_ERR_SUCCESS) << Error();
    // 0x010C0006, the format that the device sends, has bit 18.
    EXPECT_TRUE(Features().AccessOf("Feature18").available);
    EXPECT_FALSE(Features().AccessOf("Feature17").available);
    ASSERT_EQ(CodeOfWriting("Feature18", "77"), GC_ERR_SUCCESS) << Error();
    EXPECT_EQ(camera->Get(0x1000 + 4 * 18), 77U);
}

TEST_F(DescribedLimits, OfferHundredsOfFormats)
{
    std::string entries;
    for (int i = 0; i < 320; ++i)
    {
        entries += fmt::format("<EnumEntry Name=\"Private{0}\"><Value>0x{1:X}</Value></EnumEntry>", i,
                               0x81080000U + static_cast<unsigned int>(i));
    }
    Connect(InFrontOf(Plain(), "<pValue>PixelFormatReg</pValue>", entries));
    Open(DEVICE_ACCESS_CONTROL);
    EXPECT_EQ(Offered().size(), 333U);
    ASSERT_EQ(CodeOfWriting("PixelFormat", "Private319"), GC_ERR_SUCCESS) << Error();
    EXPECT_EQ(camera->Get(0x108), 0x8108013FU);
    ASSERT_EQ(CodeOfWriting("PixelFormat", "Mono12"), GC_ERR_SUCCESS) << Error();
    EXPECT_EQ(camera->Get(0x108), 0x010C0006U);
}

TEST_F(DescribedLimits, NeedNoMoreOfAUrlThanItsText)
{
    lower->knowsUrlParts = false;
    Connect(Plain());
    Open(DEVICE_ACCESS_CONTROL);
    EXPECT_THAT(Offered(), Contains("Mono12"));
}

TEST_F(DescribedLimits, StreamWithoutFeaturesOfTheImage)
{
    for (const auto *feature : {"PixelFormat", "Width", "Height"})
    {
        SCOPED_TRACE(feature);
        auto description = Replaced(Plain(), fmt::format("Name=\"{}\"", feature), "Name=\"Other\"");
        Connect(description);
        camera->Set(0x108, 0x01080001);
        camera->Set(0x10C, 64);
        lower->pixelFormat = 0x01080001;
        Open(DEVICE_ACCESS_CONTROL);
        DS_HANDLE stream = nullptr;
        EXPECT_EQ(gentl.DevOpenDataStream(device, "Stream1", &stream), GC_ERR_SUCCESS) << Error();
        EXPECT_EQ(Features().ReadInteger("PayloadSize"), 64);
        BUFFER_HANDLE buffer = nullptr;
        EXPECT_EQ(gentl.DSAllocAndAnnounceBuffer(stream, 64, nullptr, &buffer), GC_ERR_SUCCESS) << Error();
        EXPECT_EQ(gentl.DSStartAcquisition(stream, ACQ_START_FLAGS_DEFAULT, 1), GC_ERR_SUCCESS) << Error();
        EXPECT_EQ(gentl.DSStopAcquisition(stream, ACQ_STOP_FLAGS_DEFAULT), GC_ERR_SUCCESS) << Error();
        EXPECT_EQ(gentl.GCCloseLib(), GC_ERR_SUCCESS) << Error();
    }
}

} // namespace
} // namespace GenTL::internal::described
