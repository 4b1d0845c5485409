#include "nodemap/formula_evaluator.h"

#include "memory_port.h"
#include "support/failure.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace GenTL::internal::nodemap
{
namespace
{

class FormulaEvaluatorTest : public testing::Test
{
protected:
    double Evaluate(const std::string &nodes, const std::string &name)
    {
        const NodeMapParser parser(Description(nodes));
        return FormulaEvaluator(port, parser).Evaluate(name);
    }

    Failure FailureFor(const std::string &nodes, const std::string &name)
    {
        return FailureOf([&] { Evaluate(nodes, name); });
    }

    static std::string Knife(const std::string &name, const std::string &variables,
                             const std::string &formula)
    {
        return "<SwissKnife Name=\"" + name + "\">" + variables + "<Formula>" + formula +
               "</Formula></SwissKnife>";
    }

    static std::string Variable(const std::string &name, const std::string &node)
    {
        return "<pVariable Name=\"" + name + "\">" + node + "</pVariable>";
    }

    const std::string reg = "<IntReg Name=\"AReg\"><Address>4</Address><Length>2</Length></IntReg>";
    MemoryPort port;
};

TEST_F(FormulaEvaluatorTest, ReadsAVariableFromItsRegisterEachTime)
{
    const NodeMapParser parser(Description(reg + Knife("K", Variable("A", "AReg"), "A + 1")));
    FormulaEvaluator evaluator(port, parser);
    EXPECT_EQ(evaluator.Evaluate("K"), 1.0);
    port.bytes[4] = 9;
    EXPECT_EQ(evaluator.Evaluate("K"), 10.0);
    EXPECT_THAT(port.reads, testing::Each(MemoryPort::Access{4, 2, true}));
    EXPECT_EQ(port.reads.size(), 2U);
}

TEST_F(FormulaEvaluatorTest, ReadsRegistersAsSigned)
{
    port.bytes[4] = 0xFE;
    port.bytes[5] = 0xFF;
    EXPECT_EQ(Evaluate(reg + Knife("K", Variable("A", "AReg"), "A"), "K"), -2.0);
}

TEST_F(FormulaEvaluatorTest, ReadsTheValueNodeOfARegister)
{
    port.bytes[4] = 7;
    EXPECT_EQ(Evaluate(reg + "<Integer Name=\"A\"><pValue>AReg</pValue></Integer>" +
                           Knife("K", Variable("X", "A"), "X"),
                       "K"),
              7.0);
}

TEST_F(FormulaEvaluatorTest, KnowsConstants)
{
    EXPECT_EQ(Evaluate(Knife("K", "<Constant Name=\"C\">2.5</Constant>", "C * 2"), "K"), 5.0);
}

TEST_F(FormulaEvaluatorTest, KeepsTheFirstValueOfAName)
{
    port.bytes[4] = 7;
    EXPECT_EQ(
        Evaluate(reg + Knife("K", Variable("A", "AReg") + "<Constant Name=\"A\">1</Constant>", "A"), "K"),
        7.0);
    EXPECT_EQ(Evaluate(reg +
                           "<IntReg Name=\"BReg\"><Address>6</Address><Length>2</Length></IntReg>"
                           "<Converter Name=\"C\">" +
                           Variable("TO", "AReg") +
                           "<FormulaFrom>TO</FormulaFrom><pValue>BReg</pValue></Converter>",
                       "C"),
              7.0);
}

TEST_F(FormulaEvaluatorTest, SkipsAVariableWithoutAName)
{
    EXPECT_EQ(Evaluate(reg + Knife("K", Variable("", "AReg"), "3"), "K"), 3.0);
    EXPECT_TRUE(port.reads.empty());
}

TEST_F(FormulaEvaluatorTest, GivesAConverterItsValueAsTO)
{
    port.bytes[4] = 7;
    for (const std::string element : {"Converter", "IntConverter"})
    {
        EXPECT_EQ(Evaluate(reg + "<" + element +
                               " Name=\"C\"><FormulaTo>FROM / 2</FormulaTo>"
                               "<FormulaFrom>TO * 2</FormulaFrom><pValue>AReg</pValue></" +
                               element + ">",
                           "C"),
                  14.0);
    }
}

TEST_F(FormulaEvaluatorTest, FollowsOtherFormulas)
{
    port.bytes[4] = 7;
    EXPECT_EQ(Evaluate(reg + Knife("Inner", Variable("A", "AReg"), "A + 1") +
                           Knife("Outer", Variable("I", "Inner"), "I * 10"),
                       "Outer"),
              80.0);
}

TEST_F(FormulaEvaluatorTest, ReadsTheBitOfAStructEntry)
{
    const std::string structure = "<StructReg Comment=\"S\"><Address>8</Address><Length>4</Length>"
                                  "<StructEntry Name=\"Flag\"><Bit>9</Bit></StructEntry></StructReg>";
    const auto nodes = structure + Knife("K", Variable("F", "Flag"), "F * 5");
    EXPECT_EQ(Evaluate(nodes, "K"), 0.0);
    port.bytes[9] = 0x02;
    EXPECT_EQ(Evaluate(nodes, "K"), 5.0);
}

TEST_F(FormulaEvaluatorTest, MissesAConverterThatIsNotThere)
{
    EXPECT_EQ(FailureFor(reg, "AReg"), PlainFailure("Converter AReg not found!"));
}

TEST_F(FormulaEvaluatorTest, RefusesElementAccessBeforeReading)
{
    EXPECT_EQ(
        FailureFor(
            reg + Knife("K", Variable("a", "AReg") + Variable("x.Max", "AReg") + Variable("z", "AReg"), "a"),
            "K"),
        (Failure{"Node element access currently not implemented. Found x.Max on K", GC_ERR_ERROR}));
    EXPECT_TRUE(port.reads.empty());
}

TEST_F(FormulaEvaluatorTest, RefusesANodeOfNoKindThatHasAValue)
{
    EXPECT_EQ(FailureFor(Knife("K", Variable("A", "Nowhere"), "A"), "K"),
              (Failure{"Node access for Nowhere is not implemented!", GC_ERR_ERROR}));
}

TEST_F(FormulaEvaluatorTest, DetectsAFormulaThatNamesItself)
{
    EXPECT_EQ(FailureFor(Knife("K", Variable("A", "K"), "A"), "K"),
              (Failure{"Recursion on node K detected!", GC_ERR_ERROR}));
    EXPECT_EQ(
        FailureFor("<Converter Name=\"C\"><FormulaFrom>TO</FormulaFrom><pValue>C</pValue></Converter>", "C"),
        (Failure{"Recursion on node C detected!", GC_ERR_ERROR}));
}

TEST_F(FormulaEvaluatorTest, RefusesAFormulaThatNamesItself)
{
    EXPECT_EQ(FailureFor(reg + "<Converter Name=\"C\">" + Variable("A", "AReg") +
                             "<FormulaFrom>TO + A</FormulaFrom><pValue>C</pValue></Converter>",
                         "C")
                  .text,
              "Recursion on node C detected!");
    EXPECT_EQ(port.reads.size(), 1U);
}

TEST_F(FormulaEvaluatorTest, DetectsFormulasThatNameEachOther)
{
    const auto failure =
        FailureFor(Knife("A", Variable("X", "B"), "X") + Knife("B", Variable("X", "C"), "X") +
                       Knife("C", Variable("X", "A"), "X"),
                   "A");
    EXPECT_THAT(failure.text, testing::MatchesRegex("Recursion on node [ABC] detected!"));
    EXPECT_EQ(failure.code, GC_ERR_ERROR);
    EXPECT_TRUE(failure.isGenTL);
}

TEST_F(FormulaEvaluatorTest, FollowsALongChainOfFormulas)
{
    port.bytes[4] = 1;
    std::string nodes = reg + Knife("K0", Variable("X", "AReg"), "X");
    for (int i = 1; i <= 50; ++i)
    {
        nodes += Knife("K" + std::to_string(i), Variable("X", "K" + std::to_string(i - 1)), "X + 1");
    }
    EXPECT_EQ(Evaluate(nodes, "K50"), 51.0);
}

// Without a cycle: each formula reads the next one twice, so each formula doubles the work.
TEST_F(FormulaEvaluatorTest, RefusesFormulasOfUnboundedWork)
{
    std::string nodes = Knife("K0", "", "1");
    for (int i = 1; i <= 60; ++i)
    {
        const auto below = "K" + std::to_string(i - 1);
        nodes += Knife("K" + std::to_string(i), Variable("X", below) + Variable("Y", below), "X + Y");
    }
    const auto failure = FailureFor(nodes, "K60");
    EXPECT_THAT(failure.text, testing::MatchesRegex("Recursion on node K[0-9]+ detected!"));
    EXPECT_EQ(failure.code, GC_ERR_ERROR);
    EXPECT_TRUE(failure.isGenTL);
    EXPECT_EQ(Evaluate(nodes, "K8"), 256.0);
}

TEST_F(FormulaEvaluatorTest, FailsOnAFormulaThatIsNone)
{
    EXPECT_EQ(FailureFor(Knife("K", "", ""), "K"),
              (Failure{"Expected number, variable, or '('", GC_ERR_ERROR}));
    EXPECT_EQ(FailureFor(Knife("K", "", "1 2"), "K"),
              (Failure{"Unexpected token in expression", GC_ERR_ERROR}));
    EXPECT_EQ(FailureFor(Knife("K", "", "1.5"), "K"), PlainFailure("Unexpected char: ."));
}

TEST_F(FormulaEvaluatorTest, PassesOnFailuresOfThePort)
{
    EXPECT_EQ(
        FailureFor("<IntReg Name=\"AReg\"><Address>0xFFFFFFFFFFFFFFFF</Address><Length>8</Length></IntReg>" +
                       Knife("K", Variable("A", "AReg"), "A"),
                   "K"),
        (Failure{"no such register", GC_ERR_INVALID_ADDRESS}));
}

} // namespace
} // namespace GenTL::internal::nodemap
