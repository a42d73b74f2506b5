// SPDX-License-Identifier: Apache-2.0
// The scene behind the look-alike classes, as host and tests fill it: named nodes, meshes, and the selection.
// Attributes of nodes are in scene/attributes.h, commands in scene/mel.h.
//
// This header is the platform's own, not Maya's; module code never includes it.
#pragma once

#include "../headless_api.h"
#include <maya/MObject.h>
#include <string>
#include <vector>

namespace headless {

/// Makes a dependency node (MFn::kPluginDependNode) of type `typeName` and returns its handle.
///
/// Names are unique in the scene: a name in use gets the smallest free number from 1 behind it ("body",
/// "body1", "body2"); an empty name counts as the type's name and always gets a number. Any bytes are
/// allowed. Threads: all functions of this header may be called from any thread; they do not count as API
/// calls.
HEADLESS_API MObject createNode(const std::string& typeName, const std::string& name);

/// Deletes the node. Handles to it stay safe to use and find nothing. False when there is no such node.
HEADLESS_API bool deleteNode(const MObject& node);

/// Gives the node another name, made unique as in createNode; its own present name counts as free. Returns
/// the name given; the empty string when there is no such node.
HEADLESS_API std::string renameNode(const MObject& node, const std::string& name);

/// The node of that name; a null handle when there is none.
HEADLESS_API MObject findNode(const std::string& name);

/// Whether the handle denotes a node that exists now.
HEADLESS_API bool isAlive(const MObject& node);

/// Deletes all nodes and components, and empties the selection, the undo list and the write journal.
HEADLESS_API void clearScene();

/// One point of a mesh, object space, centimetres.
struct Position {
    double x, y, z;
};

/// Makes a polygon mesh (MFn::kMesh) and returns its handle. The scene has no hierarchy: there is no
/// transform above the mesh, and the name is that of the shape itself, so looking it up gives an object that
/// MFnMesh takes. `faceCounts` holds the number of vertices of each face, `faceVertices` the vertices of all
/// faces one after the other.
///
/// A null handle, nothing made and `error` (if not null) filled with one line when a count is below 3, the
/// counts do not add up to the number of face vertices, a vertex index is out of range, or there are more
/// than 2^31 - 1 of anything. All else is taken: no points, no faces, unused and doubled vertices, faces
/// without area, faces that use a vertex twice, open and crossing surfaces, and points that are not finite
/// (faces at them take no part in queries).
HEADLESS_API MObject createMesh(const std::string& name, const std::vector<Position>& points,
                                const std::vector<int>& faceCounts, const std::vector<int>& faceVertices,
                                std::string* error = nullptr);

/// Makes a transform (MFn::kTransform): placed in the scene, but no mesh.
HEADLESS_API MObject createTransform(const std::string& name);

/// Which parts of a shape a selected component means. `other` is one without a single index per element (as
/// control vertices of a surface have two): MFnSingleIndexedComponent does not attach to it.
enum class ComponentKind { none, vertices, edges, faces, other };

/// One entry of the selection. `elements` may be in any order, repeat, and lie outside the mesh.
struct SelectedItem {
    MObject object;
    ComponentKind kind = ComponentKind::none;
    std::vector<int> elements;
};

/// Replaces the active selection. Items whose node does not exist are left out, as are components of nodes
/// that are not placed in the scene.
HEADLESS_API void setActiveSelection(const std::vector<SelectedItem>& items);

} // namespace headless
