// SPDX-License-Identifier: Apache-2.0
// Between a rig file and the character that it was made for: writing down the rig that the host makes up,
// and, the other way, checking that a rig fits a character and turning it into what an evaluation is given.
#pragma once

#include "host/character/auto_blocks.h"
#include "host/rig_file/rig_file.h"

#include <string>
#include <vector>

namespace talvisora::host {

/// Sixteen hexadecimal digits, FNV-1a over 64 bits, of little-endian bytes. Both depend on the order.
/// Topology: number of points, of meshes; per mesh the number of vertices, each vertex's point, the number of
/// triangles and their corners as vertices; all as unsigned 32-bit numbers.
/// Rest positions: x, y, z of every point as single-precision numbers, -0 as 0, in evaluation lengths.
std::string topologyHash(const Character& character);
std::string restPositionsHash(const Character& character);

/// The unit that `--units` named, as the rig file has it ("" for kFromFile), and back.
std::string fileUnitText(FileUnit unit);
FileUnit unitsOf(const RigFile& rig);

/// A character's path as a rig file at `rigPath` writes it: absolute paths as they are, others relative to
/// the rig file's folder.
std::string characterPathFrom(const std::string& rigPath, const std::string& characterPath);

/// Writes down the rig in its rest pose. `units` is what the character was read with; path is left empty.
RigFile makeRigFile(const Character& character, const AutoRig& rig, const std::string& rigPath,
                    FileUnit units, const std::string& upAxis);

/// The rig as the evaluation takes it, in its rest pose; weights and params are copied. Notes tell of joints
/// whose rest pose differs. A rig that makeRigFile() wrote for this character gives the same evaluation, bit
/// for bit, as the rig that went in. HostError kInput when it does not fit: made with another unit, another
/// number of points, other topology, other rest positions; a joint that the character lacks or that hangs
/// elsewhere there.
AutoRig fitRig(const RigFile& rig, const Character& character);

} // namespace talvisora::host
