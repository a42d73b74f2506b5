// SPDX-License-Identifier: Apache-2.0
#include "host/character/describe.h"
#include "host/replay/answer.h"
#include "host/verbs/report_json.h"
#include "host/verbs/verbs.h"

#include <cmath>
#include <filesystem>
#include <fstream>

namespace talvisora::host {

namespace {

// Whether the file begins like a loadable library. Whatever else it is goes to the character reader.
bool looksLikeModule(const std::string& path) {
    const std::string extension = std::filesystem::path(path).extension().string();
    if (extension == ".so" || extension == ".dll" || extension == ".mll") return true;
    char start[4] = {};
    std::ifstream(path, std::ios::binary).read(start, 4);
    return std::string(start, 4) == "\x7f"
                                    "ELF" ||
           std::string(start, 2) == "MZ";
}

const char* className(std::uint32_t type) {
    switch (type) {
    case kBooleanAttribute:
        return GrBoolean::kTypeName;
    case kFloatAttribute:
        return GrFloat::kTypeName;
    case kMatrixAttribute:
        return GrMatrix::kTypeName;
    case kCompoundAttribute:
        return GrCompound::kTypeName;
    case kStringAttribute:
        return GrString::kTypeName;
    default:
        return "unknown class";
    }
}

std::string plain(double number) {
    JsonWriter text;
    return text.value(number).text();
}

// "├─ env  GrFloat  default 1  0 to 1  keyable": one line per attribute, children under their parent.
void treeLines(const std::vector<AttributeDescriptor>& descriptors, const std::string& margin,
               std::string& text) {
    for (std::size_t k = 0; k < descriptors.size(); ++k) {
        const AttributeDescriptor& descriptor = descriptors[k];
        const bool last = k + 1 == descriptors.size();
        text += margin + (last ? "└─ " : "├─ ") + descriptor.shortName + "  " + className(descriptor.type);
        if (descriptor.array) text += "[]";
        if (descriptor.type == kFloatAttribute) text += "  default " + plain(descriptor.defaultValue);
        if (descriptor.type == kStringAttribute && !descriptor.defaultText.empty())
            text += "  default '" + descriptor.defaultText + "'";
        if (descriptor.hasMinimum) text += "  from " + plain(descriptor.minimum);
        if (descriptor.hasMaximum) text += "  to " + plain(descriptor.maximum);
        if (descriptor.keyable) text += "  keyable";
        if (descriptor.hidden) text += "  hidden";
        if (descriptor.cached) text += "  cached";
        text += "\n";
        treeLines(descriptor.children, margin + (last ? "   " : "│  "), text);
    }
}

void moduleInfo(const InfoVerb& verb) {
    const Module module(verb.target);
    Session session(module, "grhost_info");
    CallResult result;
    const auto declared = session.declareAttributes(result);
    if (result.threw)
        throw HostError(ExitCode::kModuleFailed,
                        verb.target + ": declaring attributes threw '" + result.thrown + "'");
    if (verb.json) {
        ReportJson json("talvisora-module");
        json.key("module").value(verb.target);
        json.key("commands").beginArray();
        for (const char* name : {"help", "resetParams", "resetWeights", "checkFloatingPoints"})
            if (session.hasCommand(name)) json.value(name);
        json.endArray();
        writeDescriptors(json.key("attributes"), declared);
        printOut(json.done());
        return;
    }
    std::string text = verb.target + "\n";
    text += "commands:";
    for (const char* name : {"help", "resetParams", "resetWeights", "checkFloatingPoints"})
        if (session.hasCommand(name)) text += std::string(" ") + name;
    text += "\nattributes (long names begin with their node type and two underscores):\n";
    treeLines(declared, "", text);
    printOut(text);
}

void writeWeights(JsonWriter& json, const WeightReport& weights) {
    json.beginObject();
    json.key("notOne").value(std::uint64_t(weights.notOne));
    json.key("unweighted").value(std::uint64_t(weights.unweighted));
    json.key("smallestSum").value(weights.smallestSum);
    json.key("largestSum").value(weights.largestSum);
    json.endObject();
}

std::string characterJson(const CharacterDescription& about) {
    ReportJson json("talvisora-character");
    json.key("path").value(about.path);
    json.key("metresPerFileUnit").value(about.metresPerFileUnit);
    json.key("unitFromMetadata").value(about.unitFromMetadata);
    json.key("evaluationPerFileUnit").value(about.evaluationPerFileUnit);
    json.key("size").value(about.size);
    json.counts({{"meshes", about.meshes},
                 {"vertices", about.vertices},
                 {"points", about.points},
                 {"triangles", about.triangles}});
    json.key("joints").value(about.joints);
    json.key("jointParents").value(about.jointParents);
    json.key("chains").beginArray();
    for (const ChainDescription& chain : about.chains) {
        json.beginObject();
        json.key("name").value(chain.name).key("joints").value(chain.joints);
        json.key("virtualEnd").value(chain.virtualEnd).key("simple").value(chain.simple);
        json.key("points").value(std::uint64_t(chain.points)).endObject();
    }
    json.endArray();
    json.key("clips").beginArray();
    for (const ClipDescription& clip : about.clips) {
        json.beginObject().key("name").value(clip.name).key("seconds").value(clip.seconds);
        json.key("frames").value(std::int32_t(clip.frames)).endObject();
    }
    json.endArray();
    writeWeights(json.key("weights"), about.weights);
    json.key("blocksPerPoint").value(about.blocksPerPoint);
    json.key("warnings").value(about.warnings);
    return json.done();
}

void characterInfo(const InfoVerb& verb) {
    const Character character = readCharacter(verb.target, {verb.units});
    AutoBlockOptions options;
    options.simple = verb.simple;
    const AutoRig rig = buildAutoRig(character, options);
    const CharacterDescription about = describeCharacter(character, rig, verb.fps);
    if (verb.json) {
        printOut(characterJson(about));
        return;
    }
    std::string text;
    for (const std::string& line : describeLines(about, verb.fps)) text += line + "\n";
    printOut(text);
}

} // namespace

ExitCode runInfoVerb(const InfoVerb& verb) {
    if (!(verb.fps > 0.0) || !std::isfinite(verb.fps))
        throw HostError(ExitCode::kUsage, "--fps must be a positive number");
    if (looksLikeModule(verb.target))
        moduleInfo(verb);
    else
        characterInfo(verb);
    return ExitCode::kDone;
}

} // namespace talvisora::host
