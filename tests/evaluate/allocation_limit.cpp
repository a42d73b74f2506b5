// SPDX-License-Identifier: Apache-2.0
// The program's operator new. In a source of its own: a compiler that sees its body where it is called takes
// malloc and delete for a mismatch.
#include "evaluate/allocation_limit.h"

#include <atomic>
#include <cstdlib>
#include <limits>
#include <new>

namespace {

constexpr std::size_t kNoLimit = std::numeric_limits<std::size_t>::max();
std::atomic<std::size_t> largestAllowed{kNoLimit};
std::atomic<int> refusedCount{0};
std::atomic<std::size_t> requests{0};

void* allocate(std::size_t size) noexcept {
    requests.fetch_add(1, std::memory_order_relaxed);
    if (size > largestAllowed.load(std::memory_order_relaxed)) {
        ++refusedCount;
        return nullptr;
    }
    return std::malloc(size ? size : 1);
}

} // namespace

void* operator new(std::size_t size) {
    if (void* memory = allocate(size)) return memory;
    throw std::bad_alloc();
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return allocate(size);
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}
void operator delete(void* memory, const std::nothrow_t&) noexcept {
    std::free(memory);
}

namespace talvisora::fixtures {

SmallMemory::SmallMemory(std::size_t largest) {
    refusedCount = 0;
    largestAllowed = largest;
}
SmallMemory::~SmallMemory() {
    largestAllowed = kNoLimit;
}
std::size_t allocationCount() {
    return requests.load();
}
int SmallMemory::refused() {
    return refusedCount.load();
}

} // namespace talvisora::fixtures
