// SPDX-License-Identifier: Apache-2.0
// glTF files before the importer sees them. The importer trusts the document (cycles, counts and offsets past
// the buffers, joint numbers past the skin) and finds joints by name alone, so the document is checked here
// and its nodes get names that are unique.
#pragma once

#include "host/character/reading/gltf_document.h"

#include <string>
#include <vector>

namespace Assimp {
class IOSystem;
}

namespace talvisora::host::reading {

struct GltfSource {
    std::vector<char> bytes;           ///< the document as the importer shall read it
    std::vector<std::string> warnings; ///< one line each
};

/// Reads and checks a .gltf or .glb file. Throws HostError kInput with one line.
GltfSource readGltfSource(const std::string& path, bool binary);

/// A file system that answers `path` with these bytes and everything else from the disk. The caller owns it.
Assimp::IOSystem* makeSourceSystem(const std::string& path, std::vector<char> bytes);

} // namespace talvisora::host::reading
