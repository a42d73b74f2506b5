// SPDX-License-Identifier: Apache-2.0
// Order: what moves points; fold coincident joints; fold twist helpers; leave out what moves nothing; run the
// chains; cut the long ones.
#include "host/character/rigging/chains.h"

#include "host/box.h"
#include "host/character/rigging/joint_motion.h"

#include <algorithm>
#include <cmath>

namespace talvisora::host::rigging {

namespace {

constexpr double kCoincident = 1e-3;      // of the size
constexpr double kStiff = 5e-3;           // radians: less counts as never turning (keys are single precision)
constexpr double kTwistSwing = 0.1;       // radians: a twist helper keeps its axis
constexpr double kTwistOffAxis = 0.02;    // of the bone's length
constexpr std::size_t kSharedRecords = 1; // neighbouring pieces share the joint at the cut

struct Planner {
    const Character& character;
    ChainPlan plan{};
    double size = 0.0;
    std::vector<char> weighted{}, kept{}, solo{}; // per joint; solo: coincides with its parent but moves
    std::vector<std::vector<int>> children{};     // kept joints below each joint, depth first
    std::vector<int> parent{};                    // kept joint above, -1 for none

    std::size_t count() const { return character.joints.size(); }
    const Joint& joint(int j) const { return character.joints[static_cast<std::size_t>(j)]; }
    Vec3d place(int j) const { return translation(joint(j).restWorld); }
    bool is(const std::vector<char>& flags, int j) const { return flags[static_cast<std::size_t>(j)] != 0; }
    std::vector<int>& below(int j) { return children[static_cast<std::size_t>(j)]; }

    /// Parents and children among the kept joints; a folded or dropped joint hands its children up.
    void relate() {
        parent.assign(count(), -1);
        children.assign(count(), {});
        for (std::size_t j = 0; j < count(); ++j) {
            if (!kept[j]) continue;
            int up = character.joints[j].parent;
            while (up >= 0 && !is(kept, up)) up = joint(up).parent;
            parent[j] = up;
            if (up >= 0) below(up).push_back(static_cast<int>(j));
        }
    }

    void fold(int j, int into, const char* why) {
        kept[static_cast<std::size_t>(j)] = 0;
        plan.foldedInto[static_cast<std::size_t>(j)] = into;
        if (is(weighted, j)) weighted[static_cast<std::size_t>(into)] = 1;
        plan.notes.push_back("joint '" + joint(j).name + "' is folded into '" + joint(into).name +
                             "': " + why);
    }

    void foldCoincident() {
        const std::vector<JointMotion> motion = measureMotion(character, {});
        for (std::size_t i = 0; i < count(); ++i) {
            const int j = static_cast<int>(i), up = joint(j).parent;
            if (up < 0 || length(place(j) - place(up)) > kCoincident * size) continue;
            const JointMotion& m = motion[i];
            // Parents come first: the parent's own target is final, and it moves as the parent does.
            if (m.turn <= kStiff && m.shift <= kCoincident * size)
                fold(j, plan.foldedInto[static_cast<std::size_t>(up)],
                     "it lies on it and never turns against it");
            else
                solo[i] = 1;
        }
    }

    /// The sibling whose bone from the parent passes through the leaf, or -1.
    int boneThrough(int leaf) {
        const int up = parent[static_cast<std::size_t>(leaf)];
        for (int sibling : below(up)) {
            if (sibling == leaf) continue;
            const Vec3d bone = place(sibling) - place(up), way = place(leaf) - place(up);
            const double along = dot(way, bone), square = dot(bone, bone);
            if (!(along > 0.0) || !(along < 0.99 * square)) continue;
            if (length(way - bone * (along / square)) <= kTwistOffAxis * std::sqrt(square)) return sibling;
        }
        return -1;
    }

    void foldTwistHelpers() {
        relate();
        std::vector<Vec3d> axes(count());
        bool any = false;
        for (std::size_t i = 0; i < count(); ++i) {
            const int j = static_cast<int>(i), up = parent[i];
            if (!kept[i] || solo[i] || up < 0 || !below(j).empty()) continue;
            const int sibling = boneThrough(j);
            if (sibling < 0) continue;
            axes[i] = place(sibling) - place(up);
            any = true;
        }
        if (!any) return;
        const std::vector<JointMotion> motion = measureMotion(character, axes);
        for (std::size_t i = 0; i < count(); ++i)
            if (axes[i] != Vec3d{} && motion[i].swing <= kTwistSwing)
                fold(static_cast<int>(i), parent[i], "it only twists on the bone");
    }

    void drop(int j, const char* why) {
        kept[static_cast<std::size_t>(j)] = 0;
        plan.notes.push_back("joint '" + joint(j).name + "' is left out: " + why);
    }

