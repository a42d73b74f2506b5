// SPDX-License-Identifier: Apache-2.0
// Values and what is done with them: casts, shared ownership, checked access, densifying.
#include "gr_data.h"

#include <gtest/gtest.h>

#include <limits>

#include "fixtures/values.h"

namespace talvisora {
namespace {

template <class T>
int castOf(const std::shared_ptr<GrData>& data) {
    const long before = data.use_count();
    const auto typed = castTo<T>(data);
    EXPECT_EQ(data.use_count(), typed ? before + 1 : before) << T::kTypeName;
    return typed ? 1 : 0;
}

/// How many of the eight classes a value casts to, and whether its own is among them.
template <class T>
void expectOnlyItsOwnClass() {
    const std::shared_ptr<GrData> data = std::make_shared<T>();
    EXPECT_EQ(castOf<T>(data), 1) << T::kTypeName;
    const int all = castOf<GrBoolean>(data) + castOf<GrInt>(data) + castOf<GrFloat>(data) +
                    castOf<GrDouble>(data) + castOf<GrString>(data) + castOf<GrPtr>(data) +
                    castOf<GrMatrix>(data) + castOf<GrCompound>(data);
    EXPECT_EQ(all, 1) << T::kTypeName;
}

TEST(Casts, YieldTheOwnClassOnlyAndNeverConvert) {
    expectOnlyItsOwnClass<GrBoolean>();
    expectOnlyItsOwnClass<GrInt>();
    expectOnlyItsOwnClass<GrFloat>();
    expectOnlyItsOwnClass<GrDouble>();
    expectOnlyItsOwnClass<GrString>();
    expectOnlyItsOwnClass<GrPtr>();
    expectOnlyItsOwnClass<GrMatrix>();
    expectOnlyItsOwnClass<GrCompound>();
}

TEST(Casts, OfAnEmptyPointerAreEmpty) {
    EXPECT_EQ(castTo<GrFloat>(nullptr), nullptr);
}

TEST(Values, AreNamedByTheirClass) {
    EXPECT_STREQ(GrBoolean::kTypeName, "GrBoolean");
    EXPECT_STREQ(GrInt::kTypeName, "GrInt");
    EXPECT_STREQ(GrFloat::kTypeName, "GrFloat");
    EXPECT_STREQ(GrDouble::kTypeName, "GrDouble");
    EXPECT_STREQ(GrString::kTypeName, "GrString");
    EXPECT_STREQ(GrPtr::kTypeName, "GrPtr");
    EXPECT_STREQ(GrMatrix::kTypeName, "GrMatrix");
    EXPECT_STREQ(GrCompound::kTypeName, "GrCompound");
}

template <class T>
std::ptrdiff_t scalarOffset() {
    T data;
    return reinterpret_cast<char*>(&data.value) - reinterpret_cast<char*>(&data);
}

TEST(Values, HoldTheirScalarAtTheSamePlace) {
    const std::ptrdiff_t offset = scalarOffset<GrBoolean>();
    EXPECT_EQ(scalarOffset<GrInt>(), offset);
    EXPECT_EQ(scalarOffset<GrFloat>(), offset);
    EXPECT_EQ(scalarOffset<GrDouble>(), offset);
    EXPECT_EQ(scalarOffset<GrString>(), offset);
    EXPECT_EQ(scalarOffset<GrPtr>(), offset);
    EXPECT_EQ(scalarOffset<GrMatrix>(), offset);
    EXPECT_EQ(scalarOffset<GrCompound>(), offset);
}

TEST(ValueMaps, ReplacingAnEntryLeavesAnotherHolderItsValue) {
    ValueMap map;
    map["OUTPUT"] = makeText("first");
    const auto holder = castTo<GrString>(map["OUTPUT"]);
    EXPECT_EQ(holder.use_count(), 2);
    map["OUTPUT"] = makeText("second");
    EXPECT_EQ(holder->value, "first");
    EXPECT_EQ(holder.use_count(), 1);
    EXPECT_EQ(castTo<GrString>(map["OUTPUT"])->value, "second");
}

TEST(ValueMaps, CheckedAccessThrowsItsOwnText) {
    ValueMap map;
    map["HERE"] = nullptr;
    EXPECT_EQ(checkedAt(map, "HERE"), nullptr);
    try {
        (void)checkedAt(map, "HELP");
        FAIL() << "nothing was thrown";
    } catch (const std::out_of_range& e) {
        EXPECT_STREQ(e.what(), "invalid map<K, T> key");
    }
    EXPECT_EQ(map.size(), 1u);
}

TEST(MadeValues, CopyTheirListAndHaveScalarZero) {
    std::vector<std::int32_t> list{4, 2};
    const auto ints = makeInts(list);
    list[0] = 9;
    EXPECT_EQ(ints->value, 0);
    EXPECT_EQ(ints->values, (std::vector<std::int32_t>{4, 2}));
}

std::vector<float> dense(std::vector<std::int32_t> indices, const std::vector<float>& values) {
    std::vector<float> row(4, 1.0f);
    densify(indices, values, row.size(), row.data());
    return row;
}

TEST(Densify, PutsElementsAtTheirIndex) {
    EXPECT_EQ(dense({3, 0}, {0.5f, 0.25f}), (std::vector<float>{0.25f, 1.0f, 1.0f, 0.5f}));
}
TEST(Densify, LetsTheLaterOfTwoElementsWin) {
    EXPECT_EQ(dense({2, 2}, {0.5f, 0.25f}), (std::vector<float>{1.0f, 1.0f, 0.25f, 1.0f}));
}
TEST(Densify, SkipsIndicesOutsideTheRow) {
    EXPECT_EQ(dense({-1, 4, std::numeric_limits<std::int32_t>::min(), 1}, {9, 9, 9, 0.5f}),
              (std::vector<float>{1.0f, 0.5f, 1.0f, 1.0f}));
}
TEST(Densify, KeepsTheDefaultsWhenTheListsDiffer) {
    EXPECT_EQ(dense({0, 1, 2}, {0.5f}), std::vector<float>(4, 1.0f));
}
TEST(Densify, WritesNoMoreElementsThanTheRowHolds) {
    EXPECT_EQ(dense({0, 0, 0, 0, 1}, {0.1f, 0.2f, 0.3f, 0.4f, 0.5f}),
              (std::vector<float>{0.4f, 1.0f, 1.0f, 1.0f}));
}

} // namespace
} // namespace talvisora
