// SPDX-License-Identifier: Apache-2.0
// The scene behind the look-alike classes, as host and tests fill it: named dependency nodes.
//
// This header is the platform's own, not Maya's; module code never includes it.
#pragma once

#include "../headless_api.h"
#include <maya/MObject.h>
#include <string>

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

/// Deletes all nodes.
HEADLESS_API void clearScene();

} // namespace headless
