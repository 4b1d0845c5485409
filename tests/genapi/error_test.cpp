#include "register_device.h"
#include "support/failure.h"

#include <gtest/gtest.h>

#include <string>

namespace GenTL::internal::genapi
{
namespace
{

std::string Chain(const std::string &name, const std::string &next)
{
    return Element("Integer", name, "<pValue>" + next + "</pValue>");
}

TEST(GenApiErrors, NameTheWayToTheFailingRegister)
{
    RegisterDevice device(
        Element("Enumeration", "PixelFormat", "<pValue>Conv</pValue>") +
        Element("IntConverter", "Conv",
                "<FormulaTo>FROM</FormulaTo><FormulaFrom>TO</FormulaFrom><pValue>Reg</pValue>") +
        Register("IntReg", "Reg", 0x30, 4) + Element("Float", "Gain", "<pValue>GainReg</pValue>") +
        Register("FloatReg", "GainReg", 0x1000, 4));
    device.port.failingAddress = 0x30;
    EXPECT_EQ(
        FailureOf([&] { device.features.ReadInteger("PixelFormat"); }),
        (Failure{
            "PixelFormat: PixelFormat -> Conv -> Reg: port read of 4 bytes at 0x30 failed: no answer (-1011)",
            GC_ERR_TIMEOUT}));
    EXPECT_EQ(FailureOf([&] { device.features.WriteInteger("Conv", 1); }),
              (Failure{"Conv: Conv -> Reg: port write of 4 bytes at 0x30 failed: no answer (-1011)",
                       GC_ERR_TIMEOUT}));
    EXPECT_EQ(
        FailureOf([&] { device.features.ReadFloat("Gain"); }),
        (Failure{"Gain: Gain -> GainReg: port read of 4 bytes at 0x1000 failed: no such register (-1015)",
                 GC_ERR_INVALID_ADDRESS}));
}

TEST(GenApiErrors, NameMissingNodes)
{
    RegisterDevice device(Chain("A", "B") + Chain("B", "Gone"));
    EXPECT_EQ(FailureOf([&] { device.features.ReadInteger("Gone"); }),
              (Failure{"no node Gone", GC_ERR_ERROR}));
    EXPECT_EQ(FailureOf([&] { device.features.WriteText("Gone", "1"); }),
              (Failure{"no node Gone", GC_ERR_ERROR}));
    const Failure failure{"A: A -> B: no node Gone, which B names as pValue", GC_ERR_ERROR};
    EXPECT_EQ(FailureOf([&] { device.features.ReadInteger("A"); }), failure);
    EXPECT_EQ(FailureOf([&] { device.features.ReadText("A"); }), failure);
    EXPECT_EQ(FailureOf([&] { device.features.LimitsOf<int64_t>("A"); }).text,
              "A: A.Min -> B.Min: no node Gone, which B names as pValue");
    EXPECT_EQ(FailureOf([&] { device.features.WriteInteger("B", 1); }).text,
              "B: B -> B.Min: no node Gone, which B names as pValue");
}

TEST(GenApiErrors, NameCircles)
{
    RegisterDevice device(
        Chain("Width", "A") + Chain("A", "B") + Chain("B", "A") + Chain("Self", "Self") +
        Element("String", "S", "<pValue>T</pValue>") + Element("String", "T", "<pValue>S</pValue>") +
        Element("Integer", "Min", "<Value>1</Value><pMin>Max</pMin>") +
        Element("IntSwissKnife", "Max", "<pVariable Name=\"M\">Min</pVariable><Formula>M.Min</Formula>") +
        Element("Integer", "Copy", "<Value>0</Value><pValueCopy>Copy</pValueCopy>"));
    EXPECT_EQ(FailureOf([&] { device.features.ReadInteger("Width"); }),
              (Failure{"Width depends on itself: A -> B -> A", GC_ERR_ERROR}));
    EXPECT_EQ(FailureOf([&] { device.features.ReadInteger("Self"); }).text,
              "Self depends on itself: Self -> Self");
    EXPECT_EQ(FailureOf([&] { device.features.ReadText("S"); }).text, "S depends on itself: S -> T -> S");
    EXPECT_EQ(FailureOf([&] { device.features.WriteText("S", "x"); }).text,
              "S depends on itself: S -> T -> S");
    EXPECT_EQ(FailureOf([&] { device.features.LimitsOf<int64_t>("Min"); }).text,
              "Min depends on itself: Min.Min -> Max -> Min.Min");
    EXPECT_EQ(FailureOf([&] { device.features.WriteInteger("Copy", 1); }).text,
              "Copy depends on itself: Copy -> Copy");
}

TEST(GenApiErrors, NameTextsThatAreNoNumbers)
{
    RegisterDevice device(Element("Integer", "I", "<Value>many</Value>") +
                          Element("Integer", "M", "<Value>1</Value><Min>few</Min>") +
                          Element("Enumeration", "E", "<EnumEntry Name=\"A\"/><Value>1</Value>") +
                          Element("Command", "C", "<pValue>M</pValue>"));
    EXPECT_EQ(FailureOf([&] { device.features.ReadInteger("I"); }).text,
              "I: its Value \"many\" is no number");
    EXPECT_EQ(FailureOf([&] { device.features.WriteInteger("M", 1); }).text,
              "M: M -> M.Min: its Min \"few\" is no integer");
    EXPECT_EQ(FailureOf([&] { device.features.ReadText("E"); }).text, "E: its entry \"\" is no integer");
    EXPECT_EQ(FailureOf([&] { device.features.Execute("C"); }).text,
              "C: its CommandValue \"\" is no integer");
}

std::string LongChain(int length)
{
    std::string nodes = Element("Integer", "N0", "<Value>5</Value>");
    for (int i = 1; i < length; ++i)
    {
        nodes += Chain("N" + std::to_string(i), "N" + std::to_string(i - 1));
    }
    return nodes;
}

TEST(Pass, IsAtMost100NodesDeep)
{
    RegisterDevice device(LongChain(101));
    EXPECT_EQ(device.features.ReadInteger("N99"), 5);
    const auto failure = FailureOf([&] { device.features.ReadInteger("N100"); });
    EXPECT_EQ(failure.code, GC_ERR_ERROR);
    EXPECT_TRUE(failure.text.starts_with("N100: N100 -> N99 -> ")) << failure.text;
    EXPECT_TRUE(failure.text.ends_with(" -> N1: more than 100 nodes depend on each other")) << failure.text;
}

TEST(Pass, EvaluatesAtMost10000Nodes)
{
    const auto sum = [](int count)
    {
        std::string nodes;
        std::string variables;
        std::string formula = "0";
        for (int i = 0; i < count; ++i)
        {
            const auto name = "V" + std::to_string(i);
            nodes += Element("Integer", name, "<Value>1</Value>");
            variables += "<pVariable Name=\"" + name + "\">" + name + "</pVariable>";
            formula += "+" + name;
        }
        return nodes + Element("IntSwissKnife", "Sum", variables + "<Formula>" + formula + "</Formula>");
    };
    RegisterDevice largest(sum(9999));
    EXPECT_EQ(largest.features.ReadInteger("Sum"), 9999);
    RegisterDevice tooLarge(sum(10000));
    EXPECT_EQ(FailureOf([&] { tooLarge.features.ReadInteger("Sum"); }).text,
              "Sum: more than 10000 nodes have to be evaluated");
}

TEST(Pass, EvaluatesEachNodeOnce)
{
    // Each formula uses the next one twice: without memory, 2^90 evaluations.
    std::string nodes = Register("IntReg", "R0", 0, 1, "<Cachable>NoCache</Cachable>");
    for (int i = 1; i < 90; ++i)
    {
        nodes += Element("IntSwissKnife", "R" + std::to_string(i),
                         "<pVariable Name=\"X\">R" + std::to_string(i - 1) +
                             "</pVariable><Formula>X | X</Formula>");
    }
    RegisterDevice device(nodes);
    device.port.Set(0, {3});
    EXPECT_EQ(device.features.ReadInteger("R89"), 3);
    EXPECT_EQ(device.port.reads.size(), 1U);
}

} // namespace
} // namespace GenTL::internal::genapi
