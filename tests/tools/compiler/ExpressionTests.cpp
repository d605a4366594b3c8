#include "tools/compiler/CompileError.h"
#include "tools/compiler/Expression.h"

#include <gtest/gtest.h>

namespace kvcompiler {
namespace {

using kvengine::Op;

std::vector<kvengine::GraphInput> testInputs() {
    std::vector<kvengine::GraphInput> inputs(4);
    inputs[0].identifier = "amount";
    inputs[0].type = kvengine::InputType::Float;
    inputs[1].identifier = "tint";
    inputs[1].type = kvengine::InputType::Float3;
    inputs[2].identifier = "$outputsize";
    inputs[2].type = kvengine::InputType::Integer2;
    inputs[3].identifier = "source";
    inputs[3].type = kvengine::InputType::Image;
    return inputs;
}

std::vector<Op> ops(const CompiledExpression& compiled) {
    std::vector<Op> result;
    for (const kvengine::Instruction& i : compiled.program.code)
        result.push_back(i.op);
    return result;
}

std::string errorOf(const std::string& text) {
    try {
        compileExpression(text, testInputs());
    } catch (const CompileError& e) {
        return e.what();
    }
    return "";
}

TEST(Expression, PrecedenceAndAssociativityGivePostfixOrder) {
    CompiledExpression c = compileExpression("1 + amount * 2 - 3", testInputs());
    EXPECT_EQ(ops(c), (std::vector<Op>{Op::Constant, Op::Input, Op::Constant, Op::Multiply, Op::Add,
                                       Op::Constant, Op::Subtract}));
    EXPECT_FLOAT_EQ(c.program.code[0].value.f[3], 1.0f); // constants broadcast
    EXPECT_EQ(c.program.code[1].index, 0u);
    EXPECT_EQ(c.components, 1u);

    c = compileExpression("-(amount - 0.5) / .25e1", testInputs());
    EXPECT_EQ(ops(c),
              (std::vector<Op>{Op::Input, Op::Constant, Op::Subtract, Op::Negate, Op::Constant, Op::Divide}));
    EXPECT_FLOAT_EQ(c.program.code[4].value.f[0], 2.5f);
}

TEST(Expression, FunctionsComponentsAndReads) {
    CompiledExpression c = compileExpression("mix(tint, tint * 0.5, clamp01(amount)).y", testInputs());
    EXPECT_EQ(ops(c), (std::vector<Op>{Op::Input, Op::Input, Op::Constant, Op::Multiply, Op::Input,
                                       Op::Clamp01, Op::Mix, Op::Component}));
    EXPECT_EQ(c.program.code.back().index, 1u);
    EXPECT_EQ(c.components, 1u);
    EXPECT_EQ(c.reads, (std::vector<uint32_t>{0, 1}));

    c = compileExpression(
        "pow(2, $outputsize.x) + less(amount, 1) * equal(amount, 0) + floor(abs(sin(amount)))"
        " + cos(max(min(amount, 1), 0))",
        testInputs());
    EXPECT_EQ(c.reads, (std::vector<uint32_t>{0, 2}));
    EXPECT_EQ(c.program.code[1].op, Op::Input);
    EXPECT_EQ(c.program.code[1].index, 2u);
}

TEST(Expression, ComponentCountsCombineWithBroadcast) {
    EXPECT_EQ(compileExpression("tint * amount", testInputs()).components, 3u);
    EXPECT_EQ(compileExpression("$outputsize", testInputs()).components, 2u);
    EXPECT_NE(errorOf("tint + $outputsize").find("mixes values of 3 and 2 components"), std::string::npos);
    EXPECT_NE(errorOf("$outputsize.z").find("selects .z of a value with 2 components"), std::string::npos);
    EXPECT_NE(errorOf("amount.y").find("single number"), std::string::npos);
}

TEST(Expression, RejectsGarbageWithAReason) {
    EXPECT_NE(errorOf("").find("empty expression"), std::string::npos);
    EXPECT_NE(errorOf("amout * 2").find("unknown input 'amout'"), std::string::npos);
    EXPECT_NE(errorOf("source * 2").find("image input 'source'"), std::string::npos);
    EXPECT_NE(errorOf("sqrt(amount)").find("unknown function 'sqrt'"), std::string::npos);
    EXPECT_NE(errorOf("mix(amount, 1)").find("takes 3 arguments, not 2"), std::string::npos);
    EXPECT_NE(errorOf("(amount + 1").find("expected ')'"), std::string::npos);
    EXPECT_NE(errorOf("amount 2").find("unexpected '2'"), std::string::npos);
    EXPECT_NE(errorOf("1e").find("malformed number"), std::string::npos);
    EXPECT_NE(errorOf("tint.xy").find("expected .x"), std::string::npos);
    EXPECT_NE(errorOf("amount # 2").find("unexpected '#'"), std::string::npos);
    EXPECT_NE(errorOf("1e39").find("out of range"), std::string::npos);
}

TEST(Expression, HostileNestingAndLengthFailCleanly) {
    EXPECT_NE(errorOf(std::string(100000, '(') + "1" + std::string(100000, ')')).find("nested more than"),
              std::string::npos);
    EXPECT_NE(errorOf(std::string(100000, '-') + "1").find("nested more than"), std::string::npos);
    // Right-leaning sums need one stack slot per pending operand.
    std::string deep = "1";
    for (int i = 0; i < 20; ++i)
        deep = "1 + (" + deep + ")";
    EXPECT_NE(errorOf(deep).find("stack slots"), std::string::npos);
    std::string longSum = "1";
    for (int i = 0; i < 200; ++i)
        longSum += " + 1";
    EXPECT_NE(errorOf(longSum).find("too long"), std::string::npos);
}

} // namespace
} // namespace kvcompiler
