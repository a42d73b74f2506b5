// SPDX-License-Identifier: Apache-2.0
// Loads a deformer module by path and finds its exports by their plain names, as any foreign host does.
#pragma once

#include "gr_node.h"
#include "host/host_error.h"

#include <memory>
#include <string>

namespace talvisora::host {

/// Processor variants that TALVISORA_CPU and --variant understand, widest first.
bool isVariantName(const std::string& name);

/// Lowers the processor variant of modules that are loaded from now on; a module reads the choice once. Empty
/// text: nothing changes. Throws HostError kUsage for an unknown name.
void chooseVariant(const std::string& name);

/// Path of the module that lies beside this executable.
std::string defaultModulePath();

/// A loaded module. It stays in memory until the process ends: threads of the pool may still be leaving its
/// loops when the last call has returned, and values it made may outlive this object.
class Module {
public:
    using Command = int (*)(ValueMap&);

    /// Empty path: defaultModulePath(). Throws HostError kInput: no such file, not a library that can be
    /// loaded, no `create` in it.
    explicit Module(const std::string& path = {});

    /// A new node; destroyed through its virtual destructor. Throws HostError kInput when the module makes
    /// none.
    std::unique_ptr<GrNode> createNode() const;

    /// The exported command of that name, null when the module has none.
    Command command(const std::string& name) const;

    const std::string& path() const { return path_; }

private:
    void* symbol(const char* name) const;

    std::string path_;
    void* library_ = nullptr;
    GrNode* (*create_)() = nullptr;
};

} // namespace talvisora::host
