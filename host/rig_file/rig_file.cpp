// SPDX-License-Identifier: Apache-2.0
// The names of the format, its versions, and what must hold between the parts of a rig.
#include "host/rig_file/rig_file.h"

#include "host/rig_file/rig_parts.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <set>

namespace talvisora::host {

namespace fs = std::filesystem;

const std::array<const char*, kRigMapCount> kRigMapNames = {"collisionTweakWeights", "bulgeTweakWeights",
                                                            "centerInTweakWeights",  "centerOutTweakWeights",
                                                            "slideInTweakWeights",   "slideOutTweakWeights"};

const std::array<const char*, kRigTweakCount> kRigTweakNames = {
    "collisionTweak",         "collisionPlaneTweak",   "bulgeTweak",
    "collisionBulgeTweak",    "centerInTweak",         "centerOutTweak",
    "slidePrevInTweak",       "slideNextInTweak",      "slidePrevOutTweak",
    "slideNextOutTweak",      "slideOrthoPrevInTweak", "slideOrthoNextInTweak",
    "slideOrthoPrevOutTweak", "slideOrthoNextOutTweak"};

std::array<float, kRigTweakCount> rigTweakDefaults() {
    std::array<float, kRigTweakCount> amounts{};
    amounts[1] = 0.5f; // the collision plane starts half-way between the bones
    return amounts;
}

std::size_t RigFile::blockIndex(const std::string& name) const {
    std::string names;
    for (std::size_t b = 0; b < blocks.size(); ++b) {
        if (blocks[b].name == name) return b;
        names += (b ? ", " : "") + blocks[b].name;
    }
    throw HostError(ExitCode::kUsage, "'" + path + "' has no block '" + name + "'; it has " + names);
}

std::string RigFile::characterPath() const {
    const fs::path character(mesh.character);
    if (character.is_absolute() || mesh.character.empty()) return mesh.character;
    return (fs::path(rig_parts::folderOf(path)) / character).lexically_normal().string();
}

std::string RigFile::characterOr(const std::string& given, const char* option) const {
    if (!given.empty()) return given;
    const std::string named = characterPath();
    std::error_code ignored;
    if (named.empty() || !fs::exists(named, ignored))
        throw HostError(ExitCode::kInput, "'" + path + "' names the character '" + named +
                                              "', and there is no such file; name it with " + option +
                                              " FILE");
    return named;
}

const RigVersions& rigVersions() {
    static const RigVersions versions;
    return versions;
}

void upgradeRigDocument(JsonValue::Object& document, const RigVersions& versions) {
    const auto refuse = [](const std::string& text) {
        throw HostError(ExitCode::kInput, "/version: " + text);
    };
    const auto entry = document.find("version");
    if (entry == document.end()) refuse("missing");
    const JsonValue::Number* number = entry->second.number();
    if (!number || number->nearest != std::floor(number->nearest) || std::fabs(number->nearest) > 1e9)
        refuse("whole number expected");
    int version = static_cast<int>(number->nearest);
    const std::string found = "version " + std::to_string(version);
    if (version > versions.present)
        refuse(found + " is newer than this grhost, which reads up to " + std::to_string(versions.present) +
               "; use a newer one");
    for (; version < versions.present; ++version) {
        const auto converter = versions.from.find(version);
        if (converter == versions.from.end())
            refuse(found + " is not known; this grhost reads version " + std::to_string(versions.present));
        converter->second(document);
    }
    const double present = versions.present;
    document["version"] = JsonValue(JsonValue::Number{present, static_cast<float>(present)});
}

namespace rig_parts {

namespace {

[[noreturn]] void refuse(const std::string& pointer, const std::string& text) {
    throw HostError(ExitCode::kInput, pointer + ": " + text);
}

std::string inQuotes(const std::string& name) {
    return "'" + name + "'";
}

// Written so that NaN is refused too.
bool isShare(float value) {
    return value >= 0.0f && value <= 1.0f;
}

void checkValues(const std::string& pointer, const std::vector<float>& values, std::size_t points) {
    if (values.size() != points)
        refuse(pointer, std::to_string(points) + " values expected, one per point, " +
                            std::to_string(values.size()) + " found");
    const auto wrong = std::find_if_not(values.begin(), values.end(), isShare);
    if (wrong != values.end())
        refuse(pointer, "the value of point " + std::to_string(wrong - values.begin()) +
                            " is not a number from 0 to 1");
}

void checkHash(const std::string& pointer, const std::string& text) {
    const bool hexadecimal = std::all_of(
        text.begin(), text.end(), [](char c) { return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f'); });
    if (text.size() != 16 || !hexadecimal) refuse(pointer, "16 hexadecimal digits expected");
}

void checkHeader(const RigFile& rig) {
    const RigFileUnits& units = rig.units;
    if (units.length != "cm" && units.length != "file") refuse("/units/length", "cm or file expected");
    const std::set<std::string> fileUnits = {"", "m", "cm", "mm", "keep"};
    if (!fileUnits.count(units.fileUnit)) refuse("/units/fileUnit", "m, cm, mm, keep or metadata expected");
    if ((units.length == "file") != (units.fileUnit == "keep"))
        refuse("/units/length", "lengths in the file's own numbers go with the unit keep only");
    if (!(units.lengthsPerFileUnit > 0.0) || !std::isfinite(units.lengthsPerFileUnit))
        refuse("/units/lengthsPerFileUnit", "a positive number expected");
    if (rig.upAxis != "y" && rig.upAxis != "z") refuse("/upAxis", "y or z expected");
    if (rig.mesh.points > kMostPoints)
        refuse("/mesh/points", "at most " + std::to_string(kMostPoints) + " points");
    checkHash("/mesh/topology", rig.mesh.topology);
    checkHash("/mesh/restPositions", rig.mesh.restPositions);
}

std::set<std::string> checkHierarchy(const RigFile& rig) {
    std::set<std::string> names, joints;
    for (std::size_t r = 0; r < rig.hierarchy.size(); ++r) {
        const RigFileRecord& record = rig.hierarchy[r];
        const std::string here = "/hierarchy/" + std::to_string(r);
        if (record.name.empty()) refuse(here + "/name", "a name expected");
        if (names.count(record.name)) refuse(here + "/name", inQuotes(record.name) + " is given twice");
        if (!record.parent.empty() && !names.count(record.parent))
            refuse(here + "/parent", "no record above this one is called " + inQuotes(record.parent));
        if (!record.joint.empty() && !joints.insert(record.joint).second)
            refuse(here + "/joint", inQuotes(record.joint) + " moves another record already");
        for (const double element : record.rest.m)
            if (!std::isfinite(element)) refuse(here + "/rest", "finite numbers expected");
        names.insert(record.name);
    }
    return names;
}

void checkBlock(const RigFile& rig, const std::set<std::string>& records, std::size_t b) {
    const RigFileBlock& block = rig.blocks[b];
    const std::string here = "/blocks/" + std::to_string(b);
    const auto checkRecord = [&](const std::string& pointer, const std::string& name) {
        if (!records.count(name)) refuse(pointer, inQuotes(name) + " is not in the hierarchy");
    };
    if (!isShare(block.env)) refuse(here + "/env", "a number from 0 to 1 expected");
    for (std::size_t j = 0; j < block.joints.size(); ++j)
        checkRecord(here + "/joints/" + std::to_string(j), block.joints[j]);

    const int bones = static_cast<int>(block.joints.size()) - 1, centres = bones - 1;
    for (std::size_t k = 0; k < block.bends.size(); ++k) {
        const std::string bend = here + "/bends/" + std::to_string(k);
        if (block.bends[k].segment < 0 || block.bends[k].segment >= bones)
            refuse(bend + "/segment",
                   "the block has " + std::to_string(std::max(bones, 0)) + " segments, counted from 0");
        checkRecord(bend + "/control", block.bends[k].control);
    }
    std::set<int> seen;
    for (std::size_t k = 0; k < block.tweaks.size(); ++k) {
        const RigFileTweak& tweak = block.tweaks[k];
        const std::string pointer = here + "/tweaks/" + std::to_string(k);
        if (tweak.centre < 0 || tweak.centre >= centres)
            refuse(pointer + "/centre", "the block has " + std::to_string(std::max(centres, 0)) +
                                            " centre joints, counted from 0");
        if (!seen.insert(tweak.centre).second)
            refuse(pointer + "/centre", "centre joint " + std::to_string(tweak.centre) + " is given twice");
        for (std::size_t t = 0; t < kRigTweakCount; ++t) {
            const bool share = t < 2;
            if (share ? !isShare(tweak.amounts[t]) : !std::isfinite(tweak.amounts[t]))
                refuse(pointer + "/" + kRigTweakNames[t],
                       share ? "a number from 0 to 1 expected" : "a finite number expected");
        }
    }
    checkValues(here + "/blockWeights", block.weights, rig.mesh.points);
    checkValues(here + "/params", block.params, rig.mesh.points);
}

// The file itself where the path is a link to it.
fs::path followed(const std::string& rigPath) {
    std::error_code error;
    if (!fs::is_symlink(rigPath, error)) return rigPath;
    const fs::path target = fs::canonical(rigPath, error);
    return error ? fs::path(rigPath) : target;
}

} // namespace

std::string folderOf(const std::string& rigPath) {
    const std::string folder = followed(rigPath).parent_path().string();
    return folder.empty() ? "." : folder;
}

std::string fileNameOf(const std::string& rigPath) {
    return followed(rigPath).filename().string();
}

void checkRig(const RigFile& rig) {
    checkHeader(rig);
    const std::set<std::string> records = checkHierarchy(rig);
    std::set<std::string> names;
    for (std::size_t b = 0; b < rig.blocks.size(); ++b) {
        const std::string here = "/blocks/" + std::to_string(b) + "/name";
        if (rig.blocks[b].name.empty()) refuse(here, "a name expected");
        if (!names.insert(rig.blocks[b].name).second)
            refuse(here, inQuotes(rig.blocks[b].name) + " is given twice");
        checkBlock(rig, records, b);
    }
    for (std::size_t m = 0; m < kRigMapCount; ++m)
        if (!rig.weightMaps[m].empty())
            checkValues(std::string("/weightMaps/") + kRigMapNames[m], rig.weightMaps[m], rig.mesh.points);
}

} // namespace rig_parts

} // namespace talvisora::host
