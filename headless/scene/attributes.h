// SPDX-License-Identifier: Apache-2.0
// Attributes of the scene's nodes: compound arrays whose children are arrays of floats, as in
// `body.block[2].params[17]`. Arrays are sparse: elements exist one by one, under their logical index.
//
// The platform's own, for host and tests; module code reaches the same values through MPlug and commands.
// Threads: all functions may be called from any thread; they do not count as API calls.
#pragma once

#include "../headless_api.h"
#include <maya/MObject.h>
#include <string>
#include <vector>

namespace headless {

/// Gives the node a compound array with these float arrays as children: ("block", {"params",
/// "blockWeights"}). False, and nothing done, when the node does not exist or has an attribute of one of
/// these names, when a name is empty, or when a name comes twice.
HEADLESS_API bool addCompoundArray(const MObject& node, const std::string& compound,
                                   const std::vector<std::string>& children);

/// Names one array of floats: child `child` of element `index` of `compound`.
struct FloatArrayPath {
    MObject node;
    std::string compound;
    unsigned int index = 0;
    std::string child;
};

/// One existing element.
struct FloatElement {
    unsigned int index;
    float value;
};

inline bool operator==(const FloatElement& a, const FloatElement& b) {
    return a.index == b.index && a.value == b.value;
}

/// Existing elements in ascending order; none when there is no such array.
HEADLESS_API std::vector<FloatElement> floatElements(const FloatArrayPath& path);

/// Replaces the array's elements by 0 … values.size() - 1, making the compound's element where needed. False
/// when the node has no such attribute. Not written to the journal.
HEADLESS_API bool setFloatElements(const FloatArrayPath& path, const std::vector<float>& values);

/// The same with the elements that are named, in any order; of two with one index the later one counts.
HEADLESS_API bool setSparseFloatElements(const FloatArrayPath& path,
                                         const std::vector<FloatElement>& elements);

/// Logical indices of the compound's existing elements, ascending.
HEADLESS_API std::vector<unsigned int> compoundElements(const MObject& node, const std::string& compound);

/// How a value came into the scene.
enum class WriteKind { command, handle, undo };

/// One element that was written. Through a handle these are the elements that were added or set on a builder;
/// what it only carried along from before is not listed. `existed` is false when undoing removed the element.
struct WrittenElement {
    MObject node;
    std::string compound;
    unsigned int index;
    std::string child;
    unsigned int element;
    float value;
    WriteKind kind;
    bool existed;
};

/// Sets the mark: forgets what was written down before and writes from now on. Off at the start.
HEADLESS_API void startWriteJournal();

/// What was written since the mark, in the order of the writes (through a handle: by ascending element).
/// Writing goes on.
HEADLESS_API std::vector<WrittenElement> writeJournal();

/// Stops writing and forgets everything.
HEADLESS_API void stopWriteJournal();

/// Number of handles that MPlug::asMDataHandle gave out and nobody has ended.
HEADLESS_API unsigned long long openHandleCount();

/// Number of uses since the last reset that Maya leaves undefined: a handle used after its end or without a
/// value, ended twice or by another plug, an array index past the end. Each is harmless here.
HEADLESS_API unsigned long long misuseCount();

/// What the first of them was, the empty string when there was none.
HEADLESS_API std::string firstMisuse();

/// Forgets misuses, and the handles still open.
HEADLESS_API void resetMisuse();

} // namespace headless
