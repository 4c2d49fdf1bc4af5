#pragma once
// SoSafeTexture: a batch of GL texture names that belongs to the context that
// made them, and is deleted in that context whatever context is current when
// the batch is let go. Names can only be deleted by their own context: done in
// another, glDeleteTextures would delete that context's textures of the same
// numbers, or nothing.
//
// deleteTextures frees the names at once when the caller says their context is
// current; otherwise the deletion waits until the scene graph next makes their
// context current for drawing, or destroys it (SoContextHandler). The
// destructor deletes as deleteTextures() does.
#include <cstddef>
#include <cstdint>
#include <vector>

namespace core {

class SoSafeTexture {
public:
    SoSafeTexture() = default;
    ~SoSafeTexture();
    SoSafeTexture(SoSafeTexture&& other) noexcept;
    SoSafeTexture& operator=(SoSafeTexture&& other) noexcept;
    SoSafeTexture(const SoSafeTexture&) = delete;
    SoSafeTexture& operator=(const SoSafeTexture&) = delete;

    // Releases what the batch held, then makes `count` names in the context
    // `contextId`, which must be current; also copied to `names` when given.
    void genTextures(uint32_t contextId, int count, unsigned* names = nullptr);
    // `currentContext`: the cache context id current on the calling thread,
    // or -1 when unknown.
    void deleteTextures(int64_t currentContext = -1);

    bool empty() const { return m_Names.empty(); }
    size_t size() const { return m_Names.size(); }
    unsigned operator[](size_t index) const { return m_Names[index]; }
    const std::vector<unsigned>& names() const { return m_Names; }
    uint32_t context() const { return m_Context; }

    // Names waiting for their context, over all batches.
    static size_t pendingCount();

private:
    uint32_t m_Context = 0;
    std::vector<unsigned> m_Names;
};

} // namespace core
