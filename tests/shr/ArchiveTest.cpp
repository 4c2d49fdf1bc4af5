#include "shr/Archive.h"
#include "shr/Box3d.h"
#include "shr/Color4b.h"
#include "shr/Exception.h"
#include "shr/Mat4d.h"
#include "shr/Quat4d.h"
#include "shr/TypeInfo.h"
#include "shr/Vec2.h"
#include "shr/Vec3.h"

#include "tests/support/TestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace {

using shr::Archive;
using shr::Exception;
using testsupport::RaisedText;
using Bytes = std::vector<unsigned char>;

// A node of an object graph: a value, a name and a link to another node.
class ArchiveTestNode : public shr::CTypedObject {
    SHR_DECLARE_CREATABLE_TYPE(ArchiveTestNode)
public:
    int value = 0;
    shr::GString name;
    ArchiveTestNode* link = nullptr;

    void Serialize(Archive& archive) override
    {
        archive.SyncCheck();
        archive.Transfer(value);
        archive.Transfer(name);
        archive.TransferObject(link);
    }
};
SHR_IMPLEMENT_CREATABLE_TYPE(ArchiveTestNode, shr::CTypedObject)

// Registered, but cannot be made by name.
class ArchiveTestAbstract : public shr::CTypedObject {
    SHR_DECLARE_TYPE(ArchiveTestAbstract)
};
SHR_IMPLEMENT_TYPE(ArchiveTestAbstract, shr::CTypedObject)

// A leaf held by shared pointers.
class ArchiveTestLeaf : public ArchiveTestAbstract {
    SHR_DECLARE_CREATABLE_TYPE(ArchiveTestLeaf)
public:
    double value = 0.0;

    void Serialize(Archive& archive) override
    {
        archive.SyncCheck();
        archive.Transfer(value);
    }
};
SHR_IMPLEMENT_CREATABLE_TYPE(ArchiveTestLeaf, ArchiveTestAbstract)

size_t CountOccurrences(const Bytes& bytes, const std::string& text)
{
    size_t count = 0;
    for (auto it = bytes.begin(); (it = std::search(it, bytes.end(), text.begin(), text.end())) != bytes.end(); ++it)
        ++count;
    return count;
}

// ---- values ------------------------------------------------------------------

// One value of each kind the archive transfers.
struct Values {
    std::string text;
    shr::GString gtext;
    bool flag = false;
    char c = 0;
    int i = 0;
    unsigned long long u64 = 0;
    float f = 0;
    double d = 0;
    shr::Box3d box;
    shr::Color4b color;
    shr::Mat4d matrix;
    shr::Quat4d quat;
    shr::Vec2f v2;
    shr::Vec3d v3;
    shr::Vec3i v3i;
    unsigned char raw[5] = {0, 0, 0, 0, 0};

    template <class... T>
    static void TransferAll(Archive& archive, T&... values)
    {
        (archive.Transfer(values), ...);
    }
    void Serialize(Archive& archive)
    {
        archive.Transfer(text);
        archive.SyncCheck();
        TransferAll(archive, gtext, flag, c, i, u64, f, d, box, color, matrix, quat, v2, v3, v3i);
        archive.Transfer(raw, sizeof raw);
    }
};

Values SampleValues()
{
    const double rows[16] = {1, 0, 0, 0, 0, 2, 0, 0, 0, 0, 3, 0, 10, 20, 30, 1};
    return Values{std::string("with\0nul", 8), "G\xC3\xA9ologie", true, -7, -123456789, 0xFEDCBA9876543210ull,
                  1.25e-3f, -6.02214076e23, shr::Box3d(-1.5, -2.5, -3.5, 4.5, 5.5, 6.5), shr::Color4b(10, 20, 30, 40),
                  shr::Mat4d(rows), shr::Quat4d(0.1, 0.2, 0.3, 0.9), shr::Vec2f(1.5f, -2.5f),
                  shr::Vec3d(1e300, -1e-300, 0.5), shr::Vec3i(-1, 0, 2147483647), {1, 2, 3, 254, 255}};
}

TEST(ArchiveTest, EveryValueTypeRoundTripsThroughMemoryAndFile)
{
    Values stored = SampleValues();
    const Bytes bytes = testsupport::Store(stored);
    testsupport::ScratchFolder folder;
    const std::string path = folder.File("values.fkd");
    {
        Archive out(path, Archive::Store);
        stored.Serialize(out);
    }
    EXPECT_EQ(testsupport::ReadBytes(path), bytes);

    Values fromMemory, fromFile;
    EXPECT_EQ(testsupport::Load(fromMemory, bytes), 0u);
    Archive inFile(path, Archive::Load);
    fromFile.Serialize(inFile);
    // Equal values store equal bytes; the matrix also keeps its classification.
    EXPECT_EQ(testsupport::Store(fromMemory), bytes);
    EXPECT_EQ(testsupport::Store(fromFile), bytes);
    EXPECT_EQ(fromFile.matrix.GetType(), stored.matrix.GetType());
}

