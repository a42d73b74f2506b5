// SPDX-License-Identifier: Apache-2.0
// What a report of a fault needs to know about a machine: system, processor, memory, compiler, the packages
// that matter here. Whatever cannot be learnt stays empty or 0.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace talvisora::host {

using NamedTexts = std::vector<std::pair<std::string, std::string>>;

struct SystemFacts {
    std::string system;   ///< "Debian GNU/Linux 12 (bookworm)"
    std::string kernel;   ///< "Linux 6.1.0 x86_64"
    std::string compiler; ///< that built grhost
    NamedTexts libraries; ///< name and version, as loaded or compiled in
    NamedTexts packages;  ///< installed ones of those that matter, name and version
    std::uint64_t memoryBytes = 0, availableBytes = 0;
};

struct ProcessorFacts {
    std::string name;
    unsigned cores = 0;                                 ///< that the system offers to this process
    std::vector<std::pair<std::string, bool>> features; ///< "sse2" … "avx512": usable or not
    std::string variant;    ///< that a module of this build takes; empty: none, not even SSE 2
    std::string asked;      ///< TALVISORA_CPU; empty: not set
    bool understood = true; ///< whether `asked` is one of the names
};

SystemFacts systemFacts();
ProcessorFacts processorFacts();

/// The environment variables that change how OpenCL or the module behaves, as far as they are set.
NamedTexts environmentFacts();

} // namespace talvisora::host