    /// Branches without weights would only cut the chain above them, roots without weights only bend it. A
    /// single stiff leaf under a joint stays: it is the end that the rigger gave the bone.
    void dropWeightless() {
        relate();
        const std::vector<JointMotion> motion = measureMotion(character, {});
        std::vector<char> live = weighted; // the joint or one below it moves points
        for (std::size_t i = count(); i-- > 0;)
            if (live[i] && parent[i] >= 0) live[static_cast<std::size_t>(parent[i])] = 1;
        for (std::size_t i = 0; i < count(); ++i) {
            if (!kept[i] || live[i]) continue;
            const int j = static_cast<int>(i), up = parent[i];
            const bool isEnd = up >= 0 && is(kept, up) && is(weighted, up) && below(up).size() == 1 &&
                               below(j).empty() && !solo[i] && motion[i].shift <= kCoincident * size;
            if (!isEnd) drop(j, "it moves no point");
        }
        for (std::size_t i = 0; i < count(); ++i) {
            const int up = parent[i];
            if (kept[i] && !weighted[i] && live[i] && (up < 0 || !is(kept, up)))
                drop(static_cast<int>(i), "it stands above the first joint that moves points");
        }
        relate();
    }

    /// The joints from `first` on to the next branching, leaf or joint that stands alone.
    std::vector<int> runFrom(int first) {
        std::vector<int> run{first};
        while (!is(solo, run.back()) && below(run.back()).size() == 1 && !is(solo, below(run.back())[0]))
            run.push_back(below(run.back())[0]);
        return run;
    }

    void addRun(std::vector<int> run, int above, std::size_t limit) {
        std::size_t owned = run.size();
        while (owned && !is(weighted, run[owned - 1])) --owned; // a weightless end is no joint of its own
        if (owned == 0) return;
        Chain chain;
        chain.leafEnd = below(run.back()).empty();
        chain.needsEnd = is(weighted, run.back());
        // A chain of one joint is rigid without the joint above, as it should be: an eye must not be dented.
        if (above >= 0 && owned >= 2) {
            chain.joints.push_back(above);
            chain.firstOwned = 1;
        }
        chain.joints.insert(chain.joints.end(), run.begin(), run.end());
        if (chain.joints.size() + (chain.needsEnd ? 1 : 0) < 2) return;
        cut(chain, limit);
    }

    /// Pieces of nearly equal length that share the joint at the cut; the later piece owns it.
    void cut(const Chain& chain, std::size_t limit) {
        const std::size_t bones = chain.joints.size() + (chain.needsEnd ? 1 : 0) - 1;
        const std::size_t pieces = (bones + limit - 2) / (limit - 1);
        if (pieces > 1)
            plan.notes.push_back("the chain from '" + joint(chain.joints[chain.firstOwned]).name +
                                 "' is cut into " + std::to_string(pieces) + " pieces");
        std::size_t start = 0;
        for (std::size_t piece = 0; piece < pieces; ++piece) {
            const bool last = piece + 1 == pieces;
            const std::size_t end =
                last ? chain.joints.size() : bones * (piece + 1) / pieces + kSharedRecords;
            Chain part;
            part.joints.assign(chain.joints.begin() + static_cast<std::ptrdiff_t>(start),
                               chain.joints.begin() + static_cast<std::ptrdiff_t>(end));
            part.firstOwned = piece == 0 ? chain.firstOwned : 0;
            part.sharedLast = !last;
            part.leafEnd = last && chain.leafEnd;
            part.needsEnd = last && chain.needsEnd;
            plan.chains.push_back(std::move(part));
            start = end - kSharedRecords;
        }
    }

    void runChains(std::size_t limit) {
        struct Start {
            std::vector<int> lead; // a branching root that its first run owns, or nothing
            int first, above;
        };
        std::vector<Start> open;
        for (std::size_t i = count(); i-- > 0;)
            if (kept[i] && parent[i] < 0) open.push_back({{}, static_cast<int>(i), -1});
        while (!open.empty()) {
            Start start = std::move(open.back());
            open.pop_back();
            std::vector<int> run = runFrom(start.first);
            const int tip = run.back();
            const std::vector<int> next = below(tip);
            // A root that branches at once has no run of its own: the first one that it starts takes it
            // along.
            const bool rootBranches =
                start.above < 0 && run.size() == 1 && !is(solo, tip) && next.size() > 1 && !is(solo, next[0]);
            for (std::size_t c = next.size(); c-- > 0;)
                open.push_back({c == 0 && rootBranches ? run : std::vector<int>{}, next[c], tip});
            if (rootBranches) continue;
            const int above = start.lead.empty() ? start.above : -1;
            run.insert(run.begin(), start.lead.begin(), start.lead.end());
            addRun(std::move(run), is(solo, start.first) ? -1 : above, limit);
        }
    }
};

} // namespace

ChainPlan planChains(const Character& character, std::size_t recordLimit) {
    Planner planner{character};
    const std::size_t count = character.joints.size();
    planner.size = boxRound(character.points).diagonal();
    planner.weighted.assign(count, 0);
    planner.kept.assign(count, 1);
    planner.solo.assign(count, 0);
    for (const Influence& influence : character.influences) planner.weighted[influence.joint] = 1;
    for (std::size_t j = 0; j < count; ++j) planner.plan.foldedInto.push_back(static_cast<int>(j));
    planner.foldCoincident();
    planner.foldTwistHelpers();
    // What a joint carried before it was folded itself goes on to its own target.
    for (int& into : planner.plan.foldedInto)
        while (into != planner.plan.foldedInto[static_cast<std::size_t>(into)])
            into = planner.plan.foldedInto[static_cast<std::size_t>(into)];
    planner.dropWeightless();
    planner.runChains(recordLimit);
    return std::move(planner.plan);
}

} // namespace talvisora::host::rigging