TEST(ArchiveTest, LayoutIsLittleEndianRawBytes)
{
    Bytes bytes;
    {
        Archive out(bytes);
        testsupport::Put(out, std::string("ab"), 0x01020304, true, shr::Color4b(1, 2, 3, 4));
        out.SyncCheck();
    }
    const Bytes expected = {'F', 'K', 'D', 'C', 130, 0, 0, 0,     // header
                            2, 0, 0, 0, 'a', 'b', 4, 3, 2, 1, 1, // string, int, bool
                            1, 2, 3, 4, 0xC3, 0x5A, 0xA5, 0x3C}; // colour, marker
    EXPECT_EQ(bytes, expected);

    // A damaged marker names its offset.
    bytes[24] ^= 0x01;
    Archive in(bytes.data(), bytes.size(), "doc.fkd");
    unsigned char skipped[15];
    in.Read(skipped, sizeof skipped);
    EXPECT_EQ(RaisedText([&] { in.SyncCheck(); }),
              "Shared: Archive \"doc.fkd\", byte offset 23: corrupt: a section marker is missing.");
}

TEST(ArchiveTest, VersionHeader)
{
    const Bytes old = testsupport::Header(105);
    EXPECT_EQ(Archive(old.data(), old.size()).GetVersion(), 105);

    const struct {
        Bytes bytes;
        const char* message;
    } bad[] = {
        {{'F', 'K', 'D', 'C', 131, 0, 0, 0}, "document version 131 cannot be read"},
        {{'F', 'K', 'D', 'C', 99, 0, 0, 0}, "document version 99 cannot be read"},
        {{'F', 'K', 'D', 'X', 130, 0, 0, 0}, "the header is wrong"},
        {{'F', 'K', 'D', 'C', 130, 0, 0}, "too few for a header"},
        {{}, "too few for a header"},
    };
    for (const auto& b : bad) {
        SCOPED_TRACE(b.message);
        const std::string message = RaisedText([&] { Archive a(b.bytes.data(), b.bytes.size(), "x.fkd"); });
        EXPECT_NE(message.find(b.message), std::string::npos) << message;
        EXPECT_NE(message.find("\"x.fkd\""), std::string::npos) << message;
    }
    Bytes unused;
    EXPECT_THROW(Archive(unused, "", Archive::CurrentVersion + 1), Exception);
}

TEST(ArchiveTest, MisuseIsAnError)
{
    Bytes bytes;
    Archive out(bytes);
    char c = 0;
    EXPECT_NE(RaisedText([&] { out.Read(&c, 1); }).find("open for storing"), std::string::npos);
    std::shared_ptr<ArchiveTestLeaf> none;
    shr::SharedObjectTable table;
    EXPECT_NE(RaisedText([&] { out.Transfer(none, table); }).find("null shared object"), std::string::npos);
    out.Close();
    EXPECT_NE(RaisedText([&] { out.Write(&c, 1); }).find("closed"), std::string::npos);
    EXPECT_NE(RaisedText([&] { Archive a("x", 2); }).find("direction 2"), std::string::npos);
}

// ---- objects -----------------------------------------------------------------

// Three nodes in a cycle a -> b -> c -> a, transferred as a, b, a, null.
Bytes StoreCycle()
{
    ArchiveTestNode a, b, c;
    a.value = 1, b.value = 2, c.value = 3;
    a.name = "a", b.name = "b", c.name = "c";
    a.link = &b, b.link = &c, c.link = &a;
    Bytes bytes;
    Archive out(bytes);
    shr::CTypedObject* sequence[] = {&a, &b, &a, nullptr};
    for (shr::CTypedObject* object : sequence)
        out.TransferObject(object);
    EXPECT_EQ(out.m_ClassNames, std::vector<shr::GString>{"ArchiveTestNode"});
    return bytes;
}

void DeleteCreated(const Archive& archive)
{
    for (shr::CTypedObject* object : archive.CreatedObjects())
        delete object;
}

