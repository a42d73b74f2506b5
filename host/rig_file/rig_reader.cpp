// SPDX-License-Identifier: Apache-2.0
// From the tree to a rig, key by key: types here, what must hold between the parts in checkRig(). Every key
// is read, refused, or kept.
#include "host/capture/value_reader.h"
#include "host/rig_file/npy.h"
#include "host/rig_file/rig_parts.h"

#include <algorithm>
#include <cmath>
#include <filesystem>

namespace talvisora::host {

namespace fs = std::filesystem;

namespace {

using Object = JsonValue::Object;

JsonValue copyOf(const JsonValue& value) {
    if (value.boolean()) return JsonValue(*value.boolean());
    if (value.number()) return JsonValue(*value.number());
    if (value.text()) return JsonValue(*value.text());
    if (value.array()) {
        JsonValue::Array list;
        for (const JsonValue& entry : *value.array()) list.push_back(copyOf(entry));
        return JsonValue(std::move(list));
    }
    if (value.object()) {
        Object object;
        for (const auto& [key, entry] : *value.object()) object.emplace(key, copyOf(entry));
        return JsonValue(std::move(object));
    }
    return {};
}

// A reference from a rig file stays in its folder: a file from elsewhere must not make grhost read anything.
void checkReference(const std::string& reference, const JsonPlace& place) {
    const fs::path path(reference);
    bool inside = !reference.empty() && !path.has_root_path() && reference.find('\0') == std::string::npos &&
                  reference.find('\\') == std::string::npos && reference.find(':') == std::string::npos;
    for (const fs::path& part : path) inside = inside && part != "..";
    if (!inside)
        place.refuse("'" + reference +
                     "' does not lie in the rig file's folder; write a path that starts from there");
}

class RigReader {
public:
    RigReader(std::string folder, bool keepUnknown) : folder_(std::move(folder)), keepUnknown_(keepUnknown) {}

    RigFile read(const Object& object) {
        const JsonPlace top;
        keep(object, top,
             {"format", "version", "units", "upAxis", "mesh", "hierarchy", "blocks", "weightMaps"},
             rig_.kept);
        need(object, top, "units", [this](const auto& json, const auto& place) { readUnits(json, place); });
        rig_.upAxis = needText(object, top, "upAxis");
        need(object, top, "mesh", [this](const auto& json, const auto& place) { readMesh(json, place); });
        need(object, top, "hierarchy", [this](const auto& json, const auto& place) {
            const JsonValue::Array& list = readArray(json, place);
            for (std::size_t r = 0; r < list.size(); ++r) readRecord(list[r], JsonPlace(place, r));
        });
        need(object, top, "blocks", [this](const auto& json, const auto& place) {
            const JsonValue::Array& list = readArray(json, place);
            for (std::size_t b = 0; b < list.size(); ++b) readBlock(list[b], JsonPlace(place, b));
        });
        maybe(object, top, "weightMaps",
              [this](const auto& json, const auto& place) { readMaps(json, place); });
        return std::move(rig_);
    }

private:
    using Names = std::initializer_list<const char*>;

    template <class Read>
    static bool maybe(const Object& object, const JsonPlace& place, const std::string& key, Read read) {
        const JsonValue* json = findKey(object, key);
        if (json) read(*json, JsonPlace(place, key));
        return json != nullptr;
    }
    template <class Read>
    static void need(const Object& object, const JsonPlace& place, const std::string& key, Read read) {
        read(needKey(object, key, place), JsonPlace(place, key));
    }
    static std::string needText(const Object& object, const JsonPlace& place, const std::string& key) {
        return readText(needKey(object, key, place), JsonPlace(place, key));
    }
    // One step of the way for members: assigns what `read` answers.
    template <class Target, class Read>
    static void set(const Object& object, const JsonPlace& place, const std::string& key, Target& target,
                    Read read) {
        maybe(object, place, key, [&](const auto& json, const auto& here) { target = read(json, here); });
    }

    void keep(const Object& object, const JsonPlace& place, Names known, KeptKeys& kept) const {
        for (const auto& [key, value] : object) {
            const std::string& name = key;
            if (std::any_of(known.begin(), known.end(), [&](const char* k) { return name == k; })) continue;
            if (!keepUnknown_)
                JsonPlace(place, name).refuse("unknown key; mend it, or keep such keys with --keep-unknown");
            kept[name] = std::make_shared<const JsonValue>(copyOf(value));
        }
    }

    void readUnits(const JsonValue& json, const JsonPlace& place) {
        const Object& object = readObject(json, place);
        keep(object, place, {"length", "fileUnit", "lengthsPerFileUnit"}, rig_.units.kept);
        rig_.units.length = needText(object, place, "length");
        rig_.units.fileUnit = needText(object, place, "fileUnit");
        if (rig_.units.fileUnit.empty()) refuseEmpty(place, "fileUnit");
        if (rig_.units.fileUnit == "metadata") rig_.units.fileUnit.clear();
        need(object, place, "lengthsPerFileUnit", [this](const auto& number, const auto& here) {
            rig_.units.lengthsPerFileUnit = readDouble(number, here);
        });
    }

