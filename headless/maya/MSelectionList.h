// SPDX-License-Identifier: Apache-2.0
// A list of nodes, and of placed nodes with an optional component.
#pragma once

#include "../headless_api.h"
#include <maya/MObject.h>

namespace headless {
struct SelectionItems;
}

namespace Autodesk::Maya::OpenMaya20240000 {

/// A value: copying copies the list. A list keeps its items when the nodes behind them go away; asking for
/// one then fails.
class HEADLESS_API MSelectionList {
public:
    MSelectionList();
    MSelectionList(const MSelectionList& src);
    ~MSelectionList();
    MSelectionList& operator=(const MSelectionList& src);

    /// Adds every node whose name matches, in the order of the names; `*` stands for any text and `?` for any
    /// character. No match adds nothing and fails. The second argument has no effect: names are flat.
    MStatus add(const MString& matchString, const bool searchChildNamespacesToo = false);
    /// Fails for a null or outlived object, and one that is no node.
    MStatus add(const MObject& object, const bool mergeWithExisting = false);
    MStatus add(const MDagPath& object, const MObject& component = MObject::kNullObj,
                const bool mergeWithExisting = false);

    bool isEmpty(MStatus* ReturnStatus = nullptr) const;
    unsigned int length(MStatus* ReturnStatus = nullptr) const;
    /// On failure `depNode` becomes null.
    MStatus getDependNode(unsigned int index, MObject& depNode) const;
    /// Fails, with the results as they were, for an item that is not placed in the scene. The component is
    /// null when the item has none. Left out, it is not written.
    MStatus getDagPath(unsigned int index, MDagPath& dagPath, MObject& component = MObject::kNullObj) const;
    MStatus clear();

private:
    friend struct ::headless::SelectionItems;
    ::headless::SelectionItems* items;
};

} // namespace Autodesk::Maya::OpenMaya20240000
