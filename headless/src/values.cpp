// SPDX-License-Identifier: Apache-2.0
// The plain values: MStatus and MString.
#include <maya/MStatus.h>
#include <maya/MString.h>

#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <cwchar>
#include <iostream>
#include <stdexcept>
#include <string>

namespace {

unsigned long long textLength(const char* text) {
    return text ? std::strlen(text) : 0;
}

void appendUtf8(std::string& out, std::uint32_t c) {
    if (c > 0x10FFFFu || (c >= 0xD800u && c <= 0xDFFFu)) c = 0xFFFDu;
    if (c < 0x80u) {
        out += static_cast<char>(c);
        return;
    }
    const int trailing = c < 0x800u ? 1 : c < 0x10000u ? 2 : 3;
    const unsigned lead = trailing == 1 ? 0xC0u : trailing == 2 ? 0xE0u : 0xF0u;
    out += static_cast<char>(lead | (c >> (6 * trailing)));
    for (int i = trailing - 1; i >= 0; --i) out += static_cast<char>(0x80u | ((c >> (6 * i)) & 0x3Fu));
}

std::string utf8(const wchar_t* text, std::size_t count) {
    std::string out;
    for (std::size_t i = 0; i < count; ++i) {
        std::uint32_t c = static_cast<std::uint32_t>(text[i]);
        if (sizeof(wchar_t) == 2 && c >= 0xD800u && c <= 0xDBFFu && i + 1 < count) {
            const std::uint32_t low = static_cast<std::uint32_t>(text[i + 1]);
            if (low >= 0xDC00u && low <= 0xDFFFu) {
                c = 0x10000u + ((c - 0xD800u) << 10) + (low - 0xDC00u);
                ++i;
            }
        }
        appendUtf8(out, c);
    }
    return out;
}

std::string numberText(double value) {
    char text[64];
    std::snprintf(text, sizeof text, "%g", value);
    return text;
}

} // namespace

