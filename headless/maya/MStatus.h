// SPDX-License-Identifier: Apache-2.0
// Result of an API call: a code, and its text.
#pragma once

#include "../headless_api.h"
#include <iosfwd>
#include <maya/MApiNamespace.h>

namespace Autodesk::Maya::OpenMaya20240000 {

class HEADLESS_API MStatus {
public:
    enum MStatusCode {
        kSuccess = 0,
        kFailure = 1,
        kInsufficientMemory = 2,
        kInvalidParameter = 3,
        kLicenseFailure = 4,
        kUnknownParameter = 5,
        kNotImplemented = 6,
        kNotFound = 7,
        kEndOfFile = 8
    };

    MStatus();
    MStatus(MStatusCode code);
    MStatus(const MStatus& other);
    MStatus& operator=(const MStatus& rhs);

    /// True on success.
    operator bool() const;
    /// True on failure.
    bool error() const;
    MStatusCode statusCode() const;
    /// Text of the code; include <maya/MString.h> to use it.
    MString errorString() const;
    /// Writes "PREFIX: TEXT" and a line end to the error stream.
    void perror(const char* prefix) const;
    void perror(const MString& prefix) const;
    /// Back to success.
    void clear();

    bool operator==(const MStatus& rhs) const;
    bool operator==(const MStatusCode rhs) const;
    bool operator!=(const MStatus& rhs) const;
    bool operator!=(const MStatusCode rhs) const;

    friend HEADLESS_API bool operator==(const MStatusCode code, const MStatus& status);
    friend HEADLESS_API bool operator!=(const MStatusCode code, const MStatus& status);
    friend HEADLESS_API std::ostream& operator<<(std::ostream& stream, MStatus& status);

private:
    MStatusCode code;
};

typedef MStatus MS;

} // namespace Autodesk::Maya::OpenMaya20240000
