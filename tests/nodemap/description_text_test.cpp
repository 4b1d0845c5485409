#include "nodemap/description_text.h"

#include "support/zip_archive.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

namespace GenTL::internal
{
namespace
{

std::vector<uint8_t> BytesIn(const std::string &text)
{
    return {text.begin(), text.end()};
}

std::string TextFrom(const std::string &bytes)
{
    return DescriptionText(BytesIn(bytes));
}

/// The code units of a text as bytes.
std::string Utf16(const std::u16string &text, bool isLittleEndian)
{
    std::string bytes;
    for (const auto unit : text)
    {
        const auto low = static_cast<char>(unit & 0xFFU);
        const auto high = static_cast<char>(unit >> 8U);
        bytes += isLittleEndian ? std::string{low, high} : std::string{high, low};
    }
    return bytes;
}

constexpr auto plainText = "<RegisterDescription>\r\n <!-- \xC3\xA9 --> &amp;\t<A/></RegisterDescription>";

TEST(DescriptionText, IsTheSameBytesForPlainUtf8)
{
    EXPECT_EQ(TextFrom(plainText), plainText);
    const std::string declared =
        std::string("<?xml version='1.0' encoding='UTF-8' standalone=\"yes\"?>\n") + plainText;
    EXPECT_EQ(TextFrom(declared), declared);
}

TEST(DescriptionText, LosesTheByteOrderMark)
{
    EXPECT_EQ(TextFrom(std::string("\xEF\xBB\xBF") + plainText), plainText);
}

TEST(DescriptionText, ComesFromUtf16InBothByteOrders)
{
    const std::u16string text = u"<RegisterDescription>\u00E9 \u20AC \U0001F4F7</RegisterDescription>";
    const std::string utf8 =
        "<RegisterDescription>\xC3\xA9 \xE2\x82\xAC \xF0\x9F\x93\xB7</RegisterDescription>";
    for (const bool isLittleEndian : {true, false})
    {
        EXPECT_EQ(TextFrom(Utf16(u"\uFEFF" + text, isLittleEndian)), utf8);
        EXPECT_EQ(TextFrom(Utf16(text, isLittleEndian)), utf8);
        EXPECT_EQ(TextFrom(Utf16(text, isLittleEndian) + "x"), utf8);
    }
}

TEST(DescriptionText, MarksHalvesOfSurrogatePairs)
{
    const std::u16string text = {
        u'<', u'a', u'>', char16_t(0xD83D), u'x', char16_t(0xDC00), u'<', char16_t(0xD83D)};
    EXPECT_EQ(TextFrom(Utf16(text, true)), "<a>\xEF\xBF\xBDx\xEF\xBF\xBD<\xEF\xBF\xBD");
}

TEST(DescriptionText, ComesFromLatin1WhenTheDeclarationNamesIt)
{
    EXPECT_EQ(TextFrom("<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><a>\xE9\xFF</a>"),
              "<?xml version=\"1.0\" encoding=\"utf-8\"?><a>\xC3\xA9\xC3\xBF</a>");
}

TEST(DescriptionText, DeclaresUtf8WhereAnotherEncodingWasNamed)
{
    const std::u16string text = u"<?xml version=\"1.0\" encoding='utf-16'?><a/>";
    EXPECT_EQ(TextFrom(Utf16(text, false)), "<?xml version=\"1.0\" encoding=\"utf-8\"?><a/>");
    EXPECT_EQ(TextFrom("<?xml version=\"1.0\" encoding=\"us-ascii\"?><a/>"),
              "<?xml version=\"1.0\" encoding=\"utf-8\"?><a/>");
    EXPECT_EQ(TextFrom("<?xml version=\"1.0\"?><a/>"), "<?xml version=\"1.0\"?><a/>");
}

TEST(DescriptionText, HasNothingAroundTheDescription)
{
    EXPECT_EQ(TextFrom(std::string(" \r\n") + plainText + std::string("\0\0\xFF", 3)), plainText);
    EXPECT_EQ(TextFrom(std::string(plainText) + "ption></RegisterDescription>"), plainText);
    const std::string prefixed = "<g:RegisterDescription x='RegisterDescription>'></g:RegisterDescription\n>";
    EXPECT_EQ(TextFrom(prefixed + "\n<!-- end -->"), prefixed);
}

TEST(DescriptionText, StaysWithoutAnEndTag)
{
    EXPECT_EQ(TextFrom("<RegisterDescription/>"), "<RegisterDescription/>");
    EXPECT_EQ(TextFrom("<a></MyRegisterDescription>"), "<a></MyRegisterDescription>");
    EXPECT_EQ(TextFrom("no element"), "");
    EXPECT_EQ(TextFrom(""), "");
}

TEST(DescriptionText, KnowsAnArchiveByItsSignature)
{
    const auto archive = MakeZip({{"a.xml", "<a/>"}});
    EXPECT_TRUE(IsZip(archive));
    EXPECT_FALSE(IsZip(BytesIn("<PK/>")));
    EXPECT_FALSE(IsZip(BytesIn("PK")));
}

TEST(DescriptionText, FindsTheEndOfAnArchive)
{
    const auto archive = MakeZip({{"a.xml", "<a/>"}});
    auto longer = archive;
    longer.resize(archive.size() + 200'000, 0xFF);
    EXPECT_EQ(WithoutTail(longer).size(), archive.size());
    EXPECT_EQ(WithoutTail(archive).size(), archive.size());
    EXPECT_EQ(WithoutTail(std::span(archive).first(10)).size(), 10U);
}

TEST(DescriptionText, ComesFromLatin1WhereTheBytesAreNoUtf8)
{
    EXPECT_EQ(TextFrom("<?xml version=\"1.0\" encoding=\"utf-8\"?><a>12345678\xE9 </a>"),
              "<?xml version=\"1.0\" encoding=\"utf-8\"?><a>12345678\xC3\xA9 </a>");
    EXPECT_EQ(TextFrom("<a>\xC3</a>"), "<a>\xC3\x83</a>");
    for (const auto *utf8 : {"<a>\xC3\xA9</a>", "<a>\xE2\x82\xAC</a>", "<a>\xF0\x9F\x93\xB7</a>"})
    {
        EXPECT_EQ(TextFrom(utf8), utf8);
    }
}

TEST(DescriptionText, DoesNotEndInACommentOrASection)
{
    for (const auto *inner : {"<!-- </RegisterDescription> -->", "<![CDATA[</RegisterDescription>]]>",
                              "<!-- a --><!-- </RegisterDescription> --><!-- b -->"})
    {
        const auto text = fmt::format("<RegisterDescription>{}</RegisterDescription>", inner);
        EXPECT_EQ(TextFrom(text + "<!-- --> rest"), text);
    }
}

TEST(DescriptionText, FindsTheEndOfAnArchiveBeforeAnOlderOne)
{
    const auto archive = MakeZip({{"a.xml", "<a/>"}});
    const auto older = MakeZip({{"older.xml", "<older/>"}});
    auto memory = archive;
    memory.insert(memory.end(), older.begin() + 20, older.end());
    EXPECT_EQ(WithoutTail(memory).size(), archive.size());
}

} // namespace
} // namespace GenTL::internal
