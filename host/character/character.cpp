// SPDX-License-Identifier: Apache-2.0
// Reading a character, told as its stages; and the small answers that a character gives about itself.
#include "host/character/character.h"
#include "host/character/reading/parts.h"

namespace talvisora::host {

FileUnit parseFileUnit(const std::string& text) {
    if (text.empty()) return FileUnit::kFromFile;
    if (text == "m") return FileUnit::kMetre;
    if (text == "cm") return FileUnit::kCentimetre;
    if (text == "mm") return FileUnit::kMillimetre;
    if (text == "keep") return FileUnit::kKeep;
    throw HostError(ExitCode::kUsage, "'" + text + "' is no unit of length; use m, cm, mm or keep");
}

std::size_t Character::vertexCount() const {
    std::size_t count = 0;
    for (const CharacterMesh& mesh : meshes) count += mesh.positions.size();
    return count;
}

std::vector<Triangle> Character::pointTriangles() const {
    std::vector<Triangle> triangles;
    for (const CharacterMesh& mesh : meshes)
        for (const Triangle& t : mesh.triangles) {
            const Triangle joined{mesh.pointOfVertex[t[0]], mesh.pointOfVertex[t[1]],
                                  mesh.pointOfVertex[t[2]]};
            if (joined[0] != joined[1] && joined[1] != joined[2] && joined[2] != joined[0])
                triangles.push_back(joined);
        }
    return triangles;
}

Character readCharacter(const std::string& path, const ReadOptions& options) {
    const reading::SceneFile file(path);
    reading::checkScene(path, file.scene());
    const bool skinned = reading::hasSkin(file.scene());
    if (!skinned && options.skin == SkinUse::kRequired)
        reading::refuse(path, "it has no skin (no mesh names a joint); export the mesh together with its "
                              "armature, or bind it with grhost bind --weights distance");

    Character character;
    character.path = path;
    character.warnings = file.warnings;
    character.skinned = skinned;
    character.unitFromMetadata = file.unitFromMetadata && options.units == FileUnit::kFromFile;
    switch (options.units) {
    case FileUnit::kFromFile:
    case FileUnit::kKeep:
        character.metresPerFileUnit = file.metresPerUnit;
        break;
    case FileUnit::kMetre:
        character.metresPerFileUnit = 1.0;
        break;
    case FileUnit::kCentimetre:
        character.metresPerFileUnit = 0.01;
        break;
    case FileUnit::kMillimetre:
        character.metresPerFileUnit = 0.001;
        break;
    }
    character.evaluationPerFileUnit =
        options.units == FileUnit::kKeep ? 1.0 : character.metresPerFileUnit * 100.0;

    const reading::NodeOfName nodeOfName = reading::readNodes(file, character);
    const std::vector<reading::MeshPlacement> placements = reading::readSkeleton(file, nodeOfName, character);
    reading::readSkin(file, placements, character);
    if (skinned && character.influences.empty() && options.skin == SkinUse::kRequired)
        reading::refuse(path,
                        "its skin has no weights, no joint moves a point; bind the mesh to its armature");
    reading::readClips(file, nodeOfName, character);
    return character;
}

} // namespace talvisora::host
