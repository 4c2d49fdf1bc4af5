#pragma once
// InvMemoryArchive: a scene graph to and from a binary buffer in memory, so
// that geometry can be cached or sent along with a document. Files that the
// graph names (textures, included graphs) are looked up first in the folder
// of the archive's path.
#include "core/graphics/InvSmartPtr.h"
#include "shr/GString.h"

#include <boost/noncopyable.hpp>

#include <Inventor/nodes/SoSeparator.h>

#include <cstddef>

class SoNode;

namespace core {

class InvMemoryArchive : private boost::noncopyable {
public:
    explicit InvMemoryArchive(const shr::GString& path = shr::GString());
    ~InvMemoryArchive();

    // Writes `node` in binary and hands out the buffer, which stays owned by
    // the archive until the next Write, Clear or destruction. Returns its
    // size in bytes. A null node throws.
    size_t Write(SoNode* node, void*& buffer);
    // The graph in `buffer`, or null when it cannot be read.
    InvSmartPtr<SoSeparator> Read(const void* buffer, size_t size) const;
    // Frees the buffer of the last Write.
    void Clear();

private:
    shr::GString m_Path;
    void* m_Buffer = nullptr;
};

} // namespace core
