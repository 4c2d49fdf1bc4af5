#pragma once
// Archive: the persistence stream of documents. One archive either stores
// (writes) or loads (reads), over a file or over memory, and every Serialize
// reads and writes its fields through it in the same order, testing the
// direction where the two differ and the document version where the format
// changed.
//
// Stream layout. All values are raw little-endian bytes, with no padding:
//
//   header          4 bytes 'F' 'K' 'D' 'C', then the document version (int32).
//   SyncCheck       the 4 bytes 0xC3 0x5A 0xA5 0x3C.
//   string          the byte count (uint32), then the bytes, no terminator.
//   bool            1 byte, written as 0 or 1; any non-zero byte loads as true.
//   Vec2f           x, y (float).      Vec3d   x, y, z (double).
//   Vec3i           x, y, z (int32).   Quat4d  x, y, z, w (double).
//   Box3d           min x, y, z, then max x, y, z (double).
//   Mat4d           16 double, row by row.
//   Color4b         r, g, b, a (bytes).
//   TransferObject  a tag (uint32):
//                     0           a null pointer;
//                     0xFFFFFFFF  a new object: its class, then its Serialize;
//                     n           the n-th object (counting from 1) that this
//                                 archive has transferred, again.
//   class           an index into the class name table (uint32); when the index
//                   is not in the table yet, the class name (string) follows and
//                   is appended to the table. A name is written once per archive.
//   shared object   (Transfer of a std::shared_ptr with a caller's table) the
//                   object index (uint32); for an object not seen before, its
//                   class and its Serialize follow.
//
// Loading trusts nothing: a bad header, a missing section marker, a read past
// the end, a string or count longer than the bytes left, an unknown class or a
// reference to an object not yet defined raise a "Shared" shr::Exception that
// names the archive and the byte offset. Nothing is allocated beyond what the
// remaining bytes can justify.
//
// Objects made while loading belong to the caller from the moment they are
// made; the archive never deletes them. If a load fails part way, the objects
// that it made are listed by CreatedObjects() for the caller to dispose of.
#include "shr/GString.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <map>
#include <memory>
#include <string>
#include <type_traits>
#include <unordered_map>
#include <vector>

#include "shr/TypeInfo.h"

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "the archive writes the machine's bytes as little-endian");

namespace shr {

struct Box3d;
struct Color4b;
class Mat4d;
struct Quat4d;
struct Vec2f;
struct Vec3d;
struct Vec3i;

// The table that a caller keeps for objects held by std::shared_ptr, over the
// section of a document that shares them (a well group and its wells' logs).
// Storing fills `indexOf`, loading fills `objectAt`.
struct SharedObjectTable {
    std::map<const CTypedObject*, uint32_t> indexOf;
    std::map<uint32_t, std::shared_ptr<CTypedObject>> objectAt;
};

class Archive {
public:
    static constexpr int Load = 0;
    static constexpr int Store = 1;
    // The newest document version this code reads and the one it writes.
    static constexpr int CurrentVersion = 130;
    // The oldest document version this code reads.
    static constexpr int OldestVersion = 100;

    // An archive over the file at path: Store creates or truncates it, Load
    // reads it. A missing or unwritable file is an error naming the path.
    // `version` is what a store archive writes into its header; storing code
    // ignores it, so anything but CurrentVersion is for making test documents.
    Archive(const GString& path, int direction, int version = CurrentVersion);
    // A store archive that appends to `out`, which must outlive it. `filename`
    // is what GetFilename reports, for resolving relative references.
    explicit Archive(std::vector<unsigned char>& out, const GString& filename = GString(),
                     int version = CurrentVersion);
    // A load archive over `size` bytes at `data`, which must outlive it.
    Archive(const unsigned char* data, size_t size, const GString& filename = GString());
    // Closes the file; an error in that last flush is logged, not thrown: call
    // Close() to see it.
    ~Archive();

    Archive(const Archive&) = delete;
    Archive& operator=(const Archive&) = delete;

    // Store (1) or Load (0).
    int m_Direction;
    // The document version: from the header when loading.
    int m_Version;
    // Whether module links are stored; null counts as true.
    bool* ConnectionsFlag = nullptr;
    // The class names in the order of their indices in the stream.
    std::vector<GString> m_ClassNames;

    bool IsStoring() const { return m_Direction == Store; }
    bool IsLoading() const { return m_Direction == Load; }
    int GetVersion() const { return m_Version; }
    const GString& GetFilename() const { return m_Path; }

    // Raw bytes. Read on a store archive, or Write on a load archive, is an error.
    void Read(void* data, unsigned int size);
    void Write(const void* data, unsigned int size);
    // Raw bytes in the archive's direction.
    void Transfer(void* data, unsigned int size);

    void Transfer(std::string& text);
    void Transfer(bool& value);
    void Transfer(Box3d& box);
    void Transfer(Color4b& color);
    void Transfer(Mat4d& matrix);
    void Transfer(Quat4d& quat);
    void Transfer(Vec2f& vec);
    void Transfer(Vec3d& vec);
    void Transfer(Vec3i& vec);
    // Numbers as their own bytes.
    template <class T>
    std::enable_if_t<std::is_arithmetic<T>::value> Transfer(T& value)
    {
        Transfer(&value, sizeof value);
    }

    // An object pointer with identity: see the layout above. On loading, the
    // pointer is set only once the object has been read in full.
    void TransferObject(CTypedObject*& object);
    // The same for a pointer to a class derived from CTypedObject; loading an
    // object of another class is an error.
    template <class T>
    void TransferObject(T*& object);

