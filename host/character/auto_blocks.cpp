// SPDX-License-Identifier: Apache-2.0
// The automatic rig as a page of sentences: chains, ends, frames as records, seeds.
#include "host/character/auto_blocks.h"
#include "host/character/rigging/chain_choice.h"
#include "host/character/rigging/chain_frames.h"
#include "host/character/rigging/seeds.h"

#include <algorithm>
#include <set>

namespace talvisora::host {

namespace {

using rigging::Chain;
using rigging::PlannedBlock;

constexpr std::size_t kRecordLimit = 10, kSimpleRecordLimit = 30;
constexpr std::size_t kLeastForSimple =
    4; // the deformer builds shorter blocks as non-simple whatever is asked

/// Gives every record a name of its own.
class Names {
public:
    std::string unique(const std::string& wanted) {
        std::string name = wanted;
        for (std::size_t copy = 2; !taken_.insert(name).second; ++copy)
            name = wanted + "_" + std::to_string(copy);
        return name;
    }

private:
    std::set<std::string> taken_;
};

void addJointRecords(const Character& character, Names& names, AutoRig& rig) {
    for (const Joint& joint : character.joints) {
        RigRecord record;
        record.name = names.unique(joint.name);
        record.joint = static_cast<int>(rig.records.size());
        const Joint* parent =
            joint.parent < 0 ? nullptr : &character.joints[static_cast<std::size_t>(joint.parent)];
        if (parent) record.parent = rig.records[static_cast<std::size_t>(joint.parent)].name;
        record.local = record.restLocal = parent ? joint.restWorld * parent->inverseRest : joint.restWorld;
        rig.records.push_back(std::move(record));
    }
    rig.jointCount = rig.records.size();
}

/// How much one joint and the joints folded into it weigh on every point.
std::vector<double> sharesOf(const Character& character, const std::vector<int>& foldedInto, int joint) {
    std::vector<double> shares(character.points.size(), 0.0);
    for (std::size_t p = 0; p < shares.size(); ++p)
        for (std::uint32_t i = character.influenceStart[p]; i < character.influenceStart[p + 1]; ++i)
            if (foldedInto[character.influences[i].joint] == joint)
                shares[p] += character.influences[i].weight;
    return shares;
}

PlannedBlock planBlock(const Character& character, const Chain& chain, const std::vector<int>& foldedInto,
                       bool simple) {
    PlannedBlock block;
    block.chain = chain;
    for (int joint : chain.joints)
        block.positions.push_back(translation(character.joints[static_cast<std::size_t>(joint)].restWorld));
    if (chain.needsEnd)
        block.positions.push_back(
            rigging::virtualEnd(character, chain, sharesOf(character, foldedInto, chain.joints.back())));
    block.simple = simple && block.positions.size() >= kLeastForSimple;
    return block;
}

RigBlock addBlockRecords(const Character& character, const PlannedBlock& planned, Names& names,
                         AutoRig& rig) {
    const Chain& chain = planned.chain;
    const auto jointAt = [&](std::size_t record) {
        return static_cast<std::size_t>(chain.joints[std::min(record, chain.joints.size() - 1)]);
    };
    const std::vector<Matrix44d> frames =
        rigging::chainFrames(planned.positions, character.joints[jointAt(0)].restWorld);
    RigBlock block;
    block.name = chain.name.empty() ? character.joints[jointAt(chain.firstOwned)].name : chain.name;
    block.simple = planned.simple;
    block.virtualEnd = chain.needsEnd;
    for (std::size_t r = 0; r < frames.size(); ++r) {
        const Joint& joint = character.joints[jointAt(r)];
        RigRecord record;
        record.name = names.unique(block.name + "/" + (r < chain.joints.size() ? joint.name : "end"));
        record.parent = rig.records[jointAt(r)].name;
        record.local = record.restLocal = frames[r] * joint.inverseRest;
        block.joints.push_back(record.name);
        rig.records.push_back(std::move(record));
    }
    return block;
}

} // namespace

AutoRig buildAutoRig(const Character& character, const AutoBlockOptions& options) {
    AutoRig rig;
    const std::size_t limit = options.simple ? kSimpleRecordLimit : kRecordLimit;
    rigging::ChainPlan plan = options.chains.empty()
                                  ? rigging::planChains(character, limit)
                                  : rigging::planChosenChains(character, options.chains, limit);
    rig.notes = std::move(plan.notes);
    Names names;
    addJointRecords(character, names, rig);

    std::vector<int> ownerBlock(character.joints.size(), -1), ownerRecord(character.joints.size(), -1);
    std::vector<PlannedBlock> planned;
    for (const Chain& chain : plan.chains) {
        const std::size_t owned = chain.joints.size() - (chain.sharedLast ? 1 : 0);
        for (std::size_t r = chain.firstOwned; r < owned; ++r) {
            ownerBlock[static_cast<std::size_t>(chain.joints[r])] = static_cast<int>(planned.size());
            ownerRecord[static_cast<std::size_t>(chain.joints[r])] = static_cast<int>(r);
        }
        planned.push_back(planBlock(character, chain, plan.foldedInto, options.simple));
        rig.blocks.push_back(addBlockRecords(character, planned.back(), names, rig));
    }
    if (rig.blocks.empty())
        throw HostError(ExitCode::kInput,
                        "'" + character.path +
                            "' has no joint that moves a point; bind the mesh to its armature");
    for (std::size_t j = 0; j < character.joints.size(); ++j) {
        const auto into = static_cast<std::size_t>(plan.foldedInto[j]);
        ownerBlock[j] = ownerBlock[into];
        ownerRecord[j] = ownerRecord[into];
        if (ownerBlock[j] >= 0)
            rig.blocks[static_cast<std::size_t>(ownerBlock[j])].ownedJoints.push_back(
                static_cast<std::uint32_t>(j));
    }
    rigging::seedBlocks(character, planned, ownerBlock, ownerRecord, options.params, rig.blocks);
    return rig;
}

void applyPose(AutoRig& rig, const Pose& pose) {
    for (RigRecord& record : rig.records)
        if (record.joint >= 0) record.local = pose.local[static_cast<std::size_t>(record.joint)];
}

double AutoRig::blocksPerPoint() const {
    std::size_t acting = 0, moved = 0;
    for (std::size_t p = 0; !blocks.empty() && p < blocks[0].weights.size(); ++p) {
        std::size_t here = 0;
        for (const RigBlock& block : blocks) here += block.weights[p] > 0.0f ? 1 : 0;
        acting += here;
        moved += here ? 1 : 0;
    }
    return moved ? static_cast<double>(acting) / static_cast<double>(moved) : 0.0;
}

std::vector<double> AutoRig::shareLeftBehind() const {
    std::vector<double> left(blocks.empty() ? 0 : blocks[0].weights.size(), 1.0);
    for (const RigBlock& block : blocks)
        for (std::size_t p = 0; p < left.size(); ++p) left[p] *= 1.0 - block.weights[p];
    return left;
}

} // namespace talvisora::host
