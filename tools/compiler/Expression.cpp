#include "tools/compiler/Expression.h"

#include "tools/compiler/CompileError.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdlib>

namespace kvcompiler {

namespace {

using kvengine::Instruction;
using kvengine::Op;

// Deep enough for any hand-written formula, shallow enough that hostile text
// cannot exhaust the native stack.
constexpr int kMaxNesting = 256;

struct Function {
    const char* name;
    int arity;
    Op op;
};
constexpr Function kFunctions[] = {
    {"min", 2, Op::Minimum},     {"max", 2, Op::Maximum}, {"floor", 1, Op::Floor}, {"abs", 1, Op::Absolute},
    {"sin", 1, Op::Sine},        {"cos", 1, Op::Cosine},  {"pow", 2, Op::Power},   {"mix", 3, Op::Mix},
    {"clamp01", 1, Op::Clamp01}, {"less", 2, Op::Less},   {"equal", 2, Op::Equal},
};

// How many values an operation pops (it always pushes one).
int operandCount(Op op) {
    switch (op) {
    case Op::Constant:
    case Op::Input:
        return 0;
    case Op::Add:
    case Op::Subtract:
    case Op::Multiply:
    case Op::Divide:
    case Op::Minimum:
    case Op::Maximum:
    case Op::Power:
    case Op::Less:
    case Op::Equal:
        return 2;
    case Op::Mix:
        return 3;
    default:
        return 1;
    }
}

class Parser {
public:
    Parser(const std::string& text, const std::vector<kvengine::GraphInput>& inputs)
        : text_(text), inputs_(inputs) {}

    CompiledExpression run() {
        skipSpace();
        if (pos_ == text_.size())
            fail("empty expression");
        uint32_t width = parseSum(0);
        skipSpace();
        if (pos_ != text_.size())
            fail("unexpected '" + std::string(1, text_[pos_]) + "' at column " + std::to_string(pos_ + 1));
        if (result_.program.code.size() > kvengine::AssemblyLimits::maxInstructionsPerExpression)
            fail("expression too long (more than " +
                 std::to_string(kvengine::AssemblyLimits::maxInstructionsPerExpression) + " operations)");
        result_.components = width;
        std::sort(result_.reads.begin(), result_.reads.end());
        result_.reads.erase(std::unique(result_.reads.begin(), result_.reads.end()), result_.reads.end());
        return result_;
    }

private:
    [[noreturn]] void fail(const std::string& message) const {
        throw CompileError("expression \"" + text_ + "\": " + message);
    }

    void skipSpace() {
        while (pos_ < text_.size() && std::isspace(static_cast<unsigned char>(text_[pos_])))
            ++pos_;
    }

    bool accept(char c) {
        skipSpace();
        if (pos_ < text_.size() && text_[pos_] == c) {
            ++pos_;
            return true;
        }
        return false;
    }

    void expect(char c) {
        if (!accept(c))
            fail(pos_ < text_.size()
                     ? "expected '" + std::string(1, c) + "' at column " + std::to_string(pos_ + 1)
                     : "expected '" + std::string(1, c) + "' at the end");
    }

    void emit(Op op, uint32_t index = 0) {
        Instruction instruction;
        instruction.op = op;
        instruction.index = index;
        result_.program.code.push_back(instruction);
        int pops = operandCount(op);
        depth_ += 1 - pops;
        if (depth_ > static_cast<int>(kvengine::AssemblyLimits::maxExpressionStack))
            fail("expression needs more than " +
                 std::to_string(kvengine::AssemblyLimits::maxExpressionStack) +
                 " stack slots; split it or reorder it");
    }

    void emitConstant(float value) {
        emit(Op::Constant);
        result_.program.code.back().value.f = {value, value, value, value};
    }

    uint32_t combine(uint32_t a, uint32_t b) const {
        if (a == 1 || a == b)
            return b;
        if (b == 1)
            return a;
        fail("mixes values of " + std::to_string(a) + " and " + std::to_string(b) + " components");
    }

    void enter(int nesting) const {
        if (nesting > kMaxNesting)
            fail("nested more than " + std::to_string(kMaxNesting) + " levels deep");
    }

    uint32_t parseSum(int nesting) {
        enter(nesting);
        uint32_t width = parseProduct(nesting + 1);
        for (;;) {
            Op op;
            if (accept('+'))
                op = Op::Add;
            else if (accept('-'))
                op = Op::Subtract;
            else
                return width;
            width = combine(width, parseProduct(nesting + 1));
            emit(op);
        }
    }

    uint32_t parseProduct(int nesting) {
        enter(nesting);
        uint32_t width = parseUnary(nesting + 1);
        for (;;) {
            Op op;
            if (accept('*'))
                op = Op::Multiply;
            else if (accept('/'))
                op = Op::Divide;
            else
                return width;
            width = combine(width, parseUnary(nesting + 1));
            emit(op);
        }
    }

    uint32_t parseUnary(int nesting) {
        enter(nesting);
        if (accept('-')) {
            uint32_t width = parseUnary(nesting + 1);
            emit(Op::Negate);
            return width;
        }
        if (accept('+'))
            return parseUnary(nesting + 1);
        return parsePostfix(nesting + 1);
    }

