// SPDX-License-Identifier: Apache-2.0
// What becomes of the computed values: smoothed over the mesh, then written to the deformer's Maya attribute
// for the selected vertices. Calling thread only.
#pragma once

#include <maya/MObject.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "commands/block_frame.h"
#include "fault.h"
#include "gr_node.h"

namespace talvisora {

/// The vertices that are to be written.
struct SelectedVertices {
    bool all = true;          ///< nothing narrows the choice
    std::vector<char> chosen; ///< one flag per vertex unless `all`

    bool contains(std::size_t vertex) const { return all || chosen[vertex] != 0; }
};

/// The component of the first selected item, whatever its kind, as vertices of a mesh of `count`. No
/// selection, an item without component, one that is not in the scene's hierarchy and a component without
/// single indices choose all; indices outside the mesh choose nothing. Which object is selected does not
/// matter, on purpose.
SelectedVertices selectedVertices(std::size_t count);

/// Smooths as the arguments say and writes the chosen ones to NODE.block[b].CHILD; `child` is the short name.
/// With `fast` through one data handle, which Maya cannot undo; else by one undoable command per vertex,
/// whose own failures are not looked at. A fault means that nothing was written.
Fault writeValues(const GrNode& node, const ResetArguments& arguments, const BlockFrame& frame,
                  const char* child, std::vector<float>& values);

/// As printf's "%f" in the C locale, whatever the process's locale is; so are numbers that are none.
std::string fixedText(double value);

} // namespace talvisora
