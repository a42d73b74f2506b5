// SPDX-License-Identifier: Apache-2.0
// What every exported command shares: the argument keys, the export mark, the prologue that finds the node
// and the three host contexts, and the guard that keeps exceptions inside the module.
#pragma once

#include <exception>
#include <string>

#include "attributes.h"
#include "deform_records.h"
#include "gr_node.h"
#include "report.h"

#if defined(_WIN32)
#define TALVISORA_EXPORT extern "C" __declspec(dllexport)
#else
#define TALVISORA_EXPORT extern "C" __attribute__((visibility("default")))
#endif

namespace talvisora {

/// Keys of a command's argument map.
namespace key {
inline constexpr const char* kHelp = "HELP"; ///< must be there; its value is not used
inline constexpr const char* kNodeName = "NODE_NAME";
inline constexpr const char* kNode = "GR_NODE_PTR";
inline constexpr const char* kGetAttributes = "GET_ATTRIBUTES_PTR";
inline constexpr const char* kRunAttributes = "RUN_ATTRIBUTES_PTR";
inline constexpr const char* kDeformAttributes = "DEFORM_ATTRIBUTES_PTR";
inline constexpr const char* kOutput = "OUTPUT"; ///< written by the commands that answer with a value
} // namespace key

/// What a command body works with, everything checked. All pointers are the host's and are not null.
struct CommandContext {
    ValueMap& arguments;
    std::string nodeName; ///< the graph node's name, not the Maya node's
    GrNode* node;
    ValueMap* runAttributes; ///< run settings and attribute values, as an evaluation receives them
    DeformRecord* record;
};

/// Lines that the prologue's assertions print.
inline constexpr int kInvalidNodeLine = 301;
inline constexpr int kInvalidGetAttributesLine = 302;
inline constexpr int kInvalidRunAttributesLine = 303;
inline constexpr int kInvalidDeformAttributesLine = 304;
inline constexpr int kExceptionLine = 305;

namespace detail {

/// One context pointer: there, a GrPtr, not null.
inline Fault contextPointer(const ValueMap& arguments, const char* key, int line, const char* invalid,
                            void*& pointer) {
    std::shared_ptr<GrPtr> value;
    if (Fault fault = getRequired(arguments, key, value)) return fault;
    if (!value->value) return assertion(line, invalid);
    pointer = value->value;
    return {};
}

} // namespace detail

/// Shows an exception that was caught at the boundary; never throws itself. Answers 1.
inline int reportException(const std::string& name, const char* what) noexcept {
    try {
        return report(name, assertion(kExceptionLine, std::string("exception: ") + what));
    } catch (...) {
        return 1; // nothing left to say it with
    }
}

/// Runs `body` and turns whatever it throws into a report under the node's name; answers its status or 1.
template <class Body>
int guarded(const GrNode& node, Body&& body) noexcept {
    const auto name = [&node]() -> std::string {
        try {
            return nodeName(node);
        } catch (...) {
            return {};
        }
    };
    try {
        return body();
    } catch (const std::exception& e) {
        return reportException(name(), e.what());
    } catch (...) {
        return reportException(name(), "unknown");
    }
}

/// The prologue of every command, then `body(context)`. Returns the status: 0 done, 1 after one message.
/// Throws the out-of-range error "invalid map<K, T> key" when "HELP", "NODE_NAME" or "GR_NODE_PTR" is absent,
/// before anything is read or reported; nothing else leaves it.
template <class Body>
int runCommand(ValueMap& arguments, Body&& body) {
    (void)castTo<GrBoolean>(checkedAt(arguments, key::kHelp)); // required, although its value says nothing
    const std::shared_ptr<GrData> nodeNameData = checkedAt(arguments, key::kNodeName);
    const std::shared_ptr<GrData> nodeData = checkedAt(arguments, key::kNode);

    const auto nodeNameValue = castTo<GrString>(nodeNameData);
    const auto nodeValue = castTo<GrPtr>(nodeData);
    GrNode* node = nodeValue ? static_cast<GrNode*>(nodeValue->value) : nullptr;
    if (!node) {
        // No Maya name to begin with: the graph node's name stands in for it.
        try {
            const std::string name = nodeNameValue ? nodeNameValue->value : std::string();
            if (!nodeNameValue) return report(name, mistypedAttribute(key::kNodeName, GrString::kTypeName));
            if (!nodeValue) return report(name, mistypedAttribute(key::kNode, GrPtr::kTypeName));
            return report(name, assertion(kInvalidNodeLine, "Invalid GrNode"));
        } catch (const std::exception& e) {
            return reportException({}, e.what());
        } catch (...) {
            return reportException({}, "unknown");
        }
    }
    return guarded(*node, [&]() -> int {
        if (!nodeNameValue) return report(*node, mistypedAttribute(key::kNodeName, GrString::kTypeName));
        void* getAttributes = nullptr;
        void* runAttributes = nullptr;
        void* record = nullptr;
        if (Fault fault = detail::contextPointer(arguments, key::kGetAttributes, kInvalidGetAttributesLine,
                                                 "Invalid GetAttributes", getAttributes))
            return report(*node, fault);
        if (Fault fault = detail::contextPointer(arguments, key::kRunAttributes, kInvalidRunAttributesLine,
                                                 "Invalid RunAttributes", runAttributes))
            return report(*node, fault);
        if (Fault fault =
                detail::contextPointer(arguments, key::kDeformAttributes, kInvalidDeformAttributesLine,
                                       "Invalid DeformAttributes", record))
            return report(*node, fault);
        CommandContext context{arguments, nodeNameValue->value, node, static_cast<ValueMap*>(runAttributes),
                               static_cast<DeformRecord*>(record)};
        return body(context);
    });
}

} // namespace talvisora
