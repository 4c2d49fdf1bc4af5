#include "core/data/VdArray.h"

#include "ArrayTestHelpers.h"
#include "shr/Archive.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

namespace {

using arraytest::MakeArray;
using arraytest::ValueAt;
using core::VdArray;
using shr::Archive;
using Bytes = std::vector<unsigned char>;

constexpr size_t kHeaderSize = 8;

Bytes Store(VdArray& array, int version = Archive::CurrentVersion)
{
    Bytes bytes;
    Archive archive(bytes, "array.test", version);
    array.Serialize(archive);
    return bytes;
}

void Load(const Bytes& bytes, VdArray& array)
{
    Archive archive(bytes.data(), bytes.size(), "array.test");
    array.Serialize(archive);
}

void ExpectSameArray(const VdArray& actual, const VdArray& expected)
{
    ASSERT_EQ(actual.ComponentType(), expected.ComponentType());
    ASSERT_EQ(actual.TupleCount(), expected.TupleCount());
    ASSERT_EQ(actual.ComponentCount(), expected.ComponentCount());
    ASSERT_EQ(actual.TotalSize(), expected.TotalSize());
    EXPECT_EQ(std::memcmp(actual.GetReadPtr(), expected.GetReadPtr(), actual.TotalSize()), 0);
    EXPECT_EQ(actual.HasBlanks(), expected.HasBlanks());
    for (unsigned int tuple = 0; tuple < actual.TupleCount(); ++tuple)
        for (unsigned int component = 0; component < actual.ComponentCount(); ++component)
            EXPECT_EQ(actual.IsBlank(tuple, component), expected.IsBlank(tuple, component));
}

// The array has no version of its own: every type, with and without blanks and
// with either modified flag, comes back the same from old and new documents,
// and its statistics are computed afresh from the loaded data.
TEST(VdArraySerializeTest, RoundTripEveryTypeAndVersion)
{
    const std::vector<double> values = {3, 0, 127, 42, 9, 1, 100, 7};
    for (int type = 0; type < shr::PrimTypeCount; ++type)
        for (bool withBlanks : {false, true})
            for (bool modified : {false, true})
                for (int version : {102, 116, Archive::CurrentVersion}) {
                    SCOPED_TRACE(testing::Message() << "type " << type << " blanks " << withBlanks << " modified "
                                                    << modified << " version " << version);
                    VdArray original = MakeArray(shr::PrimType(type), values,
                                                 withBlanks ? std::vector<unsigned int>{2, 7} : std::vector<unsigned int>{},
                                                 2);
                    original.GetMinMax(0);
                    if (modified)
                        original.SetModified();
                    const Bytes bytes = Store(original, version);

                    VdArray loaded = MakeArray(shr::Double, {-50, 50});
                    loaded.GetMinMax(0);
                    Load(bytes, loaded);
                    ExpectSameArray(loaded, original);
                    EXPECT_EQ(loaded.Modified(), modified);
                    EXPECT_EQ(loaded.GetMinMax(0), std::make_pair(3.0, withBlanks ? 100.0 : 127.0));
                    EXPECT_EQ(loaded.GetMinMax(1), std::make_pair(0.0, 42.0));
                }
}

TEST(VdArraySerializeTest, LayoutIsFieldsThenMaskThenRawElements)
{
    VdArray array = MakeArray(shr::Int16, {1, 2, 3, 4, 5, -2}, {4}, 2);
    const Bytes bytes = Store(array);
    const Bytes expected = {
        0xC3, 0x5A, 0xA5, 0x3C,  // section marker
        2, 0, 0, 0,              // Int16
        2, 0, 0, 0,              // components
        3, 0, 0, 0,              // tuples
        1,                       // modified
        1, 0, 0, 0,              // blank count
        0x10,                    // mask: element 4
        1, 0, 2, 0, 3, 0, 4, 0, 5, 0, 0xFE, 0xFF,
    };
    ASSERT_EQ(bytes.size(), kHeaderSize + expected.size());
    EXPECT_EQ(Bytes(bytes.begin() + kHeaderSize, bytes.end()), expected);

    VdArray empty;
    VdArray loaded = MakeArray(shr::Float, {1});
    Load(Store(empty), loaded);
    EXPECT_EQ(loaded.ComponentType(), shr::UInt8);
    EXPECT_TRUE(loaded.IsEmpty());
    EXPECT_EQ(loaded.ComponentCount(), 0u);
}

// Every truncation and each kind of corruption raises shr::Exception and
// leaves the target array as it was.
TEST(VdArraySerializeTest, BadArchivesRaiseAndLeaveTargetAlone)
{
    VdArray source = MakeArray(shr::Int16, {1, 2, 3, 4, 5, 6}, {4}, 2);
    const Bytes good = Store(source);
    const size_t typeAt = kHeaderSize + 4, tuplesAt = typeAt + 8, blankCountAt = tuplesAt + 5, maskAt = blankCountAt + 4;

    std::vector<Bytes> bad;
    for (size_t length = kHeaderSize; length < good.size(); ++length)
        bad.emplace_back(good.begin(), good.begin() + length);
    const auto patched = [&](size_t offset, std::vector<unsigned char> patch) {
        Bytes bytes = good;
        std::copy(patch.begin(), patch.end(), bytes.begin() + offset);
        bad.push_back(bytes);
    };
    patched(kHeaderSize, {0});                    // section marker
    patched(typeAt, {9});                         // unknown type
    patched(typeAt, {0xFF, 0xFF, 0xFF, 0xFF});    // negative type
    patched(blankCountAt, {7});                   // more blanks than elements
    patched(blankCountAt, {2});                   // count above the mask's bits
    patched(maskAt, {0x30});                      // mask above the count
    patched(maskAt, {0x40});                      // a bit past the last element
    patched(tuplesAt, {0, 0, 0, 0x80});           // over the element limit
    patched(tuplesAt, {0, 0, 0, 0x10});           // more elements than the stream holds

    for (size_t which = 0; which < bad.size(); ++which) {
        VdArray target = MakeArray(shr::Float, {1.5, 2.5}, {1});
        try {
            Load(bad[which], target);
            ADD_FAILURE() << "no error for bad archive " << which;
        } catch (const shr::Exception&) {
        }
        EXPECT_EQ(target.ComponentType(), shr::Float) << which;
        ASSERT_EQ(target.TupleCount(), 2u) << which;
        EXPECT_EQ(ValueAt(target, 0), 1.5) << which;
        EXPECT_TRUE(target.IsBlank(1, 0)) << which;
    }
}

} // namespace
