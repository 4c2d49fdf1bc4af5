#pragma once
// A compiled expression: a postfix program over the values of the variables it
// reads. Running it touches only the program (read-only) and a stack local to the
// call, so one program may run on many threads at once and a run never allocates.
//
// The builder folds operations on constants as they are emitted, using the same
// arithmetic as the interpreter, so folding never changes a result.
#include "tzexpr/ValueType.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace tzexpr {

using UnaryFunction = double (*)(double);
using BinaryFunction = double (*)(double, double);

enum class EOpCode : uint8_t {
    PushConstant, // value
    Load,         // the loaded variable `index`
    Negate,
    Not,
    Add,
    Subtract,
    Multiply,
    Divide,
    Less,
    LessEqual,
    Greater,
    GreaterEqual,
    Equal,
    NotEqual,
    And,
    Or,
    Call1,       // unary function
    Call2,       // binary function
    JumpIfFalse, // pops; jumps to `index` when the value is 0
    Jump,        // jumps to `index`
};

struct SInstruction {
    EOpCode op;
    uint32_t index;
    union {
        double value;
        UnaryFunction unary;
        BinaryFunction binary;
    };
};

// The limits a program must keep; the parser refuses texts that exceed them.
constexpr size_t kMaxStackDepth = 256;
constexpr size_t kMaxLoadedVariables = 256;

enum class ERunStatus { Ok, Nodata, MissingInput };

class CProgram {
public:
    // Building. Emit* append one instruction (or fold it into the constants
    // before it); Depth() is the number of values the program leaves pending.
    void EmitConstant(double value);
    void EmitLoad(uint32_t declaredIndex, EValueType type);
    void EmitUnary(EOpCode op);
    void EmitBinary(EOpCode op);
    void EmitCall(UnaryFunction function);
    void EmitCall(BinaryFunction function);
    // A jump whose target is set by PlaceLabel; returns its position.
    size_t EmitJump(EOpCode op);
    // Makes the jump at `jumpPosition` land on the next instruction emitted.
    void PlaceLabel(size_t jumpPosition);
    size_t Depth() const { return m_Depth; }
    void SetDepth(size_t depth) { m_Depth = depth; }
    size_t MaxDepth() const { return m_MaxDepth; }
    size_t LoadedCount() const { return m_Loads.size(); }

    // Reads the variables the program uses from `inputs` (one pointer per declared
    // variable), and runs it. With `nodataEnabled`, a variable equal to `nodata`
    // stops the run with ERunStatus::Nodata.
    ERunStatus Run(void const* const* inputs, bool nodataEnabled, double nodata, double& value) const;

    // The arithmetic of the interpreter, shared with the constant folder.
    static double ApplyUnary(EOpCode op, double a);
    static double ApplyBinary(EOpCode op, double a, double b);

private:
    struct SLoad {
        uint32_t declaredIndex;
        EValueType type;
    };

    void Append(EOpCode op, int depthChange);
    bool EndsWithConstants(size_t count) const;
    void ReplaceTailByConstant(size_t count, double value);
    double Execute(const double* variables) const;

    std::vector<SInstruction> m_Code;
    std::vector<SLoad> m_Loads;
    size_t m_Depth = 0;
    size_t m_MaxDepth = 0;
    size_t m_FoldBarrier = 0; // no folding across a jump target
};

} // namespace tzexpr
