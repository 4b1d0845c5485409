#include "register_device.h"
#include "support/failure.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace GenTL::internal::genapi
{
namespace
{

using testing::ElementsAre;

using Call = MemoryRegisters::Call;

/// Nodes with the values 3 and 0x10.
const std::string numbers = Element("Integer", "Three", "<Value>3</Value>") +
                            Element("Integer", "Sixteen", "<Value>0x10</Value>") +
                            Element("Integer", "Least", "<Value>-1</Value>");

struct AddressCase
{
    const char *place;
    Call call;
};

TEST(RegisterAddress, IsTheSumOfItsParts)
{
    const AddressCase cases[] = {
        {"<Address>0x20</Address><Length>2</Length>", {0x20, 2}},
        {"<Address>0x20</Address><Address>5</Address><Length>2</Length>", {0x25, 2}},
        {"<pAddress>Sixteen</pAddress><pAddress>Three</pAddress><Length>2</Length>", {0x13, 2}},
        {"<Address>0x20</Address><pAddress>Three</pAddress><Length>2</Length>", {0x23, 2}},
        {"<Address>0x20</Address><pIndex>Three</pIndex><Length>2</Length>", {0x26, 2}},
        {"<Address>0x20</Address><pIndex Offset=\"0x10\">Three</pIndex><Length>2</Length>", {0x50, 2}},
        {"<Address>0x20</Address><pIndex pOffset=\"Sixteen\">Three</pIndex><Length>2</Length>", {0x50, 2}},
        {"<pIndex Offset=\"1\">Three</pIndex><pIndex Offset=\"2\">Three</pIndex><Length>2</Length>", {9, 2}},
        {"<Address>0x20</Address><IntSwissKnife Name=\"Inner\"><pVariable Name=\"T\">Three</pVariable>"
         "<Formula>T * T</Formula></IntSwissKnife><Length>2</Length>",
         {0x29, 2}},
        {"<Address>0x20</Address><pAddress>Least</pAddress><Length>2</Length>", {0x1F, 2}},
        {"<Address>0x20</Address><pLength>Three</pLength>", {0x20, 3}},
        {"<Address>0x20</Address><pIndex>Three</pIndex><pLength>Three</pLength>", {0x29, 3}},
    };
    for (const auto &row : cases)
    {
        RegisterDevice device(
            numbers + Element("Register", "R", row.place + std::string("<AccessMode>RW</AccessMode>")));
        device.features.ReadBytes("R");
        EXPECT_THAT(device.port.reads, ElementsAre(row.call)) << row.place;
        device.features.WriteBytes("R", std::vector<uint8_t>(row.call.size));
        EXPECT_THAT(device.port.writes, ElementsAre(row.call)) << row.place;
    }
}

TEST(RegisterAddress, FollowsASelector)
{
    RegisterDevice device(Element("Integer", "Selector", "<Value>0</Value>") +
                          Element("IntReg", "R",
                                  "<Address>8</Address><pIndex Offset=\"4\">Selector</pIndex>"
                                  "<Length>1</Length><AccessMode>RW</AccessMode>"));
    for (const int64_t selector : {0, 1, 2})
    {
        device.features.WriteInteger("Selector", selector);
        device.features.WriteInteger("R", 100 + selector);
    }
    EXPECT_THAT(device.port.Get(8, 9), ElementsAre(100, 0, 0, 0, 101, 0, 0, 0, 102));
    device.features.WriteInteger("Selector", 1);
    EXPECT_EQ(device.features.ReadInteger("R"), 101);
}

TEST(RegisterAddress, SaysWhatIsMissing)
{
    const std::pair<const char *, const char *> cases[] = {
        {"<Length>2</Length>", "R: it has no address"},
        {"<Address>twelve</Address><Length>2</Length>", "R: its Address \"twelve\" is no integer"},
        {"<Address>0</Address>", "R: a length of 0 bytes"},
        {"<pAddress>Gone</pAddress><Length>2</Length>", "R: no node Gone, which R names as pAddress"},
        {"<Address>0</Address><pLength>Gone</pLength>", "R: no node Gone, which R names as pLength"},
        {"<pIndex pOffset=\"Gone\">Three</pIndex><Length>2</Length>",
         "R: no node Gone, which R names as pOffset"},
        {"<Address>0</Address><Length>2</Length><pPort>Gone</pPort>",
         "R: no node Gone, which R names as pPort"},
        {"<pAddress>R</pAddress><Length>2</Length>", "R depends on itself: R -> R"},
        {"<IntSwissKnife><Formula>1 +</Formula></IntSwissKnife><Length>2</Length>",
         "R: R -> IntSwissKnife in R: Formula: it ends too early"},
    };
    for (const auto &[place, text] : cases)
    {
        RegisterDevice device(numbers + Element("IntReg", "R", place));
        EXPECT_EQ(FailureOf([&] { device.features.ReadInteger("R"); }), (Failure{text, GC_ERR_ERROR}))
            << place;
        EXPECT_THAT(device.port.reads, ElementsAre());
    }
}

TEST(RegisterAddress, WrapsAt64Bits)
{
    RegisterDevice device(Element("IntReg", "R",
                                  "<Address>0xFFFFFFFFFFFFFFFF</Address><Address>9</Address>"
                                  "<Length>1</Length>"));
    device.features.ReadInteger("R");
    EXPECT_THAT(device.port.reads, ElementsAre(Call{8, 1}));
}

} // namespace
} // namespace GenTL::internal::genapi