    [[noreturn]] static void refuseEmpty(const JsonPlace& place, const std::string& key) {
        JsonPlace(place, key).refuse("a text expected that is not empty");
    }

    void readMesh(const JsonValue& json, const JsonPlace& place) {
        const Object& object = readObject(json, place);
        RigFileMesh& mesh = rig_.mesh;
        keep(object, place, {"character", "objects", "points", "topology", "restPositions"}, mesh.kept);
        mesh.character = needText(object, place, "character");
        need(object, place, "objects",
             [&](const auto& list, const auto& here) { mesh.objects = readList(list, here, readText); });
        need(object, place, "points", [&](const auto& number, const auto& here) {
            const std::int32_t points = readInt(number, here);
            if (points < 0) here.refuse("a count expected, " + std::to_string(points) + " found");
            mesh.points = static_cast<std::size_t>(points);
        });
        mesh.topology = needText(object, place, "topology");
        mesh.restPositions = needText(object, place, "restPositions");
    }

    void readRecord(const JsonValue& json, const JsonPlace& place) {
        const Object& object = readObject(json, place);
        RigFileRecord record;
        keep(object, place, {"name", "parent", "flag", "rest", "joint"}, record.kept);
        record.name = needText(object, place, "name");
        set(object, place, "parent", record.parent, readText);
        set(object, place, "flag", record.flag, readBoolean);
        set(object, place, "joint", record.joint, readText);
        need(object, place, "rest",
             [&](const auto& matrix, const auto& here) { record.rest = readMatrix(matrix, here); });
        rig_.hierarchy.push_back(std::move(record));
    }

    void readBlock(const JsonValue& json, const JsonPlace& place) {
        const Object& object = readObject(json, place);
        RigFileBlock block;
        keep(object, place, {"name", "env", "simple", "joints", "bends", "tweaks", "blockWeights", "params"},
             block.kept);
        block.name = needText(object, place, "name");
        set(object, place, "env", block.env, readFloat);
        set(object, place, "simple", block.simple, readBoolean);
        need(object, place, "joints",
             [&](const auto& list, const auto& here) { block.joints = readList(list, here, readText); });
        set(object, place, "bends", block.bends, [this](const auto& list, const auto& here) {
            return readList(list, here, [this](const auto& j, const auto& p) { return readBend(j, p); });
        });
        set(object, place, "tweaks", block.tweaks, [this](const auto& list, const auto& here) {
            return readList(list, here, [this](const auto& j, const auto& p) { return readTweak(j, p); });
        });
        const auto read = [&](const std::string& key, std::vector<float>& values) {
            need(object, place, key, [&](const auto& array, const auto& here) {
                values = readValues(array, here, block.keptInArrays[key]);
            });
            if (block.keptInArrays[key].empty()) block.keptInArrays.erase(key);
        };
        read("blockWeights", block.weights);
        read("params", block.params);
        rig_.blocks.push_back(std::move(block));
    }

    RigFileBend readBend(const JsonValue& json, const JsonPlace& place) const {
        const Object& object = readObject(json, place);
        RigFileBend bend;
        keep(object, place, {"segment", "control"}, bend.kept);
        need(object, place, "segment",
             [&](const auto& number, const auto& here) { bend.segment = readInt(number, here); });
        bend.control = needText(object, place, "control");
        return bend;
    }

    RigFileTweak readTweak(const JsonValue& json, const JsonPlace& place) const {
        const Object& object = readObject(json, place);
        RigFileTweak tweak;
        Object unknown;
        need(object, place, "centre",
             [&](const auto& number, const auto& here) { tweak.centre = readInt(number, here); });
        for (const auto& [key, value] : object) {
            const std::string& name = key;
            const auto known = std::find(kRigTweakNames.begin(), kRigTweakNames.end(), name);
            if (known != kRigTweakNames.end())
                tweak.amounts[static_cast<std::size_t>(known - kRigTweakNames.begin())] =
                    readFloat(value, JsonPlace(place, name));
            else if (name != "centre")
                unknown.emplace(name, copyOf(value));
        }
        keep(unknown, place, {}, tweak.kept);
        return tweak;
    }

    void readMaps(const JsonValue& json, const JsonPlace& place) {
        const Object& object = readObject(json, place);
        Object unknown;
        for (const auto& [key, value] : object) {
            const std::string& name = key;
            const auto known = std::find(kRigMapNames.begin(), kRigMapNames.end(), name);
            if (known == kRigMapNames.end()) {
                unknown.emplace(name, copyOf(value));
                continue;
            }
            rig_.weightMaps[static_cast<std::size_t>(known - kRigMapNames.begin())] =
                readValues(value, JsonPlace(place, name), rig_.keptInArrays[name]);
            if (rig_.keptInArrays[name].empty()) rig_.keptInArrays.erase(name);
        }
        keep(unknown, place, {}, rig_.keptInMaps);
    }

