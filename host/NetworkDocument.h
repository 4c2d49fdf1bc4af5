#pragma once
// NetworkDocument: the host's document: the whole network written through
// shr::Archive, so that `fenrak render DOC` draws again what was saved.
//
// Layout, after the archive's header (magic and document version):
//   section   module count (int32); per module its id (int64) and the module
//             through TransferObject, without its links;
//   section   link count (uint32); per link the indices (int32) of the
//             consumer, its input, the source and the source's output;
//   section   the network's own part (the scene transform);
//   section   the view: width, height (int32), azimuth, elevation, zoom
//             (double), whether a background is set (bool), the background.
// Links are stored by the host, not inside the modules, so that loading makes
// them through VoNetwork::ConnectNodes like any other link.
#include "host/SceneFile.h"
#include "shr/GString.h"

#include <cstddef>

namespace host {

class NetworkDocument {
public:
    // Whether the file starts like a document (as opposed to a scene file).
    static bool IsDocument(const shr::GString& path);
    // Writes the network and the view to `path` (OutputFiles gives it a
    // temporary name).
    static void Save(const shr::GString& path, const SceneView& view);
    // Restores the modules and links into the network, which must be empty,
    // and returns the stored view. A bad document (a damaged stream, a view
    // that cannot be drawn) raises a user error naming the file and leaves the
    // network empty and nothing else made.
    static SceneView Load(const shr::GString& path);
    // The same from `size` bytes at `data`; `name` names them in errors.
    static SceneView Load(const unsigned char* data, size_t size, const shr::GString& name);
};

} // namespace host
