// SPDX-License-Identifier: Apache-2.0
// Wavefront .obj, one file per frame. Text with nine significant digits, so that every float comes back as it
// was, and always with a decimal point, whatever the locale.
#pragma once

#include "host/writers/output_mesh.h"
#include "maths/vec3.h"

#include <string>
#include <vector>

namespace talvisora::host {

/// File name of one frame. A run of '#' in the file's name (not in its folders) is replaced by the frame
/// number, padded with zeros to the length of the run: `out/bull_###.obj`, 7 → `out/bull_007.obj`; the last
/// run counts. Without one the number goes in front of the extension with four digits: `out/bull.obj` →
/// `out/bull.0007.obj`. Longer numbers are written whole; a minus sign stands in front of the padded digits.
std::string framePath(const std::string& pattern, int frame);

/// Writes one frame to exactly `path`: per mesh an `o` line, vertices, texture coordinates where the mesh has
/// them, normals on request (smooth over joined points), and its faces as polygons.
/// points  one per joined point, in the unit the file shall have, all finite.
/// Failures are HostError (kOutput); no half-written file is left.
void writeObj(const std::string& path, const std::vector<OutputMesh>& meshes,
              const std::vector<Vec3d>& points, bool withNormals = false);

} // namespace talvisora::host
