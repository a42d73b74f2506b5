// SPDX-License-Identifier: Apache-2.0
// What data handles, array handles and builders point to: a working copy of a value, outside the scene until
// a plug writes it. Private to the platform.
#pragma once

#include "scene_state.h"

#include <atomic>

namespace headless {

/// Counted by the handles that point to it. A builder's block keeps the block it was made from, so that the
/// end of that one is the end of both. The values themselves are for one thread at a time, like the API.
struct DataBlock {
    enum class Shape { scalar, array };

    Shape shape = Shape::scalar;
    FloatPlace place;            // the plug it came from; of an array, `element` has no meaning
    SparseFloats values;         // a scalar is element 0
    SparseFloats written;        // has an element for each one added or set since the copy was made
    DataBlock* origin = nullptr; // of a builder: the array's block, counted
    std::atomic<bool> ended{false};
    unsigned long long epoch = 0; // which reset of the open count it was made under

    /// A new block that one handle points to; counts as open when a plug makes it.
    static DataBlock* make(bool fromPlug);
    static DataBlock* keep(DataBlock* block);
    static void drop(DataBlock* block);

    bool hasEnded() const { return ended || (origin && origin->ended); }
    /// Marks the end; false when it had ended before.
    bool end();

    static unsigned long long openCount();
    static void forgetOpen();

private:
    std::atomic<unsigned long long> users{1};
};

/// Pairs that point to a block.
struct DataAccess {
    template <typename Handle>
    static DataBlock* block(const Handle& handle) {
        return handle.block;
    }
    /// A handle that takes the block over.
    template <typename Handle>
    static Handle make(DataBlock* block) {
        Handle handle;
        handle.block = block;
        return handle;
    }
    template <typename Handle>
    static Handle makeElement(DataBlock* block, unsigned int element) {
        Handle handle = make<Handle>(block);
        handle.element = element;
        handle.isElement = true;
        return handle;
    }
    template <typename Handle>
    static bool isElement(const Handle& handle) {
        return handle.isElement;
    }
};

} // namespace headless
