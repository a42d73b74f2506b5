// SPDX-License-Identifier: Apache-2.0
// Building the limb: joints one unit apart, ten to a chain, bent -9 to 26 degrees each; points in passes
// along the limb, 1000 a pass, at radius 0.3 to 0.7, curve parameter by position with a little noise.
#include "bench/limb_scene.h"

#include <algorithm>
#include <cmath>
#include <random>
#include <string>

namespace talvisora::bench {

namespace {

constexpr int kJoints = 10; ///< of one chain
constexpr double kChainLength = 9.0;

std::string jointName(int block, int joint) {
    return "b" + std::to_string(block) + "_j" + std::to_string(joint);
}

template <class T>
std::shared_ptr<T> scalar(decltype(T::value) value) {
    auto data = std::make_shared<T>();
    data->value = value;
    return data;
}

std::shared_ptr<GrFloat> dense(std::vector<float> values) {
    auto data = std::make_shared<GrFloat>();
    data->indices.resize(values.size());
    for (std::size_t i = 0; i < values.size(); ++i) data->indices[i] = static_cast<std::int32_t>(i);
    data->values = std::move(values);
    return data;
}

Matrix44d turned(double degrees, const Vec3d& translation) {
    const double a = degrees * 3.141592653589793 / 180.0;
    Matrix44d m;
    setRow(m, 0, {std::cos(a), std::sin(a), 0});
    setRow(m, 1, {-std::sin(a), std::cos(a), 0});
    setTranslation(m, translation);
    return m;
}

const char* const kTweakNames[] = {"collisionTweak",         "collisionPlaneTweak",   "bulgeTweak",
                                   "collisionBulgeTweak",    "centerInTweak",         "centerOutTweak",
                                   "slidePrevInTweak",       "slideNextInTweak",      "slidePrevOutTweak",
                                   "slideNextOutTweak",      "slideOrthoPrevInTweak", "slideOrthoNextInTweak",
                                   "slideOrthoPrevOutTweak", "slideOrthoNextOutTweak"};
const float kTweakValues[] = {0.8f,  0.5f,   0.2f,   0.1f,  0.1f,  -0.1f, 0.05f,
                              0.05f, -0.05f, -0.05f, 0.02f, 0.02f, 0.01f, 0.01f};
const char* const kMapNames[] = {"collisionTweakWeights", "bulgeTweakWeights",   "centerInTweakWeights",
                                 "centerOutTweakWeights", "slideInTweakWeights", "slideOutTweakWeights"};

std::string longName(const std::string& name) {
    return "talvisora__" + name;
}

std::shared_ptr<GrCompound> tweaksOfBlock(bool on) {
    auto tweaks = std::make_shared<GrCompound>();
    if (!on) return tweaks;
    for (int j = 0; j < kJoints - 2; ++j) {
        ValueMap element;
        for (int t = 0; t < 14; ++t) element[longName(kTweakNames[t])] = scalar<GrFloat>(kTweakValues[t]);
        tweaks->indices.push_back(j);
        tweaks->values.push_back(std::move(element));
    }
    return tweaks;
}

} // namespace

LimbScene::LimbScene(const LimbOptions& chosen)
    : options(chosen), hierarchy(std::make_shared<GrHierarchy>()) {
    std::mt19937 random(20240511);
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    const std::size_t n = options.points;
    const int blocks = options.blocks;
    const double limb = kChainLength * blocks;

    // Joints: every chain starts where its rest chain starts; bends alternate so that the limb stays in
    // reach.
    std::vector<Matrix44d> skin;
    for (int b = 0; b < blocks; ++b) {
        Matrix44d world;
        for (int j = 0; j < kJoints; ++j) {
            JointRecord record;
            const Vec3d offset{j == 0 ? kChainLength * b : 1.0, 0, 0};
            const double bend = j == 0 ? 0.0 : -9.0 + 35.0 * unit(random);
            setTranslation(record.restLocal, offset);
            bends_.push_back(b % 2 ? -bend : bend);
            record.local = turned(bends_.back(), offset);
            record.parent = j == 0 ? "" : jointName(b, j - 1);
            world = GrHierarchy::underParent(record, Pose::kCurrent, j == 0 ? Matrix44d{} : world);
            Matrix44d restInverse;
            setTranslation(restInverse, {-(kChainLength * b + j), 0, 0});
            skin.push_back(restInverse * world);
            hierarchy->set(jointName(b, j), record);
        }
    }
    for (const Matrix44d& m : skin)
        for (int r = 0; r < 4; ++r)
            for (int c = 0; c < 4; ++c) skinMatrices.push_back(c < 3 ? m(r, c) : 0.0);

    // Points, and what they weigh where.
    restPoints.resize(n);
    std::vector<std::vector<float>> weights(static_cast<std::size_t>(blocks)), params(weights.size());
    for (auto& row : weights) row.assign(n, 0.0f);
    for (auto& row : params) row.assign(n, 0.0f);
    skinJoints.resize(4 * n);
    skinWeights.resize(4 * n);
    std::vector<std::size_t> order(n);
    for (std::size_t i = 0; i < n; ++i) order[i] = i;
    if (options.shuffled) std::shuffle(order.begin(), order.end(), std::mt19937(7));
    for (std::size_t at = 0; at < n; ++at) {
        const std::size_t i = order[at];
        const double along = (static_cast<double>(at % 1000) + 0.5) / 1000.0 * limb;
        const double radius = 0.3 + 0.4 * unit(random), angle = 6.283185307179586 * unit(random);
        restPoints[i] = {along, radius * std::cos(angle), radius * std::sin(angle)};
        const int b = std::min(static_cast<int>(along / kChainLength), blocks - 1);
        const double local = along / kChainLength - b;
        const auto param = [&](double t) {
            return static_cast<float>(std::clamp(t + 2e-4 * (unit(random) - 0.5), 0.0, 1.0));
        };
        params[static_cast<std::size_t>(b)][i] = param(local);
        weights[static_cast<std::size_t>(b)][i] = blocks == 1 ? 1.0f : 0.99f;
        const int neighbour = local < 0.15 ? b - 1 : local > 0.85 ? b + 1 : -1;
        if (neighbour >= 0 && neighbour < blocks) {
            params[static_cast<std::size_t>(neighbour)][i] = neighbour < b ? 1.0f : 0.0f;
            weights[static_cast<std::size_t>(neighbour)][i] = 0.4f;
        }
        const int joint = std::min(static_cast<int>(local * (kJoints - 1)), kJoints - 2);
        const float shares[4] = {0.1f, 0.4f, 0.4f, 0.1f};
        for (int k = 0; k < 4; ++k) {
            const int of = std::clamp(joint - 1 + k, 0, kJoints - 1);
            skinJoints[4 * i + static_cast<std::size_t>(k)] = static_cast<std::uint16_t>(b * kJoints + of);
            skinWeights[4 * i + static_cast<std::size_t>(k)] = shares[k];
        }
    }

    attributes["CACHE_ATTRIBUTES"] = scalar<GrBoolean>(true);
    attributes["ENVELOPE"] = scalar<GrFloat>(1.0f);
    attributes["SOA_ENABLED"] = scalar<GrBoolean>(false);
    attributes["TANGENT_TURN"] = scalar<GrInt>(1);
    attributes[longName("hier_name")] = makeText("limb");
    auto geo = std::make_shared<GrMatrix>();
    geo->value = turned(7.0, {0.5, -0.25, 1.0});
    attributes[longName("geoMatrix")] = geo;
    const Matrix44d toObject = inverse(geo->value);
    for (Vec3d& p : restPoints) p = pointMultMat(p, toObject);
    attributes[longName("tempWeights")] = std::make_shared<GrFloat>();
    for (const char* name : kMapNames) {
        std::vector<float> values;
        if (options.tweaks)
            for (std::size_t i = 0; i < n; ++i)
                values.push_back(static_cast<float>(0.5 + 0.5 * unit(random)));
        attributes[longName(name)] = dense(std::move(values));
    }
    auto list = std::make_shared<GrCompound>();
    for (int b = 0; b < blocks; ++b) {
        ValueMap element;
        auto joints = std::make_shared<GrString>();
        for (int j = 0; j < kJoints; ++j) {
            joints->indices.push_back(j);
            joints->values.push_back(jointName(b, j));
        }
        element[longName("name")] = makeText("chain" + std::to_string(b));
        element[longName("env")] = scalar<GrFloat>(1.0f);
        element[longName("joints")] = joints;
        element[longName("params")] = dense(std::move(params[static_cast<std::size_t>(b)]));
        element[longName("blockWeights")] = dense(std::move(weights[static_cast<std::size_t>(b)]));
        element[longName("simple")] = scalar<GrBoolean>(false);
        element[longName("bends")] = std::make_shared<GrString>();
        element[longName("tweaks")] = tweaksOfBlock(options.tweaks);
        list->indices.push_back(b);
        list->values.push_back(std::move(element));
    }
    attributes[longName("block")] = list;
}

void LimbScene::pose(int step) {
    const double part = 1.0 - 0.01 * step;
    for (std::size_t k = 0; k < bends_.size(); ++k) {
        JointRecord& record =
            *hierarchy->find(jointName(static_cast<int>(k) / kJoints, static_cast<int>(k) % kJoints));
        record.local = turned(part * bends_[k], translation(record.local));
    }
}

} // namespace talvisora::bench
