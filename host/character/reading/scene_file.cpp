// SPDX-License-Identifier: Apache-2.0
// A character file through assimp: only the four formats that are asked for, raw data plus triangulation, one
// clear line for whatever goes wrong, and the unit of length that the format states.
#include "host/character/reading/gltf_source.h"
#include "host/character/reading/parts.h"
#include "host/character/reading/rehearsal.h"

#include <assimp/Importer.hpp>
#include <assimp/config.h>
#include <assimp/postprocess.h>
#include <assimp/scene.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <functional>
#include <optional>

namespace talvisora::host::reading {

namespace {

std::string extensionOf(const std::string& path) {
    std::string extension = std::filesystem::path(path).extension().string();
    for (char& c : extension) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return extension;
}

void checkIsReadableFile(const std::string& path) {
    std::error_code ignored;
    const auto status = std::filesystem::status(path, ignored);
    if (!std::filesystem::exists(status)) refuse(path, "there is no such file; check the path");
    if (std::filesystem::is_directory(status)) refuse(path, "it is a folder; name the character file in it");
    if (!std::filesystem::is_regular_file(status)) refuse(path, "it is not a regular file");
    std::ifstream probe(path, std::ios::binary);
    if (!probe) refuse(path, "it cannot be opened for reading; check its permissions");
    if (probe.peek() == std::ifstream::traits_type::eof()) refuse(path, "the file is empty; export it again");
}

/// The importer's message as one short line.
std::string oneLine(std::string text) {
    for (char& c : text)
        if (std::iscntrl(static_cast<unsigned char>(c))) c = ' ';
    if (text.size() > 200) text = text.substr(0, 200) + "...";
    return text.empty() ? "unknown reason" : text;
}

/// The importer can crash on a damaged file. It is tried out in a child process, with settings like our own.
void rehearseImport(const std::string& path, const std::function<const aiScene*()>& import) {
    switch (rehearse([&] { import(); })) {
    case Rehearsal::kPassed:
        return;
    case Rehearsal::kCrashed:
        refuse(path, "it is damaged (the importer crashes on it); export it again");
    case Rehearsal::kStuck:
        refuse(path, "reading it takes over a minute or too much memory; simplify it or export it as .glb");
    }
}

double columnLength(const aiMatrix4x4& m) {
    return std::sqrt(double(m.a1) * m.a1 + double(m.b1) * m.b1 + double(m.c1) * m.c1);
}

} // namespace

struct SceneFile::Held {
    Assimp::Importer importer;
    const aiScene* scene = nullptr;
};

SceneFile::SceneFile(const std::string& path) : held_(new Held) {
    checkIsReadableFile(path);
    const std::string extension = extensionOf(path);
    static const char* const known[] = {".gltf", ".glb", ".fbx", ".dae", ".x"};
    if (std::find(std::begin(known), std::end(known), extension) == std::end(known))
        refuse(path, "its format is not supported; convert it to glTF 2.0 (.gltf, .glb), FBX (.fbx), COLLADA "
                     "(.dae) or X (.x)");

    Assimp::Importer& importer = held_->importer;
    // Without this, FBX files grow helper nodes between the joints.
    importer.SetPropertyBool(AI_CONFIG_IMPORT_FBX_PRESERVE_PIVOTS, false);
    // Without this, a file without meshes gets a made-up one that shows its nodes, with a made-up skin.
    importer.SetPropertyInteger(AI_CONFIG_IMPORT_NO_SKELETON_MESHES, 1);
    try {
        if (extension == ".gltf" || extension == ".glb") {
            GltfSource source = readGltfSource(path, extension == ".glb");
            warnings = std::move(source.warnings);
            importer.SetIOHandler(makeSourceSystem(path, std::move(source.bytes))); // the importer owns it
        }
        const auto import = [&] { return importer.ReadFile(path, aiProcess_Triangulate); };
        rehearseImport(path, import);
        held_->scene = import();
    } catch (const HostError&) {
        throw;
    } catch (const std::exception& failure) {
        refuse(path, "it is broken or not what its extension says (" + oneLine(failure.what()) + ")");
    }
    if (!held_->scene)
        refuse(path,
               "it is broken or not what its extension says (" + oneLine(importer.GetErrorString()) + ")");
    if (!held_->scene->mRootNode) refuse(path, "it holds no scene; export the character again");

    if (extension == ".gltf" || extension == ".glb") {
        unitFromMetadata = true; // the format itself says metres
    } else if (extension == ".dae") {
        // The importer has multiplied the root node by the document's unit in metres.
        const double scale = columnLength(held_->scene->mRootNode->mTransformation);
        if (std::isfinite(scale) && scale > 0.0) {
            rootScale = metresPerUnit = scale;
            unitFromMetadata = true;
        }
    } else if (extension == ".fbx" && held_->scene->mMetaData) {
        float centimetres = 0.0f;
        if (held_->scene->mMetaData->Get("UnitScaleFactor", centimetres) && std::isfinite(centimetres) &&
            centimetres > 0.0f) {
            metresPerUnit = centimetres * 0.01;
            unitFromMetadata = true;
        }
    }
}

SceneFile::~SceneFile() = default;

const aiScene& SceneFile::scene() const {
    return *held_->scene;
}

void refuse(const std::string& path, const std::string& text) {
    throw HostError(ExitCode::kInput, "cannot use '" + path + "': " + text);
}

} // namespace talvisora::host::reading
