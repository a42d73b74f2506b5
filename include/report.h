// SPDX-License-Identifier: Apache-2.0
// The error sink: puts the Maya node's name before a fault and shows it, once. Calling thread only.
#pragma once

#include <maya/MFnDependencyNode.h>
#include <maya/MGlobal.h>
#include <maya/MString.h>

#include <string>

#include "fault.h"
#include "gr_node.h"

namespace talvisora {

/// Shows a composed message as an error and empties it.
inline void displayError(std::string& message) {
    MGlobal::displayError(MString(message.c_str()));
    message.clear();
}

/// The name of the Maya node that the graph node is bound to; empty for a null object.
inline std::string nodeName(const GrNode& node) {
    if (node.object.isNull()) return {};
    MFnDependencyNode dependencyNode(node.object);
    return dependencyNode.name().asChar();
}

/// Shows "NAME: fault" and answers 1, the status of a reported failure.
inline int report(const std::string& name, const Fault& fault) {
    std::string message = name + ": " + fault.text();
    displayError(message);
    return 1;
}

inline int report(const GrNode& node, const Fault& fault) {
    return report(nodeName(node), fault);
}

} // namespace talvisora
