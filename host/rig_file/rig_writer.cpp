// SPDX-License-Identifier: Apache-2.0
// The JSON file is what makes a rig: its rename is the one step in which the new rig takes the old one's
// place. So no array file that the old one uses may change before: arrays are named after their content and
// those of the old rig go last.
#include "host/rig_file/folder_lock.h"
#include "host/rig_file/npy.h"
#include "host/rig_file/rig_hash.h"
#include "host/rig_file/rig_parts.h"
#include "host/writers/atomic_file.h"

#include <algorithm>
#include <filesystem>
#include <set>

namespace talvisora::host {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t kLongestStem = 48;
constexpr std::uintmax_t kLargestRigText = 64u << 20; // larger ones are captures, not rig files

std::string withoutExtension(const std::string& name) {
    return name.substr(0, name.size() - std::string(".json").size());
}

bool endsWith(const std::string& text, const std::string& end) {
    return text.size() > end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

bool hasBytes(const fs::path& path, const std::string& bytes) {
    std::error_code error;
    if (fs::file_size(path, error) != bytes.size() || error) return false;
    try {
        return readRegularFile(path.string()) == bytes;
    } catch (const HostError&) {
        return false;
    }
}

// The folder of one rig's arrays while a new set is being written. What is new goes again unless keep() says
// that the JSON file which names it is in place.
class ArrayFolder {
public:
    explicit ArrayFolder(const fs::path& folder) : folder_(folder) {}
    ArrayFolder(const ArrayFolder&) = delete;
    ArrayFolder& operator=(const ArrayFolder&) = delete;
    ~ArrayFolder() {
        std::error_code error;
        if (!kept_)
            for (const fs::path& path : written_) fs::remove(path, error);
        fs::remove(folder_, error); // only when it is empty
    }

    /// Name of a file in the folder that holds the array; written unless it is there already.
    std::string put(const std::string& label, const std::vector<float>& values) {
        const std::string bytes = npyBytes(values);
        const std::string stem = stemOf(label) + "-" + hexadecimal(Fnv1a().bytes(bytes).digest());
        for (int copy = 1;; ++copy) {
            const std::string name = stem + (copy == 1 ? "" : "-" + std::to_string(copy)) + ".npy";
            const fs::path path = folder_ / name;
            std::error_code error;
            if (fs::exists(fs::symlink_status(path, error))) {
                if (!hasBytes(path, bytes)) continue; // somebody saved over it; the old rig may use it
            } else {
                fs::create_directory(folder_, error); // what goes wrong here the file itself will tell
                AtomicFile file(path.string());
                file.write(bytes);
                file.commit();
                written_.push_back(path);
            }
            used_.insert(name);
            return name;
        }
    }

    void keep() { kept_ = true; }

    /// Removes arrays of ours that neither the new rig nor another file beside it names.
    void tidy(const fs::path& rigPath) const {
        std::error_code error;
        std::vector<fs::path> unused;
        for (fs::directory_iterator entry(folder_, error), end; !error && entry != end;
             entry.increment(error)) {
            const std::string name = entry->path().filename().string();
            if (isOurs(name) && !used_.count(name) && entry->is_regular_file(error))
                unused.push_back(entry->path());
        }
        if (unused.empty()) return;
        keepNamedBeside(rigPath, unused);
        for (const fs::path& path : unused) fs::remove(path, error);
    }

private:
    static std::string stemOf(const std::string& label) {
        std::string stem;
        for (const char c : label.substr(0, kLongestStem)) {
            const bool plain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
            stem += plain || c == '.' || c == '_' ? c : '_';
        }
        return stem;
    }
    // "…-0123456789abcdef.npy" or "…-0123456789abcdef-2.npy"
    static bool isOurs(const std::string& name) {
        if (!endsWith(name, ".npy")) return false;
        std::string stem = name.substr(0, name.size() - 4);
        const std::size_t dash = stem.rfind('-');
        if (dash == std::string::npos) return false;
        const auto digits = [](const std::string& text, const char* of) {
            return !text.empty() && text.find_first_not_of(of) == std::string::npos;
        };
        if (stem.size() - dash < 17 && digits(stem.substr(dash + 1), "0123456789")) stem.resize(dash);
        const std::size_t hash = stem.rfind('-');
        return hash != std::string::npos && stem.size() - hash == 17 &&
               digits(stem.substr(hash + 1), "0123456789abcdef");
    }
    // Copies of the rig file under another name use the same arrays. What cannot be looked into keeps all.
    static void keepNamedBeside(const fs::path& rigPath, std::vector<fs::path>& unused) {
        std::error_code error;
        const fs::path folder = rigPath.parent_path().empty() ? fs::path(".") : rigPath.parent_path();
        for (fs::directory_iterator entry(folder, error), end; !error && entry != end;
             entry.increment(error)) {
            const fs::path& path = entry->path();
            if (path.filename() == rigPath.filename() || path.extension() != ".json") continue;
            std::error_code unknown;
            if (!entry->is_regular_file(unknown)) continue;
            if (entry->file_size(unknown) > kLargestRigText || unknown) return unused.clear();
            try {
                const std::string text = readRegularFile(path.string());
                const auto named = [&](const fs::path& array) {
                    return text.find(array.filename().string()) != std::string::npos;
                };
                unused.erase(std::remove_if(unused.begin(), unused.end(), named), unused.end());
            } catch (const HostError&) {
                return unused.clear();
            }
        }
        if (error) unused.clear();
    }

    fs::path folder_;
    std::vector<fs::path> written_;
    std::set<std::string> used_;
    bool kept_ = false;
};

class RigText {
public:
    RigText(const RigFile& rig, const RigWriteOptions& options, ArrayFolder& folder, std::string folderName)
        : rig_(rig), options_(options), folder_(folder), folderName_(std::move(folderName)) {}

    std::string write() {
        json_.beginObject();
        json_.key("format").value(kRigFormat).key("version").value(kRigVersion);
        writeUnits();
        json_.key("upAxis").value(rig_.upAxis);
        writeMesh();
        json_.key("hierarchy").beginArray();
        for (const RigFileRecord& record : rig_.hierarchy) writeRecord(record);
        json_.endArray();
        json_.key("blocks").beginArray();
        for (const RigFileBlock& block : rig_.blocks) writeBlock(block);
        json_.endArray();
        writeMaps();
        writeKept(rig_.kept);
        json_.endObject();
        return json_.text() + "\n";
    }

private:
    void writeKept(const KeptKeys& kept) {
        for (const auto& [key, value] : kept) {
            json_.key(key);
            writeTree(*value);
        }
    }

    // As deep as the reader lets documents be.
    void writeTree(const JsonValue& value) {
        if (value.boolean()) {
            json_.value(*value.boolean());
        } else if (value.number()) {
            json_.value(value.number()->nearest);
        } else if (value.text()) {
            json_.value(*value.text());
        } else if (value.array()) {
            json_.beginArray();
            for (const JsonValue& entry : *value.array()) writeTree(entry);
            json_.endArray();
        } else if (value.object()) {
            json_.beginObject();
            for (const auto& [key, entry] : *value.object()) {
                json_.key(key);
                writeTree(entry);
            }
            json_.endObject();
        } else {
            json_.null();
        }
    }

    void writeUnits() {
        const RigFileUnits& units = rig_.units;
        json_.key("units").beginObject();
        json_.key("length").value(units.length);
        json_.key("fileUnit").value(units.fileUnit.empty() ? "metadata" : units.fileUnit);
        json_.key("lengthsPerFileUnit").value(units.lengthsPerFileUnit);
        writeKept(units.kept);
        json_.endObject();
    }

    void writeMesh() {
        const RigFileMesh& mesh = rig_.mesh;
        json_.key("mesh").beginObject();
        json_.key("character").value(mesh.character).key("objects").value(mesh.objects);
        json_.key("points").value(std::uint64_t(mesh.points));
        json_.key("topology").value(mesh.topology).key("restPositions").value(mesh.restPositions);
        writeKept(mesh.kept);
        json_.endObject();
    }

    void writeRecord(const RigFileRecord& record) {
        json_.beginObject();
        json_.key("name").value(record.name);
        if (!record.joint.empty()) json_.key("joint").value(record.joint);
        if (!record.parent.empty()) json_.key("parent").value(record.parent);
        if (record.flag) json_.key("flag").value(true);
        json_.key("rest").value(record.rest);
        writeKept(record.kept);
        json_.endObject();
    }

    void writeBlock(const RigFileBlock& block) {
        json_.beginObject();
        json_.key("name").value(block.name).key("env").value(block.env);
        json_.key("simple").value(block.simple).key("joints").value(block.joints);
        json_.key("bends").beginArray();
        for (const RigFileBend& bend : block.bends) {
            json_.beginObject().key("segment").value(std::int32_t(bend.segment));
            json_.key("control").value(bend.control);
            writeKept(bend.kept);
            json_.endObject();
        }
        json_.endArray();
        json_.key("tweaks").beginArray();
        for (const RigFileTweak& tweak : block.tweaks) writeTweak(tweak);
        json_.endArray();
        const auto write = [&](const std::string& key, const std::vector<float>& values, float fallback) {
            const auto kept = block.keptInArrays.find(key);
            writeValues(json_.key(key), block.name + "." + key, values, fallback,
                        kept == block.keptInArrays.end() ? KeptKeys() : kept->second);
        };
        write("blockWeights", block.weights, rig_parts::kNoWeight);
        write("params", block.params, rig_parts::kNoParam);
        writeKept(block.kept);
        json_.endObject();
    }

    void writeTweak(const RigFileTweak& tweak) {
        static const std::array<float, kRigTweakCount> defaults = rigTweakDefaults();
        json_.beginObject().key("centre").value(std::int32_t(tweak.centre));
        for (std::size_t t = 0; t < kRigTweakCount; ++t)
            if (tweak.amounts[t] != defaults[t]) json_.key(kRigTweakNames[t]).value(tweak.amounts[t]);
        writeKept(tweak.kept);
        json_.endObject();
    }

    void writeMaps() {
        json_.key("weightMaps").beginObject();
        for (std::size_t m = 0; m < kRigMapCount; ++m) {
            if (rig_.weightMaps[m].empty()) continue; // 1 everywhere
            const auto kept = rig_.keptInArrays.find(kRigMapNames[m]);
            writeValues(json_.key(kRigMapNames[m]), kRigMapNames[m], rig_.weightMaps[m],
                        rig_parts::kNoMapWeight, kept == rig_.keptInArrays.end() ? KeptKeys() : kept->second);
        }
        writeKept(rig_.keptInMaps);
        json_.endObject();
    }

    // The shortest of: the points that differ from the usual value, the whole list, a file.
    void writeValues(JsonWriter& json, const std::string& label, const std::vector<float>& values,
                     float usual, const KeptKeys& kept) {
        const auto unusual = [usual](float value) { return value != usual; };
        const auto differing = static_cast<std::size_t>(std::count_if(values.begin(), values.end(), unusual));
        if (2 * differing <= values.size() && 2 * differing <= options_.inlineValues) {
            std::vector<std::int32_t> indices;
            std::vector<float> given;
            for (std::size_t p = 0; p < values.size(); ++p)
                if (unusual(values[p])) {
                    indices.push_back(static_cast<std::int32_t>(p));
                    given.push_back(values[p]);
                }
            json.beginObject().key("default").value(usual);
            if (!indices.empty()) json.key("indices").value(indices).key("values").value(given);
            writeKept(kept);
            json.endObject();
        } else if (values.size() <= options_.inlineValues && kept.empty()) {
            json.value(values);
        } else {
            json.beginObject().key("file").value(folderName_ + "/" + folder_.put(label, values));
            writeKept(kept);
            json.endObject();
        }
    }

    const RigFile& rig_;
    const RigWriteOptions& options_;
    ArrayFolder& folder_;
    std::string folderName_;
    JsonWriter json_{3};
};

} // namespace

void checkRigPath(const std::string& path) {
    if (!endsWith(fs::path(path).filename().string(), ".json"))
        throw HostError(ExitCode::kUsage,
                        "'" + path + "': a rig file is called NAME.rig.json; end its name in .json");
}

void writeRigFile(const std::string& path, const RigFile& rig, const RigWriteOptions& options) {
    checkRigPath(path);
    try {
        rig_parts::checkRig(rig);
    } catch (const HostError& error) {
        throw HostError(error.code, path + ": " + error.what());
    }
    AtomicFile file(path); // first: most of what can go wrong goes wrong here
    const fs::path rigPath = fs::path(rig_parts::folderOf(path)) / rig_parts::fileNameOf(path);
    const std::string folderName = withoutExtension(rigPath.filename().string()) + ".arrays";
    const FolderLock alone(rigPath.parent_path().string()); // until the old arrays are gone
    ArrayFolder folder(rigPath.parent_path() / folderName);
    file.write(RigText(rig, options, folder, folderName).write());
    file.commit();
    folder.keep();
    folder.tidy(rigPath);
}

} // namespace talvisora::host
