// SPDX-License-Identifier: Apache-2.0
#include "host/quality/trials.h"

#include <cmath>

namespace talvisora::host {

namespace {

std::string degrees(double amount) {
    return std::to_string(static_cast<int>(std::lround(amount))) + " deg";
}

Trial elbow() {
    Trial trial;
    trial.shape = {"elbow", {0.0, 19.0, 38.0}, 1.0, 37.0, 4.6, 3.6, 1.0, 73, 32, 5.0};
    for (const double angle : {0.0, 35.0, 70.0, 105.0, 140.0})
        trial.poses.push_back({degrees(angle), angle, {{}, {angle, 0.0}, {}}, 1.0});
    // Collision keeps the two halves apart when the joint closes; the others give back the volume that a
    // curve loses on its inner side, mostly at the tip of the elbow.
    trial.tweaks = {{"collisionTweak", 1.0f},
                    {"bulgeTweak", 0.14f},
                    {"centerOutTweak", 0.03f},
                    {"slidePrevOutTweak", 0.02f},
                    {"slideNextOutTweak", 0.02f}};
    trial.view = {0.0, 12.0, {0.0, 1.0, 0.0}};
    trial.tall = 0.72;
    return trial;
}

Trial twist() {
    Trial trial;
    trial.shape = {"twist", {0.0, 20.0, 28.0}, 1.0, 27.0, 4.2, 3.4, 1.6, 65, 32, 5.0};
    for (const double angle : {0.0, 45.0, 90.0, 135.0, 180.0})
        trial.poses.push_back({degrees(angle), angle, {{}, {0.0, angle}, {}}, 1.0});
    trial.view = {0.0, 24.0, {0.0, 1.0, 0.0}};
    trial.tall = 0.42;
    return trial;
}

// The same with a joint in the middle of the forearm that takes half of the turn, as many rigs have it.
Trial helper() {
    Trial trial = twist();
    trial.shape.name = "helper";
    trial.shape.joints = {0.0, 10.0, 20.0, 28.0};
    for (TrialPose& pose : trial.poses)
        pose.turns = {{}, {0.0, pose.amount / 2.0}, {0.0, pose.amount / 2.0}, {}};
    return trial;
}

Trial tail() {
    Trial trial;
    trial.shape = {"tail", {0.0, 10.0, 20.0, 30.0, 40.0, 50.0, 60.0}, 1.0, 59.0, 4.0, 1.6, 1.0, 89, 24, 3.0};
    // The first half bends one way, the second the other.
    for (const double angle : {0.0, 20.0, 40.0, 60.0, 80.0})
        trial.poses.push_back({"S of " + degrees(angle),
                               angle,
                               {{}, {angle, 0.0}, {angle, 0.0}, {}, {-angle, 0.0}, {-angle, 0.0}, {}},
                               1.0});
    trial.tweaks = {{"bulgeTweak", 0.1f}};
    trial.view = {0.0, 12.0, {0.0, 1.0, 0.0}};
    trial.tall = 0.8;
    return trial;
}

Trial stretch() {
    Trial trial;
    trial.shape = {"stretch", {0.0, 19.0, 38.0}, 1.0, 37.0, 4.6, 3.6, 1.0, 73, 32, 5.0};
    for (const double factor : {0.5, 0.75, 1.0, 1.5, 2.0}) {
        std::string label = std::to_string(factor).substr(0, 4);
        trial.poses.push_back({"x " + label, factor, {{}, {30.0, 0.0}, {}}, factor});
    }
    trial.view = {0.0, 12.0, {0.0, 1.0, 0.0}};
    trial.tall = 0.4;
    return trial;
}

} // namespace

std::vector<Trial> allTrials() {
    return {elbow(), twist(), helper(), tail(), stretch()};
}

} // namespace talvisora::host
