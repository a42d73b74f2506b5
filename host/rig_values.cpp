// SPDX-License-Identifier: Apache-2.0
#include "host/rig_values.h"

#include "host/rig_file/rig_file.h"

#include <numeric>

namespace talvisora::host {

namespace {

constexpr const char* kHierarchyName = "hier";

std::string longName(const char* shortName) {
    return std::string("talvisora__") + shortName;
}

std::string hierarchyKey() {
    return std::string("Hier ") + kHierarchyName;
}

template <class Class, class Value>
std::shared_ptr<Class> scalar(Value value) {
    auto data = std::make_shared<Class>();
    data->value = value;
    return data;
}

// A list with an element at every index.
template <class Class, class Value>
std::shared_ptr<Class> dense(std::vector<Value> values) {
    auto data = std::make_shared<Class>();
    data->values = std::move(values);
    data->indices.resize(data->values.size());
    std::iota(data->indices.begin(), data->indices.end(), 0);
    return data;
}

std::shared_ptr<GrString> bendValues(const RigBlock& block) {
    auto data = std::make_shared<GrString>();
    for (const RigBend& bend : block.bends) {
        data->indices.push_back(bend.segment);
        data->values.push_back(bend.control);
    }
    return data;
}

std::shared_ptr<GrCompound> tweakValues(const RigBlock& block) {
    auto data = std::make_shared<GrCompound>();
    for (const RigTweak& tweak : block.tweaks) {
        ValueMap amounts;
        for (std::size_t t = 0; t < kRigTweakCount; ++t)
            amounts[longName(kRigTweakNames[t])] = scalar<GrFloat>(tweak.amounts[t]);
        data->indices.push_back(tweak.centre);
        data->values.push_back(std::move(amounts));
    }
    return data;
}

ValueMap blockValues(const RigBlock& block) {
    return {{longName("name"), makeText(block.name)},
            {longName("env"), scalar<GrFloat>(block.env)},
            {longName("joints"), dense<GrString>(block.joints)},
            {longName("params"), dense<GrFloat>(block.params)},
            {longName("blockWeights"), dense<GrFloat>(block.weights)},
            {longName("simple"), scalar<GrBoolean>(block.simple)},
            {longName("bends"), bendValues(block)},
            {longName("tweaks"), tweakValues(block)}};
}

std::shared_ptr<CapturedHierarchy> jointTable(const AutoRig& rig) {
    auto table = std::make_shared<CapturedHierarchy>();
    for (const RigRecord& record : rig.records) {
        table->set(record.name, {record.local, record.restLocal, record.parent, record.flag});
        table->names.push_back(record.name);
    }
    return table;
}

} // namespace

void fillSession(Session& session, const Character& character, const AutoRig& rig, bool tangentTurn) {
    ValueMap& values = session.attributes;
    values["CACHE_ATTRIBUTES"] = scalar<GrBoolean>(true);
    values["ENVELOPE"] = scalar<GrFloat>(1.0f);
    values["SOA_ENABLED"] = scalar<GrBoolean>(false);
    if (tangentTurn) values["TANGENT_TURN"] = scalar<GrInt>(1);

    values[longName("hier_name")] = makeText(kHierarchyName);
    values[longName("geoMatrix")] = std::make_shared<GrMatrix>();
    // A map without elements is 1 everywhere.
    values[longName("tempWeights")] = std::make_shared<GrFloat>();
    for (std::size_t m = 0; m < kRigMapCount; ++m)
        values[longName(kRigMapNames[m])] = dense<GrFloat>(rig.weightMaps[m]);

    auto blocks = std::make_shared<GrCompound>();
    for (const RigBlock& block : rig.blocks) {
        blocks->indices.push_back(static_cast<std::int32_t>(blocks->values.size()));
        blocks->values.push_back(blockValues(block));
    }
    values[longName("block")] = blocks;

    session.sharedInputs()[hierarchyKey()] = jointTable(rig);
    session.record.emplace();
    session.record->points = character.points;
    session.record->weights.assign(character.points.size(), 1.0f);
}

void setFrame(Session& session, const Character& character, const AutoRig& rig) {
    const auto table = castTo<CapturedHierarchy>(session.sharedInputs()[hierarchyKey()]);
    for (const RigRecord& record : rig.records) table->find(record.name)->local = record.local;
    session.record->points = character.points;
}

} // namespace talvisora::host