    // One value per point: a list, or {"file"}, or {"default", "indices", "values"}.
    std::vector<float> readValues(const JsonValue& json, const JsonPlace& place, KeptKeys& kept) {
        const std::size_t points = rig_.mesh.points;
        if (const JsonValue::Array* list = json.array()) {
            if (list->size() != points)
                place.refuse(std::to_string(points) + " numbers expected, one per point, " +
                             std::to_string(list->size()) + " found");
            return readList(json, place, readShare);
        }
        if (!json.object()) place.refuseType("list or object", json);
        const Object& object = *json.object();
        if (findKey(object, "file")) {
            keep(object, place, {"file"}, kept);
            return readArrayFile(needText(object, place, "file"), place);
        }
        keep(object, place, {"default", "indices", "values"}, kept);
        return readSparse(object, place);
    }

    static float readShare(const JsonValue& json, const JsonPlace& place) {
        const float value = readFloat(json, place);
        if (!(value >= 0.0f && value <= 1.0f)) place.refuse("a number from 0 to 1 expected");
        return value;
    }

    std::vector<float> readArrayFile(const std::string& reference, const JsonPlace& above) const {
        static const std::string fileKey = "file";
        const JsonPlace place(above, fileKey);
        checkReference(reference, place);
        const std::size_t points = rig_.mesh.points;
        const auto refuse = [&](const std::string& text) { place.refuse("'" + reference + "': " + text); };
        NpyArray array;
        try {
            array = readNpy((fs::path(folder_) / reference).string());
        } catch (const HostError& error) {
            refuse(error.what());
        }
        if (array.type == NpyType::kInt32)
            refuse("its values are of type '<i4'; save them as '<f4' or '<f8'");
        if (array.shape.size() != 1)
            refuse("it has " + std::to_string(array.shape.size()) + " dimensions; save it with one");
        if (array.values.size() != points)
            refuse(std::to_string(points) + " values expected, one per point, " +
                   std::to_string(array.values.size()) + " found; save a list of this mesh");
        std::vector<float> values;
        values.reserve(points);
        for (const double value : array.values) {
            if (!(value >= 0.0 && value <= 1.0))
                refuse("the value of point " + std::to_string(values.size()) +
                       " is not a number from 0 to 1; save it with one");
            values.push_back(static_cast<float>(value));
        }
        return values;
    }

    std::vector<float> readSparse(const Object& object, const JsonPlace& place) {
        static const std::string indicesKey = "indices", valuesKey = "values", defaultKey = "default";
        const float fallback = readShare(needKey(object, defaultKey, place), JsonPlace(place, defaultKey));
        const std::size_t points = rig_.mesh.points;
        const JsonValue *indices = findKey(object, indicesKey), *values = findKey(object, valuesKey);
        if (!indices != !values)
            JsonPlace(place, indices ? valuesKey : indicesKey).refuse("indices and values go together");
        std::vector<std::int32_t> at;
        std::vector<float> given;
        const JsonPlace indicesPlace(place, indicesKey), valuesPlace(place, valuesKey);
        if (indices) {
            at = readList(*indices, indicesPlace, readInt);
            given = readList(*values, valuesPlace, readShare);
        }
        if (at.size() != given.size())
            valuesPlace.refuse(std::to_string(at.size()) + " numbers expected, one per index, " +
                               std::to_string(given.size()) + " found");
        for (std::size_t k = 0; k < at.size(); ++k) {
            if (at[k] < 0 || static_cast<std::size_t>(at[k]) >= points)
                JsonPlace(indicesPlace, k).refuse("no such point; the mesh has " + std::to_string(points));
            if (k > 0 && at[k] <= at[k - 1])
                JsonPlace(indicesPlace, k).refuse("larger than the one before expected");
        }
        if (points > rig_parts::kMostFilledValues - filled_)
            place.refuse("more than " + std::to_string(rig_parts::kMostFilledValues) +
                         " values that only a default gives; the number of points cannot be right");
        filled_ += points;
        std::vector<float> dense(points, fallback);
        for (std::size_t k = 0; k < at.size(); ++k) dense[static_cast<std::size_t>(at[k])] = given[k];
        return dense;
    }

    std::string folder_;
    bool keepUnknown_;
    std::size_t filled_ = 0;
    RigFile rig_;
};

RigFile readDocument(const std::string& path, const RigReadOptions& options) {
    JsonValue json = parseJson(readRegularFile(path));
    const JsonPlace top;
    readObject(json, top);
    Object& object = *json.object();
    const std::string formatKey = "format";
    if (readText(needKey(object, formatKey, top), JsonPlace(top, formatKey)) != kRigFormat)
        JsonPlace(top, formatKey).refuse(std::string("\"") + kRigFormat + "\" expected");
    upgradeRigDocument(object, options.versions ? *options.versions : rigVersions());
    RigFile rig = RigReader(rig_parts::folderOf(path), options.keepUnknown).read(object);
    rig_parts::checkRig(rig);
    rig.path = path;
    return rig;
}

} // namespace

RigFile readRigFile(const std::string& path, const RigReadOptions& options) {
    try {
        return readDocument(path, options);
    } catch (const HostError& error) {
        throw HostError(error.code, path + ": " + error.what());
    }
}

} // namespace talvisora::host
