#include "register_device.h"
#include "support/failure.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>

namespace GenTL::internal::genapi
{
namespace
{

using testing::ElementsAre;

std::string Variable(const std::string &name, const std::string &node)
{
    return "<pVariable Name=\"" + name + "\">" + node + "</pVariable>";
}

std::string IntegerFormula(const std::string &name, const std::string &content)
{
    return Element("IntSwissKnife", name, content);
}

const std::string aspectNodes =
    Element("Integer", "I", "<Value>7</Value><Min>2</Min><Max>20</Max><Inc>5</Inc>") +
    Element("Float", "F", "<Value>2.5</Value><Min>-1.5</Min><Max>9.5</Max>") +
    Element("Boolean", "B", "<pValue>On</pValue><OnValue>9</OnValue>") +
    Element("Integer", "On", "<Value>9</Value>") +
    Element(
        "Enumeration", "E",
        "<EnumEntry Name=\"First\"><Value>10</Value></EnumEntry><EnumEntry Name=\"Second\"><Value>20</Value>"
        "</EnumEntry><Value>20</Value>") +
    Element("String", "S", "<Value>text</Value>");

TEST(SwissKnife, SeesNodesAsNumbers)
{
    const std::pair<std::string, double> floating[] = {
        {"I / 2", 3.5}, {"F * 2", 5}, {"B", 1}, {"E", 20}, {"I.Value + F.Value", 9.5},
    };
    const std::pair<std::string, int64_t> integers[] = {
        {"I / 2", 3},          {"F", 3},
        {"B + 1", 2},          {"E", 20},
        {"I.Min", 2},          {"I.Max", 20},
        {"I.Inc", 5},          {"F.Min", -2},
        {"E.Entry.First", 10}, {"E.Enum.Second", 20},
        {"E.Min + E.Max", 30}, {"E = E.Entry.Second", 1},
    };
    const auto variables = Variable("I", "I") + Variable("F", "F") + Variable("B", "B") + Variable("E", "E");
    for (const auto &[formula, value] : floating)
    {
        RegisterDevice device(aspectNodes +
                              Element("SwissKnife", "K", variables + "<Formula>" + formula + "</Formula>"));
        EXPECT_EQ(device.features.ReadFloat("K"), value) << formula;
    }
    for (const auto &[formula, value] : integers)
    {
        RegisterDevice device(aspectNodes +
                              IntegerFormula("K", variables + "<Formula>" + formula + "</Formula>"));
        EXPECT_EQ(device.features.ReadInteger("K"), value) << formula;
    }
}

TEST(SwissKnife, TakesVariablesThatNameTheirAspect)
{
    RegisterDevice device(aspectNodes + IntegerFormula("K", Variable("Top.Max", "I") + Variable("A.B", "I") +
                                                                "<Formula>Top.Max * 100 + A.B</Formula>"));
    EXPECT_EQ(device.features.ReadInteger("K"), 2007);
}

TEST(SwissKnife, KnowsConstantsAndExpressions)
{
    RegisterDevice device(
        aspectNodes +
        IntegerFormula(
            "K", Variable("I", "I") +
                     "<Constant Name=\"TEN\">0xA</Constant><Constant Name=\"HALF\">0.5</Constant>"
                     "<Expression Name=\"TWICE\">I * 2</Expression>"
                     "<Expression Name=\"MORE\">TWICE + TEN</Expression><Formula>MORE + HALF</Formula>") +
        Element("SwissKnife", "Circle", Variable("E", "I") + "<Formula>2 * E + PI * 0</Formula>"));
    EXPECT_EQ(device.features.ReadInteger("K"), 14 + 10 + 1);
    EXPECT_EQ(device.features.ReadFloat("Circle"), 14) << "a variable may have the name of a constant";
}

TEST(SwissKnife, ReadsOnlyWhatTheFormulaMeets)
{
    RegisterDevice device(aspectNodes + Register("IntReg", "Far", 4096, 4) +
                          IntegerFormula("K", Variable("I", "I") + Variable("FAR", "Far") +
                                                  "<Formula>(I &gt; 0) ? 1 : FAR</Formula>"));
    EXPECT_EQ(device.features.ReadInteger("K"), 1);
    EXPECT_THAT(device.port.reads, ElementsAre());
}

TEST(SwissKnife, SaysWhatIsWrong)
{
    const auto variables = Variable("I", "I") + Variable("F", "F") + Variable("E", "E") + Variable("S", "S") +
                           Variable("Gone", "Nowhere");
    const std::pair<std::string, std::string> cases[] = {
        {"<Formula>I +</Formula>", "K: Formula: it ends too early"},
        {"<Formula>I / (I - 7)</Formula>", "K: Formula: division by 0"},
        {"<Formula>X + 1</Formula>", "K: Formula: there is no variable X"},
        {"<Formula>Gone</Formula>", "K: no node Nowhere, which K names as pVariable"},
        {"<Formula>I.AccessMode</Formula>", "K: Formula: I.AccessMode is not supported"},
        {"<Formula>I.Visibility</Formula>", "K: Formula: I.Visibility is not supported"},
        {"<Formula>I.CachingMode</Formula>", "K: Formula: I.CachingMode is not supported"},
        {"<Formula>I.Colour</Formula>", "K: Formula: I.Colour is not supported"},
        {"<Formula>F.Inc</Formula>", "K: Formula: F has no increment"},
        {"<Formula>E.Entry.Third</Formula>", "K: Formula: E has no entry Third"},
        {"<Formula>S</Formula>", "K: K -> S: a String has no number"},
        {"<Expression Name=\"A\">B</Expression><Expression Name=\"B\">A</Expression><Formula>A</Formula>",
         "K depends on itself: A of K -> B of K -> A of K"},
        {"", "K: it has no Formula"},
    };
    for (const auto &[content, text] : cases)
    {
        RegisterDevice device(aspectNodes + IntegerFormula("K", variables + content));
        EXPECT_EQ(FailureOf([&] { device.features.ReadInteger("K"); }), (Failure{text, GC_ERR_ERROR}))
            << content;
    }
}

TEST(SwissKnife, CannotBeWritten)
{
    RegisterDevice device(IntegerFormula("K", "<Formula>1</Formula>") +
                          Element("Integer", "I", "<pValue>K</pValue>"));
    EXPECT_EQ(FailureOf([&] { device.features.WriteInteger("K", 2); }),
              (Failure{"K: not writable: an IntSwissKnife cannot be written", GC_ERR_ACCESS_DENIED}));
    EXPECT_EQ(FailureOf([&] { device.features.WriteInteger("I", 2); }),
              (Failure{"I: I -> K: not writable: an IntSwissKnife cannot be written", GC_ERR_ACCESS_DENIED}));
}

std::string Converter(const std::string &name, const std::string &from, const std::string &to,
                      const std::string &more = {})
{
    return Element("Converter", name,
                   more + "<FormulaTo>" + to + "</FormulaTo><FormulaFrom>" + from +
                       "</FormulaFrom><pValue>Reg</pValue>");
}

const std::string byteRegister = Register("IntReg", "Reg", 0, 1);

TEST(Converter, ReadsAndWritesThroughItsFormulas)
{
    RegisterDevice device(byteRegister + Converter("C", "TO * 0.5 + 10", "(FROM - 10) / 0.5") +
                          Element("Float", "F", "<pValue>C</pValue>"));
    device.port.Set(0, {8});
    EXPECT_EQ(device.features.ReadFloat("F"), 14);
    device.features.WriteFloat("F", 20.3);
    EXPECT_THAT(device.port.Get(0, 1), ElementsAre(21)) << "20.6 rounded";
    EXPECT_EQ(device.features.ReadFloat("F"), 20.5);
    EXPECT_EQ(FailureOf([&] { device.features.WriteFloat("F", 200); }).code, GC_ERR_INVALID_VALUE);
}

TEST(Converter, UsesVariablesBesideItsValue)
{
    RegisterDevice device(byteRegister + Register("IntReg", "Scale", 1, 1) +
                          Converter("C", "TO * K", "FROM / K", Variable("K", "Scale")));
    device.port.Set(0, {8, 4});
    EXPECT_EQ(device.features.ReadFloat("C"), 32);
    device.features.WriteFloat("C", 40);
    EXPECT_THAT(device.port.Get(0, 1), ElementsAre(10));
}

TEST(IntConverter, CalculatesWithIntegers)
{
    RegisterDevice device(byteRegister +
                          Element("IntConverter", "C",
                                  "<FormulaTo>FROM / 4</FormulaTo><FormulaFrom>TO * 4</FormulaFrom>"
                                  "<pValue>Reg</pValue>"));
    device.features.WriteInteger("C", 43);
    EXPECT_THAT(device.port.Get(0, 1), ElementsAre(10));
    EXPECT_EQ(device.features.ReadInteger("C"), 40);
}

TEST(Converter, HasTheLimitsOfItsSlope)
{
    struct Case
    {
        std::string slope;
        std::string from;
        double min;
        double max;
    };
    constexpr double most = 1.7976931348623157e308;
    const Case cases[] = {
        {"<Slope>Increasing</Slope>", "TO * 2", 0, 510},
        {"<Slope>Decreasing</Slope>", "100 - TO", -155, 100},
        {"<Slope>Automatic</Slope>", "TO * 2", 0, 510},
        {"<Slope>Automatic</Slope>", "100 - TO", -155, 100},
        {"", "100 - TO", -155, 100},
        {"<Slope>Varying</Slope>", "TO * 2", -most, most},
        // Without a number at one end there is no limit.
        {"<Slope>Automatic</Slope>", "SQRT(TO - 1)", -most, most},
    };
    for (const auto &row : cases)
    {
        RegisterDevice device(byteRegister + Converter("C", row.from, "FROM", row.slope));
        EXPECT_EQ(device.features.LimitsOf<double>("C"), (Limits<double>{row.min, row.max, {}}))
            << row.slope << row.from;
    }
}

TEST(Converter, WritesThroughAnotherConverter)
{
    RegisterDevice device(byteRegister + Converter("Inner", "TO + 1", "FROM - 1") +
                          Element("Converter", "Outer",
                                  "<FormulaTo>FROM / 10</FormulaTo><FormulaFrom>TO * 10</FormulaFrom>"
                                  "<pValue>Inner</pValue>"));
    device.features.WriteFloat("Outer", 50);
    EXPECT_THAT(device.port.Get(0, 1), ElementsAre(4));
    EXPECT_EQ(device.features.ReadFloat("Outer"), 50);
}

} // namespace
} // namespace GenTL::internal::genapi
