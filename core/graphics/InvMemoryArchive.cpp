#include "core/graphics/InvMemoryArchive.h"

#include "shr/Exception.h"
#include "shr/Path.h"

#include <Inventor/SoDB.h>
#include <Inventor/SoInput.h>
#include <Inventor/SoOutput.h>
#include <Inventor/actions/SoWriteAction.h>

#include <cstdlib>

namespace core {

namespace InvArchivePrivate {

// Puts the folder of a path first on the reader's search list for its scope.
class ScopedPushPath : private boost::noncopyable {
public:
    explicit ScopedPushPath(const shr::GString& path)
    {
        if (path.empty())
            return;
        m_Directory = shr::CPath(path).GetDriveAndDirectory(false);
        if (!m_Directory.empty())
            SoInput::addDirectoryFirst(m_Directory.c_str());
    }
    ~ScopedPushPath()
    {
        if (!m_Directory.empty())
            SoInput::removeDirectory(m_Directory.c_str());
    }

private:
    shr::GString m_Directory;
};

} // namespace InvArchivePrivate

namespace {

const size_t kInitialBufferSize = 4096;

void* GrowBuffer(void* buffer, size_t size) { return std::realloc(buffer, size); }

} // namespace

InvMemoryArchive::InvMemoryArchive(const shr::GString& path) : m_Path(path) {}

InvMemoryArchive::~InvMemoryArchive() { Clear(); }

void InvMemoryArchive::Clear()
{
    std::free(m_Buffer);
    m_Buffer = nullptr;
}

size_t InvMemoryArchive::Write(SoNode* node, void*& buffer)
{
    if (node == nullptr)
        shr::ThrowSharedError("Core", __FILE__, __LINE__, 0, "Invalid node to write.");
    Clear();
    void* initial = std::malloc(kInitialBufferSize);
    if (initial == nullptr)
        shr::ThrowSharedError("Core", __FILE__, __LINE__, 0, "Out of memory writing a scene.");
    SoOutput output;
    output.setBinary(TRUE);
    output.setBuffer(initial, kInitialBufferSize, GrowBuffer);
    SoWriteAction action(&output);
    action.apply(node);
    size_t size = 0;
    output.getBuffer(m_Buffer, size);
    buffer = m_Buffer;
    return size;
}

InvSmartPtr<SoSeparator> InvMemoryArchive::Read(const void* buffer, size_t size) const
{
    if (buffer == nullptr || size == 0)
        return InvSmartPtr<SoSeparator>();
    InvArchivePrivate::ScopedPushPath searchPath(m_Path);
    SoInput input;
    input.setBuffer(buffer, size);
    return InvSmartPtr<SoSeparator>(SoDB::readAll(&input));
}

} // namespace core
