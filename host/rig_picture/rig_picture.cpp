// SPDX-License-Identifier: Apache-2.0
#include "host/rig_picture/rig_picture.h"

#include "host/deform/frame_outputs.h"
#include "host/picture/value_sheet.h"
#include "host/rig_picture/rig_cells.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <set>
#include <sstream>

namespace talvisora::host {

namespace {

constexpr double kMostPixels = 64e6; // of all cells of a sheet

std::vector<View> viewsNamed(const std::string& names, bool zUp) {
    const Vec3d up = zUp ? Vec3d{0.0, 0.0, 1.0} : Vec3d{0.0, 1.0, 0.0};
    std::vector<View> views;
    std::istringstream stream(names + ",");
    for (std::string name; std::getline(stream, name, ',');) views.push_back(viewNamed(name, up));
    return views;
}

std::size_t placeOfName(const std::string& path) {
    return std::filesystem::path(path).filename().string().find("%b");
}

// The cell's name as a part of a file name: letters, figures and a few signs stay, as do names in other
// scripts.
std::string fileNamePart(const std::string& name) {
    std::string part = name;
    for (char& c : part) {
        const auto byte = static_cast<unsigned char>(c);
        const bool safe = byte >= 0x80 || std::isalnum(byte) || c == '_' || c == '-' || c == '.';
        if (!safe) c = '_';
    }
    return part;
}

// One that no other cell has taken, also where capitals do not tell files apart: "Arm", "arm_2".
std::string freeNamePart(const std::string& name, std::set<std::string>& taken) {
    const auto take = [&](std::string part) {
        for (char& c : part) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        return taken.insert(part).second;
    };
    const std::string part = fileNamePart(name);
    if (take(part)) return part;
    for (std::size_t number = 2;; ++number) {
        const std::string numbered = part + "_" + std::to_string(number);
        if (take(numbered)) return numbered;
    }
}

std::string pathFor(const std::string& pattern, const std::string& part) {
    std::filesystem::path path(pattern);
    std::string file = path.filename().string();
    for (std::size_t at = file.find("%b"); at != std::string::npos; at = file.find("%b", at + part.size()))
        file.replace(at, 2, part);
    return path.replace_filename(file).string();
}

} // namespace

PictureOf parsePictureOf(const std::string& text) {
    if (text == "weights") return PictureOf::kWeights;
    if (text == "params") return PictureOf::kParams;
    if (text == "left-behind") return PictureOf::kLeftBehind;
    throw HostError(ExitCode::kUsage, "--show " + text + ": weights, params or left-behind expected");
}

RigPicture::RigPicture(const RigPictureOptions& options, const std::string& character,
                       const std::vector<std::string>& outputs, const std::string& rig)
    : options_(options), character_(character), rig_(rig), outputs_(outputs) {
    viewsNamed(options.view, false);
    size_ = pictureSizeNamed(options.size);
    if (options.path.empty()) return;
    checkPictureName(options.path);
    if (std::filesystem::path(options.path).parent_path().string().find("%b") != std::string::npos)
        throw HostError(ExitCode::kUsage,
                        "--picture " + options.path + ": %b stands for the block in the file's name only");
    checkApart(options.path);
    checkWritable(options.path);
}

// An output may be the rig file itself, so each is looked at alone.
void RigPicture::checkApart(const std::string& path) const {
    checkFilesApart(character_, {}, path, "", rig_);
    for (const std::string& output : outputs_) checkFilesApart(character_, {output}, path, "");
}

std::vector<std::string> RigPicture::write(const Character& character, const AutoRig& rig, bool zUp,
                                           const MarkedPoints& marked) const {
    if (options_.path.empty()) return {};
    ValueSheetOptions sheet;
    sheet.views = viewsNamed(options_.view, zUp);
    sheet.cellSize = size_;
    const std::vector<ValueCell> cells = rigCells(rig, character.points.size(), options_.show, marked);
    describeCells(options_.show, cells, sheet);
    const std::vector<OutputMesh> meshes = outputMeshes(character);

    if (placeOfName(options_.path) == std::string::npos) {
        const double pixels = double(cells.size()) * double(sheet.views.size()) * size_.width * size_.height;
        if (pixels > kMostPixels)
            throw HostError(ExitCode::kOutput,
                            "--picture " + options_.path + ": one sheet of " + std::to_string(cells.size()) +
                                " cells would be too large; make --size smaller, or write one picture per "
                                "block with a %b in the name");
        writePng(options_.path, drawValueSheet(meshes, character.points, cells, sheet));
        return {options_.path};
    }
    std::vector<std::string> paths;
    std::set<std::string> taken;
    for (const ValueCell& cell : cells) {
        const std::string part = freeNamePart(cell.name, taken);
        paths.push_back(pathFor(options_.path, part));
        checkApart(paths.back());
    }
    for (std::size_t k = 0; k < cells.size(); ++k)
        writePng(paths[k], drawValueSheet(meshes, character.points, {cells[k]}, sheet));
    return paths;
}

} // namespace talvisora::host