    uint32_t parsePostfix(int nesting) {
        uint32_t width = parsePrimary(nesting);
        while (pos_ < text_.size() && text_[pos_] == '.') {
            ++pos_;
            static const std::string kComponents = "xyzw";
            size_t component = pos_ < text_.size() ? kComponents.find(text_[pos_]) : std::string::npos;
            if (component == std::string::npos ||
                (pos_ + 1 < text_.size() && std::isalnum(static_cast<unsigned char>(text_[pos_ + 1]))))
                fail("expected .x, .y, .z or .w at column " + std::to_string(pos_));
            if (component >= width && width > 1)
                fail("selects ." + std::string(1, text_[pos_]) + " of a value with " + std::to_string(width) +
                     " components");
            if (component > 0 && width == 1)
                fail("selects ." + std::string(1, text_[pos_]) + " of a single number");
            ++pos_;
            emit(Op::Component, static_cast<uint32_t>(component));
            width = 1;
        }
        return width;
    }

    uint32_t parsePrimary(int nesting) {
        enter(nesting);
        skipSpace();
        if (pos_ == text_.size())
            fail("unexpected end");
        char c = text_[pos_];
        if (c == '(') {
            ++pos_;
            uint32_t width = parseSum(nesting + 1);
            expect(')');
            return width;
        }
        if (std::isdigit(static_cast<unsigned char>(c)) || c == '.')
            return parseNumber();
        if (std::isalpha(static_cast<unsigned char>(c)) || c == '_' || c == '$')
            return parseName(nesting);
        fail("unexpected '" + std::string(1, c) + "' at column " + std::to_string(pos_ + 1));
    }

    uint32_t parseNumber() {
        size_t start = pos_;
        while (pos_ < text_.size() && std::isdigit(static_cast<unsigned char>(text_[pos_])))
            ++pos_;
        if (pos_ < text_.size() && text_[pos_] == '.') {
            ++pos_;
            while (pos_ < text_.size() && std::isdigit(static_cast<unsigned char>(text_[pos_])))
                ++pos_;
        }
        if (pos_ < text_.size() && (text_[pos_] == 'e' || text_[pos_] == 'E')) {
            ++pos_;
            if (pos_ < text_.size() && (text_[pos_] == '+' || text_[pos_] == '-'))
                ++pos_;
            size_t digits = pos_;
            while (pos_ < text_.size() && std::isdigit(static_cast<unsigned char>(text_[pos_])))
                ++pos_;
            if (digits == pos_)
                fail("malformed number at column " + std::to_string(start + 1));
        }
        std::string literal = text_.substr(start, pos_ - start);
        if (literal == ".")
            fail("malformed number at column " + std::to_string(start + 1));
        float value = std::strtof(literal.c_str(), nullptr);
        if (!std::isfinite(value))
            fail("number " + literal + " is out of range");
        emitConstant(value);
        return 1;
    }

    uint32_t parseName(int nesting) {
        size_t start = pos_++;
        while (pos_ < text_.size() &&
               (std::isalnum(static_cast<unsigned char>(text_[pos_])) || text_[pos_] == '_'))
            ++pos_;
        std::string name = text_.substr(start, pos_ - start);
        skipSpace();
        if (pos_ < text_.size() && text_[pos_] == '(') {
            ++pos_;
            return parseCall(name, nesting);
        }
        for (size_t i = 0; i < inputs_.size(); ++i) {
            if (inputs_[i].identifier != name)
                continue;
            if (inputs_[i].type == kvengine::InputType::Image)
                fail("image input '" + name + "' cannot be used in an expression");
            emit(Op::Input, static_cast<uint32_t>(i));
            result_.reads.push_back(static_cast<uint32_t>(i));
            return kvengine::componentCount(inputs_[i].type);
        }
        fail("unknown input '" + name + "'");
    }

    uint32_t parseCall(const std::string& name, int nesting) {
        const Function* function = nullptr;
        for (const Function& f : kFunctions)
            if (name == f.name)
                function = &f;
        if (!function)
            fail("unknown function '" + name + "'");
        uint32_t width = 1;
        int count = 0;
        if (!accept(')')) {
            do {
                width = combine(width, parseSum(nesting + 1));
                ++count;
            } while (accept(','));
            expect(')');
        }
        if (count != function->arity)
            fail(name + "() takes " + std::to_string(function->arity) + " argument" +
                 (function->arity == 1 ? "" : "s") + ", not " + std::to_string(count));
        emit(function->op);
        return width;
    }

    const std::string& text_;
    const std::vector<kvengine::GraphInput>& inputs_;
    size_t pos_ = 0;
    int depth_ = 0;
    CompiledExpression result_;
};

} // namespace

uint32_t stackDepth(const kvengine::Expression& expression) {
    int depth = 0, deepest = 0;
    for (const Instruction& instruction : expression.code) {
        depth += 1 - operandCount(instruction.op);
        deepest = std::max(deepest, depth);
    }
    return static_cast<uint32_t>(deepest);
}

CompiledExpression compileExpression(const std::string& text,
                                     const std::vector<kvengine::GraphInput>& inputs) {
    return Parser(text, inputs).run();
}

} // namespace kvcompiler
