// SPDX-License-Identifier: Apache-2.0
// Owning handles of OpenCL objects: kernel, buffer, event. All three have the same members.
//
// An OpenCL object is born with a count of one. The handle that takes it over (NoRef constructor, attach,
// getReferenceForAssignment) does not raise the count; a copy does; letting go lowers it. There is no
// conversion from or to the raw handle and no operator bool.
#pragma once

#include "../headless_api.h"
#include <clew/clew.h>
#include <maya/MApiNamespace.h>

namespace Autodesk::Maya::OpenMaya20240000 {

/// Owns at most one reference to a cl_kernel.
///
/// While OpenCL is not loaded nothing is retained or released; the handle then only carries the value.
class HEADLESS_API MAutoCLKernel {
public:
    /// Says that the reference is taken over and the count stays as it is.
    struct NoRef {
        explicit NoRef() = default;
    };

    MAutoCLKernel();
    MAutoCLKernel(const MAutoCLKernel& other);
    /// Takes the other's object; the other is null afterwards.
    MAutoCLKernel(MAutoCLKernel&& other);
    MAutoCLKernel(cl_kernel value, NoRef dummy);
    ~MAutoCLKernel();

    MAutoCLKernel& operator=(const MAutoCLKernel& other);
    /// Swaps the two objects.
    MAutoCLKernel& operator=(MAutoCLKernel&& other);

    /// Takes over `value`, which may be null; lets go of the object held before.
    void attach(cl_kernel value);
    /// Gives the object back without letting go of it; the handle is null afterwards.
    cl_kernel detach();
    /// Lets go of the object.
    void reset();

    /// The raw object, borrowed; null when none is held.
    cl_kernel get() const;
    bool isNull() const;
    /// Address of the raw object, for argument values and wait lists; valid while the handle stays in place.
    const cl_kernel* getReadOnlyRef() const;
    /// Lets go of the object; an OpenCL call then writes its new object to the address.
    cl_kernel* getReferenceForAssignment();
    void swap(MAutoCLKernel& other);

    bool operator!() const;
    bool operator<(const MAutoCLKernel& other) const;
    bool operator==(const MAutoCLKernel& other) const;
    bool operator==(cl_kernel value) const;

private:
    cl_kernel held;
};

/// Owns at most one reference to a cl_mem.
///
/// While OpenCL is not loaded nothing is retained or released; the handle then only carries the value.
class HEADLESS_API MAutoCLMem {
public:
    /// Says that the reference is taken over and the count stays as it is.
    struct NoRef {
        explicit NoRef() = default;
    };

    MAutoCLMem();
    MAutoCLMem(const MAutoCLMem& other);
    /// Takes the other's object; the other is null afterwards.
    MAutoCLMem(MAutoCLMem&& other);
    MAutoCLMem(cl_mem value, NoRef dummy);
    ~MAutoCLMem();

    MAutoCLMem& operator=(const MAutoCLMem& other);
    /// Swaps the two objects.
    MAutoCLMem& operator=(MAutoCLMem&& other);

    /// Takes over `value`, which may be null; lets go of the object held before.
    void attach(cl_mem value);
    /// Gives the object back without letting go of it; the handle is null afterwards.
    cl_mem detach();
    /// Lets go of the object.
    void reset();

    /// The raw object, borrowed; null when none is held.
    cl_mem get() const;
    bool isNull() const;
    /// Address of the raw object, for argument values and wait lists; valid while the handle stays in place.
    const cl_mem* getReadOnlyRef() const;
    /// Lets go of the object; an OpenCL call then writes its new object to the address.
    cl_mem* getReferenceForAssignment();
    void swap(MAutoCLMem& other);

    bool operator!() const;
    bool operator<(const MAutoCLMem& other) const;
    bool operator==(const MAutoCLMem& other) const;
    bool operator==(cl_mem value) const;

private:
    cl_mem held;
};

/// Owns at most one reference to a cl_event.
///
/// While OpenCL is not loaded nothing is retained or released; the handle then only carries the value.
class HEADLESS_API MAutoCLEvent {
public:
    /// Says that the reference is taken over and the count stays as it is.
    struct NoRef {
        explicit NoRef() = default;
    };

    MAutoCLEvent();
    MAutoCLEvent(const MAutoCLEvent& other);
    /// Takes the other's object; the other is null afterwards.
    MAutoCLEvent(MAutoCLEvent&& other);
    MAutoCLEvent(cl_event value, NoRef dummy);
    ~MAutoCLEvent();

    MAutoCLEvent& operator=(const MAutoCLEvent& other);
    /// Swaps the two objects.
    MAutoCLEvent& operator=(MAutoCLEvent&& other);

    /// Takes over `value`, which may be null; lets go of the object held before.
    void attach(cl_event value);
    /// Gives the object back without letting go of it; the handle is null afterwards.
    cl_event detach();
    /// Lets go of the object.
    void reset();

    /// The raw object, borrowed; null when none is held.
    cl_event get() const;
    bool isNull() const;
    /// Address of the raw object, for argument values and wait lists; valid while the handle stays in place.
    const cl_event* getReadOnlyRef() const;
    /// Lets go of the object; an OpenCL call then writes its new object to the address.
    cl_event* getReferenceForAssignment();
    void swap(MAutoCLEvent& other);

    bool operator!() const;
    bool operator<(const MAutoCLEvent& other) const;
    bool operator==(const MAutoCLEvent& other) const;
    bool operator==(cl_event value) const;

private:
    cl_event held;
};

} // namespace Autodesk::Maya::OpenMaya20240000
