// Reading and writing of a module's memory by address.

#include "consumer/whole_write.h"
#include "gentlctl/memory_form.h"
#include "gentlctl_run.h"
#include "support/registers_only_port.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

namespace gentlctl
{
namespace
{

using gentlctl_run::Gentlctl;
using gentlctl_run::JsonOf;

using Bytes = std::vector<uint8_t>;

TEST(MemoryForm, PutsEachNumberIntoItsBytes)
{
    const std::vector<std::string> number = {"0x01020304"};
    EXPECT_EQ(MemoryBytes(number, MemoryFormNamed("le32")), (Bytes{4, 3, 2, 1}));
    EXPECT_EQ(MemoryBytes(number, MemoryFormNamed("be32")), (Bytes{1, 2, 3, 4}));
    EXPECT_EQ(MemoryBytes(number, MemoryFormNamed("le64")), (Bytes{4, 3, 2, 1, 0, 0, 0, 0}));
    EXPECT_EQ(MemoryBytes(number, MemoryFormNamed("be64")), (Bytes{0, 0, 0, 0, 1, 2, 3, 4}));
    EXPECT_EQ(MemoryBytes({"1", "2"}, MemoryFormNamed("be32")), (Bytes{0, 0, 0, 1, 0, 0, 0, 2}));
}

TEST(MemoryForm, FindsTheNumbersAgain)
{
    const std::vector<uint64_t> numbers = {0x01020304, 0xFFFFFFFF};
    for (const auto &form : MemoryForms().subspan(1))
    {
        const auto bytes = MemoryBytes({"0x01020304", "4294967295"}, form);
        EXPECT_EQ(NumbersIn(bytes, form), numbers) << form.name;
    }
    EXPECT_TRUE(NumbersIn(Bytes{1, 2, 3, 4}, MemoryFormNamed("bytes")).empty());
}

TEST(MemoryForm, TakesBytesInPairsOfDigits)
{
    const auto &form = MemoryFormNamed("bytes");
    EXPECT_EQ(MemoryBytes({"0f", "A0b1"}, form), (Bytes{0x0F, 0xA0, 0xB1}));
    for (const auto *text : {"", "f", "0ff", "0x0f", "0g", "g0", "0f "})
    {
        EXPECT_THROW(MemoryBytes({text}, form), std::runtime_error) << text;
    }
}

TEST(MemoryForm, RefusesWhatIsNoNumberOfItsSize)
{
    EXPECT_EQ(ParseUnsigned("4294967295", 4), 0xFFFFFFFFU);
    EXPECT_EQ(ParseUnsigned("0xFFFFFFFFFFFFFFFF"), UINT64_MAX);
    EXPECT_EQ(ParseUnsigned("010"), 10U);
    for (const auto *text : {"", "-1", "0x", "1 ", "0x1g", "4294967296"})
    {
        EXPECT_THROW(ParseUnsigned(text, 4), std::runtime_error) << text;
    }
    EXPECT_THROW(ParseUnsigned("18446744073709551616"), std::runtime_error);
}

TEST(MemoryForm, ShowsSixteenBytesInALine)
{
    Bytes bytes(18, 0);
    bytes[1] = 'A';
    bytes[16] = 0x7F;
    bytes[17] = '~';
    EXPECT_EQ(MemoryText(0xFFF0, bytes, MemoryFormNamed("bytes")),
              "0x0000fff0  00 41 00 00 00 00 00 00 00 00 00 00 00 00 00 00  .A..............\n"
              "0x00010000  7f 7e                                            .~\n");
    EXPECT_EQ(MemoryText(0x10, Bytes{0, 0, 0, 10, 0, 0, 1, 0}, MemoryFormNamed("be32")),
              "0x00000010  10  0xa\n"
              "0x00000014  256  0x100\n");
}

/// A port that takes two bytes of a write.
class HalfDeafPort final : public GenTL::internal::RegistersOnlyPort
{
public:
    void ReadRegisters(uint64_t, void *, size_t *) override {}
    void WriteRegisters(uint64_t, const void *, size_t *size) override { *size = 2; }
};

TEST(WholeWrite, FailsWhenThePortTakesAPart)
{
    HalfDeafPort port;
    const std::array<uint8_t, 4> bytes{};
    EXPECT_NO_THROW(WriteAllRegisters(port, 0, std::span(bytes).first(2)));
    try
    {
        WriteAllRegisters(port, 0, bytes);
        FAIL() << "the end of the bytes is lost";
    }
    catch (const GenTL::internal::GenTLException &exception)
    {
        EXPECT_STREQ(exception.what(), "only 2 of 4 bytes were taken");
        EXPECT_EQ(exception.Code(), GenTL::GC_ERR_IO);
    }
}

// Width of OVRA-M5 is the little-endian register at 0x1118, Height the next one.

TEST(Memory, IsReadByAddress)
{
    EXPECT_EQ(Gentlctl("read 0x1118 -d OVRA-M5 -n 8").output,
              "0x00001118  90 09 00 00 00 08 00 00                          ........\n");
    EXPECT_EQ(Gentlctl("read 4376 -d OVRA-M5 --as le32 --count 2").output, "0x00001118  2448  0x990\n"
                                                                           "0x0000111c  2048  0x800\n");
    EXPECT_EQ(JsonOf("read 0x1118 -d OVRA-M5 --as be32"),
              gentlctl_run::Json::parse(R"({"module": "remote", "address": "0x1118", "bytes": "90 09 00 00",
                                            "numbers": [2416508928]})"));
    EXPECT_FALSE(JsonOf("read 0x1118 -d OVRA-M5").contains("numbers"));
}

TEST(Memory, IsThatOfTheNamedModule)
{
    const auto system = Gentlctl("read 0 -m system").output;
    EXPECT_NE(system.find("Proxy Transport"), std::string::npos) << system;
}

TEST(Memory, IsWrittenInTheGivenOrderOfBytes)
{
    const auto written = Gentlctl("write 0x1118 --as le32 640 -d OVRA-M5");
    EXPECT_EQ(written.output, "Wrote 4 bytes at 0x1118 of remote: 80 02 00 00\n");
    EXPECT_EQ(written.status, 0);
    EXPECT_EQ(Gentlctl("write 0x1118 80 020000 -d OVRA-M5").output, written.output);
    EXPECT_EQ(JsonOf("write 0x1118 --as le32 640 -d OVRA-M5")["numbers"], gentlctl_run::Json{640});
    // The camera gets the number with its bytes in the other order, and says so.
    const auto swapped = Gentlctl("write 0x1118 --as be32 640 -d OVRA-M5");
    EXPECT_EQ(swapped.output, "gentlctl: Cannot write 4 bytes at 0x1118 of remote: GCWritePort Error: "
                              "GCWritePort: Value 2147614720 is not allowed for Width (-1019)\n");
    EXPECT_EQ(swapped.status, 1);
}

TEST(Memory, FailsWithTheReasonOfThePort)
{
    const auto nowhere = Gentlctl("read 0x99999999 -d OVRA-M5");
    EXPECT_EQ(nowhere.output, "gentlctl: Cannot read 16 bytes at 0x99999999 of remote: GCReadPort Error: "
                              "GCReadPort: No register at address 2576980377 (-1015)\n");
    EXPECT_EQ(nowhere.status, 1);
    const auto readOnly = Gentlctl("write 0x1110 --as le32 5 -d OVRA-M5");
    EXPECT_NE(readOnly.output.find("(-1005)"), std::string::npos) << readOnly.output;
    EXPECT_EQ(readOnly.status, 1);
}

TEST(Memory, RefusesWhatItCannotRead)
{
    for (const auto *line :
         {"read", "read 0x", "read 0x1118 -n 0", "read 0x1118 -n 1048577", "read 0x1118 --as int",
          "write 0x1118", "write 0x1118 8g", "write 0x1118 --as le32 0x123456789", "write x 00"})
    {
        EXPECT_EQ(Gentlctl(line).status, 2) << line;
    }
}

} // namespace
} // namespace gentlctl