namespace Autodesk::Maya::OpenMaya20240000 {

MStatus::MStatus() : code(kSuccess) {}
MStatus::MStatus(MStatusCode initial) : code(initial) {}
MStatus::MStatus(const MStatus& other) = default;
MStatus& MStatus::operator=(const MStatus& rhs) = default;

MStatus::operator bool() const {
    return code == kSuccess;
}

bool MStatus::error() const {
    return code != kSuccess;
}

MStatus::MStatusCode MStatus::statusCode() const {
    return code;
}

MString MStatus::errorString() const {
    switch (code) {
    case kSuccess:
        return MString("Success");
    case kFailure:
        return MString("Failure");
    case kInsufficientMemory:
        return MString("Insufficient memory");
    case kInvalidParameter:
        return MString("Invalid parameter");
    case kLicenseFailure:
        return MString("License failure");
    case kUnknownParameter:
        return MString("Unknown parameter");
    case kNotImplemented:
        return MString("Not offered by this object");
    case kNotFound:
        return MString("Not found");
    case kEndOfFile:
        return MString("End of file");
    }
    return MString("Unknown status");
}

void MStatus::perror(const char* prefix) const {
    std::cerr << (prefix ? prefix : "") << ": " << errorString().asChar() << std::endl;
}

void MStatus::perror(const MString& prefix) const {
    perror(prefix.asChar());
}

void MStatus::clear() {
    code = kSuccess;
}

bool MStatus::operator==(const MStatus& rhs) const {
    return code == rhs.code;
}

bool MStatus::operator==(const MStatusCode rhs) const {
    return code == rhs;
}

bool MStatus::operator!=(const MStatus& rhs) const {
    return code != rhs.code;
}

bool MStatus::operator!=(const MStatusCode rhs) const {
    return code != rhs;
}

bool operator==(const MStatus::MStatusCode code, const MStatus& status) {
    return code == status.code;
}

bool operator!=(const MStatus::MStatusCode code, const MStatus& status) {
    return code != status.code;
}

std::ostream& operator<<(std::ostream& stream, MStatus& status) {
    return stream << status.errorString().asChar();
}

MString::MString() : bytes(nullptr), byteCount(0) {}

MString::MString(const char* charString) : MString() {
    assign(charString, textLength(charString));
}

MString::MString(const wchar_t* charString) : MString() {
    if (!charString) return;
    const std::string text = utf8(charString, std::wcslen(charString));
    assign(text.data(), text.size());
}

MString::MString(const char* charString, int charLength) : MString() {
    if (charString && charLength > 0) assign(charString, static_cast<unsigned long long>(charLength));
}

MString::MString(const wchar_t* charString, int wcharLength) : MString() {
    if (!charString || wcharLength <= 0) return;
    const std::string text = utf8(charString, static_cast<std::size_t>(wcharLength));
    assign(text.data(), text.size());
}

MString::MString(const MString& other) : MString() {
    assign(other.bytes, other.byteCount);
}

MString::~MString() {
    delete[] bytes;
}

// `source` may lie inside this string: the old bytes go last.
void MString::assign(const char* source, unsigned long long count) {
    // Lengths are handed out as int, so longer texts cannot be told.
    if (count >= static_cast<unsigned long long>(INT_MAX)) throw std::length_error("MString too long");
    char* fresh = nullptr;
    if (count > 0) {
        fresh = new char[static_cast<std::size_t>(count) + 1];
        std::memcpy(fresh, source, static_cast<std::size_t>(count));
        fresh[count] = '\0';
    }
    delete[] bytes;
    bytes = fresh;
    byteCount = static_cast<unsigned int>(count);
}

void MString::append(const char* source, unsigned long long count) {
    if (count == 0) return;
    std::string joined(asChar(), byteCount);
    joined.append(source, static_cast<std::size_t>(count));
    assign(joined.data(), joined.size());
}

MString& MString::operator=(const MString& other) {
    assign(other.bytes, other.byteCount);
    return *this;
}

MString& MString::operator=(const char* other) {
    assign(other, textLength(other));
    return *this;
}

MString& MString::operator=(double value) {
    const std::string text = numberText(value);
    assign(text.data(), text.size());
    return *this;
}

MString& MString::operator+=(const MString& other) {
    append(other.asChar(), other.byteCount);
    return *this;
}

MString& MString::operator+=(const char* other) {
    append(other, textLength(other));
    return *this;
}

MString& MString::operator+=(double value) {
    return *this += numberText(value).c_str();
}

MString& MString::operator+=(int value) {
    return *this += std::to_string(value).c_str();
}

MString& MString::operator+=(unsigned int value) {
    return *this += std::to_string(value).c_str();
}

MString& MString::operator+=(float value) {
    return *this += numberText(static_cast<double>(value)).c_str();
}

MString MString::operator+(const MString& other) const {
    MString sum(*this);
    sum += other;
    return sum;
}

MString MString::operator+(const char* other) const {
    MString sum(*this);
    sum += other;
    return sum;
}

MString operator+(const char* left, const MString& right) {
    MString sum(left);
    sum += right;
    return sum;
}

bool MString::operator==(const MString& other) const {
    return byteCount == other.byteCount && std::memcmp(asChar(), other.asChar(), byteCount) == 0;
}

bool MString::operator==(const char* other) const {
    return byteCount == textLength(other) && std::memcmp(asChar(), other ? other : "", byteCount) == 0;
}

bool MString::operator!=(const MString& other) const {
    return !(*this == other);
}

bool MString::operator!=(const char* other) const {
    return !(*this == other);
}

const char* MString::asChar() const {
    return bytes ? bytes : "";
}

const char* MString::asChar(int& charLength) const {
    charLength = static_cast<int>(byteCount);
    return asChar();
}

const char* MString::asUTF8() const {
    return asChar();
}

const char* MString::asUTF8(int& charLength) const {
    return asChar(charLength);
}

unsigned int MString::length() const {
    return byteCount;
}

} // namespace Autodesk::Maya::OpenMaya20240000
