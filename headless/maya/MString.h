// SPDX-License-Identifier: Apache-2.0
// Text value with its own storage. There is no conversion from std::string (use `MString(text.c_str())`) and
// none to `const char*` (use asChar()).
#pragma once

#include "../headless_api.h"
#include <maya/MApiNamespace.h>

namespace Autodesk::Maya::OpenMaya20240000 {

/// Holds UTF-8 bytes. A null pointer or a negative length gives the empty string. Wide text is taken as
/// UTF-32 or UTF-16, whichever wchar_t is; what is no character becomes U+FFFD.
///
/// The forms that take numbers exist so that overloads are chosen as in Maya; how they write a number is not
/// fixed, so compose texts that must match in std::string.
class HEADLESS_API MString {
public:
    MString();
    MString(const char* charString);
    MString(const wchar_t* charString);
    MString(const char* charString, int charLength);
    MString(const wchar_t* charString, int wcharLength);
    MString(const MString& other);
    ~MString();

    MString& operator=(const MString& other);
    MString& operator=(const char* other);
    MString& operator=(double value);

    MString& operator+=(const MString& other);
    MString& operator+=(const char* other);
    MString& operator+=(double value);
    MString& operator+=(int value);
    MString& operator+=(unsigned int value);
    MString& operator+=(float value);

    MString operator+(const MString& other) const;
    MString operator+(const char* other) const;
    friend HEADLESS_API MString operator+(const char* left, const MString& right);

    bool operator==(const MString& other) const;
    bool operator==(const char* other) const;
    bool operator!=(const MString& other) const;
    bool operator!=(const char* other) const;

    /// Ends with a zero byte; never null; valid until the string changes or goes away.
    const char* asChar() const;
    const char* asChar(int& charLength) const;
    const char* asUTF8() const;
    const char* asUTF8(int& charLength) const;

    /// Number of bytes.
    unsigned int length() const;

private:
    void assign(const char* source, unsigned long long count);
    void append(const char* source, unsigned long long count);

    char* bytes; // null for the empty string, else byteCount bytes and a zero
    unsigned int byteCount;
};

} // namespace Autodesk::Maya::OpenMaya20240000
