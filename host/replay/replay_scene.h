// SPDX-License-Identifier: Apache-2.0
// The scene that a replay's commands look at and write into: the capture's meshes, its selection, and the
// Maya attributes `block[b].params` and `block[b].blockWeights` of the node.
#pragma once

#include "host/capture/capture.h"

#include <maya/MObject.h>

#include <map>
#include <string>
#include <utility>
#include <vector>

namespace talvisora::host {

/// One of the node's arrays of floats: block b, and "params" or "blockWeights".
using BlockArray = std::pair<unsigned, std::string>;

/// A sparse list: values[k] stands at indices[k]; indices ascend.
struct IndexedFloats {
    std::vector<std::int32_t> indices;
    std::vector<float> values;
};

/// What a command left behind.
struct SceneChange {
    std::vector<std::string> commands; ///< script lines in the order in which they were run, failed ones too
    /// Every element that was written, changed or not, with the value that stands in the scene now.
    std::map<BlockArray, IndexedFloats> written;
};

/// Threads: as a session; one at a time. What it made is gone when it is.
class ReplayScene {
public:
    /// Makes the meshes and the node's attributes, empty. `node` must be alive or null (then there are no
    /// attributes). Throws HostError kInput with the place in the document when a mesh cannot be made or its
    /// name is taken.
    ReplayScene(const std::vector<CaptureMesh>& meshes, const MObject& node);
    ~ReplayScene();
    ReplayScene(const ReplayScene&) = delete;
    ReplayScene& operator=(const ReplayScene&) = delete;

    /// Replaces the active selection. Items whose mesh is not there are left out; a node that is not there is
    /// made.
    void select(const std::vector<SelectionItem>& items);

    /// Fills the node's arrays from `talvisora__block`, the element at position b into block[b]. What is
    /// absent or of another class leaves its array empty; negative indices and values without an index are
    /// left out.
    void fill(const ValueMap& attributes);

    /// From here on what is written counts.
    void startCall();

    /// What was written since startCall().
    SceneChange finishCall();

    /// Puts the arrays that `change` wrote to, as they stand in the scene, into `talvisora__block` of
    /// `attributes`. The map gets new values: holders of the old ones keep theirs.
    void store(const SceneChange& change, ValueMap& attributes) const;

private:
    IndexedFloats read(const BlockArray& array) const;

    MObject node_;
    std::map<std::string, MObject> meshes_;
    std::vector<MObject> made_;
};

} // namespace talvisora::host