TEST(ArchiveTest, TransferObjectKeepsIdentityAndWritesClassNameOnce)
{
    const Bytes bytes = StoreCycle();
    EXPECT_EQ(CountOccurrences(bytes, "ArchiveTestNode"), 1u);

    Archive in(bytes.data(), bytes.size());
    ArchiveTestNode stale;
    ArchiveTestNode* loaded[4] = {nullptr, nullptr, nullptr, &stale}; // a null must overwrite it
    for (ArchiveTestNode*& object : loaded)
        in.TransferObject(object);
    ASSERT_EQ(in.CreatedObjects().size(), 3u);
    ArchiveTestNode* a = loaded[0];
    ASSERT_NE(a, nullptr);
    EXPECT_EQ(loaded[2], a);
    EXPECT_EQ(loaded[3], nullptr);
    EXPECT_EQ(loaded[1], a->link);
    EXPECT_EQ(a->link->link->link, a);
    EXPECT_EQ(a->name, "a");
    EXPECT_EQ(a->link->link->value, 3);
    DeleteCreated(in);
}

TEST(ArchiveTest, ObjectErrors)
{
    ArchiveTestAbstract abstract;
    Bytes bytes;
    Archive out(bytes);
    shr::CTypedObject* object = &abstract;
    EXPECT_NE(RaisedText([&] { out.TransferObject(object); }).find("cannot be made by name"), std::string::npos);
    EXPECT_TRUE(out.m_ClassNames.empty());
    // Such a type makes nothing; kinds follow the parents.
    EXPECT_EQ(ArchiveTestAbstract::GetClassTypeId()->CreateInstance(), nullptr);
    EXPECT_TRUE(ArchiveTestLeaf().IsKindOf(ArchiveTestAbstract::GetClassTypeId()));
    EXPECT_TRUE(abstract.IsKindOf(shr::CTypedObject::GetClassTypeId()));
    EXPECT_FALSE(abstract.IsKindOf(ArchiveTestLeaf::GetClassTypeId()));

    // An unknown class name raises code 22.
    Bytes unknown = StoreCycle();
    ASSERT_TRUE(testsupport::ReplaceRun(unknown, {'A', 'r', 'c', 'h'}, {'A', 'r', 'c', 'X'}));
    Archive in(unknown.data(), unknown.size());
    shr::CTypedObject* loaded = nullptr;
    const testsupport::Raised raised = testsupport::RaisedBy([&] { in.TransferObject(loaded); });
    EXPECT_EQ(raised.code, 22);
    EXPECT_NE(raised.message.find("\"ArcXiveTestNode\""), std::string::npos);
    EXPECT_TRUE(in.CreatedObjects().empty());

    // A reference to an object not yet read: the first, before any is.
    Bytes forward = {'F', 'K', 'D', 'C', 130, 0, 0, 0, 1, 0, 0, 0};
    Archive in2(forward.data(), forward.size());
    EXPECT_EQ(RaisedText([&] { in2.TransferObject(loaded); }), "Shared: Archive \"(memory)\", byte offset 8: corrupt: "
                                                              "a reference to object 1, of which only 0 are defined.");

    // A leaf where a node is expected.
    ArchiveTestLeaf leaf;
    const Bytes leafBytes = testsupport::StoreObject(&leaf);
    EXPECT_NE(RaisedText([&] { testsupport::LoadObject<ArchiveTestNode>(leafBytes); })
                  .find("\"ArchiveTestLeaf\" stands where"),
              std::string::npos);
}

// Stores leaves x, y, x through the shared-object path.
Bytes StoreShared()
{
    auto x = std::make_shared<ArchiveTestLeaf>();
    auto y = std::make_shared<ArchiveTestLeaf>();
    x->value = 1.5;
    y->value = 2.5;
    std::shared_ptr<ArchiveTestLeaf> sequence[] = {x, y, x};
    Bytes bytes;
    Archive out(bytes);
    shr::SharedObjectTable table;
    for (auto& object : sequence)
        out.Transfer(object, table);
    return bytes;
}

TEST(ArchiveTest, SharedObjectsKeepIdentity)
{
    const Bytes bytes = StoreShared();
    EXPECT_EQ(CountOccurrences(bytes, "ArchiveTestLeaf"), 1u);

    Archive in(bytes.data(), bytes.size());
    shr::SharedObjectTable table;
    std::shared_ptr<ArchiveTestLeaf> loaded[3];
    for (auto& object : loaded)
        in.Transfer(object, table);
    ASSERT_TRUE(loaded[0] && loaded[1]);
    EXPECT_EQ(loaded[0], loaded[2]);
    EXPECT_NE(loaded[0], loaded[1]);
    EXPECT_EQ(loaded[0]->value, 1.5);
    EXPECT_EQ(loaded[1]->value, 2.5);
    EXPECT_EQ(loaded[0].use_count(), 3); // two entries and the table
}

