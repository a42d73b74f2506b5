// SPDX-License-Identifier: Apache-2.0
// MString and MStatus as plain values. Expected texts and codes are written out by hand.
#include <maya/MStatus.h>
#include <maya/MString.h>

#include <gtest/gtest.h>
#include <sstream>
#include <string>

namespace {

std::string text(const MString& s) {
    int length = -1;
    const char* bytes = s.asChar(length);
    return std::string(bytes, static_cast<std::size_t>(length));
}

TEST(MStringValue, DefaultIsEmptyAndItsTextIsNotNull) {
    const MString s;
    EXPECT_EQ(s.length(), 0u);
    EXPECT_STREQ(s.asChar(), "");
}

TEST(MStringValue, NullPointersGiveTheEmptyString) {
    const char* none = nullptr;
    const wchar_t* wideNone = nullptr;
    EXPECT_EQ(MString(none).length(), 0u);
    EXPECT_EQ(MString(wideNone).length(), 0u);
    EXPECT_EQ(MString(none, 5).length(), 0u);
    EXPECT_EQ(MString(wideNone, 5).length(), 0u);
    MString s("abc");
    s += none;
    EXPECT_STREQ(s.asChar(), "abc");
    EXPECT_STREQ((s + none).asChar(), "abc");
    EXPECT_STREQ((none + s).asChar(), "abc");
    EXPECT_FALSE(s == none);
    EXPECT_TRUE(s != none);
    s = none;
    EXPECT_EQ(s.length(), 0u);
    EXPECT_TRUE(s == none);
}

TEST(MStringValue, LengthFormTakesThatManyBytesZeroBytesIncluded) {
    EXPECT_EQ(text(MString("abcdef", 3)), "abc");
    EXPECT_EQ(text(MString("a\0b", 3)), std::string("a\0b", 3));
    EXPECT_EQ(text(MString("abc", 0)), "");
    EXPECT_EQ(text(MString("abc", -1)), "");
}

TEST(MStringValue, WideTextBecomesUtf8) {
    // U+00E4 is C3 A4, U+20AC is E2 82 AC, U+1F40E is F0 9F 90 8E.
    EXPECT_EQ(text(MString(L"\u00e4\u20ac\U0001F40E")), "\xC3\xA4\xE2\x82\xAC\xF0\x9F\x90\x8E");
    EXPECT_EQ(text(MString(L"abc", 2)), "ab");
    EXPECT_EQ(text(MString(L"abc", -2)), "");
    const wchar_t loneSurrogate[] = {static_cast<wchar_t>(0xD800), 0};
    EXPECT_EQ(text(MString(loneSurrogate)), "\xEF\xBF\xBD");
}

TEST(MStringValue, CopiesHaveTheirOwnStorage) {
    MString a("first");
    MString b(a);
    b += " second";
    EXPECT_STREQ(a.asChar(), "first");
    EXPECT_STREQ(b.asChar(), "first second");
    a = b;
    b = "x";
    EXPECT_STREQ(a.asChar(), "first second");
    EXPECT_EQ(a.length(), 12u);
}

TEST(MStringValue, AssigningAndAppendingItselfIsSafe) {
    MString s("abc");
    const MString& same = s;
    s = same;
    EXPECT_STREQ(s.asChar(), "abc");
    s += same;
    EXPECT_STREQ(s.asChar(), "abcabc");
    s += s.asChar() + 4;
    EXPECT_STREQ(s.asChar(), "abcabcbc");
    s = s.asChar() + 6;
    EXPECT_STREQ(s.asChar(), "bc");
}

TEST(MStringValue, JoinsWithPlainTextOnEitherSide) {
    const MString name("node");
    EXPECT_STREQ(("see " + name + " and " + name).asChar(), "see node and node");
}

TEST(MStringValue, ComparesByBytes) {
    EXPECT_TRUE(MString("a") == MString("a"));
    EXPECT_TRUE(MString("a") == "a");
    EXPECT_TRUE(MString("a") != MString("A"));
    EXPECT_TRUE(MString("a") != "ab");
    EXPECT_FALSE(MString("a\0b", 3) == "a");
    EXPECT_TRUE(MString() == "");
}

TEST(MStringValue, WholeNumbersAreAppendedInDecimal) {
    MString s("n");
    s += -12;
    s += 7u;
    EXPECT_STREQ(s.asChar(), "n-127");
}

TEST(MStatusValue, IsSuccessAtTheStartAndTrueMeansSuccess) {
    MStatus status;
    EXPECT_TRUE(status);
    EXPECT_FALSE(status.error());
    EXPECT_EQ(status.statusCode(), MS::kSuccess);
    status = MS::kNotFound;
    EXPECT_FALSE(status);
    EXPECT_TRUE(status.error());
    status.clear();
    EXPECT_TRUE(status);
}

TEST(MStatusValue, CodesHaveTheirDocumentedNumbers) {
    const int codes[] = {MS::kSuccess,          MS::kFailure,        MS::kInsufficientMemory,
                         MS::kInvalidParameter, MS::kLicenseFailure, MS::kUnknownParameter,
                         MS::kNotImplemented,   MS::kNotFound,       MS::kEndOfFile};
    int expected = 0;
    for (int code : codes) EXPECT_EQ(code, expected++);
}

TEST(MStatusValue, ComparesWithCodesOnBothSides) {
    const MStatus failed(MS::kFailure);
    EXPECT_TRUE(failed == MS::kFailure);
    EXPECT_TRUE(MS::kFailure == failed);
    EXPECT_TRUE(failed != MS::kSuccess);
    EXPECT_TRUE(MS::kSuccess != failed);
    EXPECT_TRUE(failed == MStatus(MS::kFailure));
    EXPECT_TRUE(failed != MStatus());
}

TEST(MStatusValue, EveryCodeHasItsOwnTextForStreamAndErrorOutput) {
    std::string seen;
    for (int code = MS::kSuccess; code <= MS::kEndOfFile; ++code) {
        MStatus status(static_cast<MStatus::MStatusCode>(code));
        std::ostringstream stream;
        stream << status;
        EXPECT_NE(stream.str(), "");
        EXPECT_EQ(stream.str(), status.errorString().asChar());
        EXPECT_EQ(seen.find("|" + stream.str() + "|"), std::string::npos) << stream.str();
        seen += "|" + stream.str() + "|";
    }
    testing::internal::CaptureStderr();
    MStatus(MS::kNotFound).perror("mesh");
    MStatus(MS::kNotFound).perror(MString("mesh"));
    const char* none = nullptr;
    MStatus(MS::kNotFound).perror(none);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "mesh: Not found\nmesh: Not found\n: Not found\n");
}

} // namespace
