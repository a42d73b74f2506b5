// SPDX-License-Identifier: Apache-2.0
// One evaluation, written down: everything the host hands to a node, and the calls to make. The document is
// strict (whatever is not understood is refused), complete (a replay adds nothing) and able to say wrong
// input too: missing keys, empty values, values of another class, null pointers.
#pragma once

#include "deform_records.h"
#include "gr_data.h"
#include "hierarchy.h"

#include <optional>
#include <string>
#include <vector>

namespace talvisora::host {

/// What a pointer value stands for until a replay knows the addresses.
enum class PointerTarget {
    kNull,
    kRecord,     ///< the deform record, null when there is none
    kAttributes, ///< the attribute map
    kNode,       ///< the node that the module made
    kOtherNode,  ///< a node of another class
    kContext,    ///< a host context that nobody looks into
};

/// A pointer from a capture. `value` is null until bindPointers() sets it.
class CapturedPtr : public GrPtr {
public:
    PointerTarget target = PointerTarget::kNull;
};

/// Lists of classes that have none in the module's eyes; kept so that a capture reads back whole.
class CapturedBooleans : public GrBoolean {
public:
    std::vector<bool> values;
};
class CapturedDoubles : public GrDouble {
public:
    std::vector<double> values;
};

/// A joint table that remembers the order in which its records were named.
class CapturedHierarchy : public GrHierarchy {
public:
    std::vector<std::string> names; ///< every name in the table once
};

/// The addresses that symbolic pointers stand for.
struct PointerTargets {
    void* record = nullptr;
    void* attributes = nullptr;
    void* node = nullptr;
    void* otherNode = nullptr;
    void* context = nullptr;
};

/// Sets every CapturedPtr in the map, in child maps too.
void bindPointers(const ValueMap& values, const PointerTargets& targets);

/// The entries of a deform record that a document names.
struct RecordEntries {
    std::optional<unsigned char> active;
    std::optional<std::vector<Vec3d>> points;
    std::optional<Matrix44d> matrix;
    std::optional<std::vector<float>> weights;

    /// Puts the named entries into `record`.
    void applyTo(DeformRecord& record) const;
};

struct CaptureMesh {
    std::string name;
    std::vector<Vec3d> points;
    std::vector<std::vector<std::int32_t>> faces; ///< three or more indices into points each
};

struct SelectionItem {
    enum class Kind { kVertices, kEdges, kFaces, kObject, kNode };
    Kind kind = Kind::kObject;
    std::string name;                     ///< of the mesh, or of the node that is none
    std::vector<std::int32_t> components; ///< of vertices, edges, faces
};

/// One call of a capture.
struct CaptureCall {
    enum class Kind { kDeclareAttributes, kDeformCpu, kDeformGpu, kReleaseGpu, kCommand, kSet };
    Kind kind = Kind::kDeformCpu;
    std::string name; ///< as written: "deformCpu", "help", …

    bool keepPoints = false; ///< of evaluations: go on from the last result

    std::optional<std::int32_t> gpuPointCount; ///< of deformGpu: another point count
    std::vector<std::string> gpuNull;          ///< of deformGpu: handles left empty

    ValueMap arguments;            ///< of commands
    std::vector<std::string> omit; ///< of commands: context keys to leave out

    ValueMap attributes; ///< of set, like all that follows
    ValueMap sharedInputs;
    std::optional<RecordEntries> record;
    std::optional<std::vector<SelectionItem>> selection;
    std::vector<std::string> removedAttributes;
    std::vector<std::string> removedSharedInputs;
};

struct Capture {
    std::string node; ///< name of the Maya node; empty: the node is bound to none
    ValueMap attributes;
    ValueMap sharedInputs;
    std::optional<DeformRecord> record; ///< absent: the host hands out a null record
    std::vector<CaptureMesh> meshes;
    std::vector<SelectionItem> selection;
    std::vector<CaptureCall> calls;
};

/// Names of the context keys that a command gets beside its arguments.
const std::vector<std::string>& contextKeys();

/// Reads a capture. Throws HostError kInput: "FILE: /json/pointer: what is wrong", or why the file could not
/// be read.
Capture readCapture(const std::string& path);

/// The same from text; lines begin with the JSON pointer.
Capture parseCapture(std::string_view text);

/// The document, such that parseCapture gives the same capture back bit for bit (which NaN it was is lost).
/// Values of classes that the format does not know are a HostError kInput.
std::string captureText(const Capture& capture);

/// Writes captureText to a file, whole or not at all. Throws HostError kOutput.
void writeCapture(const std::string& path, const Capture& capture);

} // namespace talvisora::host
