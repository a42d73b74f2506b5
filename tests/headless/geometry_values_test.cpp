// SPDX-License-Identifier: Apache-2.0
// Points, vectors, the matrix, and the arrays: what their members answer, and uses that Maya would not
// notice.
#include "scene/attributes.h"

#include <maya/MFloatArray.h>
#include <maya/MFloatPoint.h>
#include <maya/MFloatPointArray.h>
#include <maya/MFloatVector.h>
#include <maya/MIntArray.h>
#include <maya/MMatrix.h>
#include <maya/MPoint.h>
#include <maya/MPointArray.h>
#include <maya/MStatus.h>
#include <maya/MVector.h>

#include <cmath>
#include <gtest/gtest.h>
#include <vector>

namespace {

TEST(GeometryValues, PointsStartAtTheOriginWithWOne) {
    EXPECT_TRUE(MPoint() == MPoint(0, 0, 0, 1));
    EXPECT_TRUE(MPoint::origin == MPoint());
    EXPECT_TRUE(MFloatPoint() == MFloatPoint(0, 0, 0, 1));
    EXPECT_TRUE(MPoint(2, 3) == MPoint(2, 3, 0, 1));
    EXPECT_TRUE(MPoint(MVector(1, 2, 3)) == MPoint(1, 2, 3, 1));
    EXPECT_TRUE(MVector(MPoint(1, 2, 3, 9)) == MVector(1, 2, 3));
    EXPECT_TRUE(MVector() == MVector(0, 0, 0));
    const double four[4] = {1, 2, 3, 4};
    EXPECT_TRUE(MPoint(four) == MPoint(1, 2, 3, 4));
    double back[4];
    EXPECT_TRUE(MPoint(four).get(back));
    EXPECT_EQ(back[3], 4.0);
    EXPECT_EQ(MPoint(four)[2], 3.0);
}

TEST(GeometryValues, DoublesAreRoundedToTheNearestFloat) {
    const MFloatPoint point(MPoint(0.1, 16777217.0, 1e300));
    EXPECT_EQ(point.x, 0.1f);
    EXPECT_EQ(point.y, 16777216.0f);
    EXPECT_TRUE(std::isinf(point.z));
    EXPECT_EQ(MFloatVector(MVector(0.1, 0, 0)).x, 0.1f);
    EXPECT_EQ(MPoint(MFloatPoint(0.1f, 0)).x, static_cast<double>(0.1f));
}

TEST(GeometryValues, VectorsMultiplyAndMeasure) {
    EXPECT_EQ(MVector(1, 2, 3) * MVector(4, 5, 6), 32.0);
    EXPECT_TRUE((MVector(1, 0, 0) ^ MVector(0, 1, 0)) == MVector(0, 0, 1));
    EXPECT_TRUE((MFloatVector(0, 1, 0) ^ MFloatVector(0, 0, 1)) == MFloatVector(1, 0, 0));
    EXPECT_TRUE(MPoint(3, 4, 5) - MPoint(1, 1, 1) == MVector(2, 3, 4));
    EXPECT_EQ(MPoint(3, 4, 12).distanceTo(MPoint()), 13.0);
    MVector vector(0, 3, 4);
    EXPECT_TRUE(vector.normalize());
    EXPECT_DOUBLE_EQ(vector.y, 0.6);
    MVector zero;
    EXPECT_FALSE(zero.normalize());
    EXPECT_TRUE(zero.normal() == MVector(0, 0, 0));
}

TEST(GeometryValues, MatrixRowsMultiplyFromTheLeft) {
    MMatrix move, turn;
    move.matrix[3][0] = 5;
    turn.matrix[0][0] = turn.matrix[1][1] = 0;
    turn.matrix[0][1] = 1;
    turn.matrix[1][0] = -1;
    const MMatrix both = move * turn; // moves first: (5, 0, 0) is turned to (0, 5, 0)
    EXPECT_EQ(both(3, 0), 0.0);
    EXPECT_EQ(both(3, 1), 5.0);
    EXPECT_TRUE(move != MMatrix::identity);
    EXPECT_TRUE(move.setToIdentity() == MMatrix::identity);
}

TEST(GeometryValues, ArraysCopyTheirElements) {
    const int source[] = {4, 5, 6};
    MIntArray first(source, 3);
    MIntArray second(first);
    second[0] = 9;
    EXPECT_TRUE(second.append(first[2]));
    EXPECT_TRUE(first.append(first[0])); // an element of its own
    EXPECT_EQ(std::vector<int>(first.begin(), first.end()), (std::vector<int>{4, 5, 6, 4}));
    EXPECT_EQ(std::vector<int>(second.begin(), second.end()), (std::vector<int>{9, 5, 6, 6}));
    const MIntArray& itself = first;
    first = itself;
    EXPECT_EQ(first.length(), 4u);
    EXPECT_FALSE(first.set(1, 4));
    EXPECT_TRUE(first.set(1, 3));
    EXPECT_TRUE(first.copy(second));
    EXPECT_EQ(first[0], 9);
    EXPECT_TRUE(first.clear());
    EXPECT_EQ(first.length(), 0u);
    EXPECT_EQ(MPointArray(2)[1].w, 1.0);
    const float rows[][4] = {{1, 2, 3, 4}, {5, 6, 7, 8}};
    EXPECT_EQ(MFloatPointArray(rows, 2)[1].y, 6.0f);
    MPointArray points;
    for (int i = 0; i < 1000; ++i) points.append(i, 0);
    EXPECT_EQ(points[999].x, 999.0);
    EXPECT_EQ(&points[0] + 999, &points[999]);
}

TEST(GeometryValues, LengthSetWithoutValuesShows) {
    MFloatArray floats(1, 2.0f);
    MPointArray points;
    EXPECT_TRUE(floats.setLength(3));
    EXPECT_TRUE(points.setLength(1));
    EXPECT_EQ(floats[0], 2.0f);
    EXPECT_TRUE(std::isnan(floats[2]));
    EXPECT_TRUE(std::isnan(points[0].x));
    EXPECT_TRUE(floats.setLength(1));
    EXPECT_EQ(floats.length(), 1u);
}

TEST(GeometryValues, IndexPastTheEndIsHarmlessAndCounted) {
    headless::resetMisuse();
    MIntArray ints(2, 7);
    ints[2] = 5;
    EXPECT_EQ(ints[2], 0);
    EXPECT_EQ(static_cast<const MIntArray&>(ints)[0xFFFFFFFFu], 0);
    EXPECT_TRUE(std::isnan(MPoint()[4]));
    EXPECT_TRUE(std::isnan(MMatrix()(4, 0)));
    EXPECT_EQ(headless::misuseCount(), 5u);
    EXPECT_EQ(headless::firstMisuse(), "array index past the end");
    EXPECT_EQ(ints[1], 7);
    headless::resetMisuse();
}

} // namespace
