// SPDX-License-Identifier: Apache-2.0
// The node tree as a flat list, parents before children.
#include "host/character/reading/parts.h"
#include "host/character/reading/scene_convert.h"

#include <assimp/scene.h>

namespace talvisora::host::reading {

NodeOfName readNodes(const SceneFile& file, Character& character) {
    NodeOfName nodeOfName;
    std::vector<std::pair<const aiNode*, int>> open{{file.scene().mRootNode, -1}};
    while (!open.empty()) {
        const auto [node, parent] = open.back();
        open.pop_back();
        const auto index = static_cast<std::uint32_t>(character.nodes.size());
        CharacterNode entry;
        entry.name = toText(node->mName);
        entry.parent = parent;
        entry.local = toRowMatrix(node->mTransformation, character.evaluationPerFileUnit);
        if (parent < 0)
            for (int r = 0; r < 3; ++r) setRow(entry.local, r, row(entry.local, r) / file.rootScale);
        nodeOfName.emplace(entry.name, index); // the first of a name stays
        character.nodes.push_back(std::move(entry));
        // Last child first onto the stack, so that the first child comes next.
        for (unsigned i = node->mNumChildren; i-- > 0;)
            open.emplace_back(node->mChildren[i], static_cast<int>(index));
    }
    return nodeOfName;
}

} // namespace talvisora::host::reading
