// SPDX-License-Identifier: Apache-2.0
// Storage behind the array classes: a plain growing row of values that brings in no header of the library's
// user, so that a missing include in module code stays visible.
#pragma once

#include "headless_api.h"

namespace headless {

/// Counts a use that Maya would not have noticed; `what` is a static text. Any thread.
HEADLESS_API void noteMisuse(const char* what);

/// Owns `count` values in one row. T is copyable and has a default constructor. A length that does not fit
/// into memory throws std::bad_alloc; the array classes turn that into a status.
template <typename T>
class ArrayStorage {
public:
    ArrayStorage() : values(nullptr), count(0), room(0) {}
    ArrayStorage(const ArrayStorage& other) : ArrayStorage() { assign(other.values, other.count); }
    ArrayStorage& operator=(const ArrayStorage& other) {
        if (this != &other) assign(other.values, other.count);
        return *this;
    }
    ~ArrayStorage() { delete[] values; }

    unsigned int size() const { return count; }
    T* first() { return values; }
    const T* first() const { return values; }

    T& at(unsigned int index) { return index < count ? values[index] : outside(); }
    const T& at(unsigned int index) const { return index < count ? values[index] : outside(); }

    void assign(const T* source, unsigned int length) {
        reserve(length);
        for (unsigned int i = 0; i < length; ++i) values[i] = source[i];
        count = length;
    }
    void resize(unsigned int length, const T& fresh) {
        reserve(length);
        for (unsigned int i = count; i < length; ++i) values[i] = fresh;
        count = length;
    }
    void append(const T& value) {
        const T kept = value; // it may be one of ours
        if (count == room) reserve(room < 8 ? 8 : room > 0x7FFFFFFFu ? 0xFFFFFFFFu : 2 * room);
        if (count < room) values[count++] = kept;
    }
    void clear() { count = 0; }

private:
    void reserve(unsigned int length) {
        if (length <= room) return;
        T* fresh = new T[length];
        for (unsigned int i = 0; i < count; ++i) fresh[i] = values[i];
        delete[] values;
        values = fresh;
        room = length;
    }
    static T& outside() {
        noteMisuse("array index past the end");
        static thread_local T thrownAway;
        thrownAway = T();
        return thrownAway;
    }

    T* values;
    unsigned int count;
    unsigned int room;
};

} // namespace headless
