#include "engine/evaluator/Expression.h"

#include <algorithm>
#include <cmath>

namespace kvengine {

namespace {

using Vec = std::array<float, 4>;

Vec inputAsFloats(const GraphInput& input, const Value4& value) {
    if (input.type == InputType::Image)
        return {0.0f, 0.0f, 0.0f, 0.0f};
    if (!isIntegerType(input.type))
        return value.f;
    Vec out{};
    for (size_t c = 0; c < 4; ++c)
        out[c] = static_cast<float>(value.i[c]);
    return out;
}

template <typename F>
Vec apply(const Vec& a, F f) {
    return {f(a[0]), f(a[1]), f(a[2]), f(a[3])};
}

template <typename F>
Vec apply(const Vec& a, const Vec& b, F f) {
    return {f(a[0], b[0]), f(a[1], b[1]), f(a[2], b[2]), f(a[3], b[3])};
}

} // namespace

Value4 evaluateExpression(const Expression& expression, const std::vector<GraphInput>& inputs,
                          const std::vector<Value4>& values, const Value4& fallback) {
    if (expression.code.empty())
        return fallback;
    constexpr float kTurn = 6.28318530717958647692f;
    Vec stack[AssemblyLimits::maxExpressionStack];
    size_t top = 0; // number of values on the stack
    for (const Instruction& in : expression.code) {
        switch (in.op) {
        case Op::Constant:
            stack[top++] = in.value.f;
            break;
        case Op::Input:
            stack[top++] = inputAsFloats(inputs[in.index], values[in.index]);
            break;
        case Op::Component: {
            const float v = stack[top - 1][in.index];
            stack[top - 1] = {v, v, v, v};
            break;
        }
        case Op::Negate:
            stack[top - 1] = apply(stack[top - 1], [](float a) { return -a; });
            break;
        case Op::Floor:
            stack[top - 1] = apply(stack[top - 1], [](float a) { return std::floor(a); });
            break;
        case Op::Absolute:
            stack[top - 1] = apply(stack[top - 1], [](float a) { return std::fabs(a); });
            break;
        case Op::Sine:
            stack[top - 1] = apply(stack[top - 1], [&](float a) { return std::sin(a * kTurn); });
            break;
        case Op::Cosine:
            stack[top - 1] = apply(stack[top - 1], [&](float a) { return std::cos(a * kTurn); });
            break;
        case Op::Clamp01:
            stack[top - 1] = apply(stack[top - 1], [](float a) { return std::clamp(a, 0.0f, 1.0f); });
            break;
        case Op::Mix: {
            const Vec t = stack[--top];
            const Vec b = stack[--top];
            Vec& a = stack[top - 1];
            for (size_t c = 0; c < 4; ++c)
                a[c] = a[c] + (b[c] - a[c]) * t[c];
            break;
        }
        default: {
            const Vec b = stack[--top];
            Vec& a = stack[top - 1];
            switch (in.op) {
            case Op::Add:
                a = apply(a, b, [](float x, float y) { return x + y; });
                break;
            case Op::Subtract:
                a = apply(a, b, [](float x, float y) { return x - y; });
                break;
            case Op::Multiply:
                a = apply(a, b, [](float x, float y) { return x * y; });
                break;
            case Op::Divide:
                a = apply(a, b, [](float x, float y) { return y == 0.0f ? 0.0f : x / y; });
                break;
            case Op::Minimum:
                a = apply(a, b, [](float x, float y) { return std::min(x, y); });
                break;
            case Op::Maximum:
                a = apply(a, b, [](float x, float y) { return std::max(x, y); });
                break;
            case Op::Power:
                a = apply(a, b, [](float x, float y) { return std::pow(std::fabs(x), y); });
                break;
            case Op::Less:
                a = apply(a, b, [](float x, float y) { return x < y ? 1.0f : 0.0f; });
                break;
            case Op::Equal:
                a = apply(a, b, [](float x, float y) { return x == y ? 1.0f : 0.0f; });
                break;
            default:
                break;
            }
        }
        }
    }
    Value4 result;
    result.f = stack[top - 1];
    // Nothing downstream is meant to see NaN or infinities.
    for (float& v : result.f)
        if (!std::isfinite(v))
            v = 0.0f;
    return result;
}

} // namespace kvengine
