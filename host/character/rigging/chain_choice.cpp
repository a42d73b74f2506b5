// SPDX-License-Identifier: Apache-2.0
// Order: read the text, walk each chain from its last joint up, settle who owns what, hand over what is left.
#include "host/character/rigging/chain_choice.h"

#include <algorithm>
#include <map>
#include <set>

namespace talvisora::host::rigging {

namespace {

[[noreturn]] void refuse(const std::string& text) {
    throw HostError(ExitCode::kUsage, "--blocks: " + text);
}

struct Chosen {
    std::string name, first, last;
};

std::string trimmed(const std::string& text) {
    const std::size_t start = text.find_first_not_of(" \t\r");
    return start == std::string::npos ? "" : text.substr(start, text.find_last_not_of(" \t\r") + 1 - start);
}

// Text up to one of the separators, which stay; escaped characters never separate.
class Reader {
public:
    explicit Reader(const std::string& text) : text_(text) {}

    bool atEnd() const { return at_ >= text_.size(); }
    bool take(const std::string& mark) {
        if (text_.compare(at_, mark.size(), mark) != 0) return false;
        at_ += mark.size();
        return true;
    }
    bool takeSeparator() { return take(",") || take("\n"); }
    std::string name() {
        std::string read;
        while (!atEnd() && text_[at_] != ',' && text_[at_] != '\n' && text_[at_] != '=' &&
               text_.compare(at_, 2, "..") != 0) {
            if (text_[at_] == '\\' && at_ + 1 < text_.size()) ++at_;
            read += text_[at_++];
        }
        return trimmed(read);
    }

private:
    const std::string& text_;
    std::size_t at_ = 0;
};

std::vector<Chosen> readChoice(const std::string& text) {
    std::vector<Chosen> chains;
    std::set<std::string> names;
    for (Reader reader(text); !reader.atEnd();) {
        Chosen chain;
        chain.name = reader.name();
        if (chain.name.empty() && (reader.takeSeparator() || reader.atEnd())) continue; // an empty line
        const bool named = reader.take("=");
        if (named) chain.first = chain.last = reader.name();
        if (named && reader.take("..")) chain.last = reader.name();
        if (chain.name.empty() || chain.first.empty() || chain.last.empty() ||
            !(reader.takeSeparator() || reader.atEnd()))
            refuse("cannot read chain " + std::to_string(chains.size() + 1) +
                   (chain.name.empty() ? "" : " '" + chain.name + "'") +
                   "; write NAME=FIRST..LAST or NAME=JOINT, with commas in between");
        if (!names.insert(chain.name).second) refuse("chain '" + chain.name + "' is given twice");
        chains.push_back(std::move(chain));
    }
    if (chains.empty()) refuse("no chain; write NAME=FIRST..LAST,…");
    return chains;
}

int jointCalled(const Character& character, const Chosen& chain, const std::string& name) {
    for (std::size_t j = 0; j < character.joints.size(); ++j)
        if (character.joints[j].name == name) return static_cast<int>(j);
    refuse("chain '" + chain.name + "': '" + character.path + "' has no joint '" + name +
           "'; see grhost info");
}

std::vector<int> walk(const Character& character, const Chosen& chain) {
    const int first = jointCalled(character, chain, chain.first);
    std::vector<int> joints;
    for (int j = jointCalled(character, chain, chain.last); j >= 0;
         j = character.joints[static_cast<std::size_t>(j)].parent) {
        joints.push_back(j);
        if (j != first) continue;
        std::reverse(joints.begin(), joints.end());
        return joints;
    }
    refuse("chain '" + chain.name + "': joint '" + chain.last + "' does not lie below '" + chain.first + "'");
}

/// Per joint the index of the chain that owns it, -1 for none.
std::vector<int> settleOwners(const Character& character, std::vector<Chain>& chains) {
    std::vector<int> owner(character.joints.size(), -1);
    for (std::size_t c = 0; c < chains.size(); ++c)
        for (std::size_t r = 1; r < chains[c].joints.size(); ++r) {
            const auto j = static_cast<std::size_t>(chains[c].joints[r]);
            if (owner[j] >= 0)
                refuse("joint '" + character.joints[j].name + "' lies inside two chains, '" +
                       chains[static_cast<std::size_t>(owner[j])].name + "' and '" + chains[c].name + "'");
            owner[j] = static_cast<int>(c);
        }
    for (std::size_t c = 0; c < chains.size(); ++c) {
        int& first = owner[static_cast<std::size_t>(chains[c].joints[0])];
        if (first >= 0) {
            chains[c].firstOwned = 1;
            if (chains[c].joints.size() == 1)
                refuse("chain '" + chains[c].name + "': its only joint belongs to chain '" +
                       chains[static_cast<std::size_t>(first)].name + "'");
        } else {
            first = static_cast<int>(c);
        }
    }
    return owner;
}

} // namespace

ChainPlan planChosenChains(const Character& character, const std::string& choice, std::size_t recordLimit) {
    ChainPlan plan;
    for (const Chosen& chosen : readChoice(choice)) {
        Chain chain;
        chain.name = chosen.name;
        chain.joints = walk(character, chosen);
        plan.chains.push_back(std::move(chain));
    }
    const std::vector<int> owner = settleOwners(character, plan.chains);

    std::vector<char> weighted(character.joints.size(), 0), leaf(character.joints.size(), 1);
    for (const Influence& influence : character.influences) weighted[influence.joint] = 1;
    for (std::size_t j = 0; j < character.joints.size(); ++j) {
        const Joint& joint = character.joints[j];
        if (joint.parent >= 0) leaf[static_cast<std::size_t>(joint.parent)] = 0;
        // Parents come first: the joint above has its target already.
        const int above = joint.parent < 0 ? -1 : plan.foldedInto[static_cast<std::size_t>(joint.parent)];
        const bool taken = owner[j] < 0 && above >= 0 && owner[static_cast<std::size_t>(above)] >= 0;
        plan.foldedInto.push_back(taken ? above : static_cast<int>(j));
        if (owner[j] >= 0 || !weighted[j]) continue;
        if (taken) weighted[static_cast<std::size_t>(above)] = 1;
        plan.notes.push_back(
            "joint '" + joint.name + "' is in no chain: " +
            (taken ? "its points go with '" + character.joints[static_cast<std::size_t>(above)].name + "'"
                   : "its points stay where they are"));
    }
    for (Chain& chain : plan.chains) {
        const auto last = static_cast<std::size_t>(chain.joints.back());
        chain.leafEnd = leaf[last] != 0;
        chain.needsEnd = weighted[last] != 0;
        if (chain.joints.size() == 1 && !chain.needsEnd)
            refuse("chain '" + chain.name + "': joint '" + character.joints[last].name +
                   "' moves no point; a chain of one joint must");
        const std::size_t records = chain.joints.size() + (chain.needsEnd ? 1 : 0);
        if (records > recordLimit)
            refuse("chain '" + chain.name + "' has " + std::to_string(records) + " records with its end, " +
                   std::to_string(recordLimit) + " at most; cut it in two that share a joint" +
                   (recordLimit < 30 ? ", or use --simple (30)" : ""));
    }
    return plan;
}

} // namespace talvisora::host::rigging
