// SPDX-License-Identifier: Apache-2.0
// A sparse array of floats by logical index: pages of values that exist one by one. A full array costs little
// more than its values, a single far element one page. Private to the platform.
#pragma once

#include <array>
#include <bitset>
#include <cstddef>
#include <map>

namespace headless {

class SparseFloats {
public:
    SparseFloats() = default;
    SparseFloats(const SparseFloats& other) : pages(other.pages), count(other.count) {}
    SparseFloats& operator=(const SparseFloats& other) {
        pages = other.pages;
        count = other.count;
        lastPage = nullptr;
        return *this;
    }

    std::size_t size() const { return count; }

    /// Null when the element does not exist. Valid until the element is erased or the array replaced.
    const float* find(unsigned int index) const {
        const auto page = pages.find(index / kPage);
        if (page == pages.end() || !page->second.exists[index % kPage]) return nullptr;
        return &page->second.values[index % kPage];
    }

    /// The element, made with value 0 when it does not exist.
    float& get(unsigned int index) {
        if (!lastPage || lastIndex != index / kPage) {
            lastPage = &pages[index / kPage];
            lastIndex = index / kPage;
        }
        const unsigned int slot = index % kPage;
        if (!lastPage->exists[slot]) {
            lastPage->exists[slot] = true;
            lastPage->values[slot] = 0.0f;
            ++count;
        }
        return lastPage->values[slot];
    }

    void erase(unsigned int index) {
        const auto page = pages.find(index / kPage);
        if (page == pages.end() || !page->second.exists[index % kPage]) return;
        page->second.exists[index % kPage] = false;
        --count;
    }

    /// Calls visit(index, value) by ascending index.
    template <typename Visit>
    void forEach(const Visit& visit) const {
        for (const auto& [number, page] : pages) {
            for (unsigned int slot = 0; slot < kPage; ++slot) {
                if (page.exists[slot]) visit(number * kPage + slot, page.values[slot]);
            }
        }
    }

private:
    static constexpr unsigned int kPage = 256;
    struct Page {
        std::array<float, kPage> values{};
        std::bitset<kPage> exists;
    };
    std::map<unsigned int, Page> pages;
    std::size_t count = 0;
    Page* lastPage = nullptr; // of `pages`
    unsigned int lastIndex = 0;
};

} // namespace headless
