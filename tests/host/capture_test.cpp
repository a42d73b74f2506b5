// SPDX-License-Identifier: Apache-2.0
// Captures: every refusal with its pointer, every value read as it is written, written captures read back bit
// for bit, hostile documents refused with one line. Expected values follow from the documents by hand.
#include "host/capture/capture.h"

#include "host/host_error.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>

namespace talvisora::host {
namespace {

const std::string kIdentity = "[1,0,0,0,0,1,0,0,0,0,1,0,0,0,0,1]";

// A whole document with these entries after the three that must be there.
std::string document(const std::string& entries) {
    return R"({"format": "talvisora-capture", "version": 1, "node": "n")" +
           (entries.empty() ? "" : ", " + entries) + "}";
}

std::string refusal(const std::string& text) {
    try {
        parseCapture(text);
    } catch (const HostError& error) {
        EXPECT_EQ(error.code, ExitCode::kInput);
        EXPECT_EQ(std::strchr(error.what(), '\n'), nullptr);
        return error.what();
    }
    return "accepted";
}

std::string refusalOf(const std::string& entries) {
    return refusal(document(entries));
}

template <class Class>
std::shared_ptr<Class> attribute(const std::string& json) {
    const Capture capture = parseCapture(document("\"attributes\": {\"a\": " + json + "}"));
    auto typed = castTo<Class>(capture.attributes.at("a"));
    EXPECT_TRUE(typed) << json;
    return typed ? typed : std::make_shared<Class>();
}

template <class Real>
bool sameBits(Real a, Real b) {
    return std::memcmp(&a, &b, sizeof a) == 0;
}

struct Refused {
    const char* entries;
    const char* line;
};

class RefusedCapture : public testing::TestWithParam<Refused> {};

TEST_P(RefusedCapture, NamesThePlaceAndTheReason) {
    EXPECT_EQ(refusalOf(GetParam().entries), GetParam().line);
}

INSTANTIATE_TEST_SUITE_P(
    EveryKind, RefusedCapture,
    testing::Values(
        Refused{R"("extra": 1)", "/extra: unknown key"},
        Refused{R"("attributes": [])", "/attributes: object expected, list found"},
        Refused{R"("attributes": null)", "/attributes: object expected, null found"},
        Refused{R"("attributes": {"a": 1})", "/attributes/a: object expected, number found"},
        Refused{R"("attributes": {"a/b~c": {"GrHalf": 1}})",
                "/attributes/a~1b~0c/GrHalf: unknown class name"},
        Refused{R"("attributes": {"a": {}})",
                "/attributes/a: one class name expected as the only key, 0 found"},
        Refused{R"("attributes": {"a": {"GrInt": 1, "GrFloat": 1}})",
                "/attributes/a: one class name expected as the only key, 2 found"},
        Refused{R"("attributes": {"a": {"GrBoolean": 1}})",
                "/attributes/a/GrBoolean: boolean expected, number found"},
        Refused{R"("attributes": {"a": {"GrInt": "1"}})",
                "/attributes/a/GrInt: whole number expected, text found"},
        Refused{R"("attributes": {"a": {"GrInt": 1.5}})",
                "/attributes/a/GrInt: whole number expected, fraction found"},
        Refused{R"("attributes": {"a": {"GrInt": 2147483648}})",
                "/attributes/a/GrInt: outside the range of 32 bits"},
        Refused{R"("attributes": {"a": {"GrInt": -2147483649}})",
                "/attributes/a/GrInt: outside the range of 32 bits"},
        Refused{R"("attributes": {"a": {"GrFloat": "nan"}})",
                "/attributes/a/GrFloat: number expected, text found"},
        Refused{R"("attributes": {"a": {"GrFloat": true}})",
                "/attributes/a/GrFloat: number expected, boolean found"},
        Refused{R"("attributes": {"a": {"GrFloat": [1]}})",
                "/attributes/a/GrFloat: number expected, list found"},
        Refused{R"("attributes": {"a": {"GrFloat": {"values": [1]}}})",
                "/attributes/a/GrFloat/indices: missing"},
        Refused{R"("attributes": {"a": {"GrFloat": {"indices": [], "values": [], "x": 0}}})",
                "/attributes/a/GrFloat/x: unknown key"},
        Refused{R"("attributes": {"a": {"GrFloat": {"indices": [0, "1"], "values": []}}})",
                "/attributes/a/GrFloat/indices/1: whole number expected, text found"},
        Refused{R"("attributes": {"a": {"GrString": 3}})",
                "/attributes/a/GrString: text expected, number found"},
        Refused{R"("attributes": {"a": {"GrMatrix": [1, 2]}})",
                "/attributes/a/GrMatrix: 16 numbers expected, 2 found"},
        Refused{R"("attributes": {"a": {"GrPtr": "somewhere"}})",
                "/attributes/a/GrPtr: null, record, attributes, node, otherNode or context expected"},
        Refused{R"("attributes": {"a": {"GrCompound": {}}})",
                "/attributes/a/GrCompound: list expected, object found"},
        Refused{R"("attributes": {"a": {"GrCompound": [{"b": {"GrInt": []}}]}})",
                "/attributes/a/GrCompound/0/b/GrInt: whole number expected, list found"},
        Refused{R"("attributes": {"a": {"GrCompound": [], "index": []}})",
                "/attributes/a/index: unknown key"},
        Refused{R"("record": {"matrix": [1,0,0,0,0,1,0,0,0,0,1,0,0,0,0]})",
                "/record/matrix: 16 numbers expected, 15 found"},
        Refused{R"("record": {"points": [[0, 0, 0], [1, 2]]})",
                "/record/points/1: 3 numbers expected, 2 found"},
        Refused{R"("record": {"points": [[0, 0, "far"]]})",
                "/record/points/0/2: number expected, text found"},
        Refused{R"("record": {"active": 256})",
                "/record/active: a boolean or a number from 0 to 255 expected"},
        Refused{R"("record": {"active": -1})",
                "/record/active: a boolean or a number from 0 to 255 expected"},
        Refused{R"("record": {"weights": [null]})", "/record/weights/0: number expected, null found"},
        Refused{R"("record": {"normals": []})", "/record/normals: unknown key"},
        Refused{R"("record": null)", "/record: object expected, null found"},
        Refused{R"("meshes": [{"points": []}])", "/meshes/0/name: missing"},
        Refused{R"("meshes": [{"name": "m", "points": [[0,0,0],[1,0,0],[0,1,0]], "faces": [[0, 1, 3]]}])",
                "/meshes/0/faces/0/2: no such point; the mesh has 3"},
        Refused{R"("meshes": [{"name": "m", "points": [[0,0,0]], "faces": [[0, 0]]}])",
                "/meshes/0/faces/0: 3 or more points expected, 2 found"},
        Refused{R"("meshes": [{"name": "m"}, {"name": "m"}])", "/meshes/1/name: 'm' is given twice"},
        Refused{R"("meshes": [{"name": ""}])", "/meshes/0/name: a mesh needs a name"},
        Refused{R"("meshes": [{"name": "m"}], "selection": [{"node": "m"}])",
                "/selection/0/node: 'm' is a mesh; write \"mesh\""},
        Refused{R"("selection": [{"vertices": [1]}])", "/selection/0/mesh: missing"},
        Refused{R"("selection": [{"mesh": "m"}])", "/selection/0/mesh: no mesh of the capture is called 'm'"},
        Refused{R"("meshes": [{"name": "m"}], "selection": [{"mesh": "m", "vertices": [], "edges": []}])",
                "/selection/0: only one of vertices, edges and faces can be selected at once"},
        Refused{R"("selection": [{"node": "n", "mesh": "m"}])", "/selection/0/mesh: unknown key"},
        Refused{R"("calls": [{"call": "deform"}])", "/calls/0/call: unknown call 'deform'"},
        Refused{R"("calls": [{"points": "keep"}])", "/calls/0/call: missing"},
        Refused{R"("calls": [{"call": "deformCpu"}])", "/record: needed by /calls/0"},
        Refused{R"("calls": [{"call": "help"}, {"call": "deformGpu"}])", "/record: needed by /calls/1"},
        Refused{R"("calls": [{"call": "set"}, {"call": "deformCpu"}])", "/record: needed by /calls/1"},
        Refused{R"("record": {}, "calls": [{"call": "deformCpu", "points": "fresh"}])",
                "/calls/0/points: only \"keep\" can stand here"},
        Refused{R"("record": {}, "calls": [{"call": "deformCpu", "gpu": {}}])", "/calls/0/gpu: unknown key"},
        Refused{R"("record": {}, "calls": [{"call": "deformGpu", "gpu": {"null": ["MAPS"]}}])",
                "/calls/0/gpu/null/0: INPUT, OUTPUT or WEIGHTS expected"},
        Refused{R"("calls": [{"call": "help", "omit": ["BLOCK"]}])",
                "/calls/0/omit/0: not one of the six context keys"},
        Refused{R"("calls": [{"call": "help", "arguments": {"block": {"GrInt": {}}}}])",
                "/calls/0/arguments/block/GrInt/indices: missing"},
        Refused{R"("calls": [{"call": "set", "remove": {"record": []}}])",
                "/calls/0/remove/record: unknown key"},
        Refused{R"("calls": [{"call": "set", "remove": {"attributes": "ENVELOPE"}}])",
                "/calls/0/remove/attributes: list expected, text found"},
        Refused{R"("calls": [{"call": "declareAttributes", "points": "keep"}])",
                "/calls/0/points: unknown key"}));

TEST(Capture, NeedsFormatVersionAndNode) {
    EXPECT_EQ(refusal("[]"), "object expected, list found");
    EXPECT_EQ(refusal("{}"), "/format: missing");
    EXPECT_EQ(refusal(R"({"format": "other"})"), "/format: \"talvisora-capture\" expected");
    EXPECT_EQ(refusal(R"({"format": "talvisora-capture"})"), "/version: missing");
    EXPECT_EQ(refusal(R"({"format": "talvisora-capture", "version": 2})"),
              "/version: only version 1 is known");
    EXPECT_EQ(refusal(R"({"format": "talvisora-capture", "version": 1})"), "/node: missing");
    EXPECT_EQ(refusal(R"({"format": "talvisora-capture", "version": 1, "node": 7})"),
              "/node: text expected, number found");
}

TEST(Capture, EverythingElseMayBeAbsent) {
    const Capture capture = parseCapture(document(""));
    EXPECT_EQ(capture.node, "n");
    EXPECT_TRUE(capture.attributes.empty());
    EXPECT_TRUE(capture.sharedInputs.empty());
    EXPECT_FALSE(capture.record.has_value());
    EXPECT_TRUE(capture.meshes.empty());
    EXPECT_TRUE(capture.selection.empty());
    EXPECT_TRUE(capture.calls.empty());
}

TEST(Capture, RefusesAJointNamedTwice) {
    const std::string joint = R"({"name": "a", "parent": "", "flag": false, "local": )" + kIdentity +
                              R"(, "restLocal": )" + kIdentity + "}";
    EXPECT_EQ(refusalOf(R"("sharedInputs": {"Hier h": {"GrHierarchy": [)" + joint + ", " + joint + "]}}"),
              "/sharedInputs/Hier h/GrHierarchy/1/name: 'a' is given twice");
    EXPECT_EQ(refusalOf(R"("sharedInputs": {"Hier h": {"GrHierarchy": [{"name": "a", "local": [1]}]}})"),
              "/sharedInputs/Hier h/GrHierarchy/0/local: 16 numbers expected, 1 found");
}

TEST(Capture, ReadsAFloatAsTheNearestSingle) {
    EXPECT_EQ(attribute<GrFloat>(R"({"GrFloat": 0.1})")->value, 0.1f);
    // Just above the middle of 1 and the next single, by less than a double can tell: rounding to a double
    // first would end in the middle and then go to the even neighbour, 1.
    EXPECT_EQ(attribute<GrFloat>(R"({"GrFloat": 1.00000005960464477539062500001})")->value,
              std::nextafter(1.0f, 2.0f));
    EXPECT_EQ(attribute<GrFloat>(R"({"GrFloat": 16777217})")->value, 16777216.0f);
    EXPECT_EQ(attribute<GrFloat>(R"({"GrFloat": 1e-45})")->value, std::numeric_limits<float>::denorm_min());
    EXPECT_EQ(attribute<GrFloat>(R"({"GrFloat": 1e39})")->value, std::numeric_limits<float>::infinity());
}

TEST(Capture, ReadsTheThreeTextsAsNumbers) {
    EXPECT_TRUE(std::isnan(attribute<GrFloat>(R"({"GrFloat": "NaN"})")->value));
    EXPECT_EQ(attribute<GrDouble>(R"({"GrDouble": "Infinity"})")->value, HUGE_VAL);
    EXPECT_EQ(attribute<GrDouble>(R"({"GrDouble": "-Infinity"})")->value, -HUGE_VAL);
    const Capture capture = parseCapture(document(R"("record": {"points": [["NaN", "-Infinity", 0]]})"));
    EXPECT_TRUE(std::isnan(capture.record->points.at(0).x));
    EXPECT_EQ(capture.record->points.at(0).y, -HUGE_VAL);
}

TEST(Capture, KeepsTheSignOfZero) {
    EXPECT_TRUE(std::signbit(attribute<GrDouble>(R"({"GrDouble": -0})")->value));
    EXPECT_TRUE(std::signbit(attribute<GrFloat>(R"({"GrFloat": -0.0})")->value));
    EXPECT_FALSE(std::signbit(attribute<GrDouble>(R"({"GrDouble": 0})")->value));
}

TEST(Capture, ReadsWrongInputThatIsMeant) {
    const Capture capture = parseCapture(document(
        R"("attributes": {"empty": null, "pointer": {"GrPtr": null},
           "uneven": {"GrFloat": {"indices": [0, -5, 7], "values": [0.5]}},
           "blocks": {"GrCompound": [{}, {"child": null}], "indices": [4]}})"));
    EXPECT_EQ(capture.attributes.at("empty"), nullptr);
    EXPECT_EQ(castTo<CapturedPtr>(capture.attributes.at("pointer"))->target, PointerTarget::kNull);
    const auto uneven = castTo<GrFloat>(capture.attributes.at("uneven"));
    EXPECT_EQ(uneven->indices, (std::vector<std::int32_t>{0, -5, 7}));
    EXPECT_EQ(uneven->values, (std::vector<float>{0.5f}));
    const auto blocks = castTo<GrCompound>(capture.attributes.at("blocks"));
    EXPECT_EQ(blocks->indices, (std::vector<std::int32_t>{4}));
    EXPECT_EQ(blocks->values.at(1).at("child"), nullptr);
}

TEST(Capture, CountsCompoundIndicesWhenTheyAreAbsent) {
    EXPECT_EQ(attribute<GrCompound>(R"({"GrCompound": [{}, {}]})")->indices,
              (std::vector<std::int32_t>{0, 1}));
}

TEST(Capture, ReadsTheActiveByte) {
    const auto active = [](const std::string& value) {
        return int(parseCapture(document("\"record\": {\"active\": " + value + "}")).record->active);
    };
    EXPECT_EQ(active("true"), 1);
    EXPECT_EQ(active("false"), 0);
    EXPECT_EQ(active("2"), 2);
    EXPECT_EQ(active("255"), 255);
}

TEST(Capture, TakesARecordFromAnEarlierSet) {
    const Capture capture = parseCapture(
        document(R"("calls": [{"call": "set", "record": {"points": []}}, {"call": "deformCpu"}])"));
    EXPECT_EQ(capture.calls.size(), 2u);
}

TEST(Capture, BindsPointersInChildMapsToo) {
    const Capture capture = parseCapture(document(
        R"("attributes": {"p": {"GrPtr": "node"}, "c": {"GrCompound": [{"q": {"GrPtr": "record"}}]}})"));
    int node = 0, record = 0;
    PointerTargets targets;
    targets.node = &node;
    targets.record = &record;
    bindPointers(capture.attributes, targets);
    EXPECT_EQ(castTo<GrPtr>(capture.attributes.at("p"))->value, &node);
    const auto compound = castTo<GrCompound>(capture.attributes.at("c"));
    EXPECT_EQ(castTo<GrPtr>(compound->values.at(0).at("q"))->value, &record);
}

// A document with every key and every class there is.
std::string everything() {
    return document(R"("attributes": {"b": {"GrBoolean": true}, "i": {"GrInt": -7}, "f": {"GrFloat": 0.3},
        "d": {"GrDouble": 0.1}, "z": {"GrDouble": -0.0}, "n": {"GrDouble": "NaN"}, "s": {"GrString": "a\"b\\\n\u00e9"},
        "bs": {"GrBoolean": {"indices": [1], "values": [true, false]}},
        "is": {"GrInt": {"indices": [3], "values": [1, 2]}},
        "fs": {"GrFloat": {"indices": [0, 9], "values": [1e-40, "-Infinity"]}},
        "ds": {"GrDouble": {"indices": [], "values": [1e300]}},
        "ss": {"GrString": {"indices": [0, 1], "values": ["", "x"]}},
        "m": {"GrMatrix": [1,2,3,4,5,6,7,8,9,10,11,12,13,14,15,0.1]},
        "c": {"GrCompound": [{"k": {"GrInt": 1}}, {}], "indices": [5, 2]}, "p": {"GrPtr": "otherNode"},
        "e": null},
        "sharedInputs": {"Hier h": {"GrHierarchy": [
          {"name": "b", "parent": "a", "flag": true, "local": )" +
                    kIdentity + R"(, "restLocal": )" + kIdentity + R"(},
          {"name": "a", "parent": "", "flag": false, "local": )" +
                    kIdentity + R"(, "restLocal": )" + kIdentity + R"(}]}},
        "record": {"active": 7, "points": [[0.1, 1e22, "Infinity"]], "matrix": )" +
                    kIdentity + R"(, "weights": [0.7]},
        "meshes": [{"name": "m", "points": [[0,0,0],[1,0,0],[0,1,0]], "faces": [[0,1,2]]}],
        "selection": [{"mesh": "m", "edges": [1, 2]}, {"node": "x"}, {"mesh": "m"}],
        "calls": [{"call": "declareAttributes"}, {"call": "deformCpu", "points": "keep"},
          {"call": "deformGpu", "gpu": {"count": -1, "null": ["WEIGHTS"]}}, {"call": "releaseGpu"},
          {"call": "help", "arguments": {"HELP": null}, "omit": ["NODE_NAME"]},
          {"call": "set", "attributes": {"q": {"GrInt": 1}}, "sharedInputs": {"SOA_POINTS": {"GrInt": 4}},
           "record": {"active": false}, "selection": [{"mesh": "m", "vertices": []}],
           "remove": {"attributes": ["b"], "sharedInputs": ["Hier h"]}}])");
}

TEST(Capture, WritesWhatItReads) {
    const std::string once = captureText(parseCapture(everything()));
    EXPECT_EQ(captureText(parseCapture(once)), once);
    // And nothing was lost on the first way.
    const Capture a = parseCapture(everything()), b = parseCapture(once);
    ASSERT_EQ(a.attributes.size(), b.attributes.size());
    EXPECT_TRUE(sameBits(castTo<GrFloat>(b.attributes.at("f"))->value, 0.3f));
    EXPECT_TRUE(std::signbit(castTo<GrDouble>(b.attributes.at("z"))->value));
    EXPECT_EQ(castTo<GrString>(b.attributes.at("s"))->value, "a\"b\\\n\xc3\xa9");
    EXPECT_EQ(castTo<CapturedDoubles>(b.attributes.at("ds"))->values, (std::vector<double>{1e300}));
    EXPECT_EQ(castTo<CapturedBooleans>(b.attributes.at("bs"))->values, (std::vector<bool>{true, false}));
    EXPECT_EQ(castTo<GrFloat>(b.attributes.at("fs"))->values, castTo<GrFloat>(a.attributes.at("fs"))->values);
    EXPECT_EQ(castTo<GrCompound>(b.attributes.at("c"))->indices, (std::vector<std::int32_t>{5, 2}));
    EXPECT_EQ(castTo<CapturedHierarchy>(b.sharedInputs.at("Hier h"))->names,
              (std::vector<std::string>{"b", "a"}));
    EXPECT_TRUE(castTo<GrHierarchy>(b.sharedInputs.at("Hier h"))->find("b")->parentRotationOnly);
    EXPECT_EQ(b.record->active, 7);
    EXPECT_EQ(b.record->points.at(0).y, 1e22);
    EXPECT_EQ(b.record->weights.at(0), 0.7f);
    EXPECT_EQ(b.selection.at(1).kind, SelectionItem::Kind::kNode);
    EXPECT_EQ(b.calls.at(2).gpuPointCount, -1);
    EXPECT_EQ(b.calls.at(4).omit, (std::vector<std::string>{"NODE_NAME"}));
    EXPECT_EQ(b.calls.at(5).removedSharedInputs, (std::vector<std::string>{"Hier h"}));
    EXPECT_FALSE(b.calls.at(5).record->points.has_value());
}

TEST(Capture, WritesNumbersThatReadBackBitForBit) {
    Capture capture;
    capture.record.emplace();
    // Fixed, awkward values: neighbours of powers of two and ten, denormals, thirds, the extremes.
    std::vector<double> numbers = {-0.0,
                                   1.0 / 3.0,
                                   5e-324,
                                   2.2250738585072014e-308,
                                   1.7976931348623157e308,
                                   9007199254740993.0,
                                   1e23,
                                   123456789012345678.0};
    for (int exponent = -300; exponent <= 300; exponent += 7)
        numbers.push_back(std::nextafter(std::pow(10.0, exponent), -1.0));
    for (const double x : numbers) {
        capture.record->points.push_back({x, -x, 1.0 / x});
        capture.record->weights.push_back(static_cast<float>(std::fmod(x, 1e30)));
    }
    const Capture back = parseCapture(captureText(capture));
    ASSERT_EQ(back.record->points.size(), numbers.size());
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        EXPECT_TRUE(sameBits(back.record->points[i].x, capture.record->points[i].x)) << numbers[i];
        EXPECT_TRUE(sameBits(back.record->points[i].y, capture.record->points[i].y)) << numbers[i];
        EXPECT_TRUE(sameBits(back.record->points[i].z, capture.record->points[i].z)) << numbers[i];
        EXPECT_TRUE(sameBits(back.record->weights[i], capture.record->weights[i])) << numbers[i];
    }
}

TEST(HostileCapture, EndsInOneLine) {
    EXPECT_EQ(refusal(""), "not valid JSON at line 1, column 1; mend the text there");
    EXPECT_EQ(refusal("{\"format\": \n  nonsense}").substr(0, 24), "not valid JSON at line 2");
    EXPECT_NE(refusal(document("") + "x").find("not valid JSON"), std::string::npos);
    EXPECT_NE(refusal(document("\"attributes\": {\"\xff\": null}")).find("not valid JSON"),
              std::string::npos);
    EXPECT_EQ(refusalOf(R"("record": {"points": [[1e999, 0, 0]]})"),
              "/record/points/0/0: number too large for a double; write a smaller one");
    EXPECT_EQ(refusalOf(R"("attributes": {"a": null, "a": null})"),
              "/attributes/a: key given twice; leave one out");
    EXPECT_EQ(refusalOf(R"("calls": [{"call": "line\nbreak"}])"), "/calls/0/call: unknown call 'line?break'");
}

TEST(HostileCapture, DeepNestingDoesNotReachTheStack) {
    const std::string limit =
        "nested deeper than 256 levels; captures and rig files need about ten, name one of them";
    EXPECT_EQ(refusal(std::string(100000, '[')), limit);
    std::string objects;
    for (int k = 0; k < 100000; ++k) objects += "{\"a\":";
    EXPECT_EQ(refusal(objects), limit);
    // Compounds within compounds, as deep as can be said: read, or refused with a line.
    std::string inner = "{}";
    for (int k = 0; k < 60; ++k) inner = "{\"a\": {\"GrCompound\": [" + inner + "]}}";
    EXPECT_EQ(refusalOf("\"attributes\": " + inner), "accepted");
}

TEST(HostileCapture, EveryTruncationIsRefused) {
    const std::string whole = everything();
    for (std::size_t size = 0; size < whole.size(); ++size)
        EXPECT_NE(refusal(whole.substr(0, size)), "accepted") << size;
}

TEST(CaptureFile, MissingFileIsNamed) {
    try {
        readCapture("no_such_capture.json");
        FAIL() << "accepted";
    } catch (const HostError& error) {
        EXPECT_EQ(error.code, ExitCode::kInput);
        EXPECT_STREQ(error.what(),
                     "no_such_capture.json: cannot be opened (No such file or directory); check "
                     "the path and its permissions");
    }
}

} // namespace
} // namespace talvisora::host