// ---- hostile input -------------------------------------------------------------

// A document with values, an object graph and shared objects.
Bytes StoreDocument()
{
    Bytes bytes;
    Archive out(bytes);
    Values values = SampleValues();
    values.Serialize(out);
    ArchiveTestNode a, b;
    a.link = &b, b.link = &a;
    a.name = "first";
    shr::CTypedObject* objects[] = {&a, &b};
    for (shr::CTypedObject* object : objects)
        out.TransferObject(object);
    auto leaf = std::make_shared<ArchiveTestLeaf>();
    shr::SharedObjectTable table;
    for (int i = 0; i < 2; ++i)
        out.Transfer(leaf, table);
    return bytes;
}

// Loads what StoreDocument stores; throws on bad input. Leaves nothing behind.
void LoadDocument(const unsigned char* data, size_t size)
{
    Archive in(data, size);
    testsupport::ReadOrDispose(in, [&] {
        Values values;
        values.Serialize(in);
        ArchiveTestNode* nodes[2] = {nullptr, nullptr};
        for (ArchiveTestNode*& node : nodes)
            in.TransferObject(node);
        shr::SharedObjectTable table;
        std::shared_ptr<ArchiveTestLeaf> leaves[2];
        for (auto& leaf : leaves)
            in.Transfer(leaf, table);
    });
    DeleteCreated(in);
}

TEST(ArchiveTest, EveryTruncationThrows)
{
    const Bytes bytes = StoreDocument();
    ASSERT_NO_THROW(LoadDocument(bytes.data(), bytes.size()));
    for (size_t cut = 0; cut < bytes.size(); ++cut) {
        Bytes prefix(bytes.begin(), bytes.begin() + cut); // exact size, so ASan sees any overrun
        EXPECT_THROW(LoadDocument(prefix.data(), prefix.size()), Exception) << "cut at " << cut;
    }
}

TEST(ArchiveTest, AbsurdLengthsFailBeforeAllocating)
{
    // A string claiming 4 GB with 3 bytes behind it: refused by the length check,
    // not by a failed read after allocating.
    const Bytes bytes = {'F', 'K', 'D', 'C', 130, 0, 0, 0, 0xF0, 0xFF, 0xFF, 0xFF, 'a', 'b', 'c'};
    Archive in(bytes.data(), bytes.size());
    std::string text = "kept";
    EXPECT_EQ(RaisedText([&] { in.Transfer(text); }),
              "Shared: Archive \"(memory)\", byte offset 12: corrupt: a count of 4294967280 items of 1 bytes exceeds "
              "the 3 bytes left.");
    EXPECT_EQ(text, "kept");
    EXPECT_NO_THROW(in.CheckCount(3, 1));
    EXPECT_THROW(in.CheckCount(2, 2), Exception);
    EXPECT_THROW(in.CheckCount(~0ull, 8), Exception);
}

// ---- files -----------------------------------------------------------------------

TEST(ArchiveTest, FileErrors)
{
    testsupport::ScratchFolder folder;
    const std::string missing = folder.File("no/such/dir/doc.fkd");
    for (int direction : {Archive::Load, Archive::Store}) {
        const std::string message = RaisedText([&] { Archive a(missing, direction); });
        EXPECT_NE(message.find(missing + "\" cannot be opened: No such file or directory."), std::string::npos) << message;
    }
    EXPECT_NE(RaisedText([&] { Archive a(folder.Path(), Archive::Load); }).find("not a regular file"),
              std::string::npos);
    Archive full("/dev/full", Archive::Store);
    EXPECT_NE(RaisedText([&] { full.Close(); }).find("No space left on device"), std::string::npos);

    // A large document read back through the file buffer, then truncated.
    const std::string path = folder.File("large.fkd");
    std::string big(300000, '\0');
    for (size_t i = 0; i < big.size(); ++i)
        big[i] = static_cast<char>(i * 7);
    {
        Archive out(path, Archive::Store);
        for (int i = 0; i < 3; ++i) {
            out.Transfer(big);
            out.SyncCheck();
        }
    }
    Bytes whole = testsupport::ReadBytes(path);
    whole.pop_back();
    folder.Write("large.fkd", whole);
    Archive in(path, Archive::Load);
    std::string text;
    for (int i = 0; i < 2; ++i) {
        in.Transfer(text);
        in.SyncCheck();
        EXPECT_TRUE(text == big) << "read back through the file's buffer";
    }
    in.Transfer(text);
    EXPECT_NE(RaisedText([&] { in.SyncCheck(); }).find("truncated: 4 bytes wanted, 3 left"), std::string::npos);
}

} // namespace
