#include "shr/Archive.h"

#include "shr/Box3d.h"
#include "shr/Color4b.h"
#include "shr/Exception.h"
#include "shr/Logger.h"
#include "shr/Mat4d.h"
#include "shr/Quat4d.h"
#include "shr/StringUtil.h"
#include "shr/Vec2.h"
#include "shr/Vec3.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstring>
#include <limits>

namespace shr {

namespace {

const unsigned char HeaderMagic[4] = {'F', 'K', 'D', 'C'};
const unsigned char SyncMarker[4] = {0xC3, 0x5A, 0xA5, 0x3C};
const uint32_t NullTag = 0;
const uint32_t NewObjectTag = 0xFFFFFFFFu;
// Size of the file buffer; larger transfers bypass it.
const size_t FileBufferSize = 1 << 16;

static_assert(sizeof(float) == 4 && sizeof(double) == 8 && sizeof(int) == 4, "the stream layout assumes these sizes");

} // namespace

void Archive::FileCloser::operator()(std::FILE* file) const
{
    if (file)
        std::fclose(file);
}

Archive::Archive(const GString& path, int direction, int version)
    : m_Direction(direction), m_Version(version), m_Path(path)
{
    RequireDirection(direction, "open");
    OpenFile(version);
}

Archive::Archive(std::vector<unsigned char>& out, const GString& filename, int version)
    : m_Direction(Store), m_Version(version), m_Path(filename), m_Out(&out)
{
    WriteHeader(version);
}

Archive::Archive(const unsigned char* data, size_t size, const GString& filename)
    : m_Direction(Load), m_Version(0), m_Path(filename), m_Window(data), m_WindowSize(data ? size : 0),
      m_Size(data ? size : 0)
{
    ReadHeader();
}

Archive::~Archive()
{
    try {
        Close();
    } catch (const Exception& e) {
        g_Logger.Send(1, e.Message());
    }
}

void Archive::OpenFile(int version)
{
    m_File.reset(std::fopen(m_Path.c_str(), IsStoring() ? "wb" : "rb"));
    if (!m_File)
        ThrowSystemError("cannot be opened");
    m_Buffer.reserve(FileBufferSize);
    if (IsStoring()) {
        WriteHeader(version);
        return;
    }
    struct stat info;
    if (fstat(fileno(m_File.get()), &info) != 0)
        ThrowSystemError("cannot be examined");
    if (!S_ISREG(info.st_mode))
        ThrowFormatError("not a regular file");
    m_Size = static_cast<uint64_t>(info.st_size);
    ReadHeader();
}

void Archive::WriteHeader(int version)
{
    if (version < OldestVersion || version > CurrentVersion)
        ThrowFormatError("cannot write document version %d (this code knows %d to %d)", version, OldestVersion,
                         CurrentVersion);
    Write(HeaderMagic, sizeof HeaderMagic);
    Transfer(version);
}

void Archive::ReadHeader()
{
    unsigned char magic[sizeof HeaderMagic];
    if (m_Size < sizeof magic + sizeof m_Version)
        ThrowFormatError("not a document: %llu bytes are too few for a header",
                         static_cast<unsigned long long>(m_Size));
    Read(magic, sizeof magic);
    if (std::memcmp(magic, HeaderMagic, sizeof magic) != 0)
        ThrowErrorAt(0, "not a document: the header is wrong");
    Transfer(m_Version);
    if (m_Version < OldestVersion || m_Version > CurrentVersion)
        ThrowFormatError("document version %d cannot be read (this code reads %d to %d)", m_Version, OldestVersion,
                         CurrentVersion);
}

void Archive::Close()
{
    if (m_Closed)
        return;
    m_Closed = true;
    if (!m_File)
        return;
    if (IsStoring()) {
        FlushBuffer();
        std::FILE* file = m_File.release();
        if (std::fclose(file) != 0)
            ThrowSystemError("cannot be written");
    }
    m_File.reset();
}

void Archive::RequireDirection(int direction, const char* operation) const
{
    if (direction != Load && direction != Store)
        ThrowFormatError("cannot %s: direction %d is neither store (1) nor load (0)", operation, direction);
    if (m_Direction != direction)
        ThrowFormatError("cannot %s: the archive is open for %s", operation, IsStoring() ? "storing" : "loading");
    if (m_Closed)
        ThrowFormatError("cannot %s: the archive is closed", operation);
}

// ---- raw bytes --------------------------------------------------------------

void Archive::Read(void* data, unsigned int size)
{
    RequireDirection(Load, "read");
    if (size > BytesRemaining())
        ThrowFormatError("truncated: %u bytes wanted, %llu left", size,
                         static_cast<unsigned long long>(BytesRemaining()));
    auto* out = static_cast<unsigned char*>(data);
    size_t left = size;
    while (left > 0) {
        if (m_WindowPos == m_WindowSize) {
            if (left >= FileBufferSize) { // large reads go straight to the caller
                RefillWindow(out, left);
                return;
            }
            RefillWindow(nullptr, 0);
        }
        const size_t count = std::min(left, m_WindowSize - m_WindowPos);
        std::memcpy(out, m_Window + m_WindowPos, count);
        m_WindowPos += count;
        m_Offset += count;
        out += count;
        left -= count;
    }
}

// Fetches file bytes: `size` of them into `direct`, or else the next buffer's worth.
void Archive::RefillWindow(unsigned char* direct, size_t size)
{
    if (!m_File) // memory archives hold all their bytes in the window
        ThrowFormatError("truncated");
    unsigned char* target = direct;
    if (!direct) {
        size = static_cast<size_t>(std::min<uint64_t>(FileBufferSize, BytesRemaining()));
        m_Buffer.resize(size);
        target = m_Buffer.data();
    }
    if (std::fread(target, 1, size, m_File.get()) != size) {
        if (std::ferror(m_File.get()))
            ThrowSystemError("cannot be read");
        ThrowFormatError("truncated: the file became shorter while it was read");
    }
    if (direct) {
        m_Offset += size;
        m_WindowPos = m_WindowSize = 0;
        return;
    }
    m_Window = m_Buffer.data();
    m_WindowSize = size;
    m_WindowPos = 0;
}

void Archive::Write(const void* data, unsigned int size)
{
    RequireDirection(Store, "write");
    const auto* bytes = static_cast<const unsigned char*>(data);
    if (m_Out) {
        m_Out->insert(m_Out->end(), bytes, bytes + size);
    } else {
        if (m_Buffer.size() + size > FileBufferSize)
            FlushBuffer();
        if (size >= FileBufferSize) {
            if (std::fwrite(bytes, 1, size, m_File.get()) != size)
                ThrowSystemError("cannot be written");
        } else {
            m_Buffer.insert(m_Buffer.end(), bytes, bytes + size);
        }
    }
    m_Offset += size;
}

void Archive::FlushBuffer()
{
    if (m_Buffer.empty())
        return;
    const size_t written = std::fwrite(m_Buffer.data(), 1, m_Buffer.size(), m_File.get());
    const bool complete = written == m_Buffer.size();
    m_Buffer.clear();
    if (!complete)
        ThrowSystemError("cannot be written");
}

void Archive::Transfer(void* data, unsigned int size)
{
    if (IsStoring())
        Write(data, size);
    else
        Read(data, size);
}

uint32_t Archive::ReadUInt32()
{
    uint32_t value = 0;
    Read(&value, sizeof value);
    return value;
}

void Archive::WriteUInt32(uint32_t value) { Write(&value, sizeof value); }

void Archive::CheckCount(uint64_t count, uint64_t bytesPerItem) const
{
    if (!IsLoading())
        return;
    const uint64_t itemSize = std::max<uint64_t>(bytesPerItem, 1);
    if (count > BytesRemaining() / itemSize)
        ThrowFormatError("corrupt: a count of %llu items of %llu bytes exceeds the %llu bytes left",
                         static_cast<unsigned long long>(count), static_cast<unsigned long long>(itemSize),
                         static_cast<unsigned long long>(BytesRemaining()));
}

// ---- values ---------------------------------------------------------------

void Archive::Transfer(std::string& text)
{
    if (IsStoring()) {
        if (text.size() > std::numeric_limits<uint32_t>::max())
            ThrowFormatError("a string of %zu bytes is too long to store", text.size());
        const auto size = static_cast<uint32_t>(text.size());
        WriteUInt32(size);
        Write(text.data(), size);
        return;
    }
    const uint32_t size = ReadUInt32();
    CheckCount(size, 1);
    std::string loaded(size, '\0');
    Read(&loaded[0], size);
    text.swap(loaded);
}

void Archive::Transfer(bool& value)
{
    unsigned char byte = value ? 1 : 0;
    Transfer(&byte, 1);
    value = byte != 0;
}

void Archive::Transfer(Color4b& color)
{
    unsigned char rgba[4] = {color.r, color.g, color.b, color.a};
    Transfer(rgba, sizeof rgba);
    color = Color4b(rgba[0], rgba[1], rgba[2], rgba[3]);
}

template <size_t N>
void Archive::TransferDoubles(double* values)
{
    Transfer(values, static_cast<unsigned int>(N * sizeof(double)));
}

void Archive::Transfer(Vec2f& vec)
{
    Transfer(vec.x);
    Transfer(vec.y);
}

void Archive::Transfer(Vec3d& vec)
{
    double xyz[3] = {vec.x, vec.y, vec.z};
    TransferDoubles<3>(xyz);
    vec.x = xyz[0];
    vec.y = xyz[1];
    vec.z = xyz[2];
}

void Archive::Transfer(Vec3i& vec)
{
    Transfer(vec.x);
    Transfer(vec.y);
    Transfer(vec.z);
}

void Archive::Transfer(Quat4d& quat)
{
    double xyzw[4] = {quat.x, quat.y, quat.z, quat.w};
    TransferDoubles<4>(xyzw);
    quat.x = xyzw[0];
    quat.y = xyzw[1];
    quat.z = xyzw[2];
    quat.w = xyzw[3];
}

void Archive::Transfer(Box3d& box)
{
    Transfer(box.min);
    Transfer(box.max);
}

void Archive::Transfer(Mat4d& matrix)
{
    double rows[16];
    for (int i = 0; i < 16; ++i)
        rows[i] = matrix.m[i / 4][i % 4];
    TransferDoubles<16>(rows);
    if (IsLoading())
        matrix = Mat4d(rows); // classifies the loaded matrix
}

void Archive::SyncCheck()
{
    if (IsStoring()) {
        Write(SyncMarker, sizeof SyncMarker);
        return;
    }
    const uint64_t start = m_Offset;
    unsigned char marker[sizeof SyncMarker];
    Read(marker, sizeof marker);
    if (std::memcmp(marker, SyncMarker, sizeof marker) != 0)
        ThrowErrorAt(start, "corrupt: a section marker is missing");
}

// ---- objects ---------------------------------------------------------------

uint32_t Archive::ClassToIndex(const char* className, bool& isNew)
{
    for (size_t i = 0; i < m_ClassNames.size(); ++i) {
        if (m_ClassNames[i] == className) {
            isNew = false;
            return static_cast<uint32_t>(i);
        }
    }
    m_ClassNames.emplace_back(className);
    isNew = true;
    return static_cast<uint32_t>(m_ClassNames.size() - 1);
}

void Archive::StoreClass(const CTypedObject& object)
{
    const CTypeInfo* type = object.GetTypeId();
    bool isNew = false;
    uint32_t index = ClassToIndex(type->m_ClassName, isNew);
    if (isNew && (CTypeInfo::FromName(type->m_ClassName) != type || !type->CanCreate())) {
        m_ClassNames.pop_back(); // a document that cannot be read back is not written
        ThrowFormatError("an object of class \"%s\" cannot be stored: the class cannot be made by name",
                         type->m_ClassName);
    }
    Transfer(index);
    if (isNew)
        Transfer(m_ClassNames[index]);
}

GString Archive::LoadClass()
{
    const uint32_t index = ReadUInt32();
    if (index < m_ClassNames.size())
        return m_ClassNames[index];
    GString className;
    Transfer(className);
    m_ClassNames.push_back(className);
    return className;
}

CTypedObject* Archive::CreateObject(const GString& className)
{
    const CTypeInfo* type = CTypeInfo::FromName(className.c_str());
    void* created = type ? type->CreateInstance() : nullptr;
    if (!created)
        throw Exception("Shared", __FILE__, __LINE__, 22,
                        ToString("Archive \"%s\", byte offset %llu: cannot create an object of class \"%s\": "
                                 "the class is unknown.",
                                 Name().c_str(), static_cast<unsigned long long>(m_Offset), className.c_str()));
    return static_cast<CTypedObject*>(created);
}

void Archive::TransferObject(CTypedObject*& object)
{
    if (IsStoring()) {
        if (!object) {
            WriteUInt32(NullTag);
            return;
        }
        auto found = m_StoredObjects.emplace(object, static_cast<uint32_t>(m_StoredObjects.size() + 1));
        if (!found.second) {
            WriteUInt32(found.first->second);
            return;
        }
        WriteUInt32(NewObjectTag);
        StoreClass(*object);
        object->Serialize(*this);
        return;
    }
    const uint64_t start = m_Offset;
    const uint32_t tag = ReadUInt32();
    if (tag == NullTag) {
        object = nullptr;
    } else if (tag != NewObjectTag) {
        if (tag > m_LoadedObjects.size())
            ThrowErrorAt(start, ToString("corrupt: a reference to object %u, of which only %zu are defined", tag,
                                         m_LoadedObjects.size()));
        object = m_LoadedObjects[tag - 1];
    } else {
        CTypedObject* created = CreateObject(LoadClass());
        // Known before it is read, so that links back to it (cycles) resolve.
        m_LoadedObjects.push_back(created);
        created->Serialize(*this);
        object = created;
    }
}

// ---- errors ----------------------------------------------------------------

GString Archive::Name() const { return m_Path.empty() ? GString("(memory)") : m_Path; }

void Archive::ThrowFormatError(const char* format, ...) const
{
    std::string text;
    va_list args;
    va_start(args, format);
    FormatStringVA(text, format, args);
    va_end(args);
    ThrowErrorAt(m_Offset, text);
}

void Archive::ThrowErrorAt(uint64_t offset, const GString& text) const
{
    throw Exception("Shared", __FILE__, __LINE__, 0,
                    ToString("Archive \"%s\", byte offset %llu: %s.", Name().c_str(),
                             static_cast<unsigned long long>(offset), text.c_str()));
}

void Archive::ThrowSystemError(const char* operation) const
{
    const GString reason = FormatSystemErrorMsg();
    throw Exception("Shared", __FILE__, __LINE__, 0,
                    ToString("Archive \"%s\" %s: %s.", Name().c_str(), operation, reason.c_str()));
}

} // namespace shr
