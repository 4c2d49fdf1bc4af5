#pragma once
// The scene-graph library must be initialised once per process before any node
// is created or any action applied.

namespace render {

// Initialises the database, the node kits and the interaction classes, once;
// later calls do nothing. The network's own initialisation calls the same
// functions, which tolerate being called again.
void EnsureCoinInit();

} // namespace render
