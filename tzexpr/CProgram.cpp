#include "tzexpr/CProgram.h"

#include <algorithm>

namespace tzexpr {

namespace {

double Truth(bool b) { return b ? 1.0 : 0.0; }

} // namespace

double CProgram::ApplyUnary(EOpCode op, double a)
{
    return op == EOpCode::Negate ? -a : Truth(a == 0.0);
}

double CProgram::ApplyBinary(EOpCode op, double a, double b)
{
    switch (op) {
    case EOpCode::Add: return a + b;
    case EOpCode::Subtract: return a - b;
    case EOpCode::Multiply: return a * b;
    case EOpCode::Divide: return a / b;
    case EOpCode::Less: return Truth(a < b);
    case EOpCode::LessEqual: return Truth(a <= b);
    case EOpCode::Greater: return Truth(a > b);
    case EOpCode::GreaterEqual: return Truth(a >= b);
    case EOpCode::Equal: return Truth(a == b);
    case EOpCode::NotEqual: return Truth(a != b);
    case EOpCode::And: return Truth(a != 0.0 && b != 0.0);
    case EOpCode::Or: return Truth(a != 0.0 || b != 0.0);
    default: return 0.0;
    }
}

void CProgram::Append(EOpCode op, int depthChange)
{
    SInstruction instruction;
    instruction.op = op;
    instruction.index = 0;
    instruction.value = 0;
    m_Code.push_back(instruction);
    m_Depth = size_t(std::ptrdiff_t(m_Depth) + depthChange);
    m_MaxDepth = std::max(m_MaxDepth, m_Depth);
}

bool CProgram::EndsWithConstants(size_t count) const
{
    if (m_Code.size() < count || m_Code.size() - count < m_FoldBarrier)
        return false;
    return std::all_of(m_Code.end() - std::ptrdiff_t(count), m_Code.end(),
                       [](const SInstruction& i) { return i.op == EOpCode::PushConstant; });
}

// The last `count` constants become one; the pending depth drops accordingly.
void CProgram::ReplaceTailByConstant(size_t count, double value)
{
    m_Code.resize(m_Code.size() - count);
    m_Depth -= count;
    EmitConstant(value);
}

void CProgram::EmitConstant(double value)
{
    Append(EOpCode::PushConstant, +1);
    m_Code.back().value = value;
}

void CProgram::EmitLoad(uint32_t declaredIndex, EValueType type)
{
    auto found = std::find_if(m_Loads.begin(), m_Loads.end(),
                              [&](const SLoad& load) { return load.declaredIndex == declaredIndex; });
    if (found == m_Loads.end()) {
        m_Loads.push_back(SLoad{declaredIndex, type});
        found = m_Loads.end() - 1;
    }
    Append(EOpCode::Load, +1);
    m_Code.back().index = uint32_t(found - m_Loads.begin());
}

void CProgram::EmitUnary(EOpCode op)
{
    if (EndsWithConstants(1))
        return ReplaceTailByConstant(1, ApplyUnary(op, m_Code.back().value));
    Append(op, 0);
}

void CProgram::EmitBinary(EOpCode op)
{
    if (EndsWithConstants(2))
        return ReplaceTailByConstant(2, ApplyBinary(op, m_Code[m_Code.size() - 2].value, m_Code.back().value));
    Append(op, -1);
}

void CProgram::EmitCall(UnaryFunction function)
{
    if (EndsWithConstants(1))
        return ReplaceTailByConstant(1, function(m_Code.back().value));
    Append(EOpCode::Call1, 0);
    m_Code.back().unary = function;
}

void CProgram::EmitCall(BinaryFunction function)
{
    if (EndsWithConstants(2))
        return ReplaceTailByConstant(2, function(m_Code[m_Code.size() - 2].value, m_Code.back().value));
    Append(EOpCode::Call2, -1);
    m_Code.back().binary = function;
}

size_t CProgram::EmitJump(EOpCode op)
{
    Append(op, op == EOpCode::JumpIfFalse ? -1 : 0);
    return m_Code.size() - 1;
}

void CProgram::PlaceLabel(size_t jumpPosition)
{
    m_Code[jumpPosition].index = uint32_t(m_Code.size());
    m_FoldBarrier = m_Code.size();
}

ERunStatus CProgram::Run(void const* const* inputs, bool nodataEnabled, double nodata, double& value) const
{
    double variables[kMaxLoadedVariables];
    const size_t loadCount = m_Loads.size();
    if (loadCount > 0 && inputs == nullptr)
        return ERunStatus::MissingInput;
    for (size_t i = 0; i < loadCount; ++i) {
        const void* input = inputs[m_Loads[i].declaredIndex];
        if (input == nullptr)
            return ERunStatus::MissingInput;
        variables[i] = ReadValue(m_Loads[i].type, input);
        if (nodataEnabled && variables[i] == nodata)
            return ERunStatus::Nodata;
    }
    value = Execute(variables);
    return ERunStatus::Ok;
}

double CProgram::Execute(const double* variables) const
{
    double stack[kMaxStackDepth];
    size_t top = 0; // number of values on the stack
    const SInstruction* code = m_Code.data();
    const size_t size = m_Code.size();
    size_t pc = 0;
    while (pc < size) {
        const SInstruction& instruction = code[pc++];
        switch (instruction.op) {
        case EOpCode::PushConstant: stack[top++] = instruction.value; break;
        case EOpCode::Load: stack[top++] = variables[instruction.index]; break;
        case EOpCode::Negate: stack[top - 1] = -stack[top - 1]; break;
        case EOpCode::Not: stack[top - 1] = Truth(stack[top - 1] == 0.0); break;
        case EOpCode::Add: --top; stack[top - 1] = stack[top - 1] + stack[top]; break;
        case EOpCode::Subtract: --top; stack[top - 1] = stack[top - 1] - stack[top]; break;
        case EOpCode::Multiply: --top; stack[top - 1] = stack[top - 1] * stack[top]; break;
        case EOpCode::Divide: --top; stack[top - 1] = stack[top - 1] / stack[top]; break;
        case EOpCode::Less:
        case EOpCode::LessEqual:
        case EOpCode::Greater:
        case EOpCode::GreaterEqual:
        case EOpCode::Equal:
        case EOpCode::NotEqual:
        case EOpCode::And:
        case EOpCode::Or:
            --top;
            stack[top - 1] = ApplyBinary(instruction.op, stack[top - 1], stack[top]);
            break;
        case EOpCode::Call1: stack[top - 1] = instruction.unary(stack[top - 1]); break;
        case EOpCode::Call2:
            --top;
            stack[top - 1] = instruction.binary(stack[top - 1], stack[top]);
            break;
        case EOpCode::JumpIfFalse:
            if (stack[--top] == 0.0)
                pc = instruction.index;
            break;
        case EOpCode::Jump: pc = instruction.index; break;
        }
    }
    return top > 0 ? stack[top - 1] : 0.0;
}

} // namespace tzexpr
