// SPDX-License-Identifier: Apache-2.0
// What a user hears first is what explains the rest: the unit before the positions that it changes, the
// number of points before their order.
#include "host/rig_file/rig_fit.h"

#include "host/rig_file/rig_hash.h"
#include "host/rig_file/rig_parts.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <map>

namespace talvisora::host {

namespace fs = std::filesystem;

namespace {

constexpr double kSameRest = 1e-6; // of the largest element

// 3205 → "3,205"
std::string grouped(std::size_t number) {
    std::string text = std::to_string(number);
    for (std::ptrdiff_t at = static_cast<std::ptrdiff_t>(text.size()) - 3; at > 0; at -= 3)
        text.insert(static_cast<std::size_t>(at), ",");
    return text;
}

std::string plain(double number) {
    JsonWriter text;
    return text.value(number).text();
}

class Fit {
public:
    Fit(const RigFile& rig, const Character& character)
        : rig_(rig), character_(character), name_(fs::path(character.path).filename().string()) {
        for (std::size_t j = 0; j < character.joints.size(); ++j)
            joints_[character.joints[j].name] = static_cast<int>(j);
        for (const RigFileRecord& record : rig.hierarchy) jointOfRecord_[record.name] = record.joint;
    }

    AutoRig rig() {
        checkMesh();
        AutoRig fitted;
        for (std::size_t r = 0; r < rig_.hierarchy.size(); ++r) fitted.records.push_back(record(r, fitted));
        for (const RigFileBlock& block : rig_.blocks) fitted.blocks.push_back(blockOf(block));
        fitted.weightMaps = rig_.weightMaps;
        return fitted;
    }

private:
    [[noreturn]] void refuse(const std::string& text) const {
        throw HostError(ExitCode::kInput, rig_.path + ": " + text);
    }

    void checkMesh() const {
        const RigFileMesh& mesh = rig_.mesh;
        if (rig_.units.lengthsPerFileUnit != character_.evaluationPerFileUnit)
            refuse("the rig was made with " + plain(rig_.units.lengthsPerFileUnit) +
                   " lengths per unit of the character file, '" + name_ + "' is read with " +
                   plain(character_.evaluationPerFileUnit) + "; name the unit with --units, or bind again");
        if (mesh.points != character_.points.size())
            refuse("the rig was made for " + grouped(mesh.points) + " points, '" + name_ + "' has " +
                   grouped(character_.points.size()) + "; bind this mesh, or transfer the rig to it");
        if (mesh.topology != topologyHash(character_))
            refuse("the rig was made for another topology than '" + name_ + "' has, both with " +
                   grouped(mesh.points) +
                   " points: faces or the order of points differ; bind this mesh, or transfer the rig to it");
        if (mesh.restPositions != restPositionsHash(character_))
            refuse("the rig was made for other rest positions than '" + name_ +
                   "' has, on the same topology; bind this mesh, or transfer the rig to it");
    }

    RigRecord record(std::size_t r, AutoRig& fitted) {
        const RigFileRecord& from = rig_.hierarchy[r];
        RigRecord record;
        record.name = from.name;
        record.parent = from.parent;
        record.flag = from.flag;
        record.local = record.restLocal = from.rest;
        if (from.joint.empty()) return record;
        const auto found = joints_.find(from.joint);
        const std::string here = "/hierarchy/" + std::to_string(r);
        if (found == joints_.end())
            refuse(here + "/joint: '" + name_ + "' has no joint '" + from.joint +
                   "'; name one that it has, see grhost info");
        record.joint = found->second;
        const Joint& joint = character_.joints[static_cast<std::size_t>(found->second)];
        const std::string above =
            joint.parent < 0 ? "" : character_.joints[static_cast<std::size_t>(joint.parent)].name;
        // Poses come against the joint above: the record above must be that very joint.
        if (jointOf(from.parent) != above || (above.empty() && !from.parent.empty()))
            refuse(here + "/parent: joint '" + from.joint + "' of '" + name_ +
                   (above.empty() ? "' has no joint above it; leave the parent out"
                                  : "' hangs under joint '" + above + "'; make that record its parent"));
        compareRest(from, joint, fitted);
        ++fitted.jointCount;
        return record;
    }

    // The joint that moves a record; records without one answer nothing.
    std::string jointOf(const std::string& name) const {
        const auto found = jointOfRecord_.find(name);
        return found == jointOfRecord_.end() ? "" : found->second;
    }

    void compareRest(const RigFileRecord& from, const Joint& joint, AutoRig& fitted) const {
        const Matrix44d rest =
            joint.parent < 0
                ? joint.restWorld
                : joint.restWorld * character_.joints[static_cast<std::size_t>(joint.parent)].inverseRest;
        double largest = 1.0, apart = 0.0;
        for (std::size_t k = 0; k < 16; ++k) {
            largest = std::max(largest, std::fabs(rest.m[k]));
            apart = std::max(apart, std::fabs(rest.m[k] - from.rest.m[k]));
        }
        if (apart > kSameRest * largest)
            fitted.notes.push_back("joint '" + joint.name +
                                   "' has another rest pose in the rig file than in '" + name_ + "'");
    }

