#pragma once
// The pair of sizes in points (a line width and a point size) that the vector
// plot and the stream lines store side by side: floats from document version
// 110 on, 32-bit integers before.
namespace shr {
class Archive;
}

namespace core {

constexpr int kFloatPointSizesVersion = 110;

void TransferPointSizes(shr::Archive& archive, float& first, float& second);

} // namespace core