    // An object held by std::shared_ptr, with the caller's table. Storing a null
    // pointer is an error.
    template <class T>
    void Transfer(std::shared_ptr<T>& object, SharedObjectTable& table);

    // Writes a section marker, or checks that one follows.
    void SyncCheck();

    // Writes out what is buffered and closes the file. Idempotent; for memory
    // archives a no-op. A write error is thrown.
    void Close();

    // Bytes from the start of the stream, header included.
    uint64_t GetOffset() const { return m_Offset; }
    // Bytes left to read (0 when storing).
    uint64_t BytesRemaining() const { return IsLoading() ? m_Size - m_Offset : 0; }
    // When loading, raises an error if `count` items of at least bytesPerItem
    // bytes each cannot be in the rest of the stream. Call it before sizing a
    // container by a count read from the archive.
    void CheckCount(uint64_t count, uint64_t bytesPerItem) const;
    // When loading, raises a format error unless lo <= value <= hi (a NaN never
    // is): for a loaded field against the limits its property applies. `what`
    // names the field in the message.
    template <class T>
    void CheckRange(T value, typename std::enable_if<true, T>::type lo, typename std::enable_if<true, T>::type hi,
                    const char* what) const
    {
        static_assert(std::is_arithmetic<T>::value, "CheckRange compares numbers");
        if (IsLoading() && !(lo <= value && value <= hi))
            ThrowFormatError("corrupt: %s is %.17g, outside %.17g to %.17g", what, static_cast<double>(value),
                             static_cast<double>(lo), static_cast<double>(hi));
    }
    // Raises a "Shared" error naming this archive and the current offset.
    [[noreturn]] void ThrowFormatError(const char* format, ...) const __attribute__((format(printf, 2, 3)));

    // The objects that loading has made, in order of creation.
    const std::vector<CTypedObject*>& CreatedObjects() const { return m_LoadedObjects; }

private:
    struct FileCloser {
        void operator()(std::FILE* file) const;
    };

    void OpenFile(int version);
    void WriteHeader(int version);
    void ReadHeader();
    void RequireDirection(int direction, const char* operation) const;
    void RefillWindow(unsigned char* direct, size_t size);
    void FlushBuffer();
    uint32_t ReadUInt32();
    void WriteUInt32(uint32_t value);
    template <size_t N>
    void TransferDoubles(double* values);
    [[noreturn]] void ThrowSystemError(const char* operation) const;
    [[noreturn]] void ThrowErrorAt(uint64_t offset, const GString& text) const;
    GString Name() const;

    // Index of a class name in the table, appended if new (then isNew is set).
    uint32_t ClassToIndex(const char* className, bool& isNew);
    // The class part of a new object: see the layout above.
    void StoreClass(const CTypedObject& object);
    GString LoadClass();
    // A new object of the named class, or an error with code 22.
    CTypedObject* CreateObject(const GString& className);
    template <class T>
    T* CastLoaded(CTypedObject* object);

    GString m_Path;
    std::unique_ptr<std::FILE, FileCloser> m_File;
    std::vector<unsigned char>* m_Out = nullptr; // memory store target
    std::vector<unsigned char> m_Buffer;         // file buffer, either direction
    const unsigned char* m_Window = nullptr;     // loading: the bytes at hand
    size_t m_WindowSize = 0;
    size_t m_WindowPos = 0;
    uint64_t m_Offset = 0; // the stream position
    uint64_t m_Size = 0;   // loading: the length of the stream
    bool m_Closed = false;

    std::unordered_map<const CTypedObject*, uint32_t> m_StoredObjects; // storing: object -> tag
    std::vector<CTypedObject*> m_LoadedObjects;                         // loading: tag - 1 -> object
};

// ---- inline templates ----------------------------------------------------

template <class T>
T* Archive::CastLoaded(CTypedObject* object)
{
    T* typed = dynamic_cast<T*>(object);
    if (!typed)
        ThrowFormatError("an object of class \"%s\" stands where another class is expected",
                         object->GetTypeId()->m_ClassName);
    return typed;
}

template <class T>
void Archive::TransferObject(T*& object)
{
    static_assert(std::is_base_of<CTypedObject, T>::value, "TransferObject needs a CTypedObject");
    CTypedObject* base = object;
    TransferObject(base);
    if (IsLoading())
        object = base ? CastLoaded<T>(base) : nullptr;
}

template <class T>
void Archive::Transfer(std::shared_ptr<T>& object, SharedObjectTable& table)
{
    static_assert(std::is_base_of<CTypedObject, T>::value, "shared objects must be CTypedObjects");
    if (IsStoring()) {
        if (!object)
            ThrowFormatError("a null shared object cannot be stored");
        const CTypedObject* key = object.get();
        auto found = table.indexOf.emplace(key, static_cast<uint32_t>(table.indexOf.size()));
        uint32_t index = found.first->second;
        Transfer(index);
        if (!found.second)
            return;
        StoreClass(*object);
        object->Serialize(*this);
        return;
    }
    uint32_t index = 0;
    Transfer(index);
    auto known = table.objectAt.find(index);
    if (known != table.objectAt.end()) {
        object = std::shared_ptr<T>(known->second, CastLoaded<T>(known->second.get()));
        return;
    }
    const GString className = LoadClass();
    std::shared_ptr<CTypedObject> created(CreateObject(className));
    T* typed = CastLoaded<T>(created.get());
    table.objectAt.emplace(index, created);
    typed->Serialize(*this);
    object = std::shared_ptr<T>(created, typed);
}

} // namespace shr
