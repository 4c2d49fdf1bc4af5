#pragma once
// OpenGL error checks around the renderer's own GL work.

namespace render {

// Discards pending errors, so that the next check reports only what follows.
void ClearGlErrors();
// Throws when the context has recorded an error; `operation` says what was
// being done ("drawing the scene"). Every pending error is named.
void CheckGlErrors(const char* operation);

} // namespace render