    static RigBlock blockOf(const RigFileBlock& from) {
        RigBlock block;
        block.name = from.name;
        block.joints = from.joints;
        block.simple = from.simple;
        block.weights = from.weights;
        block.params = from.params;
        block.env = from.env;
        for (const RigFileBend& bend : from.bends) block.bends.push_back({bend.segment, bend.control});
        for (const RigFileTweak& tweak : from.tweaks) block.tweaks.push_back({tweak.centre, tweak.amounts});
        return block;
    }

    const RigFile& rig_;
    const Character& character_;
    std::string name_;
    std::map<std::string, int> joints_;
    std::map<std::string, std::string> jointOfRecord_;
};

} // namespace

std::string topologyHash(const Character& character) {
    const auto count = [](std::size_t size) { return static_cast<std::uint32_t>(size); };
    Fnv1a hash;
    hash.number(count(character.points.size())).number(count(character.meshes.size()));
    for (const CharacterMesh& mesh : character.meshes) {
        hash.number(count(mesh.pointOfVertex.size()));
        for (const std::uint32_t point : mesh.pointOfVertex) hash.number(point);
        hash.number(count(mesh.triangles.size()));
        for (const Triangle& triangle : mesh.triangles)
            for (const std::uint32_t corner : triangle) hash.number(corner);
    }
    return hexadecimal(hash.digest());
}

std::string restPositionsHash(const Character& character) {
    Fnv1a hash;
    for (const Vec3d& point : character.points)
        hash.number(static_cast<float>(point.x))
            .number(static_cast<float>(point.y))
            .number(static_cast<float>(point.z));
    return hexadecimal(hash.digest());
}

std::string fileUnitText(FileUnit unit) {
    switch (unit) {
    case FileUnit::kMetre:
        return "m";
    case FileUnit::kCentimetre:
        return "cm";
    case FileUnit::kMillimetre:
        return "mm";
    case FileUnit::kKeep:
        return "keep";
    case FileUnit::kFromFile:
        break;
    }
    return "";
}

FileUnit unitsOf(const RigFile& rig) {
    return parseFileUnit(rig.units.fileUnit);
}

std::string characterPathFrom(const std::string& rigPath, const std::string& characterPath) {
    if (fs::path(characterPath).is_absolute()) return fs::path(characterPath).generic_string();
    std::error_code error;
    const fs::path relative = fs::relative(characterPath, rig_parts::folderOf(rigPath), error);
    return (error || relative.empty() ? fs::path(characterPath) : relative).generic_string();
}

RigFile makeRigFile(const Character& character, const AutoRig& rig, const std::string& rigPath,
                    FileUnit units, const std::string& upAxis) {
    RigFile file;
    file.units.length = units == FileUnit::kKeep ? "file" : "cm";
    file.units.fileUnit = fileUnitText(units);
    file.units.lengthsPerFileUnit = character.evaluationPerFileUnit;
    file.upAxis = upAxis;
    file.mesh.character = characterPathFrom(rigPath, character.path);
    for (const CharacterMesh& mesh : character.meshes) file.mesh.objects.push_back(mesh.name);
    file.mesh.points = character.points.size();
    file.mesh.topology = topologyHash(character);
    file.mesh.restPositions = restPositionsHash(character);
    for (const RigRecord& from : rig.records) {
        RigFileRecord record;
        record.name = from.name;
        record.parent = from.parent;
        record.flag = from.flag;
        record.rest = from.restLocal;
        if (from.joint >= 0) record.joint = character.joints[static_cast<std::size_t>(from.joint)].name;
        file.hierarchy.push_back(std::move(record));
    }
    for (const RigBlock& from : rig.blocks) {
        RigFileBlock block;
        block.name = from.name;
        block.env = from.env;
        block.simple = from.simple;
        block.joints = from.joints;
        for (const RigBend& bend : from.bends) {
            RigFileBend written;
            written.segment = bend.segment;
            written.control = bend.control;
            block.bends.push_back(std::move(written));
        }
        for (const RigTweak& tweak : from.tweaks) {
            RigFileTweak written;
            written.centre = tweak.centre;
            written.amounts = tweak.amounts;
            block.tweaks.push_back(std::move(written));
        }
        block.weights = from.weights;
        block.params = from.params;
        file.blocks.push_back(std::move(block));
    }
    file.weightMaps = rig.weightMaps;
    return file;
}

AutoRig fitRig(const RigFile& rig, const Character& character) {
    return Fit(rig, character).rig();
}

} // namespace talvisora::host
