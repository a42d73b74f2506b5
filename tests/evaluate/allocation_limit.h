// SPDX-License-Identifier: Apache-2.0
// Lets this test program's operator new refuse large requests, on all threads.
#pragma once

#include <cstddef>

namespace talvisora::fixtures {

/// Allocations of more than `largest` bytes throw std::bad_alloc while this lives.
class SmallMemory {
public:
    explicit SmallMemory(std::size_t largest);
    ~SmallMemory();
    SmallMemory(const SmallMemory&) = delete;
    SmallMemory& operator=(const SmallMemory&) = delete;

    /// Requests refused by the latest of them.
    static int refused();
};

/// Requests to this program's operator new so far, on all threads.
std::size_t allocationCount();

} // namespace talvisora::fixtures
